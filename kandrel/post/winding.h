// Winding: from angles of the circle to continuous ones.
#pragma once

#include <kandrel/misc/angles.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/move_traits.h>
#include <kandrel/post/post_exception.h>

#include <cmath>

namespace post {

/// Adds whole turns to the angles of each move so that none is more than half a turn from the move
/// before; a difference of exactly half a turn stays. Linear: the turns are carried forward and
/// added to each angle once. Throws zvPostException 5039 for more than 2^31 - 2 turns at once.
template <class Move>
void CalcWindedAngles(misc::zvMemoryPoolList<Move>& list) {
  using Traits = zvMoveTraits<Move>;
  if (list.GetCount() < 2) return;
  struct Axis {
    double carried = 0;  // whole turns, in degrees: exact
    double previous = 0;

    bool IsFar(double winded) const { return std::fabs(winded - previous) > 180.0; }
    // Adds turns to what is carried so that the angle lies near the last one.
    void Wind(double raw) {
      constexpr double kLargestTurns = 2147483646;
      const double more = misc::WindsBetween(previous, raw + carried);
      if (!(std::fabs(more) <= kLargestTurns)) throw zvPostException(5039);
      carried += misc::kFullTurnDeg * more;
    }
  };
  Axis axes[Traits::kAxes];
  auto move = list.begin();
  for (int axis = 0; axis < Traits::kAxes; ++axis) axes[axis].previous = Traits::Angle(*move, axis);
  while (++move != list.end()) {
    list.PrefetchAfter(*move);
    for (int axis = 0; axis < Traits::kAxes; ++axis) {
      Axis& a = axes[axis];
      const double raw = Traits::Angle(*move, axis);
      if (a.IsFar(raw + a.carried)) [[unlikely]]
        a.Wind(raw);
      a.previous = raw + a.carried;
      if (a.carried != 0) Traits::SetAngle(*move, axis, a.previous);
    }
  }
}

}  // namespace post
