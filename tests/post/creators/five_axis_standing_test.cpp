// Toolpaths of one orientation, which are posted with the rotary axes standing.
#include <tests/post/creators/rows.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/outcome.h>

namespace tests {
namespace {

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

void Prefer(FiveAxisScene& scene, double rule, double deg) {
  scene.par.SetFirstMoveRule(static_cast<zvKDRParam::FirstMoveRule>(rule));
  scene.par.SetFirstMovePreferredAngle(deg);
}

TEST(FiveAxisStanding, AxesStandWhereRulesRangesAndControlPutThem) {
  for (const auto& c : NumberCases("creators/data/standing_axes.txt"))
    for (const std::int32_t kind : {1, 2, 3}) {
      SCOPED_TRACE(testing::Message() << c.line << ", kind " << kind);
      FiveAxisScene scene = Trunnion();
      scene.par.SetFirstMoveSolutionIndex(static_cast<zvKDRParam::SolutionIndex>(c[1][0]));
      Prefer(scene, c[1][1], c[1][2]);
      scene.machine.firstRange = {c[2][0], c[2][1]};
      scene.machine.secondRange = {c[2][2], c[2][3]};
      scene.control = Wrapping(c[3][0], c[3][1]);
      if (c[4][0] != 0) {  // the spindle so near the second axis that its angle isn't determined
        scene.machine.first = {1, 0, 0};
        scene.machine.second = {1e-7, 0, 1};
      }
      scene.par.SetInterpolationMode(static_cast<std::int32_t>(c[4][1]));
      const Source path = Along(scene.Tool(c[0][0], c[0][1]));
      // Directions turned round where a table became a head: the same angles.
      if (kind == 1) scene.machine.first = -scene.machine.first;
      if (kind != 3) scene.machine.second = -scene.machine.second;
      scene.machine.kind = kind;
      const Lines lines = Post(scene, path).lines;
      for (const Line& line : lines) {
        EXPECT_NEAR(line.degs[0], c[5][0], 1e-9);
        EXPECT_NEAR(line.degs[1], c[5][1], 1e-9);
        EXPECT_EQ(line.poleStatus, 0u);
      }
      ExpectPoses(Rules::Of(scene), lines);
      ExpectSource(path, lines);
    }
}

// The slack is that of poles, not that of limits; axes at zero are not checked at all.
TEST(FiveAxisStanding, RotaryLimitsAreCheckedOnceAndNotAtZero) {
  for (const auto& [name, tilt, max, tolerance, check, id] : Rows<5>("standing_limits.txt")) {
    FiveAxisScene scene = Trunnion();
    scene.machine.firstRange = {-90, 90};
    scene.machine.secondRange = {-20, max};
    Prefer(scene, zvKDRParam::bySecondAxis, tilt);
    scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(check));
    scene.par.SetLimitTolerance(5);
    scene.par.SetPoleAngleTolerance(tolerance);
    EXPECT_EQ(Post(scene, Along(scene.Tool(40, tilt))).id, id) << name;
  }
}

// Told apart by the second axis, which the general way wraps by its own limit.
TEST(FiveAxisStanding, TakesTheGeneralWayWhereItMust) {
  for (const auto& [name, x, y, z, times, handling, skew, stands] :
       Rows<7>("standing_or_general.txt")) {
    FiveAxisScene scene = Trunnion();
    scene.par.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(handling));
    scene.machine.axes[1].x = skew;
    scene.control = Wrapping(1, 2);
    Prefer(scene, zvKDRParam::bySecondAxis, -30);
    Source path = Along(scene.Tool(40, -30));
    path.back().orientation = (path.back().orientation + Point{x, y, z}) * times;
    const Lines lines = Post(scene, path).lines;
    ASSERT_EQ(lines.size(), 3u) << name;
    for (const Line& line : lines) EXPECT_NEAR(line.degs[1], stands != 0 ? 330 : -30, 1e-9) << name;
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
  DivideByDistance(scene.par, 7);
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
