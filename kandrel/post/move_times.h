// Move times of a finished posted list.
#pragma once

#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/posted_move.h>

#include <cmath>

namespace post {

/// The time in seconds of a move that comes after another: 0 for a feed within 1e-12 of 0, else the
/// distance of the part positions divided by the feed per minute. Rapid moves are timed by the feed
/// that they carry.
inline double MoveTime(const zvPostedMove& previous, const zvPostedMove& move) {
  const double feed = move.GetFeed();
  return std::fabs(feed) < misc::kEqual ? 0 : PartDistance(previous, move) / feed * 60;
}

/// Sets the time of each move, 0 for the first. A list of one move or none keeps its times.
template <class Move>
void ComputeMoveTimes(misc::zvMemoryPoolList<Move>& list) {
  if (list.GetCount() < 2) return;
  auto move = list.begin();
  move->SetMoveTime(0);
  for (const Move* previous = &*move; ++move != list.end(); previous = &*move)
    move->SetMoveTime(MoveTime(*previous, *move));
}

}  // namespace post
