// Large angle jumps: rotary motion too large to be cut is made off the part.
#pragma once

#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/polled_end.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/move_traits.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace post {

/// What makes a feed move too large a turn to be cut, degrees.
struct zvJumpRules {
  double maxAngleJump;
  /// Turns below this, per axis, need not be asked for a leap; infinite where none is to be.
  double smallestLeap = std::numeric_limits<double>::infinity();
};

/// Where a feed move's circular angle distance from the move before is above `maxAngleJump`, or
/// `leaps(previous, current)`, puts `lift(previous)` and `drop(current)` before it: the tool leaves
/// at the angles of the one, swings, and comes down at those of the other. Rapid moves get none.
/// Returns the number of jumps. `lift` and `drop` are the same callable `retract`, which may throw;
/// what is inserted until then stays. `largestStep` is what CalcWindedAngles returned for the list.
template <class Move, class Retract, class Leaps>
std::uint32_t HandleLargeAngleJumps(misc::zvMemoryPoolList<Move>& list, double largestStep,
                                    const zvJumpRules& rules, const Retract& retract,
                                    const Leaps& leaps) {
  using Traits = zvMoveTraits<Move>;
  // Wound neighbours are within half a turn, where the plain difference is the circular distance up
  // to rounding: it decides all but the borderline cases.
  const double smallest = std::min(rules.maxAngleJump - misc::kAngleBorder, rules.smallestLeap);
  if (largestStep < smallest || list.GetCount() < 2) return 0;
  std::uint32_t jumps = 0;
  auto previous = list.begin();
  auto current = previous;
  misc::zvPolledEnd end(list);
  for (++current; end.IsBefore(current); previous = current, ++current) {
    list.PrefetchAfter(*current);
    if (current->IsRapid()) continue;
    double plain = 0;
    for (int axis = 0; axis < Traits::kAxes; ++axis)
      plain = std::max(plain,
                       std::fabs(Traits::Angle(*current, axis) - Traits::Angle(*previous, axis)));
    if (plain < smallest) continue;
    if (!(rules.maxAngleJump < previous->AngleDistance(*current)) &&
        !(plain >= rules.smallestLeap && leaps(*previous, *current)))
      continue;
    Move lift = retract(*previous);
    Move drop = retract(*current);
    if (!current->HasNoExtended()) {
      lift.SetExtended(true);
      lift.SetSourceIndex(previous->HasNoExtended() ? 0 : previous->GetSourceIndex());
      lift.SetInserted(true);
      drop.SetInserted(true);
    }
    list.Insert(current, std::move(lift));
    list.Insert(current, std::move(drop));
    ++jumps;
  }
  return jumps;
}

/// The same without leaps.
template <class Move, class Retract>
std::uint32_t HandleLargeAngleJumps(misc::zvMemoryPoolList<Move>& list, double largestStep,
                                    double maxAngleJump, const Retract& retract) {
  return HandleLargeAngleJumps(list, largestStep, zvJumpRules{maxAngleJump}, retract,
                               [](const Move&, const Move&) { return false; });
}

}  // namespace post
