#include "kandrel-post/out/json_text.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdint>

#include "kandrel-post/host/errors.h"

namespace kandrel_post {

nlohmann::ordered_json JsonNumber(double value, std::string_view what) {
  if (!std::isfinite(value))
    Fail(fmt::format("{} with a number that is not finite can't be JSON", what));
  constexpr double kExact = 9007199254740992.0;
  if (std::abs(value) <= kExact && std::trunc(value) == value && !std::signbit(value))
    return static_cast<std::uint64_t>(value);
  if (std::abs(value) <= kExact && std::trunc(value) == value && value != 0)
    return static_cast<std::int64_t>(value);
  return value;
}

std::string JsonText(const nlohmann::ordered_json& object) {
  std::string text;
  for (const auto& item : object.items())
    text +=
        fmt::format("{} \"{}\": {}", text.empty() ? "{" : ",\n", item.key(), item.value().dump());
  return text + "}\n";
}

}  // namespace kandrel_post
