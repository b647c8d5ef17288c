// Winding: from angles of the circle to continuous ones.
#pragma once

#include <kandrel/misc/angles.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/polled_end.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/move_traits.h>
#include <kandrel/post/model/post_exception.h>

#include <algorithm>
#include <cmath>

namespace post {

/// Adds whole turns to the angles of each move so that none is more than half a turn from the move
/// before; a difference of exactly half a turn stays. Returns the largest step that an axis then
/// makes, in degrees. Linear: the turns are carried forward and added to each angle once. Throws
/// zvPostException 5039 for more than 2^31 - 2 turns at once.
template <class Move>
double CalcWindedAngles(misc::zvMemoryPoolList<Move>& list) {
  using Traits = zvMoveTraits<Move>;
  if (list.GetCount() < 2) return 0;
  struct Axis {
    double carried = 0;  // whole turns, in degrees: exact
    double previous = 0;

    double StepTo(double raw) const { return std::fabs(raw + carried - previous); }
    // Adds turns to what is carried so that the angle lies near the last one.
    void Wind(double raw) {
      const double more = misc::WindsBetween(previous, raw + carried);
      if (!(std::fabs(more) <= misc::kLargestCount))
        throw zvPostException(zvPostException::kInvalidVector);
      carried += misc::kFullTurnDeg * more;
    }
  };
  double largest = 0;
  Axis axes[Traits::kAxes];
  auto move = list.begin();
  for (int axis = 0; axis < Traits::kAxes; ++axis) axes[axis].previous = Traits::Angle(*move, axis);
  misc::zvPolledEnd end(list);
  while (end.IsBefore(++move)) {
    list.PrefetchAfter(*move);
    for (int axis = 0; axis < Traits::kAxes; ++axis) {
      Axis& a = axes[axis];
      const double raw = Traits::Angle(*move, axis);
      double step = a.StepTo(raw);
      if (step > 180.0) [[unlikely]] {
        a.Wind(raw);
        step = a.StepTo(raw);
      }
      largest = std::max(largest, step);
      a.previous = raw + a.carried;
      if (a.carried != 0) Traits::SetAngle(*move, axis, a.previous);
    }
  }
  return largest;
}

}  // namespace post
