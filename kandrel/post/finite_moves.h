// Posted numbers that no machine can read: infinite ones and NaN.
#pragma once

#include <kandrel/post/mirror_angle.h>
#include <kandrel/post/move_traits.h>
#include <kandrel/post/post_exception.h>
#include <kandrel/post/posted_move.h>

namespace post {

/// 0 where positions, feed and time of the move are finite, else NaN: sums of it tell it of many.
inline double NoNumberIn(const zvPostedMove& move) noexcept {
  const auto& p_mach = move.GetMachinePosition();
  const auto& p_part = move.GetPartPosition();
  return p_mach.x * 0 + p_mach.y * 0 + p_mach.z * 0 + p_part.x * 0 + p_part.y * 0 + p_part.z * 0 +
         move.GetFeed() * 0 + move.GetMoveTime() * 0;
}

/// The same with the rotary angles.
template <class Move>
requires requires {
  zvMoveTraits<Move>::kAxes;
}
double NoNumberIn(const Move& move) noexcept {
  double sum = NoNumberIn(static_cast<const zvPostedMove&>(move));
  for (int axis = 0; axis < zvMoveTraits<Move>::kAxes; ++axis)
    sum += zvMoveTraits<Move>::Angle(move, axis) * 0;
  return sum;
}

inline double NoNumberIn(const zvSolutionPair& pair) noexcept {
  const auto& p_mach = pair.second.machinePosition;
  return NoNumberIn(pair.first) + p_mach.x * 0 + p_mach.y * 0 + p_mach.z * 0 +
         pair.second.firstAngle * 0 + pair.second.secondAngle * 0;
}

/// Throws zvPostException 5039 unless the sum is 0.
inline void RequireNumbers(double sum) {
  if (!(sum == 0)) throw zvPostException(5039);
}

}  // namespace post
