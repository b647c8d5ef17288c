#include <kandrel/post/model/finite_moves.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/four_axis_list_builder.h>

#include <cmath>
#include <iterator>
#include <utility>

namespace post {

zv4axListBuilder::zv4axListBuilder(List& list, const zvPosted4axMoveMaker& maker,
                                   const zv4axMachDef& machDef, const zvKDRParam& par,
                                   bool smallMoves, zv4axPathKeeper* keeper)
    : m_list(list),
      m_maker(maker),
      m_orientationCone(machDef),
      m_poleCone(keeper != nullptr ? keeper->GetPoleCone() : maker.MakePoleCone()),
      m_pairs(maker.GetKinematics(), m_orientationCone, m_poleCone.eps),
      m_interpolator(maker, par, smallMoves, m_poleCone),
      m_smallMoves(smallMoves),
      m_keeper(keeper) {}

void zv4axListBuilder::RequireOnCone(const cadcam::zvTPoint3d<double>& dir_tool) const {
  if (!m_orientationCone.IsNear(dir_tool)) throw zvPostException(zvPostException::kNotFor4Axes);
}

void zv4axListBuilder::Append(const zvMoveView& move, zvPostedMove::Types type) {
  const cadcam::zvTPoint3d<double> dir_tool = move.GetOrientation().Normalized();
  const bool isFirst = m_list.IsEmpty();
  const Iterator previous = isFirst ? m_list.end() : std::prev(m_list.end());
  const Iterator current = m_list.EmplaceWith(m_list.end(), [&] {
    return m_maker.Make(move, dir_tool, type, static_cast<std::int32_t>(m_index), false, m_poleCone,
                        m_smallMoves);
  });
  ++m_index;
  try {
    if (m_keeper != nullptr) m_keeper->RequireHeldAt(current->GetPartPosition());
    if (!isFirst) Join(previous, current);
  } catch (...) {
    // What fails between two moves leaves nothing behind the first of them.
    while (!m_list.IsEmpty() && std::prev(m_list.end()) != previous)
      m_list.Erase(std::prev(m_list.end()));
    throw;
  }
}

// Puts the moves between two solved ones.
void zv4axListBuilder::Join(Iterator previous, Iterator move) {
  if (m_keeper != nullptr && !move->IsRapid()) {
    if (!m_keeper->IsPlain(*previous, *move)) m_keeper->Join(m_list, move);
  } else if (!(std::fabs(move->GetRotaryAngle() - previous->GetRotaryAngle()) <=
               m_interpolator.GetShortStep())) {
    m_interpolator.Between(m_list, move);
    if (m_keeper == nullptr) return;
    // A blend is rapid between two that are. What isn't would be held to the tolerance.
    while (++previous != move) previous->SetRapid(true);
  }
}

// All are read, then solved in pairs, then interpolated between.
bool zv4axListBuilder::AppendSome(zvPathReader& reader) {
  const bool isFirst = m_list.IsEmpty();
  const Iterator last = isFirst ? m_list.end() : std::prev(m_list.end());
  const bool hasMore = Read(reader);
  const Iterator first = isFirst ? m_list.begin() : std::next(last);
  Solve(first);
  if (first == m_list.end()) return hasMore;
  if (m_keeper != nullptr) {
    JoinWithin(last, first);
    return hasMore;
  }
  const double shortStep = m_interpolator.GetShortStep();
  double deg = (isFirst ? first : last)->GetRotaryAngle();
  for (Iterator move = isFirst ? std::next(first) : first; move != m_list.end(); ++move) {
    const double previousDeg = std::exchange(deg, move->GetRotaryAngle());
    if (!(std::fabs(deg - previousDeg) <= shortStep)) m_interpolator.Between(m_list, move);
  }
  return hasMore;
}

// The same of moves that are held to a tolerance. `last` is the one before them, if any.
void zv4axListBuilder::JoinWithin(Iterator last, Iterator first) {
  for (Iterator move = first; move != m_list.end(); last = move++) {
    m_keeper->RequireHeldAt(move->GetPartPosition());
    if (last != m_list.end()) Join(last, move);
  }
}

// Small moves have no place for their index.
bool zv4axListBuilder::Read(zvPathReader& reader) {
  constexpr int kMoves = 64;  // so many that they stay in the nearest memory until they are done
  if (m_smallMoves)
    return reader.TakeUnchecked(kMoves, [this](const zvMoveView& move, zvPostedMove::Types type) {
      m_list.EmplaceWith(m_list.end(), [&] {
        return zvPosted4axMoveMaker::MakeUnsolved(move, type, 0, false, true);
      });
    });
  return reader.TakeUnchecked(kMoves, [this](const zvMoveView& move, zvPostedMove::Types type) {
    m_list.EmplaceWith(m_list.end(), [&] {
      return zvPosted4axMoveMaker::MakeUnsolved(move, type, static_cast<std::int32_t>(m_index),
                                                false, false);
    });
    ++m_index;
  });
}

void zv4axListBuilder::Solve(Iterator move) {
  while (move != m_list.end()) {
    Move& one = *move;
    if (++move == m_list.end()) return SolveAlone(one);
    Move& other = *move;
    ++move;
    if (m_pairs.Solve(one, other)) continue;
    SolveAlone(one);
    SolveAlone(other);
  }
}

void zv4axListBuilder::SolveAlone(Move& move) {
  if (!IsFinite(move.GetPartPosition()) || !IsFinite(move.GetOrientation()))
    throw zvPostException(zvPostException::kInvalidVector);
  const cadcam::zvTPoint3d<double> dir_tool = move.GetOrientation().Normalized();
  RequireOnCone(dir_tool);
  m_maker.Solve(move, dir_tool, m_poleCone);
}

}  // namespace post
