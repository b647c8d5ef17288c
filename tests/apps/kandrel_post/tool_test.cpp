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

TEST(ToolArgument, OneNumberOfAShoulderKeepsTheOtherOfTheType) {
  const std::string shoulder = R"("shoulderDiameter": 18,
 "shoulderBaseLength": 9)";
  EXPECT_NE(Json("zvChamferMill", {"fluteLength=5", "shoulderDiameter=18"}).find(shoulder),
            std::string::npos);
  EXPECT_NE(Json("zvChamferMill", {"fluteLength=5", "outsideDiameter=18", "shoulderBaseLength=9"})
                .find(shoulder),
            std::string::npos);
}

TEST(ToolArgument, UnitsComeFirstWhereverTheyStand) {
  for (const auto& settings : std::vector<std::vector<std::string>>{
           {"units=inch", "diameter=0.5"}, {"diameter=0.5", "units=inch"}}) {
    const auto tool = MakeTool("zvEndMill", settings);
    EXPECT_EQ(tool->GetUnits(), measures::zvUnitsFactory::inch);
    EXPECT_EQ(tool->GetDiameter(), 0.5);
    EXPECT_NEAR(tool->GetFluteLength() * 25.4, 20, 1e-13);
  }
  EXPECT_NEAR(MakeTool("zvGenericRevolvedTool", {"units=inch"})->GetDiameter() * 25.4, 10, 1e-13);
}

// What tool show prints of a tool can be set again.
TEST(ToolArgument, OneLengthTakesBothNames) {
  for (const auto& settings : std::vector<std::vector<std::string>>{
           {"shoulderLength=4"}, {"shoulderLength=6", "fluteLength=6"}}) {
    const auto tool = MakeTool("zvSlotMill", settings);
    EXPECT_EQ(tool->GetShoulderLength(), settings.size() > 1 ? 6 : 4);
  }
  try {
    MakeTool("zvSlotMill", {"shoulderLength=4", "fluteLength=6"});
    ADD_FAILURE();
  } catch (const UsageError& e) {
    EXPECT_STREQ(
        e.what(),
        "shoulderLength=4: 6 expected, the fluteLength: zvSlotMill has one length for both");
  }
}

// The default is shown although it would be refused; once anything is set, it is.
TEST(ToolArgument, ChecksWhatIsSet) {
  EXPECT_EQ(MakeTool("zvFaceMill", {})->GetDiameter(), 1);
  EXPECT_EQ(IdOf([] { MakeTool("zvFaceMill", {"diameter=2"}); }), 2133u);
  EXPECT_EQ(IdOf([] { MakeTool("zvEndMill", {"shoulderDiameter=0"}); }), 2185u);
  const std::pair<const char*, const char*> wrong[] = {{"zvMill", ""},
                                                       {"", ""},
                                                       {"zvEndMill", "diameter"},
                                                       {"zvEndMill", "diameter="},
                                                       {"zvEndMill", "diameter=nan"},
                                                       {"zvEndMill", "diameter=1e999"},
                                                       {"zvEndMill", "diameter=5 "},
                                                       {"zvEndMill", "Diameter=5"},
                                                       {"zvEndMill", "cornerRadius=1"},
                                                       {"zvEndMill", "units=mm"},
                                                       {"zvSlotMill", "shoulderLength=5"},
                                                       {"zvTapRH", "threadParameter=1.5"},
                                                       {"zvTapRH", "cornerRadiusType=-1"},
                                                       {"zvTapRH", "threadParameter=4294967296"},
                                                       {"zvLatheTool", "diameter=4"},
                                                       {"zvGenericRevolvedTool", "diameter"}};
  for (const auto& [type, setting] : wrong)
    EXPECT_THROW(MakeTool(type, {setting}), UsageError) << type << ' ' << setting;
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
