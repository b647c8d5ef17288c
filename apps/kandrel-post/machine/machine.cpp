#include "kandrel-post/machine/machine.h"

#include <kandrel/misc/text.h>
#include <kandrel/misc/units_factory.h>
#include <kandrel/post/model/mach_def_utils.h>

namespace kandrel_post {

int AxisCount(const Machine& machine) {
  return post::zvMachDefUtils::GetNumberOfAxes(machine.builder.GetMachDef());
}

std::string_view UnitsWord(measures::zvUnitsFactory::Units units) {
  return units == measures::zvUnitsFactory::inch ? "inch" : "metric";
}

std::vector<std::string> AxisNames(const Machine& machine) {
  std::vector<std::string> names;
  for (const std::wstring& name : machine.builder.GetAxisNames())
    names.push_back(misc::ToUtf8(name));
  return names;
}

}  // namespace kandrel_post
