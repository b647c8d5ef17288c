#include <kandrel/post/passes/five_axis_repair.h>
#include <kandrel/post/passes/retraction.h>

namespace post {

zv5axRepairMachine::zv5axRepairMachine(const zv5axMachDef& machDef, const zvKDRParam& par,
                                       const cadcam::zvTPoint3d<double>& partOrigin,
                                       double toolLengthCompensation, bool smallMoves,
                                       zvPostingCounts& counts)
    : m_machDef(machDef),
      m_par(par),
      m_counts(counts),
      m_solver(machDef, par, partOrigin, toolLengthCompensation),
      m_interpolator(m_solver, smallMoves) {}

zvPosted5axMove zv5axRepairMachine::Retract(const Move& move) const {
  if (m_par.GetInterpolationMode() == 0)
    return RetractAsAsked(Kinematics(), m_machDef, m_par, move, m_counts);
  // Moves of linear axes hold a marker instead of their orientation.
  Move oriented = move;
  oriented.SetOrientation(Kinematics().Orientation(move));
  return RetractAsAsked(Kinematics(), m_machDef, m_par, oriented, m_counts);
}

std::optional<zvPosted5axMove> zv5axRepairMachine::Midpoint(const Move& from, const Move& to,
                                                            double tolerance) const {
  return m_interpolator.Midpoint(from, to, tolerance);
}

}  // namespace post
