// zvMoveTraits: what the passes over posted lists need to know of a class of move.
#pragma once

#include <kandrel/misc/angles.h>
#include <kandrel/post/posted_move.h>

namespace post {

/// The rotary angles of a posted move by index.
template <class Move>
struct zvMoveTraits;

template <>
struct zvMoveTraits<zvPosted4axMove> {
  static constexpr int kAxes = 1;
  static double Angle(const zvPosted4axMove& move, int) noexcept { return move.GetRotaryAngle(); }
  static void SetAngle(zvPosted4axMove& move, int, double deg) noexcept {
    move.SetRotaryAngle(deg);
  }
};

template <>
struct zvMoveTraits<zvPosted5axMove> {
  static constexpr int kAxes = 2;
  static double Angle(const zvPosted5axMove& move, int axis) noexcept {
    return move.GetAngle(static_cast<std::int16_t>(axis));
  }
  static void SetAngle(zvPosted5axMove& move, int axis, double deg) noexcept {
    move.SetAngle(deg, static_cast<std::int16_t>(axis));
  }
};

}  // namespace post
