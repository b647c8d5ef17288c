// The built-in machines.
#pragma once

#include <span>
#include <string_view>

#include "machine.h"

namespace kandrel_post {

struct Preset {
  std::string_view name;
  std::string_view description;
  std::string_view json;  ///< the machine in the JSON form that files have
};

std::span<const Preset> Presets();

/// Throws UsageError, which lists the names, for a name that is none of them.
Machine MakePreset(std::string_view name);

}  // namespace kandrel_post
