// Thinning: drops moves that a refinement has made denser than needed.
#pragma once

#include <kandrel/misc/memory_pool_list.h>

#include <iterator>

namespace post {

/// Drops each move strictly between two where the steps from the move before to it and past it are
/// both within the step, `isWithinStep(a, b)`. After a drop the walk goes one pair back, as the
/// step past the dropped move has become another: linear, and no droppable move stays.
template <class Move, class IsWithinStep>
void ThinOut(misc::zvMemoryPoolList<Move>& list,
             typename misc::zvMemoryPoolList<Move>::iterator from,
             typename misc::zvMemoryPoolList<Move>::iterator to, const IsWithinStep& isWithinStep) {
  auto anchor = from;
  auto candidate = std::next(from);
  while (candidate != to) {
    const auto after = std::next(candidate);
    if (isWithinStep(*anchor, *candidate) && isWithinStep(*anchor, *after)) {
      list.Erase(candidate);
      if (anchor != from) --anchor;
      candidate = std::next(anchor);
    } else {
      anchor = candidate;
      candidate = after;
    }
  }
}

}  // namespace post
