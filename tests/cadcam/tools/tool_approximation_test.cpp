#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tool_approximation_exception.h>
#include <kandrel/cadcam/tools/tool_approximation.h>
#include <kandrel/cadcam/tools/tool_mesh.h>
#include <tests/cadcam/tools/tool_cases.h>
#include <tests/support/numbers.h>
#include <tests/support/text_numbers.h>
#include <tests/support/throws_id.h>

namespace cadcam {
namespace {

using tests::kInfinity;
using tests::kNaN;
using tests::MakeTool;
using tests::ThrowsId;
using Point = geoDef::zv2dPoint<double>;
using tests::Points;
using Profile = geoDef::zv2dPolyLine<double>;

struct Profiles : tests::Profiles {
  Profiles(const zvTool& tool, double tolerance)
      : tests::Profiles(tool, {.tolerance = tolerance, .parts = 0}) {}
};

testing::AssertionResult Near(const Points& a, const Points& b) {
  testing::AssertionResult failure = testing::AssertionFailure();
  for (const Point& p : a) failure << '(' << p.x << ' ' << p.y << ") ";
  if (a.size() != b.size()) return failure << "and not " << b.size();
  for (std::size_t i = 0; i < a.size(); ++i)
    if (!(std::fabs(a[i].x - b[i].x) < 6e-6 && std::fabs(a[i].y - b[i].y) < 6e-6))
      return failure << "differs at " << i;
  return testing::AssertionSuccess();
}

TEST(ToolApproximation, OutlinesFollowFromTheParameters) {
  std::ifstream file(KANDREL_SOURCE_DIR "/tests/cadcam/data/tool_outlines.txt");
  int cases = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    SCOPED_TRACE(line);
    ++cases;
    const auto columns = tests::SplitAt(line + ' ', '|');
    ASSERT_EQ(columns.size(), 4u);
    const std::size_t blank = line.find(' ');
    const auto tool = MakeTool(line.substr(0, blank), columns[0].substr(blank));
    const Points cutting = tests::PointsOf(columns[1]), nonCutting = tests::PointsOf(columns[2]);
    const auto circles = tests::RowsOf(columns[3]);
    // A chord for each arc shows its ends.
    const double coarse = tool->GetDiameter() / 2 - 1e-6;
    const Profiles ends(*tool, coarse);
    EXPECT_TRUE(Near(ends.cutting, cutting));
    EXPECT_TRUE(Near(ends.nonCutting, nonCutting));
    const Profiles fine(*tool, 1e-3 * coarse);
    std::size_t onCircles = 0;
    for (const Points* profile : {&fine.cutting, &fine.nonCutting})
      for (const Point& p : *profile) {
        const auto isAt = [&](const Point& q) { return std::hypot(p.x - q.x, p.y - q.y) < 1e-5; };
        if (std::ranges::any_of(cutting, isAt) || std::ranges::any_of(nonCutting, isAt)) continue;
        ++onCircles;
        EXPECT_TRUE(std::ranges::any_of(
            circles,
            [&](const auto& c) {
              return std::fabs(std::hypot(p.x - c.at(0), p.y - c.at(1)) - c.at(2)) < 1e-5;
            }))
            << p.x << ' ' << p.y;
      }
    EXPECT_EQ(onCircles > 0, !circles.empty());
  }
  EXPECT_EQ(cases, 48);
}

TEST(ToolApproximation, RefusesToolsThatTheirOwnChecksRefuse) {
  const struct {
    const char *type, *ids;
  } cases[] = {{"zvFaceMill", "2133 2123: "},  {"zvCtrDrill", "2111 2112: "},
               {"zvSpotDrill", "2118 2112: "}, {"zvCSink", "2132 2112: "},
               {"zvTapRH", "2120 2112: "},     {"zvTapLH", "2119 2112: "}};
  for (const auto& c : cases) {
    const auto tool = FindToolType(c.type)->makeDefault();
    EXPECT_TRUE(tests::FailureOf([&] { Profiles(*tool, kNaN); }).starts_with(c.ids)) << c.type;
  }
}

TEST(ToolApproximation, RefusesTolerancesThatAreNotBelowTheRadius) {
  const std::wstring text = L"profile tolerance larger than toolRadius";
  for (const zvToolType* type : ToolTypes()) {
    const std::string name(type->name);
    const auto tool = name == "zvFaceMill"           ? MakeTool(name, "outsideDiameter=2")
                      : type->defaults.tipAngle == 1 ? MakeTool(name, "tipAngle=90")
                                                     : type->makeDefault();
    const bool namesCorner = name == "zvSpherMill" || name == "zvCntrBore";
    const double radius = tool->GetDiameter() / 2;
    for (const double tolerance : {radius, radius + 1, radius - 1e-13, kNaN, kInfinity})
      EXPECT_TRUE(ThrowsId<misc::zvException>([&] { Profiles(*tool, tolerance); }, 0,
                                              namesCorner ? text + L" or cornerRadius" : text))
          << name << ' ' << tolerance;
    EXPECT_EQ(Profiles(*tool, radius - 1e-11).cutting.front().x, 0) << name;
  }
}

// Also where nothing is curved.
TEST(ToolApproximation, RefusesTolerancesThatAreNotAboveZero) {
  const zvGenericRevolvedTool generic;
  const auto mill = MakeTool("zvEndMill"), drill = MakeTool("zvDrill"),
             ball = MakeTool("zvSpherMill");
  for (const zvTool* tool :
       std::initializer_list<const zvTool*>{&generic, mill.Get(), drill.Get(), ball.Get()})
    for (const double tolerance : {0.0, -0.1, tool == &generic ? kNaN : -kInfinity})
      EXPECT_TRUE(ThrowsId<misc::zvException>([&] { Profiles(*tool, tolerance); }, 0,
                                              L"Polygonization tolerance is invalid."))
          << tool->GetDiameter() << ' ' << tolerance;
}

// What a constructor has taken has profiles, in whichever units, and in copies.
TEST(ToolApproximation, TakesToolsAtTheEdgeOfTheirChecksInOtherUnits) {
  const std::pair<const char*, const char*> cases[] = {
      {"zvBarrelMill", "cornerRadius=8.253205655191037"},
      {"zvBullMill", "diameter=0.5 cornerRadius=0.2500009"}};
  for (const auto& [type, numbers] : cases) {
    zvToolValues values = MakeTool(type, numbers)->GetValues();
    if (values.numbers.diameter < 1) {
      values.holder.SetUnits(tests::kInch, true);
      values.arbor.SetUnits(tests::kInch, true);
      values.units = tests::kInch;
    }
    const auto tool = FindToolType(type)->make(values);
    const auto clone = tool->Clone();
    clone->SetUnits(values.units == tests::kInch ? tests::kMetric : tests::kInch);
    EXPECT_NE(tests::FailureOf([&] { clone->Validate(); }), "nothing") << type;
    const double factor = clone->GetDiameter() / tool->GetDiameter();
    const Profiles before(*tool, 0.01), after(*clone, 0.01 * factor);
    Points scaled = before.cutting;
    for (Point& p : scaled) p = p * factor;
    EXPECT_TRUE(Near(after.cutting, scaled)) << type;
    EXPECT_FALSE(zvBullMill().HasPassedChecks());
    EXPECT_TRUE(tool->HasPassedChecks());
  }
}

// Where the flutes end with an arc, however its end and the line behind it are rounded.
TEST(ToolApproximation, EndsAndBeginsBothProfilesInOnePoint) {
  for (int angle = 1; angle < 89; ++angle) {
    zvToolValues values = MakeTool("zvBoreBar")->GetValues();
    values.numbers.diameter = 10;
    values.numbers.cornerRadius = 1;
    values.numbers.cornerRadiusType = cornerRadiusType::given;
    values.numbers.taperAngle = angle;
    values.numbers.fluteLength = 1 - std::sin(angle * std::acos(-1.0) / 180);
    const Profiles profiles(*FindToolType("zvBoreBar")->make(values), 0.01);
    EXPECT_EQ(profiles.cutting.back(), profiles.nonCutting.front()) << angle;
    EXPECT_EQ(profiles.cutting.back().y, values.numbers.fluteLength) << angle;
  }
}

TEST(ToolApproximation, RefusesParametersThatLeaveNoRealOutline) {
  const std::string cutAway = "cornerRadius=100 cornerRadiusType=1 taperAngle=45";
  const std::string tap =
      "diameter=10 shoulderLength=40 fluteLength=20 cornerRadius=1000 cornerRadiusType=1 "
      "tipAngle=90";
  const std::pair<const char*, std::string> cases[] = {
      {"zvConvexTipMill", "cornerRadius=11"},
      {"zvConvexTipMill", "cornerRadius=8"},
      {"zvConvexTipMill", "cornerRadius=10"},
      {"zvConvexTipMill", "cornerRadius=7.50000001"},
      {"zvConvexTipMill", "cornerRadius=7 fluteLength=1"},
      {"zvBoreBar", cutAway},  // from here on nothing is right of the axis
      {"zvBoreBar", cutAway + " shoulder=2,1.2"},
      {"zvTapRH", tap},
      {"zvTapRH", tap + " shoulder=8,20"},
      {"zvRadMill", "radius=-0.1"},
      {"zvRadMill", "radius=inf"},
      {"zvEndMill", "diameter=inf"},
      {"zvEndMill", "shoulderLength=inf"}};
  for (const auto& [type, numbers] : cases) {
    const auto tool = MakeTool(type, numbers);
    EXPECT_TRUE(
        ThrowsId<zvtoolapproximationException>([&] { Profiles(*tool, 0.1); }, 0, L"Unknown error."))
        << type << ' ' << numbers;
  }
}

TEST(ToolApproximation, HoldsItsToolAndGivesTheShankInItsOwnCoordinates) {
  using Holder = zvHolderDefinition<double>;
  using Arbor = zvArborDefinition<double>;
  constexpr auto kInch = measures::zvUnitsFactory::inch;
  const auto make = [&](const Holder& holder, const Arbor& arbor) {
    return zvEndMillApproximation<double>(zvEndMill(1, holder, 3, 2, arbor, kInch), 0.1);
  };
  const auto approximation = make(Holder({{1, 0}, {2, 4}}, kInch), Arbor(5, 0.5, kInch));
  EXPECT_EQ(approximation.GetTool().GetDiameter(), 1);
  EXPECT_EQ(approximation.GetTolerance(), 0.1);
  EXPECT_EQ(approximation.GetArborProfile().points, (Points{{0.5, 0}, {0.5, 5}}));
  EXPECT_EQ(approximation.GetHolderProfile().points, (Points{{1, 0}, {2, 4}}));

  const zvExtrudedSolidDefinition<double> extruded({}, 1, {}, kInch);
  EXPECT_TRUE(ThrowsId<zvcadcamException>(
      [&] { make(Holder(extruded), Arbor()).GetHolderProfile(); }, 2171));
  EXPECT_TRUE(ThrowsId<zvcadcamException>(
      [&] { make(Holder(), Arbor(zvMeshSolidDefinition(zvTMesh<double>()))).GetArborProfile(); },
      2172));
  EXPECT_TRUE(make(Holder(), Arbor()).GetArborProfile().points.empty());
  const Points endless{{1, 0}, {kInfinity, 1}};
  EXPECT_TRUE(ThrowsId<zvtoolapproximationException>(
      [&] { make(Holder(), Arbor(endless, kInch)).GetArborProfile(); },
      zvtoolapproximationException::kInvalidArborProfile, L"Invalid Arbor Profile"));
  EXPECT_TRUE(ThrowsId<zvtoolapproximationException>(
      [&] { make(Holder(endless, kInch), Arbor()).GetHolderProfile(); }, 0));

  const zvGenericRevolvedTool generic(zvToolPartDefinition<double>({{0, 0}, {5, 0}, {5, 9}}, kInch),
                                      zvToolPartDefinition<double>({{4, 0}, {4, 7}}, kInch),
                                      Arbor(1, 1, kInch), Holder(), kInch);
  const zvGenericRevolvedApproximation<double> stored(generic, 100);
  EXPECT_EQ(stored.GetCuttingProfile().points, (Points{{0, 0}, {5, 0}, {5, 9}}));
  EXPECT_EQ(stored.GetNonCuttingProfile().points, (Points{{4, 0}, {4, 7}}));
  EXPECT_EQ(stored.GetTool().GetShoulderLength(), 16);
}

}  // namespace
}  // namespace cadcam
