#include <kandrel/post/passes/five_axis_limits.h>
#include <kandrel/post/passes/repair_machine.h>
#include <kandrel/post/passes/rewinder/rewinder.h>

namespace post {

zvLimitChecker::zvLimitChecker(List& list, const zv5axMachDef& machDef,
                               const cadcam::zvTPoint3d<double>& partOrigin, const zvKDRParam& par,
                               double toolLengthCompensation, zvLowerBounds lowerBounds)
    : zvListLimits(list, machDef, par.GetLimitTolerance()),
      m_list(list),
      m_machDef(machDef),
      m_partOrigin(partOrigin),
      m_par(par),
      m_toolLengthCompensation(toolLengthCompensation),
      m_lowerBounds(lowerBounds) {}

void zvLimitChecker::Rewind(bool smallMoves) {
  const zv5axMoveSolver solver(m_machDef, m_par, m_partOrigin, m_toolLengthCompensation);
  const zv5axRepairMachine machine(solver, m_machDef, m_par, smallMoves, *m_counts);
  const double slack = m_lowerBounds == zvLowerBounds::kOwn ? m_par.GetLimitTolerance() : 0;
  zvRewinder<zvPosted5axMove, zv5axRepairMachine> rewinder(m_list, RotaryRangesOf(m_machDef), m_par,
                                                           smallMoves, machine, slack);
  m_counts->rewindings += rewinder.Run();
}

bool zvLimitChecker::CheckRotaryWithRewind(zvLimitType& limit, bool smallMoves) {
  if (RotaryExceeded(limit) && TryShiftAll(m_lowerBounds)) Rewind(smallMoves);
  return RotaryExceeded(limit);
}

bool zvLimitChecker::CheckAllWithRewind(zvLimitType& limit, bool smallMoves) {
  return LinearExceeded(limit) || CheckRotaryWithRewind(limit, smallMoves);
}

}  // namespace post
