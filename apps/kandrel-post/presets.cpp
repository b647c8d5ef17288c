#include "presets.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string>

#include "errors.h"
#include "machine_json.h"

namespace kandrel_post {

namespace {

constexpr auto kPresets = std::to_array<Preset>({
    {"gantry3", "3 axes, metric: large gantry mill, 12 m by 4 m by 1.5 m", R"({
  "axes": 3, "units": "metric", "names": ["X", "Y", "Z"],
  "minLimits": [0, -2000, -1500], "maxLimits": [12000, 2000, 0]
})"},
    {"mill3_inch", "3 axes, inch: machining centre, 40 by 24 by 24 in", R"({
  "axes": 3, "units": "inch", "names": ["X", "Y", "Z"],
  "minLimits": [-20, -12, -12], "maxLimits": [20, 12, 12]
})"},
    {"mill3_metric", "3 axes, metric: machining centre, 1000 by 800 by 600 mm", R"({
  "axes": 3, "units": "metric", "names": ["X", "Y", "Z"],
  "minLimits": [-500, -400, -300], "maxLimits": [500, 400, 300]
})"},
});

}  // namespace

std::span<const Preset> Presets() {
  return kPresets;
}

Machine MakePreset(std::string_view name) {
  const auto preset = std::find_if(kPresets.begin(), kPresets.end(),
                                   [&](const Preset& p) { return p.name == name; });
  if (preset != kPresets.end())
    return {std::string(name), ParseMachine(preset->json, fmt::format("preset:{}", name))};
  std::string names;
  for (const Preset& p : kPresets) names += fmt::format("{}{}", names.empty() ? "" : ", ", p.name);
  throw UsageError(fmt::format("{}: no such preset; there are {}", Printable(name), names));
}

}  // namespace kandrel_post
