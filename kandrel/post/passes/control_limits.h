// The last step of a posting: angles as the control wants them written.
#pragma once

#include <kandrel/misc/angles.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/polled_end.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/move_traits.h>

namespace post {

/// `deg` as the control wants it; unchanged for a limit that is unknown or none.
inline double ApplyAngleLimit(double deg, zv5axControlDef::angleLimit limit) noexcept {
  switch (limit) {
    case zv5axControlDef::angleLimit360:
      return misc::WrapTo360(deg);
    case zv5axControlDef::angleLimit180:
      return misc::WrapTo180(deg);
    case zv5axControlDef::angleLimitNone:
      break;
  }
  return deg;
}

/// Wraps the angles of all moves. Machine positions stay: a whole turn leaves them the same.
template <class Move>
void ApplyControlLimitations(misc::zvMemoryPoolList<Move>& list, const zv5axControlDef& control) {
  using Traits = zvMoveTraits<Move>;
  const zv5axControlDef::angleLimit limits[] = {control.GetFirstAxisLimit(),
                                                control.GetSecondAxisLimit()};
  for (int axis = 0; axis < Traits::kAxes; ++axis) {
    if (limits[axis] == zv5axControlDef::angleLimitNone) continue;
    misc::zvPolledEnd end(list);
    for (auto move = list.begin(); end.IsBefore(move); ++move)
      Traits::SetAngle(*move, axis, ApplyAngleLimit(Traits::Angle(*move, axis), limits[axis]));
  }
}

}  // namespace post
