// zvPostingCounts: what a posting did beyond solving its moves.
#pragma once

#include <cstdint>

namespace post {

struct zvPostingCounts {
  std::uint32_t blendedPoles = 0;
  std::uint32_t largeJumps = 0;
  std::uint32_t rewindings = 0;
};

}  // namespace post
