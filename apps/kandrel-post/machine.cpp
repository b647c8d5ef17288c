#include "machine.h"

#include <fmt/format.h>
#include <kandrel/misc/text.h>
#include <kandrel/post/mach_def_utils.h>

#include <filesystem>

#include "errors.h"
#include "machine_json.h"
#include "presets.h"

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

Machine LoadMachine(const std::string& argument) {
  constexpr std::string_view kPreset = "preset:";
  if (argument.starts_with(kPreset)) return MakePreset(argument.substr(kPreset.size()));
  const std::filesystem::path path(argument);
  if (path.extension() == ".json") return ReadMachineFile(argument);
  if (path.extension() == ".xml" || path.extension() == ".kds")
    Fail(fmt::format("{}: machine descriptions in this form are not read yet", argument));
  throw UsageError(
      fmt::format("{}: preset:NAME or a .json file expected as the machine", Printable(argument)));
}

}  // namespace kandrel_post
