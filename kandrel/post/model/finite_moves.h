// Numbers of moves that can't be meant, and that no machine can read: infinite ones and NaN.
#pragma once

#include <kandrel/cadcam/cnc_move.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/polled_end.h>
#include <kandrel/post/model/mirror_angle.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posted_move.h>

#include <cmath>

namespace post {

/// Throws zvPostException 5039 for a position or orientation that is infinite or NaN.
KANDREL_API void RequireFinite(const cadcam::zvCNCMove& move);

/// For a posting of `toolpath` that has failed: where `failure` is 5039 without a cause and a move
/// of the path has a number that is not finite, throws it anew, with the first such move as its
/// cause.
KANDREL_API void TellWhichMove(const zvPostException& failure, const cadcam::zvToolPath& toolpath);

/// Adds to a sum that stays finite only where machine position, feed and time of all moves are: a
/// cheap first look. Part positions, orientations and angles are finite already.
inline void AddNumbers(const zvPostedMove& move, double& sum) noexcept {
  const auto& p_mach = move.GetMachinePosition();
  sum = sum + p_mach.x + p_mach.y + p_mach.z + move.GetFeed() + move.GetMoveTime();
}

/// Throws zvPostException 5039 for a move whose machine position, feed or time is infinite or NaN.
inline void RequireNumbers(const zvPostedMove& move) {
  if (!IsFinite(move.GetMachinePosition()) || !std::isfinite(move.GetFeed()) ||
      !std::isfinite(move.GetMoveTime()))
    throw zvPostException(zvPostException::kInvalidVector);
}

/// The same for both solutions of a move.
inline void RequireNumbers(const zvSolutionPair& pair) {
  RequireNumbers(pair.first);
  if (!IsFinite(pair.second.machinePosition))
    throw zvPostException(zvPostException::kInvalidVector);
}

/// The same for a list, whose moves have this sum. Only where that isn't finite, maybe because it
/// is too large, is the list walked.
template <class Move>
void RequireNumbers(const misc::zvMemoryPoolList<Move>& list, double sum) {
  if (std::isfinite(sum)) return;
  misc::zvPolledEnd end(list);
  for (auto move = list.begin(); end.IsBefore(move); ++move) RequireNumbers(*move);
}

}  // namespace post
