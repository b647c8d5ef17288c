#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tool_approximation_exception.h>
#include <kandrel/cadcam/tools/tool_approximation.h>
#include <kandrel/cadcam/tools/tool_mesh.h>
#include <tests/cadcam/tools/make_tool.h>
#include <tests/support/numbers.h>
#include <tests/support/throws_id.h>

namespace cadcam {
namespace {

using tests::kInfinity;
using tests::kNaN;
using tests::MakeTool;
using tests::ThrowsId;
using Point = geoDef::zv2dPoint<double>;
using Points = std::vector<Point>;
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

struct Circle {
  double x, y, radius;
};

TEST(ToolApproximation, OutlinesFollowFromTheParameters) {
  const struct {
    std::string type;
    tests::NamedNumbers numbers;
    Points cutting, nonCutting;
    std::vector<Circle> circles{};  ///< on which all points of fine profiles are that aren't above
  } cases[] = {
      {"zvEndMill", {}, {{0, 0}, {5, 0}, {5, 20}}, {{5, 20}, {5, 40}}},
      {"zvEndMill", {{"fluteLength", 40}}, {{0, 0}, {5, 0}, {5, 40}}, {}},
      {"zvEndMill",
       {{"shoulderDiameter", 6}, {"shoulderBaseLength", 30}},
       {{0, 0}, {5, 0}, {5, 20}},
       {{5, 20}, {3, 30}, {3, 40}}},
      {"zvEndMill",
       {{"shoulderDiameter", 6}, {"shoulderBaseLength", 20}},
       {{0, 0}, {5, 0}, {5, 20}, {3, 20}},
       {{3, 20}, {3, 40}}},
      {"zvEndMill",
       {{"shoulderDiameter", 6}, {"shoulderBaseLength", 40}},
       {{0, 0}, {5, 0}, {5, 20}},
       {{5, 20}, {3, 40}}},
      {"zvReamer", {}, {{0, 0}, {0.1, 0}, {0.1, 1}}, {{0.1, 1}, {0.1, 1.6}}},
      {"zvCntrBore", {}, {{0, 0}, {0.5, 0}, {0.5, 1}}, {{0.5, 1}, {0.5, 1.5}}},
      {"zvSpherMill", {}, {{0, 0}, {5, 5}, {5, 25}}, {{5, 25}, {5, 40}}, {{0, 5, 5}}},
      {"zvSpherMill",
       {{"fluteLength", 2}},
       {{0, 0}, {4, 2}},
       {{4, 2}, {5, 5}, {5, 40}},
       {{0, 5, 5}}},
      {"zvBullMill", {}, {{0, 0}, {3, 0}, {5, 2}, {5, 25}}, {{5, 25}, {5, 40}}, {{3, 2, 2}}},
      {"zvBullMill",
       {{"cornerRadius", 5 + 1e-6}},
       {{0, 0}, {5, 5}, {5, 25}},
       {{5, 25}, {5, 40}},
       {{0, 5, 5}}},
      {"zvConvexTipMill",
       {},
       {{0, 0}, {4.444444, 1.041936}, {5, 1.93774}, {5, 20}},
       {{5, 20}, {5, 40}},
       {{0, 10, 10}, {4, 1.93774, 1}}},
      {"zvConvexTipMill",
       {{"tipRadius", 5}, {"cornerRadius", 5}},
       {{0, 0}, {5, 5}, {5, 20}},
       {{5, 20}, {5, 40}},
       {{0, 5, 5}}},
      {"zvConvexTipMill",
       {{"tipRadius", 5 - 1e-6}, {"cornerRadius", 1}},
       {{0, 0}, {5, 5}, {5, 20}},
       {{5, 20}, {5, 40}},
       {{0, 5, 5}}},
      // The corner is beyond the axis, which it crosses.
      {"zvConvexTipMill",
       {{"tipRadius", 10}, {"cornerRadius", 7}},
       {{0, 1.05573}, {5, 7.76393}, {5, 20}},
       {{5, 20}, {5, 40}},
       {{-2, 7.763932, 7}}},
      {"zvSlotMill", {}, {{0, 0}, {25, 0}, {25, 4}}, {}},
      {"zvSlotMill",
       {{"cornerRadius", 1}, {"cornerRadiusType", 1}},
       {{0, 0}, {24, 0}, {25, 1}, {25, 3}, {24, 4}},
       {},
       {{24, 1, 1}, {24, 3, 1}}},
      {"zvSlotMill",
       {{"cornerRadiusType", 2}},
       {{0, 0}, {23, 0}, {25, 2}, {23, 4}},
       {},
       {{23, 2, 2}}},
      {"zvSlotMill",
       {{"diameter", 20},
        {"fluteLength", 40},
        {"shoulderLength", 40},
        {"cornerRadius", 18},
        {"cornerRadiusType", 1}},
       {{0, 1.875485}, {10, 18}, {10, 22}, {0, 38.124515}},
       {},
       {{-8, 18, 18}, {-8, 22, 18}}},
      {"zvChamferMill", {}, {{0, 0}, {1, 0}, {10, 9}, {10, 20}}, {{10, 20}, {10, 25}}},
      {"zvChamferMill",
       {{"diameter", 4}, {"fluteLength", 5}, {"cornerRadius", 1}, {"cornerRadiusType", 1}},
       {{0, 0}, {1.585786, 0}, {2.292893, 0.292893}, {7, 5}},
       {{7, 5}, {10, 8}, {10, 25}},
       {{1.585786, 1, 1}}},
      {"zvFaceMill",
       {{"diameter", 10},
        {"outsideDiameter", 20},
        {"fluteLength", 8},
        {"shoulderLength", 12},
        {"taperAngle", 45},
        {"cornerRadius", 2},
        {"cornerRadiusType", 1}},
       {{0, 0}, {5, 0}, {6.414214, 0.585786}, {10, 4.171573}, {10, 8}},
       {{10, 8}, {10, 12}},
       {{5, 2, 2}}},
      {"zvFaceMill",
       {{"diameter", 10},
        {"outsideDiameter", 20},
        {"fluteLength", 8},
        {"shoulderLength", 12},
        {"taperAngle", 90}},
       {{0, 0}, {5, 0}, {10, 0}, {10, 8}},
       {{10, 8}, {10, 12}}},
      {"zvFaceMill",
       {{"diameter", 10},
        {"outsideDiameter", 20},
        {"fluteLength", 8},
        {"shoulderLength", 12},
        {"taperAngle", 10}},
       {{0, 0}, {5, 0}, {6.410616, 8}},
       {{6.410616, 8}, {7.115924, 12}}},
      {"zvTaperMill", {}, {{0, 0}, {3, 0}, {6.935143, 28}}, {{6.935143, 28}, {7.216225, 30}}},
      {"zvTaperMill",
       {{"taperAngle", 30}, {"cornerRadiusType", 2}},
       {{0, 0}, {2.598076, 1.5}, {17.897858, 28}},
       {{17.897858, 28}, {19.052559, 30}},
       {{0, 3, 3}}},
      {"zvBoreBar",
       {{"diameter", 10},
        {"fluteLength", 8},
        {"shoulderLength", 12},
        {"taperAngle", 30},
        {"cornerRadius", 1},
        {"cornerRadiusType", 1}},
       {{0, 0}, {4, 0}, {4.866025, 0.5}, {9.196152, 8}},
       {{9.196152, 8}, {11.505553, 12}},
       {{4, 1, 1}}},
      {"zvDoveMill", {}, {{0, 0}, {10, 0}, {4, 6}}, {{4, 6}, {4, 40}}},
      {"zvDoveMill",
       {{"cornerRadius", 1}, {"cornerRadiusType", 1}},
       {{0, 0}, {9, 0}, {9.707107, 1.707107}, {5.414214, 6}},
       {{5.414214, 6}, {5.414214, 40}},
       {{9, 1, 1}}},
      {"zvLolMill", {}, {{0, 0}, {4.898979, 6}, {3, 6}}, {{3, 6}, {3, 40}}, {{0, 5, 5}}},
      {"zvLolMill",
       {{"fluteLength", 15}},
       {{0, 0}, {3, 9}, {3, 15}},
       {{3, 15}, {3, 40}},
       {{0, 5, 5}}},
      {"zvBarrelMill",
       {},
       {{0, 0}, {6.668058, 0}, {6.740899, 0.031487}, {5, 18}},
       {{5, 18}, {5, 30}},
       {{6.668058, 0.1, 0.1}, {-2, 8.253206, 12}}},
      {"zvRadMill",
       {{"diameter", 10}, {"radius", 3}, {"fluteLength", 8}, {"shoulderLength", 12}},
       {{0, 0}, {5, 0}, {8, 3}, {8, 8}},
       {{8, 8}, {8, 12}},
       {{8, 0, 3}}},
      {"zvDrill", {}, {{0, 0}, {4, 2.403442}, {4, 50}}, {{4, 50}, {4, 80}}},
      {"zvDrill", {{"tipAngle", 180}}, {{0, 0}, {4, 0}, {4, 50}}, {{4, 50}, {4, 80}}},
      {"zvSpotDrill", {{"tipAngle", 90}}, {{0, 0}, {0.5, 0.5}, {0.5, 1}}, {{0.5, 1}, {0.5, 1.5}}},
      {"zvCSink",
       {{"diameter", 10},
        {"fluteLength", 8},
        {"shoulderLength", 12},
        {"tipAngle", 90},
        {"cornerRadius", 2},
        {"cornerRadiusType", 1}},
       {{0, 0}, {4.414214, 4.414214}, {5, 5.828427}, {5, 8}},
       {{5, 8}, {5, 12}},
       {{3, 5.828427, 2}}},
      {"zvTapRH",
       {{"diameter", 10},
        {"fluteLength", 8},
        {"shoulderLength", 12},
        {"tipAngle", 120},
        {"cornerRadius", 0}},
       {{0, 0}, {5, 2.886751}, {5, 8}},
       {{5, 8}, {5, 12}}},
      // The corner is higher than the tool.
      {"zvTapLH",
       {{"diameter", 10},
        {"fluteLength", 5},
        {"shoulderLength", 5},
        {"tipAngle", 90},
        {"cornerRadius", 4},
        {"cornerRadiusType", 1}},
       {{0, 0}, {3.828427, 3.828427}, {4.640719, 5}},
       {},
       {{1, 6.656854, 4}}},
      {"zvCtrDrill",
       {{"diameter", 4},
        {"fluteLength", 6},
        {"shoulderLength", 20},
        {"tipAngle", 90},
        {"shoulderAngle", 90}},
       {{0, 0}, {2, 2}, {2, 6}},
       {{2, 6}, {2, 20}}},
      {"zvCtrDrill",
       {{"diameter", 4},
        {"fluteLength", 6},
        {"shoulderLength", 20},
        {"tipAngle", 90},
        {"shoulderAngle", 90},
        {"shoulderDiameter", 10},
        {"shoulderBaseLength", 12}},
       {{0, 0}, {2, 2}, {2, 6}},
       {{2, 6}, {5, 9}, {5, 20}}},
      {"zvCtrDrill",
       {{"diameter", 4},
        {"fluteLength", 6},
        {"shoulderLength", 20},
        {"tipAngle", 90},
        {"shoulderAngle", 180},
        {"shoulderDiameter", 10},
        {"shoulderBaseLength", 12}},
       {{0, 0}, {2, 2}, {2, 6}, {5, 6}},
       {{5, 6}, {5, 20}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    const auto tool = MakeTool(c.type, c.numbers);
    // A chord for each arc shows its ends.
    const double coarse = tool->GetDiameter() / 2 - 1e-6;
    const Profiles ends(*tool, coarse);
    EXPECT_TRUE(Near(ends.cutting, c.cutting));
    EXPECT_TRUE(Near(ends.nonCutting, c.nonCutting));
    const Profiles fine(*tool, 1e-3 * coarse);
    Points points = fine.cutting;
    points.insert(points.end(), fine.nonCutting.begin(), fine.nonCutting.end());
    std::size_t onCircles = 0;
    for (const Point& p : points) {
      const auto isAt = [&](const Point& q) { return std::hypot(p.x - q.x, p.y - q.y) < 1e-5; };
      if (std::any_of(c.cutting.begin(), c.cutting.end(), isAt) ||
          std::any_of(c.nonCutting.begin(), c.nonCutting.end(), isAt))
        continue;
      ++onCircles;
      EXPECT_TRUE(std::any_of(c.circles.begin(), c.circles.end(),
                              [&](const Circle& circle) {
                                return std::fabs(std::hypot(p.x - circle.x, p.y - circle.y) -
                                                 circle.radius) < 1e-5;
                              }))
          << p.x << ' ' << p.y;
    }
    EXPECT_EQ(onCircles > 0, !c.circles.empty());
  }
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
      Profiles(*tool, kNaN);
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
    const auto tool = name == "zvFaceMill"           ? MakeTool(name, {{"outsideDiameter", 2}})
                      : type->defaults.tipAngle == 1 ? MakeTool(name, {{"tipAngle", 90}})
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

TEST(ToolApproximation, RefusesParametersThatLeaveNoRealOutline) {
  const struct {
    const char* type;
    tests::NamedNumbers numbers;
  } cases[] = {
      {"zvConvexTipMill", {{"cornerRadius", 11}}}, {"zvConvexTipMill", {{"cornerRadius", 8}}},
      {"zvRadMill", {{"radius", -0.1}}},           {"zvRadMill", {{"radius", kInfinity}}},
      {"zvEndMill", {{"diameter", kInfinity}}},    {"zvEndMill", {{"shoulderLength", kInfinity}}},
  };
  for (const auto& c : cases)
    EXPECT_TRUE(ThrowsId<zvtoolapproximationException>(
        [&] { Profiles(*MakeTool(c.type, c.numbers), 0.1); }, 0, L"Unknown error."))
        << c.type << ' ' << c.numbers[0].second;
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
