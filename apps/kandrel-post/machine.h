// A machine as this program handles it, and where it comes from.
#pragma once

#include <kandrel/post/mach_def_builder.h>

#include <string>
#include <string_view>
#include <vector>

namespace kandrel_post {

struct Machine {
  std::string name;  ///< of the preset, or of the file without its folder and ending
  post::zvMachDefBuilder builder;
};

/// 3 to 6.
int AxisCount(const Machine& machine);

/// "metric" or "inch".
std::string_view UnitsWord(measures::zvUnitsFactory::Units units);

/// Axis names as UTF-8.
std::vector<std::string> AxisNames(const Machine& machine);

/// Makes the machine of a MACHINE argument: preset:NAME or a .json file. Throws UsageError for an
/// argument of another form or an unknown preset, and error 0 for a file that can't be read.
Machine LoadMachine(const std::string& argument);

}  // namespace kandrel_post
