#include <kandrel-post/host/errors.h>
#include <kandrel-post/machine/json.h>
#include <kandrel-post/machine/presets.h>
#include <kandrel-post/machine/values.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/throws_id.h>

#include "support.h"

namespace {

using kandrel_post::Machine;
using kandrel_post::ParseMachine;
using kandrel_post::ValuesOf;
using Point = post::zvMachDef::Point;

kandrel_post::MachineValues Values(std::string_view text) {
  return ValuesOf(*ParseMachine(text, "m.json").GetMachDef());
}

constexpr const char* kFiveAxes = R"({"axes": 5, "units": "inch", "names": ["X","Y","Z","C","A"],
 "spindle": [0,0.5,1], "minLimits": [-500,-400.25,-300], "maxLimits": [500,400,1e-7],
 "xAxis": [0,1,0], "yAxis": [-1,0,0], "zAxis": [0,0,1], "fiveAxisKind": 3,
 "rotary": [{"direction": [0,0,1], "pivot": [1,2,3], "min": -100000, "max": 1e5},
            {"direction": [1,0,0], "pivot": [0,0,-50], "min": -120, "max": 30.1}]})";

TEST(MachineJson, ReadsEveryKeyOfAFiveAxisMachine) {
  const auto builder = ParseMachine(kFiveAxes, "m.json");
  const std::vector<std::wstring> names{L"X", L"Y", L"Z", L"C", L"A"};
  EXPECT_EQ(builder.GetAxisNames(), names);
  const auto v = ValuesOf(*builder.GetMachDef());
  EXPECT_EQ(v.axes, 5);
  EXPECT_EQ(v.units, measures::zvUnitsFactory::inch);
  EXPECT_EQ(v.spindle, Point(0, 0.5, 1));
  EXPECT_EQ(v.minLimits, Point(-500, -400.25, -300));
  EXPECT_EQ(v.maxLimits, Point(500, 400, 1e-7));
  EXPECT_EQ(v.xAxis, Point(0, 1, 0));
  EXPECT_EQ(v.yAxis, Point(-1, 0, 0));
  EXPECT_EQ(v.fiveAxisKind, 3);
  EXPECT_EQ(v.rotary[0].pivot, Point(1, 2, 3));
  EXPECT_EQ(v.rotary[0].max, 100000);
  EXPECT_EQ(v.rotary[1].direction, Point(1, 0, 0));
  EXPECT_EQ(v.rotary[1].min, -120);
  EXPECT_EQ(v.rotary[1].max, 30.1);
}

TEST(MachineJson, TakesDefaultsForMissingKeys) {
  const auto three = Values("{}");
  EXPECT_EQ(three.axes, 3);
  EXPECT_EQ(three.units, measures::zvUnitsFactory::metric);
  EXPECT_EQ(three.spindle, Point(0, 0, 1));
  EXPECT_EQ(three.minLimits, Point(-100000, -100000, -100000));
  const auto four = Values(R"({"axes": 4, "rotary": [{"pivot": [0,0,7]}]})");
  EXPECT_EQ(four.rotary[0].direction, Point(0, 0, -1));
  EXPECT_EQ(four.rotary[0].pivot, Point(0, 0, 7));
  EXPECT_EQ(four.rotary[0].min, -100000);
  EXPECT_EQ(Values(R"({"axes": 5})").fiveAxisKind, 2);
}

TEST(MachineJson, PrintsAFormThatReadsBackForEveryClass) {
  const std::pair<const char*, const char*> cases[] = {
      {"three", R"({"axes": 3, "minLimits": [-0.1, -1e300, 9007199254740993]})"},
      {"four", R"({"axes": 4, "rotaryOnWorkpiece": -7, "names": ["X","Y","Z","B"],
                   "rotary": [{"direction": [0,1,0], "min": -720.5, "max": 720}]})"},
      {"five", kFiveAxes},
      {"six", R"({"axes": 6, "fiveAxisKind": 1, "thirdAngle": 45.5, "firstOnWorkpiece": 1,
                  "secondOnWorkpiece": 0, "thirdOnWorkpiece": 0,
                  "rotary": [{"direction": [0,0,1]}, {"direction": [1,0,0]},
                             {"direction": [0,1,0], "pivot": [0,0,9]}]})"},
  };
  for (const auto& [name, text] : cases) {
    const Machine machine{name, ParseMachine(text, name)};
    const std::string json = MachineToJson(machine);
    const Machine again{name, ParseMachine(json, name)};
    EXPECT_EQ(MachineToJson(again), json);
    EXPECT_EQ(ValuesOf(*machine.builder.GetMachDef()), ValuesOf(*again.builder.GetMachDef()))
        << name;
    EXPECT_EQ(machine.builder.GetAxisNames(), again.builder.GetAxisNames());
  }
}

TEST(MachineJson, NamesTheLineOfWhatItRefuses) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "1: JSON expected"},
      {"[]", "1: an object with the keys of a machine expected"},
      {"{\n\"axes\": 3,\n\"units\" \"metric\"}", "3: JSON expected"},
      {"{\"axes\": 3", "1: JSON expected"},
      {"{\n\"spindle\": [0,0,1e999]}", "2: JSON expected"},
      {"{\"axes\": 7}", "1: 3, 4, 5 or 6 expected for \"axes\""},
      {"{\"axes\": 3.5}", "1: an integer expected for \"axes\""},
      {"{\n\"units\": \"cm\"}", "2: \"metric\" or \"inch\" expected for \"units\""},
      {"{\n\n\"spindle\": [0,1]}", "3: three numbers expected for \"spindle\""},
      {"{\"spindle\": [0,1,\"2\"]}", "1: three numbers expected for \"spindle\""},
      {"{\"names\": [\"X\",\"Y\"]}", "1: 3 axis names expected for \"names\""},
      {"{\"names\": [\"X\",\"Y\",\"Y\"]}", "1: axis names that differ expected"},
      {"{\"names\": [\"X\",\"Y\",\"Z1\"]}", "1: axis names of 1 to 16 letters expected"},
      {"{\"names\": [\"X\",\"Y\",\"F\"]}", "1: axis names other than the NC words"},
      {"{\"axes\": 3,\n\"axes\": 3}", "2: the key \"axes\" once expected"},
      {"{\"axes\": 3,\n\"fiveAxisKind\": 3}", "2: one of axes, units, names, spindle"},
      {"{\"axes\": 5, \"rotary\": [{}]}", "1: an array of 2 rotary axes expected"},
      {"{\"axes\": 4, \"rotary\": [\n{\"min\": null}]}", "2: a number expected for \"min\""},
      {"{\"axes\": 4, \"rotary\": [{\n\"axis\": 1}]}", "2: one of direction, pivot, min, max"},
      {"{\"axes\": 6, \"rotary\": [{},{},\n{\"max\": 1}]}", "2: one of direction, pivot expected"},
  };
  for (const auto& [text, failure] : cases) {
    const std::string found = tests::FailureText([json = text] { ParseMachine(json, "m.json"); });
    EXPECT_TRUE(found.starts_with(std::string("m.json:") + failure)) << text << "\n" << found;
  }
  std::string deep(100000, '[');
  EXPECT_NE(tests::FailureText([&] { ParseMachine(deep, "m.json"); }), "");
}

TEST(MachineJson, LeavesWhatMakesNoMachineToTheDefinition) {
  EXPECT_TRUE(tests::ThrowsId<post::zvPostException>(
      [] { ParseMachine("{\"spindle\": [0,0,0]}", "m.json"); }, 5024,
      L"Spindle direction vector with length 0 passed."));
}

TEST(Presets, AreMachines) {
  for (const kandrel_post::Preset& preset : kandrel_post::Presets()) {
    const Machine machine = kandrel_post::MakePreset(preset.name);
    EXPECT_EQ(machine.name, preset.name);
    EXPECT_EQ(AxisCount(machine), static_cast<int>(machine.builder.GetAxisNames().size()));
    const auto values = ValuesOf(*machine.builder.GetMachDef());
    EXPECT_LT(values.minLimits.z, values.maxLimits.z) << preset.name;
    EXPECT_FALSE(preset.description.empty()) << preset.name;
    EXPECT_EQ(ValuesOf(*ParseMachine(MachineToJson(machine), "again").GetMachDef()), values);
  }
  EXPECT_THROW(kandrel_post::MakePreset("mill"), kandrel_post::UsageError);
}

}  // namespace
