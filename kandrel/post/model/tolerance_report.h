// zvToleranceReport: where a posting could not hold its path tolerance.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace post {

/// What the last posting with a path tolerance has left out of it; all 0 where the tolerance is
/// held by every feed block, and without one. Lengths are in the path's units, angles in degrees.
struct zvToleranceReport {
  /// A line whose block, from the line before to it, leaves the path.
  struct Line {
    std::uint32_t index = 0;   ///< in the posted list, from 0
    std::int32_t source = -1;  ///< of its extended block; -1 for a small move
    double tip = 0;            ///< bounds of what the block leaves the path by
    double axis = 0;
  };
  /// How many lines are kept.
  static constexpr std::size_t kMostLines = 16;

  std::uint32_t count = 0;               ///< of all such lines
  std::array<Line, kMostLines> lines{};  ///< the first of them
  double largestTip = 0;                 ///< of all such lines
  double largestAxis = 0;

  /// Adds a block that leaves the path by more than the tolerance: the index of its later line,
  /// that line's source, and bounds of what tip and axis leave it by.
  void Add(std::uint32_t index, std::int32_t source, double tip, double axis) noexcept {
    if (count < kMostLines) lines[count] = {index, source, tip, axis};
    ++count;
    largestTip = std::max(largestTip, tip);
    largestAxis = std::max(largestAxis, axis);
  }
  /// Whether no block was added. So it is also where no tolerance was set, or nothing posted:
  /// zvPathTolerance::IsOn says whether there was one to hold.
  bool IsHeld() const noexcept { return count == 0; }
  /// How many of `lines` are set.
  std::size_t GetLineCount() const noexcept { return count < kMostLines ? count : kMostLines; }
};

}  // namespace post
