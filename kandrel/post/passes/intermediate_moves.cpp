#include <kandrel/misc/tolerances.h>
#include <kandrel/post/passes/intermediate_moves.h>

#include <cmath>

namespace post {

namespace {

using Point = cadcam::zvTPoint3d<double>;

Point Blended(const Point& orientation, zvBlendedOrientations how) {
  if (how == zvBlendedOrientations::kAsGiven) return orientation;
  const double length = orientation.Length();
  return std::fabs(length - 1) > misc::kUnitLength ? orientation / length : orientation;
}

cadcam::zv5axMove SourceOf(const zvPostedMove& move, const Point& orientation, bool smallMoves,
                           zvBlendedOrientations how) {
  const cadcam::zvCNCMove base(move.GetPartPosition(), Blended(orientation, how), move.GetFeed(),
                               move.IsRapid());
  if (smallMoves) return {base, {}, {}, 0, false};
  return {base, move.GetExtendedPoint(), move.GetExtendedVector(), move.GetExtendedId(),
          move.HasExtendedData()};
}

}  // namespace

zvIntermediateMoves::zvIntermediateMoves(const zvPostedMove& previous, const zvPostedMove& current,
                                         bool smallMoves, zvBlendedOrientations orientations)
    : m_previous(SourceOf(previous,
                          orientations == zvBlendedOrientations::kOfCurrent
                              ? current.GetOrientation()
                              : previous.GetOrientation(),
                          smallMoves, orientations)),
      m_current(SourceOf(current, current.GetOrientation(), smallMoves, orientations)),
      m_type(current.GetType()),
      m_sourceIndex(smallMoves ? 0 : previous.GetSourceIndex()),
      m_smallMoves(smallMoves),
      m_typesDiffer(previous.GetType() != current.GetType()) {}

const cadcam::zvCNCMove& zvIntermediateMoves::At(double t) {
  m_blended = Interpolate(1 - t, m_previous, t, m_current);
  if (m_typesDiffer) m_blended.SetFeed(m_current.GetFeed());
  return m_blended;
}

bool AreOpposite(const Point& a, const Point& b) noexcept {
  const Point sum = a / a.Length() + b / b.Length();
  return sum.SquaredLength() <= misc::kOpposite * misc::kOpposite;
}

}  // namespace post
