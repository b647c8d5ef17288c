// A posted move of any machine, as the writers see it.
#pragma once

#include <kandrel/post/posted_move.h>

#include <array>
#include <cstdint>
#include <optional>

namespace kandrel_post {

struct PostedRow {
  const post::zvPostedMove& move;
  std::array<double, 3> angles{};  ///< degrees; the first rotaryCount of them
  int rotaryCount = 0;
  std::optional<std::uint32_t> pole;  ///< of five and six axes
};

inline PostedRow RowOf(const post::zvPosted3axMove& move) {
  return {move, {}, 0, {}};
}
inline PostedRow RowOf(const post::zvPosted4axMove& move) {
  return {move, {move.GetRotaryAngle()}, 1, {}};
}
inline PostedRow RowOf(const post::zvPosted5axMove& move) {
  return {move, {move.GetAngle(0), move.GetAngle(1)}, 2, move.GetPoleStatus()};
}
inline PostedRow RowOf(const post::zvPosted6axMove& move) {
  return {move, {move.GetAngle(0), move.GetAngle(1), move.GetAngle(2)}, 3, move.GetPoleStatus()};
}

}  // namespace kandrel_post
