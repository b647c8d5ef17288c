// zvMoveTraits: what the passes over posted lists need to know of a class of move.
#pragma once

#include <kandrel/misc/angles.h>
#include <kandrel/post/model/posted_move.h>

#include <cstdint>

namespace post {

/// The rotary angles of a posted move by index, and whether one is undetermined: at its pole.
template <class Move>
struct zvMoveTraits;

/// Of one axis, whose index is not looked at. Such moves carry no pole status.
template <>
struct zvMoveTraits<zvPosted4axMove> {
  /// The index is not looked at; nothing is ever at a pole.
  static constexpr int kAxes = 1;
  static double Angle(const zvPosted4axMove& move, int) noexcept { return move.GetRotaryAngle(); }
  static void SetAngle(zvPosted4axMove& move, int, double deg) noexcept {
    move.SetRotaryAngle(deg);
  }
  static bool IsAtPoleOf(const zvPosted4axMove&, int) noexcept { return false; }
  static void LeavePole(zvPosted4axMove&) noexcept {}
};

/// Of axes 0 and 1; at a pole one of the two is undetermined.
template <>
struct zvMoveTraits<zvPosted5axMove> {
  /// Index 0 is the first axis, 1 the second; degrees.
  static constexpr int kAxes = 2;
  static double Angle(const zvPosted5axMove& move, int axis) noexcept {
    return move.GetAngle(static_cast<std::int16_t>(axis));
  }
  static void SetAngle(zvPosted5axMove& move, int axis, double deg) noexcept {
    move.SetAngle(deg, static_cast<std::int16_t>(axis));
  }
  static bool IsAtPoleOf(const zvPosted5axMove& move, int axis) noexcept {
    return move.GetPoleStatus() == static_cast<std::uint32_t>(axis) + 1;
  }
  static void LeavePole(zvPosted5axMove& move) noexcept { move.SetPoleStatus(kDetermined); }
};

}  // namespace post
