// Toolpaths made by formulas, for a first try and for tests.
#pragma once

#include <kandrel/cadcam/tool_path.h>

#include <span>
#include <string_view>

namespace kandrel_post {

struct Sample {
  std::string_view name;
  std::string_view description;
  cadcam::zvToolPath (*make)();
};

std::span<const Sample> Samples();

/// Throws UsageError, which lists the names, for a name that is none of them.
const Sample& FindSample(std::string_view name);

}  // namespace kandrel_post
