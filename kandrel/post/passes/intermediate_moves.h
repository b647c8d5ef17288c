// zvIntermediateMoves: the moves between two posted ones, blended as toolpath moves.
#pragma once

#include <kandrel/cadcam/cnc_move.h>
#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/model/posted_move.h>

#include <cstdint>

namespace post {

/// What orientations are blended: as they are, or those of another length than 1 as unit vectors.
/// A linear blend of two lengths hardly turns near the longer one. Or none: all moves have that of
/// the current one, for who sets it anyway; so nothing is thrown between opposite ones.
enum class zvBlendedOrientations { kAsGiven, kUnitVectors, kOfCurrent };

/// Rebuilds a source move from each of two posted moves and blends them; without their extended
/// data when `smallMoves`. The moves between belong to the first one's place in the toolpath and
/// have the second one's type.
class KANDREL_API zvIntermediateMoves {
 public:
  /// Refers to neither move: what is needed of them is copied.
  zvIntermediateMoves(const zvPostedMove& previous, const zvPostedMove& current, bool smallMoves,
                      zvBlendedOrientations orientations);

  /// The move at t, from 0 at the previous to 1 at the current one; valid until the next call.
  /// Between moves of different types the feed is the current one's. Throws zvcadcamException 2189
  /// when the blended orientation is exactly zero.
  const cadcam::zvCNCMove& At(double t);

  /// The type of the moves between.
  zvPostedMove::Types GetType() const noexcept { return m_type; }
  /// A small move has no record to hold these: 0 and false.
  std::int32_t GetSourceIndex() const noexcept { return m_sourceIndex; }
  bool IsInserted() const noexcept { return !m_smallMoves; }

 private:
  cadcam::zv5axMove m_previous;
  cadcam::zv5axMove m_current;
  cadcam::zv5axMove m_blended;
  zvPostedMove::Types m_type;
  std::int32_t m_sourceIndex;
  bool m_smallMoves;
  bool m_typesDiffer;
};

/// Whether two orientations are opposite within 1e-6: all directions lie between them, and a blend
/// is what rounding makes of it.
KANDREL_API bool AreOpposite(const cadcam::zvTPoint3d<double>& a,
                             const cadcam::zvTPoint3d<double>& b) noexcept;

}  // namespace post
