// What all classes of tools do: constructors, getters, copies, visitors, units.
#include <kandrel/cadcam/tools/generic_revolved_tool.h>
#include <kandrel/cadcam/tools/hole_tools.h>
#include <kandrel/cadcam/tools/lathe_tool.h>
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/cadcam/tools/profile_validation.h>
#include <kandrel/cadcam/tools/tool_caster.h>
#include <tests/support/numbers.h>
#include <tests/support/seeded.h>
#include <tests/support/throws_id.h>

#include "tool_cases.h"

namespace cadcam {
namespace {

using tests::kInch;
using tests::kMetric;
using tests::ThrowsId;
using Extender = zvTypedRevolvedTool::zvShoulderDefinitionExtender;
using Arbor = zvTool::Arbor;
using Holder = zvTool::Holder;
using Part = zvToolPartDefinition<double>;
using Type = cornerRadiusType;

const Holder kHolder(7, 6, kInch);
const Arbor kArbor(5, 4, kInch);
const Extender kShoulder(3, 45, kInch);

// Both constructors of `Tool` put each argument where the settings have it.
template <class Tool, class... Own>
void ExpectTool(const std::string& settings, Own... own) {
  SCOPED_TRACE(Tool::kType.name);
  zvToolValues expected{.numbers = {.diameter = 20, .fluteLength = 40, .shoulderLength = 50},
                        .holder = {},
                        .arbor = {}};
  tests::Apply(expected, tests::SettingsOf(settings));
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
  EXPECT_TRUE(ThrowsId<misc::zvException>(
      [] {
        const zvLatheTool lathe;
        zvToolCaster::zvCasting2TypedRevolvedChecker().Visit(static_cast<const zvTool&>(lathe));
      },
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
  const auto starts = [](const std::string& text, const char* with) {
    return text.starts_with(with);
  };
  EXPECT_EQ(failure("0,0;5,1;5,9", ""), "nothing");
  EXPECT_PRED2(starts, failure("0,0;0,5", "5,0;5,1", "0,0;0,5"), "2106 2136");
  EXPECT_PRED2(starts, failure("0,0;0,5", "0,0;0,5"), "2159 2198");
  EXPECT_PRED2(starts, failure("5,0;5,5", "0,0;5,5;5,9"), "2159 2199");
  EXPECT_PRED2(starts, failure("5,0;6,0", ""), "2159 2165");
  EXPECT_PRED2(starts, failure("", ""), "2159 2165");
  EXPECT_PRED2(starts, failure("5,0;5,5", "none"), "2159 0: Accessing NULL pointer");
  EXPECT_PRED2(starts, failure("mesh", "5,0;5,5"), "2159 2172");
  EXPECT_PRED2(starts, failure("5,0;5,5", "extruded"), "2159 2171");
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

}  // namespace
}  // namespace cadcam
