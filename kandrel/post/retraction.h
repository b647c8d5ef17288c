// Retraction: moves that lift the tool off the part with the rotary axes as they stand.
#pragma once

#include <kandrel/misc/tolerances.h>
#include <kandrel/post/limit_checker.h>
#include <kandrel/post/mach_def.h>
#include <kandrel/post/post_exception.h>

#include <algorithm>
#include <cmath>

namespace post {

/// A rapid move that lifts the tip of `move` by `distance` along its orientation, as given and
/// without normalising. `Kinematics` has MachinePosition(move). An extended block keeps its
/// vectors, id and source index and is marked as inserted.
template <class Move, class Kinematics>
Move RetractAlongTool(const Kinematics& kinematics, const Move& move, double distance) {
  Move lifted = move;
  lifted.SetPartPosition(move.GetPartPosition() + distance * move.GetOrientation());
  lifted.SetMachinePosition(kinematics.MachinePosition(lifted));
  lifted.SetRapid(true);
  if (!lifted.HasNoExtended()) lifted.SetInserted(true);
  lifted.SetReservedSingle(0);
  lifted.SetMoveTime(0);
  return lifted;
}

/// What RetractToMachineLimits works out anew before it lifts.
enum class zvRecompute {
  kPartPosition = 0,
  kMachinePosition = 1,
  kNothing = 2,
};

/// A rapid move that lifts the tool along its axis until the first linear axis touches its limit,
/// where it stands exactly. An orientation that is exactly zero is taken from the angles if
/// `useAngles`, else zvPostException 5039. Throws 5008 when the move stands outside the linear
/// limits, or the lifted one would. Where no axis moves the distance is infinite and the position
/// no number: that passes.
template <class Move, class Kinematics>
Move RetractToMachineLimits(const Kinematics& kinematics, const zvMachDef& machDef,
                            const Move& move, bool useAngles, zvRecompute recompute) {
  using Point = cadcam::zvTPoint3d<double>;
  Move start = move;
  if (start.GetOrientation().SquaredLength() == 0) {
    if (!useAngles) throw zvPostException(5039);
    start.SetOrientation(kinematics.Orientation(start));
  }
  if (recompute == zvRecompute::kPartPosition)
    start.SetPartPosition(kinematics.PartPosition(start));
  if (recompute == zvRecompute::kMachinePosition)
    start.SetMachinePosition(kinematics.MachinePosition(start));
  if (!FirstLinearExcess(start.GetMachinePosition(), machDef).IsNone()) throw zvPostException(5008);

  constexpr double kProbe = 1000;
  const Point& from = start.GetMachinePosition();
  const Point d = RetractAlongTool(kinematics, start, kProbe).GetMachinePosition() - from;
  // Kinematics leave noise where there is no motion, and a move on its limit may stand past it by
  // rounding: neither may turn the lift into none or into a plunge.
  const auto factor = [](double position, double step, double low, double high) {
    if (std::fabs(step) <= misc::kNoMotion) return misc::kNoValue;
    return std::max(0.0, ((step < 0 ? low : high) - position) / step);
  };
  const Point& low = machDef.GetMinLimits();
  const Point& high = machDef.GetMaxLimits();
  const double fx = factor(from.x, d.x, low.x, high.x);
  const double fy = factor(from.y, d.y, low.y, high.y);
  const double fz = factor(from.z, d.z, low.z, high.z);
  const double smallest = std::min({fx, fy, fz});
  Move lifted = RetractAlongTool(kinematics, start, kProbe * smallest);
  if (smallest == misc::kNoValue) return lifted;
  Point touched = lifted.GetMachinePosition();
  // An axis that doesn't move stays where it is: on its limit, noise would take it past.
  const auto settle = [smallest](double& value, double f, double still, double limit) {
    if (f == misc::kNoValue) value = still;
    if (f == smallest) value = limit;
  };
  settle(touched.x, fx, from.x, d.x < 0 ? low.x : high.x);
  settle(touched.y, fy, from.y, d.y < 0 ? low.y : high.y);
  settle(touched.z, fz, from.z, d.z < 0 ? low.z : high.z);
  lifted.SetMachinePosition(touched);
  if (!FirstLinearExcess(touched, machDef).IsNone()) throw zvPostException(5008);
  return lifted;
}

}  // namespace post
