#include <kandrel/post/geometry/five_axis_kinematics.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/number_cases.h>

namespace {

using tests::Distance;
using tests::FiveAxisScene;
using tests::Point;
using tests::ToPoint;

TEST(FiveAxisKinematics, GivesPublishedPositions) {
  for (const auto& c : tests::NumberCases("geometry/data/published_positions.txt")) {
    const auto point = [&](std::size_t i) { return Point{c[i].at(0), c[i].at(1), c[i].at(2)}; };
    FiveAxisScene scene;
    auto& m = scene.machine;
    m.kind = static_cast<std::int32_t>(c[0][0]);
    std::tie(m.first, m.second, m.firstPivot, m.secondPivot, scene.origin, scene.toolLength) =
        std::tuple(point(1), point(2), point(3), point(4), point(5), c[6][0]);
    const Point p_mach = scene.Kinematics().MachinePosition(point(7), c[8][0], c[8][1]);
    EXPECT_LE(Distance(p_mach, point(9)), c[10][0]) << c.line;
  }
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
