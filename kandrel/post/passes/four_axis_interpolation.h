// zv4axInterpolator: the moves between two posted moves of a 4-axis machine.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/post/geometry/four_axis_move_maker.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/passes/intermediate_moves.h>

#include <cstdint>
#include <iterator>

namespace post {

/// Subdivides a step evenly, by distance and by angle, whichever gives more moves; then the steps
/// that are still too large, down to the eighth level; and at each level drops what came out denser
/// than needed. The moves between are blended as toolpath moves and solved like them. A blend of
/// two orientations lies off the machine's cone unless that is flat: it is brought back onto it, so
/// that orientation and angle belong together; but not where one of the two lies off the maker's
/// cone, as after a change of the creator's machine. Two that point alike within 1e-12 are
/// divided only where they lie too far apart. Orientations of another length than 1 are blended as
/// unit vectors.
///
/// A step that is not above 0 switches its rule off. Rapid moves get none by angle, and none at all
/// without InterpolateRapidMoves. Throws zvcadcamException 2189 for an orientation that blends to
/// zero, zvPostException 5039 for more than 2^31 - 2 moves at once.
class KANDREL_API zv4axInterpolator {
 public:
  using Move = zvPosted4axMove;
  using List = misc::zvMemoryPoolList<Move>;
  using Iterator = List::iterator;

  /// Steps are those of `par`, the pole tolerance is the maker's or that of `cone`. Maker and
  /// parameters must outlive the object.
  zv4axInterpolator(const zvPosted4axMoveMaker& maker, const zvKDRParam& par, bool smallMoves)
      : zv4axInterpolator(maker, par, smallMoves, maker.MakePoleCone()) {}
  zv4axInterpolator(const zvPosted4axMoveMaker& maker, const zvKDRParam& par, bool smallMoves,
                    const zvPosted4axMoveMaker::PoleCone& cone);

  /// Puts the moves between `to` and the move before it. When it throws, some stay.
  void Between(List& list, Iterator to) const { Refine(list, std::prev(to), to, 0); }
  /// Moves whose angles differ by no more get none between them, whatever else they are; negative
  /// if angles alone never decide. The plain difference is never shorter than the way round, but
  /// for rounding that the angle rule allows for: most moves need no closer look.
  double GetShortStep() const noexcept { return m_hasDistanceRule ? -1 : m_par.GetMaxAngleStep(); }

  /// The move halfway between two, whatever the size of the step, with a pole tolerance of its own
  /// in degrees.
  Move Midpoint(const Move& from, const Move& to, double poleTolerance) const;

 private:
  struct Blend;

  void Refine(List& list, Iterator from, Iterator to, int depth) const;
  std::uint32_t CountBetween(const Move& from, const Move& to) const;
  void InsertEvenMoves(List& list, Iterator from, Iterator to, std::uint32_t count) const;
  bool NoProgress(Iterator from, Iterator to) const;
  bool IsStepTooLarge(const Move& a, const Move& b) const;
  bool IsTooFar(const Move& a, const Move& b) const;
  bool IsJump(const Move& a, const Move& b) const;
  Move At(Blend& blend, double t, const zvPosted4axMoveMaker::PoleCone& cone) const;

  const zvPosted4axMoveMaker& m_maker;
  const zvKDRParam& m_par;
  zvPosted4axMoveMaker::PoleCone m_cone;
  bool m_smallMoves;
  bool m_hasAngleRule;
  bool m_hasDistanceRule;
};

}  // namespace post
