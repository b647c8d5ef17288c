// zvLimitType: names one violated limit.
#pragma once

#include <cstdint>

namespace post {

/// One side of the range of one axis: what a check of limits returns.
struct zvLimitType {
  static constexpr std::int32_t kX = 0;
  static constexpr std::int32_t kY = 1;
  static constexpr std::int32_t kZ = 2;
  static constexpr std::int32_t kFirstRotary = 3;
  static constexpr std::int32_t kSecondRotary = 4;
  static constexpr std::int32_t kMinimum = 0;
  static constexpr std::int32_t kMaximum = 1;

  /// The default names no limit: zero would mean the minimum of x.
  std::int32_t limitAxis = 5;
  std::int32_t limitSide = 2;

  /// True for an axis that is none of the five.
  bool IsNone() const noexcept { return limitAxis < kX || limitAxis > kSecondRotary; }
  bool operator==(const zvLimitType&) const = default;
};

}  // namespace post
