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

// Cutting and non-cutting profile of a tool of any type.
class Profiles : public zvRevolvedToolMeshCreator<double> {
 public:
  Profiles(const zvTool& tool, double tolerance)
      : zvRevolvedToolMeshCreator({.tolerance = tolerance, .parts = 0}, tool.GetUnits()) {
    tool.AcceptVisitor(static_cast<zvToolVisitor&>(*this));
  }
  Points cutting, nonCutting;

 protected:
  void Take(const zvRevolvedToolApproximation<double>& approximation, double) override {
    cutting = approximation.GetCuttingProfile().points;
    nonCutting = approximation.GetNonCuttingProfile().points;
  }
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
    const auto numbers = [&](std::size_t column, std::size_t each) {
      std::vector<std::vector<double>> rows;
      for (const std::string& row : tests::SplitAt(columns[column], ';')) {
        if (row.find(',') == std::string::npos) continue;  // nothing but a blank
        rows.emplace_back();
        for (const std::string& n : tests::SplitAt(row, ','))
          rows.back().push_back(tests::NumberFrom(n));
        EXPECT_EQ(rows.back().size(), each);
      }
      return rows;
    };
    const auto points = [&](std::size_t column) {
      Points p;
      for (const auto& row : numbers(column, 2)) p.push_back({row[0], row[1]});
      return p;
    };
    const std::size_t blank = line.find(' ');
    const auto tool = MakeTool(line.substr(0, blank), columns[0].substr(blank));
    const Points cutting = points(1), nonCutting = points(2);
    const auto circles = numbers(3, 3);
    // A chord for each arc shows its ends.
    const double coarse = tool->GetDiameter() / 2 - 1e-6;
    const Profiles ends(*tool, coarse);
    EXPECT_TRUE(Near(ends.cutting, cutting));
    EXPECT_TRUE(Near(ends.nonCutting, nonCutting));

    const auto isOnCircle = [&](const Point& p) {
      return std::any_of(circles.begin(), circles.end(), [&](const auto& c) {
        return std::fabs(std::hypot(p.x - c[0], p.y - c[1]) - c[2]) < 1e-5;
      });
    };
    const Profiles fine(*tool, 1e-3 * coarse);
    std::size_t onCircles = 0;
    for (const Points* profile : {&fine.cutting, &fine.nonCutting})
      for (const Point& p : *profile) {
        const auto isAt = [&](const Point& q) { return std::hypot(p.x - q.x, p.y - q.y) < 1e-5; };
        if (std::any_of(cutting.begin(), cutting.end(), isAt) ||
            std::any_of(nonCutting.begin(), nonCutting.end(), isAt))
          continue;
        ++onCircles;
        EXPECT_TRUE(isOnCircle(p)) << p.x << ' ' << p.y;
      }
    EXPECT_EQ(onCircles > 0, !circles.empty());
  }
  EXPECT_EQ(cases, 48);
}

TEST(ToolApproximation, RefusesToolsThatTheirOwnChecksRefuse) {
  const struct {
    const char* type;
    std::uint32_t id, cause;
  } cases[] = {{"zvFaceMill", 2133, 2123}, {"zvCtrDrill", 2111, 2112}, {"zvSpotDrill", 2118, 2112},
               {"zvCSink", 2132, 2112},    {"zvTapRH", 2120, 2112},    {"zvTapLH", 2119, 2112}};
  for (const auto& c : cases) {
    const auto tool = FindToolType(c.type)->makeDefault();
    try {
      const Profiles none(*tool, kNaN);
      ADD_FAILURE() << c.type;
    } catch (const zvcadcamException& e) {
      EXPECT_EQ(e.GetId(), c.id);
      ASSERT_EQ(e.GetCauses().size(), 1u);
      EXPECT_EQ(e.GetCauses()[0].first, c.cause);
    }
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
  for (const char* type : {"zvEndMill", "zvDrill", "zvSpherMill"})
    for (const double tolerance : {0.0, -0.1, -kInfinity})
      EXPECT_TRUE(ThrowsId<misc::zvException>([&] { Profiles(*MakeTool(type), tolerance); }, 0,
                                              L"Polygonization tolerance is invalid."))
          << type << ' ' << tolerance;
  for (const double tolerance : {0.0, -0.1, kNaN})
    EXPECT_TRUE(ThrowsId<misc::zvException>([&] { Profiles(zvGenericRevolvedTool(), tolerance); },
                                            0, L"Polygonization tolerance is invalid."))
        << tolerance;
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
  // Of which nothing is right of the axis.
  const char* const kCutAway = "cornerRadius=100 cornerRadiusType=1 taperAngle=45";
  const char* const kCutAwayWithShoulder =
      "cornerRadius=100 cornerRadiusType=1 taperAngle=45 shoulder=2,1.2";
  const char* const kTapCutAway =
      "diameter=10 shoulderLength=40 fluteLength=20 cornerRadius=1000 cornerRadiusType=1 "
      "tipAngle=90";
  const char* const kTapCutAwayWithShoulder =
      "diameter=10 shoulderLength=40 fluteLength=20 cornerRadius=1000 cornerRadiusType=1 "
      "tipAngle=90 shoulder=8,20";
  for (const auto& [type, numbers] : {std::pair("zvConvexTipMill", "cornerRadius=11"),
                                      {"zvConvexTipMill", "cornerRadius=8"},
                                      {"zvConvexTipMill", "cornerRadius=10"},
                                      {"zvConvexTipMill", "cornerRadius=7.50000001"},
                                      {"zvConvexTipMill", "cornerRadius=7 fluteLength=1"},
                                      {"zvBoreBar", kCutAway},
                                      {"zvBoreBar", kCutAwayWithShoulder},
                                      {"zvTapRH", kTapCutAway},
                                      {"zvTapRH", kTapCutAwayWithShoulder},
                                      {"zvRadMill", "radius=-0.1"},
                                      {"zvRadMill", "radius=inf"},
                                      {"zvEndMill", "diameter=inf"},
                                      {"zvEndMill", "shoulderLength=inf"}}) {
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
  const double far = kInfinity;
  EXPECT_TRUE(ThrowsId<zvtoolapproximationException>(
      [&] {
        make(Holder(), Arbor({{1, 0}, {far, 1}}, kInch)).GetArborProfile();
      },
      zvtoolapproximationException::kInvalidArborProfile, L"Invalid Arbor Profile"));
  EXPECT_TRUE(ThrowsId<zvtoolapproximationException>(
      [&] {
        make(Holder({{1, 0}, {far, 1}}, kInch), Arbor()).GetHolderProfile();
      },
      0));

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
