#include "kandrel-post/machine/machine.h"

#include <fmt/format.h>
#include <kandrel/misc/text.h>
#include <kandrel/misc/units_factory.h>
#include <kandrel/post/model/mach_def_utils.h>

#include <cstddef>

#include "kandrel-post/host/errors.h"
#include "kandrel-post/out/axis_words.h"

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

std::vector<std::string> NamesByAxis(const Machine& machine) {
  std::vector<std::string> names = AxisNames(machine);
  names.resize(static_cast<std::size_t>(AxisCount(machine)));
  return names;
}

std::vector<std::string> ShownAxisNames(const Machine& machine) {
  std::vector<std::string> names = NamesByAxis(machine);
  for (std::size_t i = 0; i < names.size(); ++i)
    names[i] = names[i].empty() ? kDefaultAxisNames[i] : Printable(names[i]);
  return names;
}

std::vector<std::string> LostDataInWords(const Machine& machine) {
  std::vector<std::string> sentences;
  for (const misc::zvBILostData& lost : machine.lostData) {
    switch (lost.code) {
      case 5:
        sentences.emplace_back(
            "the directions of the rotary axes have changed places: the second was parallel to the "
            "spindle");
        break;
      case 6:
        sentences.emplace_back(
            "the direction of the second rotary axis was replaced by one at right angles: both "
            "were parallel to the spindle");
        break;
      default:
        sentences.push_back(fmt::format("the machine was changed on reading (code {})", lost.code));
    }
  }
  return sentences;
}

}  // namespace kandrel_post
