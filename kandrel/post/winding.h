// Winding: from angles of the circle to continuous ones.
#pragma once

#include <kandrel/misc/angles.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/move_traits.h>
#include <kandrel/post/post_exception.h>

#include <array>
#include <cmath>

namespace post {

/// Adds whole turns to the angles of each move so that none is more than half a turn from the move
/// before; a difference of exactly half a turn stays. Linear: the turns are carried forward and
/// added to each angle once. Throws zvPostException 5039 for more than 2^31 - 2 turns at once.
template <class Move>
void CalcWindedAngles(misc::zvMemoryPoolList<Move>& list) {
  using Traits = zvMoveTraits<Move>;
  if (list.GetCount() < 2) return;
  constexpr double kLargestTurns = 2147483646;
  std::array<double, Traits::kAxes> turns{};
  std::array<double, Traits::kAxes> previous;
  auto move = list.begin();
  for (int axis = 0; axis < Traits::kAxes; ++axis) previous[axis] = Traits::Angle(*move, axis);
  while (++move != list.end()) {
    for (int axis = 0; axis < Traits::kAxes; ++axis) {
      const double raw = Traits::Angle(*move, axis);
      double winded = raw + misc::kFullTurnDeg * turns[axis];
      if (std::fabs(winded - previous[axis]) > 180.0) {
        const double more = misc::WindsBetween(previous[axis], winded);
        if (!(std::fabs(more) <= kLargestTurns)) throw zvPostException(5039);
        turns[axis] += more;
        winded = raw + misc::kFullTurnDeg * turns[axis];
      }
      if (turns[axis] != 0) Traits::SetAngle(*move, axis, winded);
      previous[axis] = winded;
    }
  }
}

}  // namespace post
