#include <kandrel/post/intermediate_moves.h>

namespace post {

namespace {

cadcam::zv5axMove SourceOf(const zvPostedMove& move, bool smallMoves) {
  const cadcam::zvCNCMove base(move.GetPartPosition(), move.GetOrientation(), move.GetFeed(),
                               move.IsRapid());
  if (smallMoves) return {base, {}, {}, 0, false};
  return {base, move.GetExtendedPoint(), move.GetExtendedVector(), move.GetExtendedId(),
          move.HasExtendedData()};
}

}  // namespace

zvIntermediateMoves::zvIntermediateMoves(const zvPostedMove& previous, const zvPostedMove& current,
                                         bool smallMoves)
    : m_previous(SourceOf(previous, smallMoves)),
      m_current(SourceOf(current, smallMoves)),
      m_type(current.GetType()),
      m_sourceIndex(smallMoves ? 0 : previous.GetSourceIndex()),
      m_smallMoves(smallMoves),
      m_typesDiffer(previous.GetType() != current.GetType()) {}

const cadcam::zvCNCMove& zvIntermediateMoves::At(double t) {
  m_blended = Interpolate(1 - t, m_previous, t, m_current);
  if (m_typesDiffer) m_blended.SetFeed(m_current.GetFeed());
  return m_blended;
}

}  // namespace post
