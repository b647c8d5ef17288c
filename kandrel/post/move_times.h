// Move times of a finished posted list.
#pragma once

#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/tolerances.h>

#include <cmath>

namespace post {

/// Sets each move's time in seconds: 0 for the first move and for a feed within 1e-12 of 0, else
/// the distance of the part positions divided by the feed per minute. A list of one move or none
/// keeps its times. Rapid moves are timed by the feed that they carry.
template <class Move>
void ComputeMoveTimes(misc::zvMemoryPoolList<Move>& list) {
  if (list.GetCount() < 2) return;
  auto move = list.begin();
  move->SetMoveTime(0);
  for (const Move* previous = &*move; ++move != list.end(); previous = &*move) {
    const double feed = move->GetFeed();
    const double distance = (move->GetPartPosition() - previous->GetPartPosition()).Length();
    move->SetMoveTime(std::fabs(feed) < misc::kEqual ? 0 : distance / feed * 60);
  }
}

}  // namespace post
