// zv5axRepairMachine: what retractions and rewindings of a 5-axis list compute with.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/post/geometry/five_axis_solver.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_counts.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/passes/five_axis_interpolation.h>

#include <optional>

namespace post {

/// A machine and parameters as they are now, which may be others than those of the solutions.
/// Refers to all that it is given; what is lifted short is counted.
class KANDREL_API zv5axRepairMachine {
 public:
  using Move = zvPosted5axMove;

  /// `machDef` is normalised.
  zv5axRepairMachine(const zv5axMachDef& machDef, const zvKDRParam& par,
                     const cadcam::zvTPoint3d<double>& partOrigin, double toolLengthCompensation,
                     bool smallMoves, zvPostingCounts& counts);

  const zv5axKinematics& Kinematics() const noexcept { return m_solver.GetKinematics(); }
  /// Lifted by retractDistance, or with retractToLimits to the linear limits, along the tool as it
  /// stands. Throws as RetractAlongTool and RetractToMachineLimits do.
  Move Retract(const Move& move) const;
  /// As zv5axInterpolator::Midpoint.
  std::optional<Move> Midpoint(const Move& from, const Move& to, double tolerance) const;

 private:
  const zv5axMachDef& m_machDef;
  const zvKDRParam& m_par;
  zvPostingCounts& m_counts;
  zv5axMoveSolver m_solver;
  zv5axInterpolator m_interpolator;
};

}  // namespace post
