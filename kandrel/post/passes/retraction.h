// Retraction: moves that lift the tool off the part with the rotary axes as they stand.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posting_counts.h>
#include <kandrel/post/model/posting_parameters.h>

#include <algorithm>
#include <cmath>

namespace post {

/// A rapid move that lifts the tip of `move` by `distance` along its orientation, as given and
/// without normalising. `Kinematics` has MachinePosition(move). An extended block keeps its
/// vectors, id and source index and is marked as inserted. Throws zvPostException 5039 for a lift
/// that comes out infinite or NaN.
template <class Move, class Kinematics>
Move RetractAlongTool(const Kinematics& kinematics, const Move& move, double distance) {
  Move lifted = move;
  lifted.SetPartPosition(move.GetPartPosition() + distance * move.GetOrientation());
  lifted.SetMachinePosition(kinematics.MachinePosition(lifted));
  if (!IsFinite(lifted.GetPartPosition()) || !IsFinite(lifted.GetMachinePosition()))
    throw zvPostException(zvPostException::kInvalidVector);
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
/// where it stands exactly; an infinite limit is none. It may be a short lift, or none, where the
/// move stands at its limit. An orientation that is exactly zero is taken from the angles if
/// `useAngles`, else zvPostException 5039. Throws 5008 when the move stands outside the linear
/// limits, or the lifted one would, and 5039 where no axis moves towards a limit or the lift comes
/// out infinite or NaN.
template <class Move, class Kinematics>
Move RetractToMachineLimits(const Kinematics& kinematics, const zvMachDef& machDef,
                            const Move& move, bool useAngles, zvRecompute recompute) {
  using Point = cadcam::zvTPoint3d<double>;
  Move start = move;
  if (start.GetOrientation().IsZero()) {
    if (!useAngles) throw zvPostException(zvPostException::kInvalidVector);
    start.SetOrientation(kinematics.Orientation(start));
  }
  if (recompute == zvRecompute::kPartPosition)
    start.SetPartPosition(kinematics.PartPosition(start));
  if (recompute == zvRecompute::kMachinePosition)
    start.SetMachinePosition(kinematics.MachinePosition(start));
  if (!LinearOut(start.GetMachinePosition(), machDef).IsNone())
    throw zvPostException(zvPostException::kOutOfLimits);

  // How far the limits are doesn't depend on the orientation's length, but rounding does: one so
  // short or long that motion would drown in noise is lifted along as a unit vector.
  const Point given = start.GetOrientation();
  constexpr double kShort = 0.01;
  constexpr double kLong = 100;
  if (const double length = given.Length(); !(length >= kShort && length <= kLong))
    start.SetOrientation(given / length);

  constexpr double kProbe = 1000;
  const Point& from = start.GetMachinePosition();
  const Point d = RetractAlongTool(kinematics, start, kProbe).GetMachinePosition() - from;
  // Kinematics leave noise where there is no motion, and a move on its limit may stand past it by
  // rounding: neither may turn the lift into none or into a plunge.
  const auto isStill = [](double step) { return std::fabs(step) <= misc::kNoMotion; };
  const auto limitAhead = [&](int axis) {
    return d[axis] < 0 ? machDef.GetMinLimits()[axis] : machDef.GetMaxLimits()[axis];
  };
  // The linear axes move evenly along the tool: each reaches its limit at this part of the probe.
  Point reach;
  for (int axis = 0; axis < 3; ++axis) {
    const double limit = limitAhead(axis);
    reach[axis] = isStill(d[axis]) || std::isinf(limit)
                      ? misc::kNoValue
                      : std::max(0.0, (limit - from[axis]) / d[axis]);
  }
  const double smallest = std::min({reach.x, reach.y, reach.z});
  // Without a limit the distance is infinite, and refused.
  Move lifted = RetractAlongTool(kinematics, start, kProbe * smallest);
  lifted.SetOrientation(given);
  Point touched = lifted.GetMachinePosition();
  // An axis that doesn't move stays where it is: on its limit, noise would take it past.
  for (int axis = 0; axis < 3; ++axis) {
    if (isStill(d[axis])) touched[axis] = from[axis];
    if (reach[axis] == smallest) touched[axis] = limitAhead(axis);
  }
  lifted.SetMachinePosition(touched);
  if (!LinearOut(touched, machDef).IsNone()) throw zvPostException(zvPostException::kOutOfLimits);
  return lifted;
}

/// The lift that the parameters ask for: by retractDistance, or with retractToLimits to the linear
/// limits, where one that comes out shorter is counted. Throws as the one of the two does.
template <class Move, class Kinematics>
Move RetractAsAsked(const Kinematics& kinematics, const zvMachDef& machDef, const zvKDRParam& par,
                    const Move& move, zvPostingCounts& counts) {
  if (!par.GetRetractToLimits())
    return RetractAlongTool(kinematics, move, par.GetRetractDistance());
  Move lifted = RetractToMachineLimits(kinematics, machDef, move, false, zvRecompute::kNothing);
  // What is in the air at its limits already has no way to go.
  const double distance = PartDistance(move, lifted);
  const bool isUp = move.IsRapid() && distance <= misc::kNoMotion;
  if (distance < par.GetRetractDistance() && !isUp) ++counts.shortLifts;
  return lifted;
}

}  // namespace post
