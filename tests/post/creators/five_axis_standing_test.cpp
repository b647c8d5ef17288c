// Toolpaths of one orientation, which are posted with the rotary axes standing.
#include <gtest/gtest.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/laws.h>
#include <tests/support/outcome.h>

#include <functional>
#include <utility>

namespace tests {

namespace {

using Change = std::function<void(FiveAxisScene&)>;

constexpr auto kNone = zv5axControlDef::angleLimitNone;
constexpr auto k360 = zv5axControlDef::angleLimit360;
constexpr auto k180 = zv5axControlDef::angleLimit180;

Source Along(const Point& tool) {
  return {{{10, 20, 30}, tool}, {{50, 20, 30}, tool}, {{50, -60, 35}, tool}};
}

FiveAxisScene Trunnion() {
  FiveAxisScene scene;
  scene.machine.firstPivot = {5, -7, 0};
  scene.machine.secondPivot = {0, 3, -50};
  scene.origin = {1, 2, 3};
  scene.toolLength = 80;
  scene.par.SetAlignToolpath(true);  // the axes align the tool, and nothing else does
  return scene;
}

Change Wrap(zv5axControlDef::angleLimit first, zv5axControlDef::angleLimit second) {
  return [=](FiveAxisScene& scene) {
    scene.control.SetFirstAxisLimit(first);
    scene.control.SetSecondAxisLimit(second);
  };
}

Change Prefer(zvKDRParam::FirstMoveRule rule, double deg) {
  return [=](FiveAxisScene& scene) {
    scene.par.SetFirstMoveRule(rule);
    scene.par.SetFirstMovePreferredAngle(deg);
  };
}

Change Ranges(const Range& first, const Range& second = {-360, 360}) {
  return [=](FiveAxisScene& scene) {
    scene.machine.firstRange = first;
    scene.machine.secondRange = second;
  };
}

// The spindle lies so near the second axis that its angle is never determined.
void StandOnSecondAxis(FiveAxisScene& scene) {
  scene.machine.first = {1, 0, 0};
  scene.machine.second = {1e-7, 0, 1};
}

TEST(FiveAxisStanding, AxesStandWhereRulesRangesAndControlPutThem) {
  constexpr auto kByFirst = zvKDRParam::byFirstAxis, kBySecond = zvKDRParam::bySecondAxis;
  const auto mirror = [](FiveAxisScene& s) {
    s.par.SetFirstMoveSolutionIndex(zvKDRParam::mirrorSolution);
  };
  const auto linear = [](FiveAxisScene& s) { s.par.SetInterpolationMode(1); };
  const struct {
    const char* name;
    double toolFirst, toolSecond;
    std::vector<Change> changes;
    double first, second;
  } cases[] = {
      {"mirror", 40, 30, {mirror}, -140, -30},
      {"pole", 0, 0, {}, 0, 0},
      {"pole by the first axis", 0, 0, {Prefer(kByFirst, 65)}, 65, 0},
      {"pole by the other axis", 0, 0, {Prefer(kBySecond, 65)}, 0, 0},
      {"no preferred angle of a determined axis", 40, 30, {Prefer(kByFirst, 41)}, 40, 30},
      {"second pole", 70, 0, {StandOnSecondAxis, Prefer(kBySecond, -25)}, 70, -25},
      {"its other axis", 70, 0, {StandOnSecondAxis, Prefer(kByFirst, -25)}, 70, 0},
      {"into the ranges", 40, 30, {Ranges({300, 500}, {-400, -300})}, 400, -330},
      {"preferred into it", 0, 0, {Prefer(kByFirst, 770), Ranges({-360, -100})}, -310, 0},
      {"control first", -40, 30, {Wrap(k360, kNone)}, 320, 30},
      // By the limit of the first axis, both.
      {"control both", -40, -30, {Prefer(kBySecond, -30), Wrap(k360, k180)}, 320, 330},
      {"control second", -40, -30, {Prefer(kBySecond, -30), Wrap(kNone, k360)}, -40, -30},
      {"control after ranges", 40, 30, {Ranges({300, 500}), Wrap(k180, kNone)}, 40, 30},
      {"linear axes", 40, 30, {linear}, 40, 30},
  };
  for (const auto& c : cases)
    for (const std::int32_t kind : {1, 2, 3}) {
      SCOPED_TRACE(testing::Message() << c.name << ", kind " << kind);
      FiveAxisScene scene = Trunnion();
      for (const Change& change : c.changes) change(scene);
      const Source path = Along(scene.Tool(c.toolFirst, c.toolSecond));
      // Directions turned round where a table became a head: the same angles.
      if (kind == 1) scene.machine.first = -scene.machine.first;
      if (kind != 3) scene.machine.second = -scene.machine.second;
      scene.machine.kind = kind;
      const Lines lines = Post(scene, path).lines;
      for (const Line& line : lines) {
        EXPECT_NEAR(line.degs[0], c.first, 1e-9);
        EXPECT_NEAR(line.degs[1], c.second, 1e-9);
        EXPECT_EQ(line.poleStatus, 0u);
      }
      ExpectPoses(Rules::Of(scene), lines);
      ExpectSource(path, lines);
    }
}

// The slack is that of poles, not that of limits; axes at zero are not checked at all.
TEST(FiveAxisStanding, RotaryLimitsAreCheckedOnceAndNotAtZero) {
  const struct {
    double tilt, max, tolerance;
    zvKDRParam::LimitsCheck check;
    std::uint32_t id;
  } cases[] = {
      {30, 29.5, 0.57, zvKDRParam::checkRotaryAxes, 0},
      {30, 29.4, 0.57, zvKDRParam::checkRotaryAxes, 5019},
      {30, 29.4, 0.57, zvKDRParam::checkAllAxes, 5019},
      {30, 29.4, 0.7, zvKDRParam::checkAllAxes, 0},
      {30, 29.4, 0.57, zvKDRParam::checkLinearAxes, 0},
      {0, -10, 0.57, zvKDRParam::checkAllAxes, 0},
      {0.005, -10, 0.57, zvKDRParam::checkAllAxes, 0},
      {0.6, -10, 0.57, zvKDRParam::checkAllAxes, 5019},
  };
  for (const auto& c : cases) {
    FiveAxisScene scene = Trunnion();
    Ranges({-90, 90}, {-20, c.max})(scene);
    Prefer(zvKDRParam::bySecondAxis, c.tilt)(scene);
    scene.par.SetLimitsCheck(c.check);
    scene.par.SetLimitTolerance(5);
    scene.par.SetPoleAngleTolerance(c.tolerance);
    EXPECT_EQ(Post(scene, Along(scene.Tool(40, c.tilt))).id, c.id)
        << c.tilt << ' ' << c.max << ' ' << c.tolerance << ' ' << c.check;
  }
}

// Told apart by the second axis, which the general way wraps by its own limit.
TEST(FiveAxisStanding, TakesTheGeneralWayWhereItMust) {
  const auto nothing = [](FiveAxisScene&) {};
  const auto handle = [](zvKDRParam::PoleHandling handling) {
    return [=](FiveAxisScene& s) { s.par.SetPoleHandling(handling); };
  };
  const auto skew = [](FiveAxisScene& s) { s.machine.axes[1] = {0.1, 1, 0}; };
  const struct {
    const char* name;
    Point step;  // of the orientation at the last move
    double times;
    Change change;
    bool stands;
  } cases[] = {
      {"constant", {}, 1, nothing, true},
      {"within rounding", {0, 9e-13, 0}, 1, nothing, true},
      {"beyond it", {0, 2e-12, 0}, 1, nothing, false},
      {"in x", {2e-12, 0, 0}, 1, nothing, false},
      {"in z", {0, 0, -2e-12}, 1, nothing, false},
      {"of another length", {}, 2, nothing, false},
      {"poles kept in limits", {}, 1, handle(zvKDRParam::keepWithinLimits), false},
      {"poles spread", {}, 1, handle(zvKDRParam::spreadEvenly), true},
      {"skew slides", {}, 1, skew, false},
  };
  for (const auto& c : cases) {
    FiveAxisScene scene = Trunnion();
    c.change(scene);
    Wrap(k360, k180)(scene);
    Prefer(zvKDRParam::bySecondAxis, -30)(scene);
    Source path = Along(scene.Tool(40, -30));
    path.back().orientation = (path.back().orientation + c.step) * c.times;
    const Lines lines = Post(scene, path).lines;
    ASSERT_EQ(lines.size(), 3u) << c.name;
    for (const Line& line : lines) EXPECT_NEAR(line.degs[1], c.stands ? 330 : -30, 1e-9) << c.name;
  }
}

// The tool length is left to the control, but not where the axes stand at zero.
TEST(FiveAxisStanding, TipProgrammedMachinesAddTheToolLengthAtZeroAlone) {
  FiveAxisScene scene = Trunnion();
  scene.machine.kind = 0;
  const auto z = [&](const Point& tool) { return Post(scene, Along(tool)).lines[0].machine.z; };
  EXPECT_EQ(z({0, 0, 1}), 30 + 3 + 80);
  const double standing = z(scene.Tool(0, 30));
  scene.toolLength = 0;
  EXPECT_EQ(z(scene.Tool(0, 30)), standing);
  scene.toolLength = 80;
  scene.par.SetPoleHandling(zvKDRParam::keepWithinLimits);
  EXPECT_EQ(z({0, 0, 1}), 30 + 3);
}

TEST(FiveAxisStanding, LinearLimitsAndDistancesAreThoseOfThreeAxes) {
  FiveAxisScene scene = Trunnion();
  const Source path = Along(scene.Tool(40, 30));
  scene.par.SetInterpolateByDistance(true);
  scene.par.SetInterpolationDistance(7);
  const Lines lines = Post(scene, path).lines;
  EXPECT_GT(lines.size(), 3u + 120 / 7);
  ExpectPoses(Rules::Of(scene), lines);
  for (std::size_t i = 1; i < lines.size(); ++i)
    EXPECT_LT(Distance(lines[i].machine, lines[i - 1].machine), 7 + 1e-9);
  scene.par.SetLimitsCheck(zvKDRParam::checkLinearAxes);
  scene.machine.low.y = lines.back().machine.y;  // the lowest
  EXPECT_EQ(Post(scene, path).id, 0u);
  scene.machine.low.y += 1e-9;
  EXPECT_EQ(Post(scene, path).id, 5011u);
}

}  // namespace

}  // namespace tests
