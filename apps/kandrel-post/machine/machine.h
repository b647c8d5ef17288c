// A machine as this program handles it.
#pragma once

#include <kandrel/kintree/kintree_mach_def.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/basic_types_reader.h>
#include <kandrel/misc/units_factory.h>
#include <kandrel/post/model/mach_def_builder.h>

#include <string>
#include <string_view>
#include <vector>

namespace kandrel_post {

struct Machine {
  std::string name{};  ///< of the preset, or of the file without its folder and ending
  post::zvMachDefBuilder builder{};
  std::vector<misc::zvBILostData> lostData{};  ///< what a settings file had to be changed in
  std::vector<std::string> absentKeys{};  ///< of its JSON: "names", "rotary[0].min"; defaults stand
  /// The objects of the machine description file that the builder comes from; else null.
  misc::zvAutoPointer<kintree::zvKintreeMachDef> objects{};
};

/// 3 to 6.
int AxisCount(const Machine& machine);

/// "metric" or "inch".
std::string_view UnitsWord(measures::zvUnitsFactory::Units units);

/// Axis names as UTF-8, as they are: any texts, also more or fewer than axes.
std::vector<std::string> AxisNames(const Machine& machine);

/// A name for each axis, empty where it has none.
std::vector<std::string> NamesByAxis(const Machine& machine);

/// A name for each axis that can be shown: printable, and the default where it has none.
std::vector<std::string> ShownAxisNames(const Machine& machine);

/// What had to be changed, a sentence for each change.
std::vector<std::string> LostDataInWords(const Machine& machine);

}  // namespace kandrel_post
