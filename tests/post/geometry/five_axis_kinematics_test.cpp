#include <gtest/gtest.h>
#include <kandrel/post/geometry/five_axis_kinematics.h>
#include <tests/support/five_axis_scenes.h>

#include <cmath>

namespace {

using tests::Distance;
using tests::FiveAxisScene;
using tests::Point;
using tests::ToPoint;

// Positions that others published for three machines, and one with a tool.
TEST(FiveAxisKinematics, GivesPublishedPositions) {
  FiveAxisScene conventional, trunnion, fork, withTool;
  conventional.machine.kind = trunnion.machine.kind = 0;
  conventional.machine.first = {0, 0, -1};
  conventional.machine.second = fork.machine.second = {0, -1, 0};
  trunnion.machine.firstPivot = trunnion.machine.secondPivot = {0, 0, 150};
  fork.machine.kind = 1;
  fork.machine.secondPivot = {0, 0, 250};
  withTool.origin = {0, 0, 70};
  withTool.toolLength = 150;
  // clang-format off
  const struct {
    const FiveAxisScene& scene;
    Point p_part;
    double first, second;
    Point p_mach;
    double slack;
  } cases[] = {
      {conventional, {1, 0, 2}, 90, 90, {-2, -1, 0}, 1e-14},
      {trunnion, {50, 0, 0}, 90, 90, {0, 150, 200}, 1e-12},
      {trunnion, {50, 25, -10}, 30, 45, {30.80127, 146.124065, 69.849895}, 1e-6},
      {fork, {100, 50, 25}, 40, 30, {4.24444461, -30.348451211, -8.493649054}, 1e-8},
      {withTool, {113.5608, 7.7353, -2.2093}, -9.7431, 39.3491, {113.2319, -51.948, 195.0711}, 2e-4},
  };
  // clang-format on
  for (const auto& c : cases)
    EXPECT_LE(Distance(c.scene.Kinematics().MachinePosition(c.p_part, c.first, c.second), c.p_mach),
              c.slack)
        << c.p_part.x << ' ' << c.first << ' ' << c.second;
}

TEST(FiveAxisKinematics, PutsTheTipAndTheToolWhereRigidBodiesDo) {
  tests::Seeded random;
  for (int i = 0; i < 4000; ++i) {
    FiveAxisScene scene = tests::RandomScene(random);
    // Any other number of kind is a part on the first axis and a tool on the second.
    if (random.Chance(0.05)) scene.machine.kind = -5;
    const post::zv5axKinematics kinematics = scene.Kinematics();
    const Point p_part = random.Vector(500);
    const double first = random.Real(-400, 400);
    const double second = random.Real(-400, 400);
    const double size = scene.Size() + p_part.Length();
    const Point p_mach = kinematics.MachinePosition(p_part, first, second);
    const tests::rigid::Pose pose = scene.Model().At(tests::ToVector(p_mach), first, second);
    ASSERT_LE(Distance(ToPoint(pose.tip), p_part), 1e-12 * size) << scene.machine.kind;
    ASSERT_LE(Distance(ToPoint(pose.axis), kinematics.OrientationFromAngles(first, second)), 1e-13);
    ASSERT_LE(Distance(kinematics.PartPosition(p_mach, first, second), p_part), 1e-11 * size);
    const double turn = 360.0 * random.Integer(-5, 5);
    ASSERT_LE(Distance(kinematics.MachinePosition(p_part, first + turn, second - turn), p_mach),
              1e-11 * size);
  }
}

TEST(FiveAxisKinematics, LeavesPointsOnTheAxisExactlyWhereTheyAre) {
  const post::zvTurn turn = post::zvTurn::OfDegrees(33);
  const Point pivot{0.1, 0.2, 0.3};
  const Point direction{0, 0, 1};
  for (const Point& p : {pivot, pivot + Point{5e-13, 0, 0}, pivot + Point{1e-10, 0, 1000}})
    EXPECT_EQ(post::Rotate(p, direction, pivot, turn), p);
  const Point turned = post::Rotate(pivot + Point{1, 0, 5}, direction, pivot, turn);
  const double rad = 33 * std::acos(-1.0) / 180;
  EXPECT_LE(Distance(turned, pivot + Point{std::cos(rad), std::sin(rad), 5}), 1e-14);
}

}  // namespace
