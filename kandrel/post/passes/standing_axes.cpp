#include <kandrel/misc/angles.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/control_limits.h>
#include <kandrel/post/passes/five_axis_list_builder.h>
#include <kandrel/post/passes/path_reader.h>
#include <kandrel/post/passes/standing_axes.h>

#include <cmath>
#include <cstddef>

namespace post {

namespace {

using Point = cadcam::zvTPoint3d<double>;

bool IsZeroAngle(double deg) {
  return std::fabs(deg) <= misc::kEqual;
}

zvPosted5axMove MoveAt(const zvStandingAxes& axes) {
  zvPosted5axMove move(true);
  move.SetAngle(axes.firstAngle, 0);
  move.SetAngle(axes.secondAngle, 1);
  return move;
}

}  // namespace

bool zvStandingAxes::AreAtZero() const noexcept {
  return IsZeroAngle(firstAngle) && IsZeroAngle(secondAngle);
}

bool HasOneOrientation(const cadcam::zvToolPath& toolpath, const zvAlignMatrix& alignment,
                       misc::zvPolling* polling) {
  zvPathReader reader(toolpath, alignment, polling);
  if (!reader.Next()) return false;
  const Point o = reader.GetMove().GetOrientation();
  const double mostSquared = misc::kDirectionDifferenceSquared * o.SquaredLength();
  while (reader.Next()) {
    const Point d = reader.GetMove().GetOrientation() - o;
    if (!(std::fabs(d.x) <= misc::kEqual && std::fabs(d.y) <= misc::kEqual &&
          std::fabs(d.z) <= misc::kEqual && d.SquaredLength() <= mostSquared))
      return false;
  }
  return true;
}

zvStandingAxes ChooseStandingAxes(const Point& p_part, const Point& orientation,
                                  const zv5axMoveSolver& solver,
                                  const zv5axMoveSolver::PoleCone& cone,
                                  const zv5axMachDef& machDef, const zvKDRParam& par) {
  const zvRotarySolutions solutions = solver.SolveAngles(p_part, orientation, cone, 0);
  const zvRotarySolution& chosen = solutions.Of(TakesMirrorFirst(solutions, par, machDef));
  zvStandingAxes axes{chosen.firstAngle, chosen.secondAngle};
  if (par.GetFirstMoveRule() == zvKDRParam::byFirstAxis && solutions.poleStatus == kOnFirstPole)
    axes.firstAngle = par.GetFirstMovePreferredAngle();
  if (par.GetFirstMoveRule() == zvKDRParam::bySecondAxis && solutions.poleStatus == kOnSecondPole)
    axes.secondAngle = par.GetFirstMovePreferredAngle();
  if (!std::isfinite(axes.firstAngle) || !std::isfinite(axes.secondAngle))
    throw zvPostException(zvPostException::kInvalidVector);
  axes.firstAngle =
      misc::WrapIntoRange(axes.firstAngle, machDef.GetMinFirstAngle(), machDef.GetMaxFirstAngle());
  axes.secondAngle = misc::WrapIntoRange(axes.secondAngle, machDef.GetMinSecondAngle(),
                                         machDef.GetMaxSecondAngle());
  return axes;
}

zvStandingAxes AsWritten(const zvStandingAxes& axes, const zv5axControlDef& control) {
  zvStandingAxes written = axes;
  const auto wrap = control.GetFirstAxisLimit();
  written.firstAngle = ApplyAngleLimit(written.firstAngle, wrap);
  if (control.GetSecondAxisLimit() != zv5axControlDef::angleLimitNone)
    written.secondAngle = ApplyAngleLimit(written.secondAngle, wrap);
  return written;
}

zvLimitType RotaryOut(const zvStandingAxes& axes, const zvStandingAxes& written,
                      const zv5axMachDef& machDef, const zvKDRParam& par) {
  return RotaryOut(MoveAt(axes), MoveAt(written), RotaryRangesOf(machDef),
                   par.GetPoleAngleTolerance());
}

misc::zvAutoPointer<zvTransformation3d> TransformationAt(const zvStandingAxes& axes,
                                                         const zv5axKinematics& kinematics) {
  const auto at = [&](const Point& p) {
    return kinematics.MachinePosition(p, axes.firstAngle, axes.secondAngle);
  };
  const Point translation = at({});
  const Point columns[] = {at({1, 0, 0}) - translation, at({0, 1, 0}) - translation,
                           at({0, 0, 1}) - translation};
  zvTransformation3d::Rotation rotation;
  for (std::size_t j = 0; j < 3; ++j) {
    rotation(0, j) = columns[j].x;
    rotation(1, j) = columns[j].y;
    rotation(2, j) = columns[j].z;
  }
  return misc::MakeAutoPointer<zvTransformation3d>(rotation, translation);
}

}  // namespace post
