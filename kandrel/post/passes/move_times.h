// Move times of a finished posted list.
#pragma once

#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/polled_end.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/finite_moves.h>
#include <kandrel/post/model/posted_move.h>

#include <cmath>

namespace post {

/// The time in seconds of a move that comes after another: 0 for a feed within 1e-12 of 0, else the
/// distance of the part positions divided by the feed per minute. Rapid moves are timed by the feed
/// that they carry.
inline double MoveTime(const zvPostedMove& previous, const zvPostedMove& move) {
  const double feed = move.GetFeed();
  return std::fabs(feed) < misc::kEqual ? 0 : PartDistance(previous, move) / feed * 60;
}

/// Sets the time of each move, 0 for the first; a list of one move keeps its time. Throws
/// zvPostException 5039 for a list in which a machine position, feed or time is infinite or NaN.
template <class Move>
void ComputeMoveTimes(misc::zvMemoryPoolList<Move>& list) {
  if (list.IsEmpty()) return;
  auto move = list.begin();
  if (list.GetCount() > 1) move->SetMoveTime(0);
  double sum = 0;
  AddNumbers(*move, sum);
  misc::zvPolledEnd end(list);
  for (const Move* previous = &*move; end.IsBefore(++move); previous = &*move) {
    move->SetMoveTime(MoveTime(*previous, *move));
    AddNumbers(*move, sum);
  }
  RequireNumbers(list, sum);
}

}  // namespace post
