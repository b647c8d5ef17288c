// The TYPE argument and the settings of tools of the command line.
#pragma once

#include <kandrel/cadcam/tools/tool.h>
#include <kandrel/misc/auto_pointer.h>

#include <string>
#include <vector>

namespace kandrel_post {

/// The default tool of a type, without its checks; with settings a tool made of the default's
/// values and these, with all checks. `units` converts the default before anything else is set; a
/// shoulder of which one number is set takes the other from the type. Throws UsageError for an
/// unknown type or name and a value that is none, and what the tool's constructor throws.
misc::zvAutoPointer<cadcam::zvTool> MakeTool(const std::string& type,
                                             const std::vector<std::string>& settings);

}  // namespace kandrel_post
