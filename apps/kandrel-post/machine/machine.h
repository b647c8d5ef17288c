// A machine as this program handles it.
#pragma once

#include <kandrel/misc/units_factory.h>
#include <kandrel/post/model/mach_def_builder.h>

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

}  // namespace kandrel_post
