// A posted move of any machine, as the writers see it.
#pragma once

#include <kandrel/post/model/posted_move.h>

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

/// The row of a move of whatever class. It refers to the move.
PostedRow RowOf(const post::zvPostedMove& move);

}  // namespace kandrel_post
