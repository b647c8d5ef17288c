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
    {"fork_ca", "5 axes, metric: gantry with a fork head, C within a turn each way, A tilts 110",
     R"({
  "axes": 5, "units": "metric", "names": ["X", "Y", "Z", "C", "A"],
  "minLimits": [-1500, -1000, -500], "maxLimits": [1500, 1000, 1200],
  "fiveAxisKind": 1,
  "rotary": [{"direction": [0, 0, 1], "pivot": [0, 0, 0], "min": -360, "max": 360},
             {"direction": [1, 0, 0], "pivot": [0, 0, 250], "min": -110, "max": 110}]
})"},
    {"gantry3", "3 axes, metric: large gantry mill, 12 m by 4 m by 1.5 m", R"({
  "axes": 3, "units": "metric", "names": ["X", "Y", "Z"],
  "minLimits": [0, -2000, -1500], "maxLimits": [12000, 2000, 0]
})"},
    {"head_table_bc", "5 axes, metric: B swivels the head, C turns the table",
     R"({
  "axes": 5, "units": "metric", "names": ["X", "Y", "Z", "C", "B"],
  "minLimits": [-600, -400, -400], "maxLimits": [600, 400, 900],
  "fiveAxisKind": 2,
  "rotary": [{"direction": [0, 0, -1], "pivot": [0, 0, 0], "min": -100000, "max": 100000},
             {"direction": [0, 1, 0], "pivot": [0, 0, 180], "min": -110, "max": 110}]
})"},
    {"mill3_inch", "3 axes, inch: machining centre, 40 by 24 by 24 in", R"({
  "axes": 3, "units": "inch", "names": ["X", "Y", "Z"],
  "minLimits": [-20, -12, -12], "maxLimits": [20, 12, 12]
})"},
    {"mill3_metric", "3 axes, metric: machining centre, 1000 by 800 by 600 mm", R"({
  "axes": 3, "units": "metric", "names": ["X", "Y", "Z"],
  "minLimits": [-500, -400, -300], "maxLimits": [500, 400, 300]
})"},
    {"mill4_head_a", "4 axes, metric: A swivels the head by 110 degrees each way", R"({
  "axes": 4, "units": "metric", "names": ["X", "Y", "Z", "A"],
  "minLimits": [-1000, -600, -500], "maxLimits": [1000, 600, 800],
  "rotaryOnWorkpiece": 0,
  "rotary": [{"direction": [1, 0, 0], "pivot": [0, 0, 0], "min": -110, "max": 110}]
})"},
    {"mill4_table_a", "4 axes, metric: machining centre with a rotary table A, turns without end",
     R"({
  "axes": 4, "units": "metric", "names": ["X", "Y", "Z", "A"],
  "minLimits": [-500, -400, -300], "maxLimits": [500, 400, 500],
  "rotaryOnWorkpiece": 1,
  "rotary": [{"direction": [-1, 0, 0], "pivot": [0, 0, 0], "min": -100000, "max": 100000}]
})"},
    {"mill4_table_a_limited",
     "4 axes, metric: rotary table A that stops after five turns each way and must be rewound",
     R"({
  "axes": 4, "units": "metric", "names": ["X", "Y", "Z", "A"],
  "minLimits": [-500, -400, -300], "maxLimits": [500, 400, 500],
  "rotaryOnWorkpiece": 1,
  "rotary": [{"direction": [-1, 0, 0], "pivot": [0, 0, 0], "min": -1800, "max": 1800}]
})"},
    {"mill6_cb_w",
     "6 axes, metric: C turns the table, B swivels the head, W holds the spindle head",
     R"({
  "axes": 6, "units": "metric", "names": ["X", "Y", "Z", "C", "B", "W"],
  "minLimits": [-600, -400, -400], "maxLimits": [600, 400, 900],
  "rotary": [{"direction": [0, 0, -1], "pivot": [0, 0, 0], "min": -100000, "max": 100000},
             {"direction": [0, 1, 0], "pivot": [0, 0, 180], "min": -110, "max": 110},
             {"direction": [0, 0, 1], "pivot": [0, 0, 0]}],
  "thirdAngle": 0, "firstOnWorkpiece": 1, "secondOnWorkpiece": 0, "thirdOnWorkpiece": 0
})"},
    {"nutating_head_cb",
     "5 axes, metric: head whose B axis lies at 45 degrees, tilts to horizontal",
     R"({
  "axes": 5, "units": "metric", "names": ["X", "Y", "Z", "C", "B"],
  "minLimits": [-1500, -1000, -500], "maxLimits": [1500, 1000, 1200],
  "fiveAxisKind": 1,
  "rotary": [{"direction": [0, 0, 1], "pivot": [0, 0, 0], "min": -360, "max": 360},
             {"direction": [0, 0.70710678118654752, 0.70710678118654752], "pivot": [0, 0, 200], "min": -180, "max": 180}]
})"},
    {"nutating_table_cb", "5 axes, metric: C table on a B axis at 45 degrees, tilts to vertical",
     R"({
  "axes": 5, "units": "metric", "names": ["X", "Y", "Z", "C", "B"],
  "minLimits": [-500, -500, -300], "maxLimits": [500, 500, 700],
  "fiveAxisKind": 3,
  "rotary": [{"direction": [0, 0, -1], "pivot": [0, 0, 0], "min": -100000, "max": 100000},
             {"direction": [0, -0.70710678118654752, -0.70710678118654752], "pivot": [0, 0, -40], "min": -180, "max": 180}]
})"},
    {"table_table_cb", "5 axes, metric: C table on a B cradle, tool length left to the control",
     R"({
  "axes": 5, "units": "metric", "names": ["X", "Y", "Z", "C", "B"],
  "minLimits": [-500, -500, -400], "maxLimits": [500, 500, 600],
  "fiveAxisKind": 0,
  "rotary": [{"direction": [0, 0, -1], "pivot": [0, 0, 0], "min": -100000, "max": 100000},
             {"direction": [0, -1, 0], "pivot": [0, 0, -60], "min": -110, "max": 110}]
})"},
    {"trunnion_ca", "5 axes, metric: trunnion, C table on an A cradle that tilts -120 to 30",
     R"({
  "axes": 5, "units": "metric", "names": ["X", "Y", "Z", "C", "A"],
  "minLimits": [-500, -400, -300], "maxLimits": [500, 400, 700],
  "fiveAxisKind": 3,
  "rotary": [{"direction": [0, 0, -1], "pivot": [0, 0, 0], "min": -100000, "max": 100000},
             {"direction": [-1, 0, 0], "pivot": [0, 0, -50], "min": -120, "max": 30}]
})"},
    {"trunnion_ca_inch", "5 axes, inch: trunnion, C table on an A cradle that tilts -120 to 30",
     R"({
  "axes": 5, "units": "inch", "names": ["X", "Y", "Z", "C", "A"],
  "minLimits": [-20, -16, -12], "maxLimits": [20, 16, 28],
  "fiveAxisKind": 3,
  "rotary": [{"direction": [0, 0, -1], "pivot": [0, 0, 0], "min": -100000, "max": 100000},
             {"direction": [-1, 0, 0], "pivot": [0, 0, -2], "min": -120, "max": 30}]
})"},
    {"trunnion_ca_limited",
     "5 axes, metric: trunnion whose C stops after a turn each way and must be rewound",
     R"({
  "axes": 5, "units": "metric", "names": ["X", "Y", "Z", "C", "A"],
  "minLimits": [-500, -400, -300], "maxLimits": [500, 400, 700],
  "fiveAxisKind": 3,
  "rotary": [{"direction": [0, 0, -1], "pivot": [0, 0, 0], "min": -360, "max": 360},
             {"direction": [-1, 0, 0], "pivot": [0, 0, -50], "min": -120, "max": 30}]
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
