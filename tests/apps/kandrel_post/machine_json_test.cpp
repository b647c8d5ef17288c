#include <kandrel-post/host/errors.h>
#include <kandrel-post/machine/json.h>
#include <kandrel-post/machine/presets.h>
#include <kandrel-post/machine/values.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/numbers.h>
#include <tests/support/throws_id.h>

#include "support.h"

namespace {

using namespace tests;
using kandrel_post::Machine;
using kandrel_post::ParseMachine;
using kandrel_post::ValuesOf;

kandrel_post::MachineValues Values(std::string_view text) {
  return ValuesOf(*ParseMachine(text, "m.json").builder.GetMachDef());
}

TEST(MachineJson, ReadsEveryKeyAndTakesDefaultsForOthers) {
  const auto builder = ParseMachine(Cases("machine_good.txt").at(0).at(0), "m.json").builder;
  const std::vector<std::wstring> names{L"X", L"Y", L"Z", L"C", L"A"};
  EXPECT_EQ(builder.GetAxisNames(), names);
  const auto flat = [](const auto& v) {
    return Flat(v.axes, v.units == measures::zvUnitsFactory::inch, v.spindle, v.minLimits,
                v.maxLimits, v.xAxis, v.yAxis, v.zAxis, v.fiveAxisKind);
  };
  const auto rotary = [](const auto& r) { return Flat(r.direction, r.pivot, r.min, r.max); };
  const auto v = ValuesOf(*builder.GetMachDef());
  EXPECT_EQ(flat(v), (Numbers{5, 1, 0, 0.5, 1, -500, -400.25, -300, 500, 400, 1e-7,
                              0, 1, 0, -1,  0, 0,    0,       0,    1,   3}));
  EXPECT_EQ(rotary(v.rotary[0]), (Numbers{0, 0, 1, 1, 2, 3, -100000, 100000}));
  EXPECT_EQ(rotary(v.rotary[1]), (Numbers{1, 0, 0, 0, 0, -50, -120, 30.1}));
  const auto three = Values("{}");
  EXPECT_EQ(Flat(three.axes, three.units == measures::zvUnitsFactory::metric, three.spindle,
                 three.minLimits),
            (Numbers{3, 1, 0, 0, 1, -100000, -100000, -100000}));
  const auto four = Values(R"({"axes": 4, "rotary": [{"pivot": [0,0,7]}]})");
  EXPECT_EQ(rotary(four.rotary[0]), (Numbers{0, 0, -1, 0, 0, 7, -100000, 100000}));
  EXPECT_EQ(Values(R"({"axes": 5})").fiveAxisKind, 2);
}

// Every preset, and machines of each class with odd numbers.
TEST(MachineJson, PrintsAFormThatReadsBackForEveryClass) {
  std::vector<Machine> machines;
  for (const kandrel_post::Preset& preset : kandrel_post::Presets()) {
    machines.push_back(kandrel_post::MakePreset(preset.name));
    EXPECT_EQ(machines.back().name, preset.name);
    EXPECT_FALSE(preset.description.empty()) << preset.name;
  }
  for (const auto& c : Cases("machine_good.txt"))
    machines.push_back(ParseMachine(c.at(0), "m.json"));
  for (const Machine& machine : machines) {
    const std::string json = MachineToJson(machine);
    const Machine again = ParseMachine(json, "again");
    EXPECT_EQ(MachineToJson(again), json);
    const auto values = ValuesOf(*machine.builder.GetMachDef());
    EXPECT_EQ(ValuesOf(*again.builder.GetMachDef()), values) << json;
    EXPECT_EQ(machine.builder.GetAxisNames(), again.builder.GetAxisNames());
    EXPECT_EQ(AxisCount(machine), static_cast<int>(machine.builder.GetAxisNames().size()));
    EXPECT_LT(values.minLimits.z, values.maxLimits.z) << json;
  }
}

TEST(MachineJson, NamesTheLineOfWhatItRefuses) {
  for (const auto& c : Cases("machine_bad.txt")) {
    const std::string found = FailureText([&] { ParseMachine(c.at(0), "m.json"); });
    EXPECT_TRUE(found.starts_with("m.json:" + c.at(1))) << c.at(0) << "\n" << found;
  }
  EXPECT_NE(FailureText([&] { ParseMachine(std::string(100000, '['), "m.json"); }), "");
  EXPECT_THROW(kandrel_post::MakePreset("mill"), kandrel_post::UsageError);
  // What makes no machine is left to the definition.
  EXPECT_TRUE(
      ThrowsId<post::zvPostException>([] { ParseMachine("{\"spindle\": [0,0,0]}", "m.json"); },
                                      5024, L"Spindle direction vector with length 0 passed."));
}

}  // namespace
