#include <kandrel/post/geometry/solution_choice.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/passes/five_axis_list_builder.h>

#include <iterator>

namespace post {

bool TakesMirrorFirst(const zvRotarySolutions& solutions, const zvKDRParam& par,
                      const zv5axMachDef& machDef) {
  const zvSolutionChoice choice = ChooseFirst(solutions, par, machDef);
  // A position with a free angle at 0 says nothing of the limits: the list's own check follows.
  if (solutions.poleStatus == kDetermined) RequireNoExcess(choice.excess);
  return choice.isMirror;
}

zv5axListBuilder::zv5axListBuilder(List& list, const zv5axMoveSolver& solver,
                                   const zv5axMachDef& machDef, const zvKDRParam& par,
                                   bool smallMoves, zv5axPathKeeper* keeper)
    : m_list(list),
      m_solver(solver),
      m_machDef(machDef),
      m_par(par),
      m_smallMoves(smallMoves),
      m_cone(keeper != nullptr ? keeper->GetPoleCone() : solver.MakePoleCone()),
      m_interpolator(solver, smallMoves),
      m_keeper(keeper) {}

// What each move goes through is one function to the compiler: calls between its parts would cost a
// twentieth of a posting. So Append, Join and this are inlined whatever the compiler thinks of it.
[[gnu::always_inline]] inline bool zv5axListBuilder::TakesMirrorAfter(
    const Move& previous, const zvRotarySolutions& solutions) const {
  return TakesMirrorNext(previous.GetAngle(0), previous.GetAngle(1), solutions,
                         m_solver.GetParameters(), m_solver);
}

// The first move is solved once by itself to know where the search for it starts.
void zv5axListBuilder::StartLimitSearch(const zvMoveView& move) {
  const zvRotarySolutions solutions = Solve(move, 0);
  const bool isMirror = TakesMirrorFirst(solutions, m_par, m_machDef);
  if (solutions.poleStatus == kDetermined) m_lastFirstAngle = solutions.Of(isMirror).firstAngle;
}

void zv5axListBuilder::Settle(const Move& previous, Move& current,
                              const zvRotarySolutions& solutions) const {
  const zvRotarySolution& solution = solutions.Of(TakesMirrorAfter(previous, solutions));
  current.SetAngle(solution.firstAngle, 0);
  current.SetAngle(solution.secondAngle, 1);
  current.SetMachinePosition(solution.position);
  current.SetPoleStatus(solutions.poleStatus);
  m_solver.FixPoleAngle(previous, current);
}

// Puts the moves between the last two and settles the last of them. A step that the interpolator
// leaves for that is subdivided then, whichever solution it leads to.
[[gnu::always_inline]] inline void zv5axListBuilder::Join(Iterator previous, Iterator current,
                                                          const zvRotarySolutions& solutions,
                                                          bool isFirstPick) {
  Iterator last = previous;
  try {
    m_solver.FixPoleAngle(*previous, *current);
    bool isLastStepLeft = m_interpolator.Between(m_list, current);
    last = std::prev(current);
    if (last == previous && !isFirstPick) return;
    Settle(*last, *current, solutions);
    for (int round = 0; isLastStepLeft && round < zv5axInterpolator::kMostRounds; ++round) {
      isLastStepLeft = m_interpolator.Between(m_list, current);
      if (std::prev(current) == last) return;
      last = std::prev(current);
      Settle(*last, *current, solutions);
    }
  } catch (...) {
    // What fails between two moves leaves nothing behind the last that was settled.
    while (std::prev(m_list.end()) != last) m_list.Erase(std::prev(m_list.end()));
    throw;
  }
}

// The same where the posting is held to a tolerance: of rapid moves it isn't, and what is put on
// their way is rapid as they are.
[[gnu::noinline]] void zv5axListBuilder::JoinWithin(Iterator previous, Iterator current,
                                                    const zvRotarySolutions& solutions,
                                                    bool isFirstPick) {
  if (current->IsRapid()) {
    Join(previous, current, solutions, isFirstPick);
    for (Iterator move = std::next(previous); move != current; ++move) move->SetRapid(true);
    return;
  }
  try {
    // A feed move before has been current; what lies between two stands where they do.
    if (previous->IsRapid() || m_index == 1) m_keeper->RequireHeldAt(previous->GetPartPosition());
    m_keeper->RequireHeldAt(current->GetPartPosition());
    m_solver.FixPoleAngle(*previous, *current);
    if (!m_keeper->IsPlain(*previous, *current)) m_keeper->Join(m_list, current, solutions);
  } catch (...) {
    m_list.Erase(current);
    throw;
  }
}

[[gnu::always_inline]] inline void zv5axListBuilder::Append(const zvMoveView& move,
                                                            zvPostedMove::Types type) {
  const bool isFirst = m_index == 0;
  if (isFirst && m_solver.HasLimitKeeper()) StartLimitSearch(move);
  const zvRotarySolutions solutions = Solve(move, m_lastFirstAngle);
  const Iterator previous = isFirst ? m_list.end() : std::prev(m_list.end());
  // After an undetermined move the solution is picked as for a first one, to interpolate to.
  const bool isFirstPick = !m_isPreviousDetermined;
  const bool isMirror = isFirstPick ? TakesMirrorFirst(solutions, m_par, m_machDef)
                                    : TakesMirrorAfter(*previous, solutions);
  const Iterator current = m_list.EmplaceWith(m_list.end(), [&] {
    return zv5axMoveSolver::MakeMove(move, type, solutions.Of(isMirror), solutions.poleStatus,
                                     static_cast<std::int32_t>(m_index), false, m_smallMoves);
  });
  if (!isFirst && m_keeper == nullptr)
    Join(previous, current, solutions, isFirstPick);
  else if (!isFirst)
    JoinWithin(previous, current, solutions, isFirstPick);
  m_hasMetPole = m_hasMetPole || solutions.poleStatus != kDetermined;
  m_isPreviousDetermined = current->GetPoleStatus() == kDetermined;
  m_lastFirstAngle = m_isPreviousDetermined ? current->GetAngle(0) : 0;
  ++m_index;
}

void zv5axListBuilder::AppendAll(zvPathReader& reader) {
  while (reader.Next()) Append(reader.GetMove(), reader.GetType());
}

bool zv5axListBuilder::MayHavePoles() const noexcept {
  return m_hasMetPole || m_interpolator.HasMetPole() || !m_interpolator.Solves() ||
         m_par.GetPoleAngleTolerance() != m_solver.GetParameters().GetPoleAngleTolerance();
}

}  // namespace post
