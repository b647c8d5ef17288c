// A tool as JSON and in words.
#pragma once

#include <kandrel/cadcam/tools/tool.h>

#include <string>

namespace kandrel_post {

/// Type, units, diameter and lengths, the type's own parameters, the shoulder, and the profiles of
/// the parts as lists of [radius, height]. Of a part that is no revolved solid only its kind is
/// told; null is one that isn't defined. Fails with error 0 for a number that is not finite.
std::string ToolToJson(const cadcam::zvTool& tool);

/// The same for a reader, whatever the numbers are.
std::string DescribeTool(const cadcam::zvTool& tool);

}  // namespace kandrel_post
