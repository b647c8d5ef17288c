// Tools by the names of their types and parameters.
#pragma once

#include <kandrel/cadcam/tools/tool_types.h>
#include <kandrel/cadcam/tools/typed_revolved_tool.h>
#include <tests/support/testing.h>

namespace tests {

using NamedNumbers = std::vector<std::pair<std::string, double>>;

/// The default's values with some of them replaced. A shoulder is {"shoulderDiameter", d} followed
/// by {"shoulderBaseLength", l}.
inline cadcam::zvToolValues ToolValues(const std::string& type, const NamedNumbers& numbers) {
  const auto tool = cadcam::FindToolType(type)->makeDefault();
  cadcam::zvToolValues values = tool->GetValues();
  double shoulderDiameter = 0;
  for (const auto& [name, value] : numbers) {
    if (name == "diameter")
      values.numbers.diameter = value;
    else if (name == "fluteLength")
      values.numbers.fluteLength = value;
    else if (name == "shoulderLength")
      values.numbers.shoulderLength = value;
    else if (name == "shoulderDiameter")
      shoulderDiameter = value;
    else if (name == "shoulderBaseLength")
      values.shoulder.emplace(shoulderDiameter, value, values.units);
    else if (const auto parameter = cadcam::FindToolParameter(name))
      EXPECT_TRUE(SetParameter(values.numbers, *parameter, value)) << name;
    else
      ADD_FAILURE() << name;
  }
  return values;
}

inline cadcam::zvToolType::ToolPointer MakeTool(const std::string& type,
                                                const NamedNumbers& numbers) {
  return cadcam::FindToolType(type)->make(ToolValues(type, numbers));
}

}  // namespace tests
