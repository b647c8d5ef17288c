// Numbers of JSON text.
#pragma once

#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string_view>

#include "kandrel-post/host/errors.h"

namespace kandrel_post {

/// A number; whole ones are written as such: 100000, not 1e+05 or 100000.0. Fails with error 0 for
/// one that is not finite, of which `what` is said.
inline nlohmann::ordered_json JsonNumber(double value, std::string_view what) {
  if (!std::isfinite(value))
    Fail(fmt::format("{} with a number that is not finite can't be JSON", what));
  constexpr double kExact = 9007199254740992.0;
  if (std::abs(value) <= kExact && std::trunc(value) == value && !std::signbit(value))
    return static_cast<std::uint64_t>(value);
  if (std::abs(value) <= kExact && std::trunc(value) == value && value != 0)
    return static_cast<std::int64_t>(value);
  return value;
}

}  // namespace kandrel_post
