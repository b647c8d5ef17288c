#include "kandrel-post/commands/tool_argument.h"

#include <fmt/format.h>
#include <kandrel/cadcam/tools/generic_revolved_tool.h>
#include <kandrel/cadcam/tools/lathe_tool.h>
#include <kandrel/cadcam/tools/tool_types.h>
#include <kandrel/cadcam/tools/typed_revolved_tool.h>
#include <kandrel/misc/units_factory.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>

#include "kandrel-post/commands/parameters.h"
#include "kandrel-post/host/errors.h"

namespace kandrel_post {

namespace {

using cadcam::zvToolType;
using cadcam::zvToolValues;
using measures::zvUnitsFactory;

struct Setting {
  std::string_view text;
  std::string_view name;
  std::string_view value;
};

Setting Split(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos)
    throw UsageError(fmt::format("{}: NAME=VALUE expected", Printable(text)));
  const std::string_view all = text;
  return {all, all.substr(0, equals), all.substr(equals + 1)};
}

[[noreturn]] void FailExpected(const Setting& setting, std::string_view what) {
  throw UsageError(fmt::format("{}: {} expected", Printable(setting.text), what));
}

double Number(const Setting& setting) {
  const std::optional<double> number = FiniteNumber(setting.value);
  if (!number) FailExpected(setting, "a number");
  return *number;
}

/// Where a setting goes.
struct Target {
  const zvToolType& type;
  zvToolValues values;
  std::optional<double> shoulderDiameter{};
  std::optional<double> shoulderBaseLength{};

  void Apply(const Setting& setting);
  /// Where one length is both, a shoulder length may be set to the flute length alone.
  void CheckOneLength(const std::vector<Setting>& settings) const;

 private:
  std::string Names() const;
};

std::string Target::Names() const {
  std::string names = "units, diameter, fluteLength";
  if (!type.hasOneLength) names += ", shoulderLength";
  for (const cadcam::zvToolParameter parameter : type.parameters)
    names += fmt::format(", {}", RowOf(parameter).name);
  return names + ", shoulderDiameter, shoulderBaseLength";
}

void Target::Apply(const Setting& setting) {
  if (setting.name == "diameter") {
    values.numbers.diameter = Number(setting);
  } else if (setting.name == "fluteLength") {
    values.numbers.fluteLength = Number(setting);
  } else if (setting.name == "shoulderLength") {
    values.numbers.shoulderLength = Number(setting);
  } else if (setting.name == "shoulderDiameter") {
    shoulderDiameter = Number(setting);
  } else if (setting.name == "shoulderBaseLength") {
    shoulderBaseLength = Number(setting);
  } else {
    for (const cadcam::zvToolParameter parameter : type.parameters) {
      if (RowOf(parameter).name != setting.name) continue;
      if (!SetParameter(values.numbers, parameter, Number(setting)))
        FailExpected(setting, "a whole number from 0 to 4294967295");
      return;
    }
    throw UsageError(fmt::format("{}: NAME=VALUE expected, where NAME is one of {}",
                                 Printable(setting.text), Names()));
  }
}

void Target::CheckOneLength(const std::vector<Setting>& settings) const {
  if (!type.hasOneLength) return;
  for (const Setting& setting : settings)
    if (setting.name == "shoulderLength" && Number(setting) != values.numbers.fluteLength)
      throw UsageError(fmt::format("{}: {} expected, the fluteLength: {} has one length for both",
                                   Printable(setting.text), values.numbers.fluteLength, type.name));
}

void ApplyUnits(cadcam::zvTool& tool, const Setting& setting) {
  if (setting.value == "inch")
    tool.SetUnits(zvUnitsFactory::inch);
  else if (setting.value == "metric")
    tool.SetUnits(zvUnitsFactory::metric);
  else
    FailExpected(setting, "metric or inch");
}

misc::zvAutoPointer<cadcam::zvTool> MakeTyped(const zvToolType& type,
                                              const std::vector<std::string>& texts) {
  auto tool = type.makeDefault();
  if (texts.empty()) return tool;
  std::vector<Setting> settings(texts.size());
  std::transform(texts.begin(), texts.end(), settings.begin(), &Split);
  for (const Setting& setting : settings)
    if (setting.name == "units") ApplyUnits(*tool, setting);
  Target target{type, tool->GetValues()};
  for (const Setting& setting : settings)
    if (setting.name != "units") target.Apply(setting);
  target.CheckOneLength(settings);
  if (target.shoulderDiameter || target.shoulderBaseLength) {
    double diameter = target.shoulderDiameter.value_or(0);
    double baseLength = target.shoulderBaseLength.value_or(0);
    if (!target.shoulderDiameter || !target.shoulderBaseLength) {
      const auto plain = type.make(target.values);
      if (!target.shoulderDiameter) diameter = plain->GetShoulderDefinition().GetShoulderDiameter();
      if (!target.shoulderBaseLength)
        baseLength = plain->GetShoulderDefinition().GetShoulderBaseLength();
    }
    target.values.shoulder.emplace(diameter, baseLength, target.values.units);
  }
  return type.make(target.values);
}

}  // namespace

misc::zvAutoPointer<cadcam::zvTool> MakeTool(const std::string& type,
                                             const std::vector<std::string>& settings) {
  if (const zvToolType* typed = cadcam::FindToolType(type)) return MakeTyped(*typed, settings);
  misc::zvAutoPointer<cadcam::zvTool> tool;
  if (type == "zvGenericRevolvedTool")
    tool = misc::MakeAutoPointer<cadcam::zvGenericRevolvedTool>();
  if (type == "zvLatheTool") tool = misc::MakeAutoPointer<cadcam::zvLatheTool>();
  if (!tool)
    throw UsageError(fmt::format("{}: a type of tool expected; kandrel-post tool list names them",
                                 Printable(type)));
  for (const std::string& text : settings) {
    const Setting setting = Split(text);
    if (setting.name != "units")
      throw UsageError(fmt::format("{}: {} is told by its parts; units alone can be set",
                                   Printable(text), type));
    ApplyUnits(*tool, setting);
  }
  return tool;
}

}  // namespace kandrel_post
