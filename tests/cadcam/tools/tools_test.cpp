// What all classes of tools do: constructors, getters, visitors, units, checks.
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tools/generic_revolved_tool.h>
#include <kandrel/cadcam/tools/hole_tools.h>
#include <kandrel/cadcam/tools/lathe_tool.h>
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/cadcam/tools/profile_validation.h>
#include <kandrel/cadcam/tools/tool_caster.h>
#include <tests/support/numbers.h>
#include <tests/support/seeded.h>
#include <tests/support/text_numbers.h>
#include <tests/support/throws_id.h>

#include "tool_cases.h"

namespace cadcam {
namespace {

using tests::Apply;
using tests::kInch;
using tests::kInfinity;
using tests::kMetric;
using tests::kNaN;
using tests::NumberOf;
using tests::ThrowsId;
using Extender = zvTypedRevolvedTool::zvShoulderDefinitionExtender;
using Arbor = zvTool::Arbor;
using Holder = zvTool::Holder;
using Part = zvToolPartDefinition<double>;
using Type = cornerRadiusType;

const Holder kHolder(7, 6, kInch);
const Arbor kArbor(5, 4, kInch);
const Extender kShoulder(3, 45, kInch);

// What is expected ends before the text where the file leaves it out.
bool Begins(const std::string& failure, const std::string& expected) {
  return failure == expected || failure.starts_with(expected + ": ");
}

// Both constructors of `Tool` put each argument where the settings have it.
template <class Tool, class... Own>
void ExpectTool(const std::string& settings, Own... own) {
  SCOPED_TRACE(Tool::kType.name);
  zvToolValues expected{.numbers = {.diameter = 20, .fluteLength = 40, .shoulderLength = 50},
                        .holder = {},
                        .arbor = {}};
  Apply(expected, tests::SettingsOf(settings));
  const Tool plain(20, kHolder, 50, 40, kArbor, own..., kInch);
  const Tool withShoulder(20, kHolder, 50, 40, kArbor, own..., kShoulder, kInch);
  for (const Tool* tool : {&plain, &withShoulder}) {
    EXPECT_EQ(tool->GetNumbers(), expected.numbers);
    EXPECT_EQ(tool->GetUnits(), kInch);
    EXPECT_EQ(tool->GetHolder().GetHeight(), 7);
    EXPECT_EQ(tool->GetArbor().GetHeight(), 5);
    EXPECT_EQ(tool->GetTotalLength(), 5 + tool->GetShoulderLength());
  }
  EXPECT_FALSE(plain.HasShoulderDefinition());
  EXPECT_TRUE(withShoulder.HasShoulderDefinition());
  EXPECT_EQ(withShoulder.GetShoulderDefinition().GetShoulderDiameter(), 3);
  EXPECT_EQ(withShoulder.GetShoulderDefinition().GetShoulderBaseLength(), 45);
}

TEST(Tools, ConstructorsTakeTheirValuesInOrder) {
  ExpectTool<zvEndMill>("");
  ExpectTool<zvSpherMill>("");
  ExpectTool<zvReamer>("");
  ExpectTool<zvCntrBore>("");
  ExpectTool<zvBullMill>("cornerRadius=1.5", 1.5);
  ExpectTool<zvRadMill>("radius=1.5", 1.5);
  ExpectTool<zvLolMill>("neckDiameter=15", 15);
  ExpectTool<zvDrill>("tipAngle=70", 70);
  ExpectTool<zvSpotDrill>("tipAngle=70", 70);
  ExpectTool<zvCtrDrill>("tipAngle=70 shoulderAngle=60", 70, 60);
  ExpectTool<zvConvexTipMill>("cornerRadius=1.5 tipRadius=12", 1.5, 12);
  const std::string corner = "cornerRadius=1.5 cornerRadiusType=1 ";
  const std::string cone = corner + "taperAngle=30 ", tap = corner + "tipAngle=70 ";
  const std::string wide = cone + "outsideDiameter=33", thread = tap + "threadParameter=9";
  ExpectTool<zvFaceMill>(wide, 1.5, 33, 30, Type::given);
  ExpectTool<zvChamferMill>(wide, 1.5, 30, 33, Type::given);
  ExpectTool<zvTaperMill>(cone, 1.5, 30, Type::given);
  ExpectTool<zvBoreBar>(cone, 1.5, 30, Type::given);
  ExpectTool<zvDoveMill>(corner + "taperAngle=8", 1.5, Type::given, 8);
  ExpectTool<zvCSink>(tap, 1.5, Type::given, 70);
  ExpectTool<zvTapRH>(thread, 1.5, Type::given, 70, 9u);
  ExpectTool<zvTapLH>(thread, 1.5, Type::given, 70, 9u);

  // The two that differ in what comes before.
  const zvSlotMill slot(20, kHolder, 10, kArbor, 1.5, Type::given, kInch);
  const zvSlotMill stepped(20, kHolder, 45, kArbor, 1.5, Type::given, kShoulder, kInch);
  EXPECT_EQ(slot.GetNumbers(), (zvToolNumbers{.diameter = 20,
                                              .fluteLength = 10,
                                              .shoulderLength = 10,
                                              .cornerRadius = 1.5,
                                              .cornerRadiusType = Type::given}));
  EXPECT_TRUE(stepped.HasShoulderDefinition());
  const zvBarrelMill barrel(11, 20, kHolder, 30, 18, kArbor, 0.2, 12, kInch);
  const zvBarrelMill barrelStepped(11, 20, kHolder, 50, 18, kArbor, 0.2, 12, kShoulder, kInch);
  EXPECT_EQ(barrel.GetNumbers(), (zvToolNumbers{.diameter = 20,
                                                .fluteLength = 18,
                                                .shoulderLength = 30,
                                                .cornerRadius = 0.2,
                                                .profileRadius = 12,
                                                .upperDiameter = 11}));
  EXPECT_TRUE(barrelStepped.HasShoulderDefinition());
  // The neck of a lollipop mill is the arbor's beginning where none is given.
  const zvLolMill lol(20, kHolder, 50, 40, kArbor, kInch);
  EXPECT_EQ(lol.GetNeckDiameter(), 8);
  EXPECT_EQ(lol.GetShoulderDefinition().GetShoulderDiameter(), 8);
  for (const char* none : {"none", "", "mesh", "extruded"})
    EXPECT_EQ(
        tests::IdOf([&] { zvLolMill(20, kHolder, 50, 40, tests::PartOf<Arbor>(none), kInch); }),
        2138u)
        << none;
  // In the tool's units; and the checks that all types share come first.
  const zvLolMill inInch(2, kHolder, 5, 4, Arbor(25.4, 12.7, kMetric), kInch);
  EXPECT_NEAR(inInch.GetNeckDiameter(), 1, 1e-15);
  const auto lolOf = [](double diameter, const Arbor& arbor) {
    return tests::IdOf([&] { zvLolMill(diameter, kHolder, 50, 40, arbor, kInch); });
  };
  EXPECT_EQ(lolOf(-1, Arbor()), 2158u);
  EXPECT_EQ(lolOf(1, Arbor(-1, 1, kInch)), 2106u);
  EXPECT_EQ(lolOf(1, Arbor(1, 1, kInch)), 2188u);
}

// A tool's own getters name what GetNumbers has.
TEST(Tools, GettersBearTheNamesOfTheirNumbers) {
  const zvFaceMill face(20, kHolder, 50, 40, kArbor, 1, 33, 30, Type::given, kInch);
  const zvCtrDrill drill(20, kHolder, 50, 40, kArbor, 70, 60, kInch);
  const zvTapLH tap(20, kHolder, 50, 40, kArbor, 0, Type::none, 70, 5u, kInch);
  const zvBarrelMill barrel;
  EXPECT_EQ(
      tests::Flat(face.GetDiameter(), face.GetFluteLength(), face.GetShoulderLength(),
                  face.GetCornerRadius(), face.GetOutsideDiameter(), face.GetTaperAngle(),
                  face.GetCornerRadiusType(), drill.GetTipAngle(), drill.GetShoulderAngle(),
                  tap.GetThreadParameter(), barrel.GetUpperDiameter(), barrel.GetProfileRadius(),
                  zvConvexTipMill().GetTipRadius(), zvLolMill().GetNeckDiameter(),
                  zvRadMill(20, kHolder, 50, 40, kArbor, 3, kInch).GetRadius()),
      (tests::Numbers{20, 40, 50, 1, 33, 30, 1, 70, 60, 5, 10, 12, 10, 6, 3}));
  EXPECT_NEAR(zvDoveMill().GetUpperDiameter(), 8, 1e-13);
}

// No number stands in for an enumeration, nor a shoulder for the units.
template <class Tool, class... A>
constexpr bool kTakes =
    std::is_constructible_v<Tool, double, const Holder&, double, double, const Arbor&, A...>;
using Units = measures::zvUnitsFactory::Units;
static_assert(kTakes<zvTaperMill, double, double, Type, Units>);
static_assert(!kTakes<zvTaperMill, double, double, int, Units>);
static_assert(!kTakes<zvTaperMill, double, double, Type, int>);
static_assert(!kTakes<zvTaperMill, double, double, Units, Type>);
static_assert(!kTakes<zvTaperMill, double, double, Type>);
static_assert(!kTakes<zvEndMill, Units, Units>);

// Tells the slot that was called by the class of its argument.
template <class Visitor, class... Tools>
struct SlotNamer : Visitor {
  std::string name;
};
template <class Visitor, class Tool, class... Rest>
struct SlotNamer<Visitor, Tool, Rest...> : SlotNamer<Visitor, Rest...> {
  using SlotNamer<Visitor, Rest...>::Visit;
  void Visit(const Tool&) override {
    if constexpr (requires { Tool::kType; })
      this->name = Tool::kType.name;
    else
      this->name = typeid(Tool).name();
  }
};
using BranchNamer =
    SlotNamer<zvToolBranchVisitor, zvLatheTool, zvGenericRevolvedTool, zvTypedRevolvedTool>;
using ClassNamer =
    SlotNamer<zvToolVisitor, zvLatheTool, zvGenericRevolvedTool, zvConvexTipMill, zvBarrelMill,
              zvTapRH, zvTapLH, zvTaperMill, zvSpotDrill, zvSpherMill, zvSlotMill, zvReamer,
              zvRadMill, zvLolMill, zvFaceMill, zvEndMill, zvDrill, zvDoveMill, zvCtrDrill, zvCSink,
              zvCntrBore, zvChamferMill, zvBullMill, zvBoreBar, zvTool>;

template <class Visitor>
std::string Visited(const zvTool& tool) {
  Visitor visitor;
  tool.AcceptVisitor(visitor);
  return visitor.name;
}

TEST(Tools, AreToldApartByVisitors) {
  std::string last;
  for (const zvToolType* type : ToolTypes()) {
    const auto tool = type->makeDefault();
    const auto clone = tool->Clone();
    EXPECT_LT(last, type->name);
    for (const zvTool* each : std::initializer_list<const zvTool*>{tool.Get(), clone.Get()}) {
      EXPECT_EQ(Visited<ClassNamer>(*each), type->name);
      EXPECT_EQ(Visited<BranchNamer>(*each), typeid(zvTypedRevolvedTool).name());
    }
    EXPECT_EQ(FindToolType(type->name), type);
    const zvTool& constant = *clone;
    EXPECT_EQ(&zvToolCaster::Cast(constant), clone.Get());
    EXPECT_EQ(&zvToolCaster::Cast(*clone), clone.Get());
    const auto cast = zvToolCaster::Cast(clone);
    EXPECT_EQ(cast, clone);
    EXPECT_EQ(cast.UseCount(), 2u);
    EXPECT_EQ(cast->GetNumbers(), tool->GetNumbers());
    last = type->name;
  }
  EXPECT_EQ(ToolTypes().size(), 21u);
  EXPECT_EQ(FindToolType("EndMill"), nullptr);
  const zvLatheTool lathe;
  const zvGenericRevolvedTool generic;
  for (const zvTool* tool : std::initializer_list<const zvTool*>{&lathe, &generic}) {
    EXPECT_EQ(Visited<ClassNamer>(*tool), typeid(*tool).name());
    EXPECT_EQ(Visited<BranchNamer>(*tool), typeid(*tool).name());
  }
}

TEST(ToolCaster, RefusesWhatIsNoTypedTool) {
  const auto text = [](const std::wstring& name) {
    return L"Illegal casting of " + name + L"& to zvTypedRevolvedTool& type object";
  };
  const auto expect = [&](const zvTool& tool, const std::wstring& name) {
    EXPECT_TRUE(ThrowsId<misc::zvException>([&] { zvToolCaster::Cast(tool); }, 0, text(name)));
  };
  expect(zvLatheTool(), L"zvLatheTool");
  expect(zvGenericRevolvedTool(), L"zvGenericRevolvedTool");
  // A tool of no class that visitors know.
  zvToolCaster::zvCasting2TypedRevolvedChecker checker;
  const zvLatheTool lathe;
  EXPECT_TRUE(ThrowsId<misc::zvException>([&] { checker.Visit(static_cast<const zvTool&>(lathe)); },
                                          0, text(L"zvTool")));
  EXPECT_TRUE(tests::ThrowsNull([] { zvToolCaster::Cast(misc::zvAutoPointer<zvTool>()); }));
}

double FirstX(const Part& part) {
  return zvRevolvedSolidExtractor<double>::Extract(*part.GetSolidDefinition()).GetFirstPoint()->x;
}

// Lengths follow the units, angles and the rest stay; there is one law for all types.
TEST(Tools, ScaleTheirLengthsAndTheirParts) {
  // All lengths, then all else.
  const auto measure = [](const zvTypedRevolvedTool& tool) {
    const zvToolNumbers& n = tool.GetNumbers();
    const Extender& shoulder = tool.GetShoulderDefinition();
    std::array<tests::Numbers, 2> all{
        tests::Flat(n.diameter, n.fluteLength, n.shoulderLength, shoulder.GetShoulderDiameter(),
                    shoulder.GetShoulderBaseLength(), FirstX(tool.GetArbor()),
                    tool.GetHolder().GetHeight()),
        tests::Flat(tool.HasShoulderDefinition())};
    for (const zvToolParameter parameter : tool.GetType().parameters)
      all[RowOf(parameter).kind == zvToolParameterRow::Kind::length ? 0 : 1].push_back(
          GetParameter(n, parameter));
    return all;
  };
  for (const zvToolType* type : ToolTypes())
    for (const bool hasShoulder : {false, true}) {
      SCOPED_TRACE(type->name);
      zvToolValues values = tests::GoodValues(*type);
      if (hasShoulder) values.shoulder.emplace(1.25, values.numbers.fluteLength, kMetric);
      const auto tool = type->make(values);
      const auto [lengths, rest] = measure(*tool);
      tool->SetUnits(kInch);
      const auto scaled = measure(*tool);
      EXPECT_EQ(scaled[1], rest);
      for (std::size_t i = 0; i < lengths.size(); ++i)
        EXPECT_NEAR(scaled[0].at(i) * 25.4, lengths[i], 1e-13 * std::abs(lengths[i])) << i;
      EXPECT_EQ(tool->GetShoulderDefinition().GetUnits(), kInch);
      EXPECT_EQ(tool->GetArbor().GetUnits(), kInch);
      EXPECT_EQ(tool->GetArbor().GetSolidDefinition()->GetUnits(), kInch);
      // With another label alone, the parts too keep their numbers.
      tool->SetUnits(kMetric, true);
      EXPECT_EQ(measure(*tool), scaled);
      EXPECT_EQ(tool->GetArbor().GetSolidDefinition()->GetUnits(), kMetric);
    }
}

// Of a tool so large that rounding is beyond what tells a shoulder of its own from that of its
// type.
TEST(Tools, KeepTheShoulderOfTheirTypeWhenTheyScale) {
  tests::Seeded random;
  for (int i = 0; i < 50; ++i) {
    const double fluteLength = random.Real(1000, 20000);
    zvTaperMill tool(random.Real(1, 9000), kHolder, fluteLength + random.Real(0, 9000), fluteLength,
                     kArbor, 0, 8.1, Type::none, kInch);
    EXPECT_FALSE(tool.HasShoulderDefinition());
    tool.SetUnits(kMetric);
    EXPECT_FALSE(tool.HasShoulderDefinition()) << i;
    tool.Validate();
  }
}

TEST(Tools, ConvertPartsThatComeInOtherUnits) {
  const zvEndMill tool(1, Holder(25.4, 50.8, kMetric), 3, 2, Arbor(1, 2, kInch),
                       Extender(25.4, 63.5, kMetric), kInch);
  EXPECT_NEAR(FirstX(tool.GetHolder()), 2, 1e-15);
  EXPECT_EQ(FirstX(tool.GetArbor()), 2);
  EXPECT_NEAR(tool.GetShoulderDefinition().GetShoulderBaseLength(), 2.5, 1e-15);
  tool.Validate();
}

TEST(GenericTool, IsToldByItsParts) {
  const Part cutting(tests::PointsOf("0,0;3,1;7,2;6,9"), kMetric);
  const Part other(4, 2, kMetric);
  zvGenericRevolvedTool tool(cutting, other, Arbor(5, 1, kMetric), Holder(2, 3, kMetric), kMetric);
  EXPECT_EQ(tests::Flat(tool.GetDiameter(), tool.GetFluteLength(), tool.GetShoulderLength(),
                        tool.GetTotalLength(), tool.HasShoulderDefinition()),
            (tests::Numbers{14, 9, 13, 18, 0}));
  const auto clone = tool.Clone();
  tool.SetUnits(kInch);
  EXPECT_NEAR(tool.GetShoulderLength() * 25.4, 13, 1e-12);
  EXPECT_NEAR(tool.GetTotalLength() * 25.4, 18, 1e-12);
  EXPECT_EQ(clone->GetTotalLength(), 18);
  tool.Validate();
  zvGenericRevolvedTool().Validate();

  const auto failure = [&](const char* first, const char* second, const char* arbor = "1,0;1,5") {
    return tests::FailureOf([&] {
      zvGenericRevolvedTool(tests::PartOf<Part>(first), tests::PartOf<Part>(second),
                            tests::PartOf<Arbor>(arbor), Holder(2, 3, kMetric), kMetric);
    });
  };
  EXPECT_EQ(failure("0,0;5,1;5,9", ""), "nothing");
  EXPECT_PRED2(Begins, failure("0,0;0,5", "5,0;5,1", "0,0;0,5"), "2106 2136");
  EXPECT_PRED2(Begins, failure("0,0;0,5", "0,0;0,5"), "2159 2198");
  EXPECT_PRED2(Begins, failure("5,0;5,5", "0,0;5,5;5,9"), "2159 2199");
  EXPECT_PRED2(Begins, failure("5,0;6,0", ""), "2159 2165");
  EXPECT_PRED2(Begins, failure("", ""), "2159 2165");
  EXPECT_PRED2(Begins, failure("5,0;5,5", "none"), "2159 0: Accessing NULL pointer");
  EXPECT_PRED2(Begins, failure("mesh", "5,0;5,5"), "2159 2172");
  EXPECT_PRED2(Begins, failure("5,0;5,5", "extruded"), "2159 2171");
}

TEST(LatheTool, HoldsAnySolid) {
  const zvLatheTool none;
  EXPECT_EQ(tests::Flat(none.GetDiameter(), none.GetTotalLength(), none.GetFluteLength()),
            (tests::Numbers{0, 0, 0}));
  none.Validate();
  const Part solid = tests::PartOf<Part>("extruded");
  zvLatheTool tool(Holder(3, 4, kMetric), Arbor(5, 6, kMetric), solid, kMetric);
  EXPECT_EQ(tests::Flat(tool.GetShoulderLength(), tool.GetTotalLength()), (tests::Numbers{1, 6}));
  tool.SetUnits(kInch);
  EXPECT_NEAR(tool.GetTotalLength() * 25.4, 6, 1e-13);
  EXPECT_NEAR(tool.Clone()->GetHolder().GetHeight() * 25.4, 3, 1e-13);
  const auto failure = [&](const char* holder, const char* arbor) {
    return tests::FailureOf([&] {
      zvLatheTool(tests::PartOf<Holder>(holder), tests::PartOf<Arbor>(arbor), solid, kMetric);
    });
  };
  EXPECT_EQ(failure("0,0;0,5", "0,0;0,5"), "2175 2134: Invalid radius in holder profile");
  EXPECT_EQ(failure("mesh", "0,0;0,5"), "2175 2136: Invalid radius in arbor profile");
  EXPECT_EQ(failure("none", "none"), "nothing");
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
    EXPECT_EQ(tool->GetUnits(), kMetric);
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
  Extender good(2e-12, 2e-12, kInch);
  for (const double bad : {1e-12, 0.0, -1.0, kNaN}) {
    EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { Extender(bad, 1, kMetric); }, 2185));
    EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { Extender(1, bad, kMetric); }, 2186));
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
