#include <gtest/gtest.h>
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/alignment.h>
#include <tests/support/seeded.h>
#include <tests/support/throws_id.h>
#include <tests/support/toolpath_builders.h>

#include <cmath>

namespace post {
namespace {

using tests::PathBuilder;
using tests::Point;
using tests::Seeded;

template <class Action>
testing::AssertionResult FailsForNull(Action&& action) {
  return tests::ThrowsId<cadcam::zvcadcamException>(action, 2189);
}
template <class Action>
testing::AssertionResult Fails(Action&& action, std::uint32_t id) {
  return tests::ThrowsId<zvPostException>(action, id);
}

PathBuilder PathOf(const std::vector<Point>& orientations) {
  PathBuilder::Moves moves;
  for (const Point& t : orientations) moves.push_back(tests::Move5({}, t));
  return PathBuilder().Contour(moves);
}

// The point at `deg` on the cone that `s` sweeps around the unit vector `a`, by components along
// and across the axis.
Point OnCone(const Point& s, const Point& a, double deg) {
  const double rad = deg * std::acos(-1.0) / 180;
  const Point along = a * Dot(s, a);
  const Point across = s - along;
  return along + across * std::cos(rad) + Cross(a, across) * std::sin(rad);
}

zv4axMachDef Machine(const Point& rotation) {
  zv4axMachDef machDef;
  machDef.SetRotationDirection(rotation);
  machDef.Normalize();
  return machDef;
}

TEST(RotationBetween, TurnsTheSecondDirectionIntoTheFirst) {
  Seeded random;
  double worst = 0;
  for (int i = 0; i < 2000; ++i) {
    const Point a = random.UnitVector(), b = random.UnitVector();
    const auto r = RotationBetween(a, b);
    worst = std::max(worst, (r * b - a).Length());
    const auto identity = r * r.Transposed();
    for (std::size_t row = 0; row < 4; ++row)
      for (std::size_t column = 0; column < 4; ++column)
        ASSERT_NEAR(identity(row, column), row == column, 1e-13);
    EXPECT_EQ(Point(r(0, 3), r(1, 3), r(2, 3)), Point());
    // A rotation, not a reflection.
    ASSERT_NEAR(Determinant(r), 1, 1e-13);
  }
  EXPECT_LT(worst, 2e-9);  // the arc cosine near 1 and -1; 2e-16 elsewhere
  const Point z{0, 0, 1};
  for (const Point& parallel : {z, -z})
    EXPECT_TRUE(FailsForNull([&] { RotationBetween(z, parallel); }));
}

TEST(FindToolPathAxis, FindsTheAxisOfPlanesAndCones) {
  Seeded random;
  for (const double opening : {90.0, 60.0, 20.0}) {
    for (int i = 0; i < 200; ++i) {
      const Point a = random.UnitVector();
      const Point s = OnCone(a, Cross(a, random.UnitVector()).Normalized(), opening);
      const double step = random.Real(5, 40);
      const auto path = PathOf({OnCone(s, a, 0), OnCone(s, a, step), OnCone(s, a, 2 * step)});
      const zvToolPathAxis found = FindToolPathAxis(path);
      ASSERT_TRUE(found.found);
      // Either sense of the axis is right.
      ASSERT_NEAR(std::fabs(Dot(found.axis, a)), 1, 1e-9) << opening;
    }
  }
}

TEST(FindToolPathAxis, SaysWhenThereIsNone) {
  const Point x{1, 0, 0}, y{0, 1, 0}, z{0, 0, 1};
  const std::pair<std::vector<Point>, Point> cases[] = {
      {{}, {}},
      {{z, x}, {}},            // below three moves
      {{z, z, z * 3, -z}, z},  // all parallel or opposite
      {{z, x, z}, z},          // only two directions
      {{z, x, z, z}, z},
      {{z * 2, z, z, z}, z},  // normalised
  };
  for (const auto& [orientations, axis] : cases) {
    const zvToolPathAxis found = FindToolPathAxis(PathOf(orientations));
    EXPECT_FALSE(found.found);
    EXPECT_EQ(found.axis, axis);
  }
  // A repeated orientation tells nothing, the search goes on past it.
  EXPECT_TRUE(FindToolPathAxis(PathOf({z, x, x, -x, -x, y})).found);
  const auto finding = [](const std::vector<Point>& orientations) {
    return [=] { FindToolPathAxis(PathOf(orientations)); };
  };
  // Nothing but repetitions, in a plane with the first: no axis can be told.
  EXPECT_TRUE(FailsForNull(finding({z, x, x, -x})));
  EXPECT_TRUE(FailsForNull(finding({z, Point(), x})));
  EXPECT_TRUE(Fails(finding({z, {NAN, 0, 0}, x}), 5039));
}

TEST(AlignToSpindle, TurnsTheFirstOrientationIntoTheSpindleUnlessItFits) {
  zv3axMachDef machDef;
  EXPECT_FALSE(AlignToSpindle(PathOf({}), machDef));
  EXPECT_FALSE(AlignToSpindle(PathOf({{0, 0, 1}}), machDef));
  EXPECT_FALSE(AlignToSpindle(PathOf({{0, 0.9e-12, 1}}), machDef));
  // Only the first move counts.
  EXPECT_FALSE(AlignToSpindle(PathOf({{0, 0, 5}, {1, 0, 0}}), machDef));
  EXPECT_TRUE(AlignToSpindle(PathOf({{0, 1.1e-12, 1}}), machDef));
  // Between 1e-12 and the arc cosine's snap the matrix is set, and turns nothing.
  const auto matrix = AlignToSpindle(PathOf({{0, 1e-5, 1}}), machDef);
  ASSERT_TRUE(matrix);
  EXPECT_EQ(*matrix, (cadcam::zvMatrix<double, 4, 4>::Identity()));
  const auto turning = AlignToSpindle(PathOf({{0, 2, 0}, {1, 0, 0}}), machDef);
  ASSERT_TRUE(turning);
  EXPECT_LT((*turning * Point(0, 1, 0) - Point(0, 0, 1)).Length(), 1e-15);
  EXPECT_TRUE(FailsForNull([&] { AlignToSpindle(PathOf({{0, 0, -1}}), machDef); }));
  EXPECT_TRUE(Fails([&] { AlignToSpindle(PathOf({{0, 0, HUGE_VAL}}), machDef); }, 5039));
}

TEST(RotaryAxis, FittingPathsAreLeftAloneEvenWithTheNoiseOfFineSteps) {
  Seeded random;
  int fitting = 0;
  for (int i = 0; i < 2000; ++i) {
    const Point a = random.UnitVector();
    const zv4axMachDef machDef = Machine(a);
    const Point s = machDef.GetSpindleDirection();
    if (std::fabs(Dot(s, a)) > 0.95) continue;
    const double step = random.Chance(0.5) ? 0.05 : random.Real(0.5, 20);
    const double sense = random.Chance(0.5) ? 1 : -1;
    const auto path = PathOf({OnCone(s, a, 0), OnCone(s, a, sense * step),
                              OnCone(s, a, 2 * sense * step), OnCone(s, a, 3 * sense * step)});
    // A path that turns the other way about the axis may come with a matrix that turns nothing;
    // none is ever turned away.
    const auto matrix = AlignToRotaryAxis(path, machDef);
    fitting += !matrix;
    ASSERT_TRUE(!matrix || *matrix == (cadcam::zvMatrix<double, 4, 4>::Identity()));
  }
  EXPECT_GT(fitting, 900);
}

TEST(RotaryAxis, APathWithoutAnAxisFitsWhereItsAngleToTheAxisIsTheSpindles) {
  for (const double x : {0, 1})
    EXPECT_EQ(FitsRotaryAxis(PathOf({{x, 1, 0}, {x, 1, 0}, {x, 1, 0}}), Machine({1, 0, 0})),
              x == 0);
  // Two moves fit only where the spindle is perpendicular.
  const auto path = PathOf({{1, 0, 0}, {0, 1, 0}});
  EXPECT_TRUE(FitsRotaryAxis(path, Machine({0, 1, 0})));
  EXPECT_FALSE(AlignToRotaryAxis(path, Machine({0, 1, 0})));
  EXPECT_TRUE(Fails([&] { AlignToRotaryAxis(path, Machine({0, 1, 1})); }, 5044));
}

TEST(RotaryAxis, TheMatrixTurnsTheMachinesAxisOntoThePaths) {
  // The reverse of the spindle's case, which is deliberate.
  const Point a{1, 0, 0}, z{0, 0, 1}, x = Point(1, 1, 0).Normalized();
  const auto path = PathOf({z, OnCone(z, x, 10), OnCone(z, x, 20)});
  const auto matrix = AlignToRotaryAxis(path, Machine(a));
  ASSERT_TRUE(matrix);
  EXPECT_LT((*matrix * a - FindToolPathAxis(path).axis).Length(), 1e-12);
}

}  // namespace
}  // namespace post
