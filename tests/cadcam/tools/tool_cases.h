// Tools as text: cases of the files in tests/cadcam/data.
#pragma once

#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tools/tool_mesh.h>
#include <kandrel/cadcam/tools/tool_types.h>
#include <kandrel/cadcam/tools/typed_revolved_tool.h>
#include <tests/support/testing.h>
#include <tests/support/text_numbers.h>

#include <fstream>

namespace tests {

using Points = std::vector<geoDef::zv2dPoint<double>>;
using Settings = std::vector<std::pair<std::string, std::string>>;

inline constexpr auto kMetric = measures::zvUnitsFactory::metric;
inline constexpr auto kInch = measures::zvUnitsFactory::inch;

inline std::vector<std::string> SplitAt(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, separator);)
    if (!part.empty()) parts.push_back(part);
  return parts;
}

/// "number,number;number,number"
inline std::vector<std::vector<double>> RowsOf(const std::string& text) {
  std::vector<std::vector<double>> rows;
  for (const std::string& row : SplitAt(text, ';')) {
    if (row.find(',') == std::string::npos) continue;  // nothing but blanks
    rows.emplace_back();
    for (const std::string& number : SplitAt(row, ',')) rows.back().push_back(NumberFrom(number));
  }
  return rows;
}
/// "radius,height;radius,height"
inline Points PointsOf(const std::string& text) {
  Points points;
  for (const auto& row : RowsOf(text)) {
    EXPECT_EQ(row.size(), 2u) << text;
    points.push_back({row.at(0), row.at(1)});
  }
  return points;
}

template <class Part>
Part PartOf(const std::string& text) {
  if (text == "none") return Part();
  if (text == "mesh") return Part(cadcam::zvMeshSolidDefinition<double>(cadcam::zvTMesh<double>()));
  if (text == "extruded")
    return Part(cadcam::zvExtrudedSolidDefinition<double>({}, 1, {}, kMetric));
  return Part(PointsOf(text), kMetric);
}

inline double& NumberOf(cadcam::zvToolNumbers& n, const std::string& name) {
  if (name == "diameter") return n.diameter;
  if (name == "fluteLength") return n.fluteLength;
  EXPECT_EQ(name, "shoulderLength");
  return n.shoulderLength;
}

inline void Apply(cadcam::zvToolValues& values, const Settings& settings) {
  for (const auto& [name, text] : settings) {
    if (name == "holder") {
      values.holder = PartOf<cadcam::zvTool::Holder>(text);
    } else if (name == "arbor") {
      values.arbor = PartOf<cadcam::zvTool::Arbor>(text);
    } else if (name == "shoulder") {
      const auto numbers = SplitAt(text, ',');
      values.shoulder.emplace(tests::NumberFrom(numbers.at(0)), tests::NumberFrom(numbers.at(1)),
                              kMetric);
    } else if (const auto parameter = cadcam::FindToolParameter(name)) {
      EXPECT_TRUE(SetParameter(values.numbers, *parameter, tests::NumberFrom(text))) << name;
    } else {
      NumberOf(values.numbers, name) = tests::NumberFrom(text);
    }
  }
}

/// A number of a tool under its name.
inline double NumberOf(const cadcam::zvTypedRevolvedTool& tool, const std::string& name) {
  if (name == "shoulderDiameter") return tool.GetShoulderDefinition().GetShoulderDiameter();
  if (name == "shoulderBaseLength") return tool.GetShoulderDefinition().GetShoulderBaseLength();
  if (name == "hasShoulder") return tool.HasShoulderDefinition() ? 1 : 0;
  cadcam::zvToolNumbers numbers = tool.GetNumbers();
  const auto parameter = cadcam::FindToolParameter(name);
  return parameter ? GetParameter(numbers, *parameter) : NumberOf(numbers, name);
}

struct ToolCase {
  std::string line;  ///< with its type
  const cadcam::zvToolType* type;
  Settings group;
  Settings given;
  bool isGood;
  Settings expected;      ///< of a good one
  std::string failure{};  ///< "ID ID: text" of others
};

inline Settings SettingsOf(const std::string& text) {
  Settings settings;
  for (const std::string& word : SplitAt(text, ' ')) {
    const std::size_t equals = word.find('=');
    settings.emplace_back(word.substr(0, equals), word.substr(equals + 1));
  }
  return settings;
}

inline std::vector<ToolCase> ToolCases(const std::string& fileName) {
  std::ifstream file(KANDREL_SOURCE_DIR "/tests/cadcam/data/" + fileName);
  std::vector<ToolCase> cases;
  ToolCase group{};
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::string given = line;
    if (line[0] == '[') {
      const std::size_t end = line.find(']') + 1, arrow = line.find("=> ");
      group.type = cadcam::FindToolType(line.substr(1, end - 2));
      EXPECT_NE(group.type, nullptr) << line;
      group.group = SettingsOf(line.substr(end, arrow - end));
      if (arrow == std::string::npos) continue;
      given = line.substr(arrow);
    }
    ToolCase c = group;
    c.line = std::string(group.type->name) + " " + line;
    const std::size_t arrow = given.find("=> ");
    c.given = SettingsOf(given.substr(0, arrow));
    for (auto& [name, value] : c.given) {
      const std::size_t bar = value.find('|');
      if (bar == std::string::npos) continue;
      ToolCase good = c;
      value.erase(0, bar + 1);
      for (auto& [sameName, both] : good.given) both = both.substr(0, both.find('|'));
      good.isGood = true;
      cases.push_back(good);
    }
    c.failure = given.substr(arrow + 3);
    c.isGood = c.failure.starts_with("ok");
    if (c.isGood) c.expected = SettingsOf(std::exchange(c.failure, "").substr(2));
    cases.push_back(c);
  }
  EXPECT_FALSE(cases.empty()) << fileName;
  return cases;
}

/// The default of a type with some values replaced, as in a case, and all checks.
inline cadcam::zvToolType::ToolPointer MakeTool(const std::string& type,
                                                const std::string& settings = {}) {
  cadcam::zvToolValues values = cadcam::FindToolType(type)->makeDefault()->GetValues();
  Apply(values, SettingsOf(settings));
  return cadcam::FindToolType(type)->make(values);
}

/// Values of a type that pass its checks.
inline cadcam::zvToolValues GoodValues(const cadcam::zvToolType& type) {
  static const std::vector<ToolCase> cases = ToolCases("tool_checks.txt");
  cadcam::zvToolValues values = type.makeDefault()->GetValues();
  const auto own =
      std::find_if(cases.begin(), cases.end(), [&](const ToolCase& c) { return c.type == &type; });
  if (own != cases.end()) Apply(values, own->group);
  return values;
}

/// Ids of the zvcadcamException that `action` throws and of its causes, and the innermost text
/// after a colon.
template <class Action>
std::string FailureOf(Action&& action) {
  try {
    action();
  } catch (const cadcam::zvcadcamException& e) {
    std::string ids = std::to_string(e.GetId());
    for (const auto& cause : e.GetCauses()) ids += " " + std::to_string(cause.first);
    const std::wstring& text = e.GetCauses().empty() ? e.GetMessage() : e.GetCauses().back().second;
    return ids + ": " + std::string(text.begin(), text.end());
  }
  return "nothing";
}

/// The meshes of a tool of any type, with the profiles of which they are made.
class Profiles : public cadcam::zvRevolvedToolMeshCreator<double> {
 public:
  Profiles(const cadcam::zvTool& tool, const cadcam::zvToolMeshRules& rules)
      : zvRevolvedToolMeshCreator(rules, tool.GetUnits()) {
    tool.AcceptVisitor(static_cast<cadcam::zvToolVisitor&>(*this));
  }
  Points cutting, nonCutting;

 protected:
  void Take(const cadcam::zvRevolvedToolApproximation<double>& approximation,
            double lift) override {
    cutting = approximation.GetCuttingProfile().points;
    nonCutting = approximation.GetNonCuttingProfile().points;
    zvRevolvedToolMeshCreator::Take(approximation, lift);
  }
};

}  // namespace tests
