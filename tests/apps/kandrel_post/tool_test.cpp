#include <kandrel-post/commands/tool_argument.h>
#include <kandrel-post/commands/tool_text.h>
#include <kandrel-post/host/errors.h>
#include <kandrel/cadcam/tools/hole_tools.h>
#include <kandrel/cadcam/tools/lathe_tool.h>
#include <kandrel/cadcam/tools/tool_types.h>
#include <tests/support/numbers.h>
#include <tests/support/throws_id.h>
#include <tests/support/toolpath_builders.h>

#include "support.h"

namespace {

using namespace tests;
using kandrel_post::DescribeTool;
using kandrel_post::MakeTool;
using kandrel_post::ToolToJson;
using kandrel_post::UsageError;

std::string Json(const std::string& type, const std::vector<std::string>& settings) {
  return ToolToJson(*MakeTool(type, settings));
}

TEST(ToolArgument, SetsEveryNumberByItsName) {
  EXPECT_EQ(Json("zvCSink", {"diameter=6", "fluteLength=20", "shoulderLength=30.5", "tipAngle=90",
                             "cornerRadius=1", "cornerRadiusType=1", "shoulderDiameter=5",
                             "shoulderBaseLength=21"}),
            R"({ "type": "zvCSink",
 "units": "metric",
 "diameter": 6,
 "fluteLength": 20,
 "shoulderLength": 30.5,
 "cornerRadius": 1,
 "cornerRadiusType": 1,
 "tipAngle": 90,
 "shoulderDiameter": 5,
 "shoulderBaseLength": 21,
 "arbor": [[0.5,0],[0.5,1]],
 "holder": [[0,0],[0,0]]}
)");
  // Every parameter of every type has a name that is taken.
  for (const cadcam::zvToolType* type : cadcam::ToolTypes())
    for (const cadcam::zvToolParameter parameter : type->parameters) {
      const std::string setting = std::string(RowOf(parameter).name) + "=-1";
      try {
        MakeTool(std::string(type->name), {setting});
      } catch (const UsageError& e) {
        EXPECT_NE(RowOf(parameter).kind, cadcam::zvToolParameterRow::Kind::length) << e.what();
      } catch (const misc::zvException& e) {
        EXPECT_NE(e.GetId(), 0u);
      }
    }
}

TEST(ToolArgument, IsCheckedAndItsUnitsComeFirst) {
  for (const auto& c : Cases("tools.txt")) {
    SCOPED_TRACE(c.at(0));
    std::istringstream words(c[0]);
    std::string type;
    std::getline(words, type, ';');
    std::vector<std::string> settings;
    for (std::string word; std::getline(words, word, ';');) settings.push_back(word);
    if (c[0].ends_with(';')) settings.emplace_back();
    std::string got;
    try {
      got = Json(type, settings);
    } catch (const UsageError& e) {
      got = std::string("usage: ") + e.what();
    } catch (const misc::zvException& e) {
      got = "error " + std::to_string(e.GetId());
    }
    EXPECT_NE(got.find(c.at(1)), std::string::npos) << got;
    EXPECT_TRUE(got.starts_with('{') || got.starts_with(c[1])) << got;
  }
  EXPECT_NEAR(MakeTool("zvGenericRevolvedTool", {"units=inch"})->GetDiameter() * 25.4, 10, 1e-13);
}

TEST(ToolText, TellsPartsOfAllKinds) {
  using Part = cadcam::zvToolPartDefinition<double>;
  const cadcam::zvLatheTool tool(
      cadcam::zvHolderDefinition<double>(),
      cadcam::zvArborDefinition<double>(
          cadcam::zvExtrudedSolidDefinition<double>({}, 2.5, {}, kMetric)),
      Part(cadcam::zvMeshSolidDefinition<double>(cadcam::zvTMesh<double>(kMetric))), kMetric);
  EXPECT_EQ(ToolToJson(tool), R"({ "type": "zvLatheTool",
 "units": "metric",
 "solid": {"solid":"mesh","triangles":0},
 "arbor": {"solid":"extruded","height":2.5},
 "holder": null}
)");
  EXPECT_EQ(DescribeTool(tool).substr(0, 58),
            "zvLatheTool: lengths in millimetres, angles in degrees\n  s");
}

TEST(ToolText, WhatIsNotFiniteIsNoJson) {
  cadcam::zvToolValues values = cadcam::FindToolType("zvEndMill")->makeDefault()->GetValues();
  values.numbers.diameter = kInfinity;
  const auto tool = cadcam::FindToolType("zvEndMill")->make(values);
  EXPECT_TRUE(ThrowsId<misc::zvException>(
      [&] { ToolToJson(*tool); }, 0, L"a tool with a number that is not finite can't be JSON"));
  EXPECT_NE(DescribeTool(*tool).find("  diameter           \"inf\"\n"), std::string::npos);
}

}  // namespace
