// The built-in machines: each a file of machines/presets.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kandrel-post/machine/machine.h"

namespace kandrel_post {

struct Preset {
  std::string name;
  std::string description;
  std::string json;  ///< the machine in the JSON form that files have
};

/// By name, in ascending order.
const std::vector<Preset>& Presets();

/// Throws UsageError, which lists the names, for a name that is none of them.
Machine MakePreset(std::string_view name);

}  // namespace kandrel_post
