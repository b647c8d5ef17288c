#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tools/profile_validation.h>
#include <tests/support/numbers.h>
#include <tests/support/seeded.h>
#include <tests/support/text_numbers.h>
#include <tests/support/throws_id.h>

#include "tool_cases.h"

namespace cadcam {
namespace {

using tests::Apply;
using tests::kInfinity;
using tests::kMetric;
using tests::kNaN;
using tests::NumberOf;
using tests::ThrowsId;

// What is expected ends before the text where the file leaves it out.
bool Begins(const std::string& failure, const std::string& expected) {
  return failure == expected || failure.starts_with(expected + ": ");
}

TEST(ToolChecks, EachStopsJustBeyondItsToleranceWithItsIdAndCauses) {
  for (const tests::ToolCase& c : tests::ToolCases("tool_checks.txt")) {
    SCOPED_TRACE(c.line);
    zvToolValues values = c.type->makeDefault()->GetValues();
    Apply(values, c.group);
    Apply(values, c.given);
    if (!c.isGood) {
      const std::string failure = tests::FailureOf([&] { c.type->make(values); });
      EXPECT_TRUE(Begins(failure, c.failure)) << failure;
      continue;
    }
    const auto tool = c.type->make(values);
    for (const auto& [name, text] : c.expected) {
      const double expected = tests::NumberFrom(text), found = NumberOf(*tool, name);
      if (std::isinf(expected))
        EXPECT_EQ(found, expected) << name;
      else
        EXPECT_NEAR(found, expected, 1e-14 * std::max(1.0, expected)) << name;
    }
    // What has passed passes again, and means the same.
    tool->Validate();
    EXPECT_EQ(c.type->make(tool->GetValues())->GetNumbers(), tool->GetNumbers());
  }
}

// The default is made whether or not it would pass; then its own checks see it.
TEST(ToolDefaults, AreTheseAndSixOfThemWouldBeRefused) {
  std::size_t refused = 0;
  std::set<const zvToolType*> seen;
  for (const tests::ToolCase& c : tests::ToolCases("tool_defaults.txt")) {
    SCOPED_TRACE(c.line);
    seen.insert(c.type);
    const auto tool = c.type->makeDefault();
    zvToolValues expected{};
    Apply(expected, c.group);
    EXPECT_EQ(tool->GetNumbers(), expected.numbers);
    EXPECT_EQ(tool->GetUnits(), tests::kMetric);
    const auto points = [](const zvToolPartDefinition<double>& part) {
      return ProfilePoints(
          zvRevolvedSolidExtractor<double>::Extract(*part.GetSolidDefinition()).GetProfile());
    };
    EXPECT_EQ(points(tool->GetHolder()), points(expected.holder));
    EXPECT_EQ(points(tool->GetArbor()), points(expected.arbor));
    EXPECT_FALSE(tool->HasShoulderDefinition());
    EXPECT_EQ(tool->Clone()->GetDiameter(), expected.numbers.diameter);
    for (const auto& [name, text] : c.expected)
      EXPECT_NEAR(NumberOf(*tool, name), tests::NumberFrom(text), 1e-13) << name;
    if (c.isGood) {
      tool->Validate();
      continue;
    }
    ++refused;
    for (const auto& action : std::initializer_list<std::function<void()>>{
             [&] { tool->Validate(); }, [&] { c.type->make(tool->GetValues()); }})
      EXPECT_TRUE(Begins(tests::FailureOf(action), c.failure));
  }
  EXPECT_EQ(refused, 6u);
  EXPECT_EQ(seen.size(), ToolTypes().size());
}

// One number of an otherwise good tool that is none, whichever it is.
TEST(ToolChecks, WhatIsNoNumberNeverPasses) {
  for (const zvToolType* const type : ToolTypes()) {
    SCOPED_TRACE(type->name);
    zvToolValues good = tests::GoodValues(*type);
    const auto own = type->parameters;
    if (std::find(own.begin(), own.end(), zvToolParameter::cornerRadiusType) != own.end()) {
      good.numbers.cornerRadiusType = cornerRadiusType::given;
      good.numbers.cornerRadius = 0.1;
    }
    type->make(good);
    const auto expectRefused = [&](const auto& change) {
      zvToolValues values = good;
      change(values);
      EXPECT_NE(tests::FailureOf([&] { type->make(values); }), "nothing");
    };
    for (const char* name : {"diameter", "fluteLength", "shoulderLength"})
      if (!type->hasOneLength || name[0] != 's')
        expectRefused([&](auto& v) { NumberOf(v.numbers, name) = kNaN; });
    for (const zvToolParameter parameter : own) {
      SCOPED_TRACE(RowOf(parameter).name);
      zvToolValues values = good;
      if (SetParameter(values.numbers, parameter, kNaN))
        expectRefused([&](auto& v) { v.numbers = values.numbers; });
      else
        EXPECT_NE(RowOf(parameter).kind, zvToolParameterRow::Kind::length);
    }
  }
}

// Of solids that aren't revolved nothing else is asked.
TEST(ToolChecks, NumbersOfAnySolidAreNumbers) {
  const auto extruded = [](double x, double y, double height, double z) {
    return zvExtrudedSolidDefinition<double>({{{{0, 0}, {1, 0}}}, {{{x, y}}}}, height, {0, 0, z},
                                             kMetric);
  };
  const auto mesh = [](double x, double y, double z) {
    zvTMesh<double> triangles(kMetric);
    triangles.AddVertex({x, y, z});
    return zvMeshSolidDefinition<double>(triangles);
  };
  const auto expect = [](const auto& solid, const char* inHolder, const char* inArbor) {
    zvToolValues values = FindToolType("zvEndMill")->makeDefault()->GetValues();
    const auto failure = [&] {
      return tests::FailureOf([&] { FindToolType("zvEndMill")->make(values); });
    };
    values.arbor = zvTool::Arbor(solid);
    EXPECT_PRED2(Begins, failure(), inArbor);
    values.holder = zvTool::Holder(solid);
    EXPECT_PRED2(Begins, failure(), inHolder) << "the holder is looked at first";
  };
  expect(extruded(-kInfinity, kInfinity, kInfinity, kInfinity), "nothing", "nothing");
  expect(mesh(kInfinity, 0, -kInfinity), "nothing", "nothing");
  for (const auto& solid : {extruded(kNaN, 0, 1, 0), extruded(0, kNaN, 1, 0)})
    expect(solid, "2106 2134", "2106 2136");
  for (const auto& solid : {extruded(0, 0, kNaN, 0), extruded(0, 0, 1, kNaN)})
    expect(solid, "2106 2135", "2106 2137");
  for (const auto& solid : {mesh(kNaN, 0, 0), mesh(0, kNaN, 0)})
    expect(solid, "2106 2134", "2106 2136");
  expect(mesh(0, 0, kNaN), "2106 2135", "2106 2137");
}

// Whatever the numbers are, a tool is refused in the documented way, or stays what it is when it is
// made again of its own values.
TEST(ToolChecks, WhatPassesOncePassesAgainForAnyNumbers) {
  tests::Seeded random;
  const double odd[] = {0,  1e-6, -1e-6, 9e-7,   1e-12,     1,          5,   20,
                        90, 180,  1e300, 1e-300, kInfinity, -kInfinity, kNaN};
  for (const zvToolType* type : ToolTypes()) {
    SCOPED_TRACE(type->name);
    int made = 0;
    for (int i = 0; i < 3000; ++i) {
      zvToolValues values = tests::GoodValues(*type);
      const auto stir = [&](double number) {
        if (random.Chance(0.6)) return number;
        if (random.Chance(0.6)) return number * random.Real(0, 3);
        return odd[random.Integer(0, static_cast<int>(std::size(odd)) - 1)];
      };
      zvToolNumbers& n = values.numbers;
      n.diameter = stir(n.diameter);
      n.fluteLength = stir(n.fluteLength);
      n.shoulderLength = random.Chance(0.2) ? n.fluteLength : stir(n.shoulderLength);
      for (const zvToolParameter parameter : type->parameters)
        SetParameter(n, parameter, stir(GetParameter(n, parameter)));
      n.cornerRadiusType = cornerRadiusType(random.Integer(0, 3));
      if (random.Chance(0.3)) n.cornerRadius = n.diameter / 2;
      zvToolType::ToolPointer tool;
      try {
        if (random.Chance(0.2)) values.shoulder.emplace(stir(3), stir(n.fluteLength), kMetric);
        tool = type->make(values);
      } catch (const misc::zvException& e) {
        EXPECT_GT(e.GetId(), 2100u);
        EXPECT_LT(e.GetId(), 2423u);
        continue;
      }
      ++made;
      const auto again = type->make(tool->GetValues());
      EXPECT_EQ(again->GetNumbers(), tool->GetNumbers());
      for (const char* name : {"hasShoulder", "shoulderDiameter", "shoulderBaseLength"})
        EXPECT_EQ(NumberOf(*again, name), NumberOf(*tool, name));
    }
    EXPECT_GT(made, 100);
    EXPECT_LT(made, 2900);
  }
}

TEST(ToolChecks, AShoulderIsAboveZero) {
  using Extender = zvTypedRevolvedTool::zvShoulderDefinitionExtender;
  Extender good(2e-12, 2e-12, tests::kInch);
  for (const double bad : {1e-12, 0.0, -1.0, kNaN}) {
    EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { Extender(bad, 1, tests::kMetric); }, 2185));
    EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { Extender(1, bad, tests::kMetric); }, 2186));
    EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { good.SetShoulderDiameter(bad); }, 2185));
    EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { good.SetShoulderBaseLength(bad); }, 2186));
  }
  EXPECT_EQ(good.GetShoulderDiameter(), 2e-12);
  good.SetShoulderDiameter(3);
  good.SetShoulderBaseLength(4);
  EXPECT_EQ(good.GetShoulderDiameter(), 3);
  EXPECT_EQ(good.GetShoulderBaseLength(), 4);
}

TEST(ToolChecks, LengthsAreComparedWithTheTools) {
  const auto tool = FindToolType("zvEndMill")->makeDefault();  // 10, 20, 40
  const auto expect = [](auto&& action, std::uint32_t id) { EXPECT_EQ(tests::IdOf(action), id); };
  expect([&] { tool->ValidateDiameter(1e-300); }, 0);
  expect([&] { tool->ValidateDiameter(0); }, 2105);
  expect([&] { tool->ValidateFluteLength(40.0000009); }, 0);
  expect([&] { tool->ValidateFluteLength(40.0000011); }, 2103);
  expect([&] { tool->ValidateFluteLength(0); }, 2103);
  expect([&] { tool->ValidateShoulderLength(19.9999991); }, 0);
  expect([&] { tool->ValidateShoulderLength(19.9999989); }, 2107);
  expect([&] { tool->ValidateShoulderLength(kNaN); }, 2107);
}

}  // namespace
}  // namespace cadcam
