#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/alignment.h>
#include <tests/support/scenes.h>
#include <tests/support/throws_id.h>
#include <tests/support/toolpath_builders.h>

namespace post {
namespace {

using tests::PathBuilder;
using tests::Point;
using tests::Seeded;

const Point kX{1, 0, 0}, kY{0, 1, 0}, kZ{0, 0, 1};

testing::AssertionResult Fails(const std::function<void()>& action, std::uint32_t id = 2189) {
  return id == 2189 ? tests::ThrowsId<cadcam::zvcadcamException>(action, id)
                    : tests::ThrowsId<zvPostException>(action, id);
}

PathBuilder PathOf(const std::vector<Point>& orientations) {
  PathBuilder::Moves moves;
  for (const Point& t : orientations) moves.push_back(tests::Move5({}, t));
  return PathBuilder().Contour(moves);
}

// The point at `deg` on the cone that `s` sweeps around the unit vector `a`.
Point OnCone(const Point& s, const Point& a, double deg) {
  return tests::ToPoint(
      tests::rigid::Quaternion::OfTurn(tests::ToVector(a), deg).Turn(tests::ToVector(s)));
}

// Its spindle points along Z.
zv4axMachDef Machine(const Point& rotation) {
  zv4axMachDef machDef;
  machDef.SetRotationDirection(rotation);
  machDef.Normalize();
  return machDef;
}

TEST(RotationBetween, TurnsTheSecondDirectionIntoTheFirst) {
  Seeded random;
  for (int i = 0; i < 2000; ++i) {
    const Point a = random.UnitVector(), b = random.UnitVector();
    const auto r = RotationBetween(a, b);
    ASSERT_LT((r * b - a).Length(), 2e-9);  // the arc cosine near 1 and -1; 2e-16 elsewhere
    const auto identity = r * r.Transposed();
    for (std::size_t k = 0; k < 16; ++k)
      ASSERT_NEAR(identity(k / 4, k % 4), k % 5 == 0 ? 1 : 0, 1e-13);
    EXPECT_EQ(Point(r(0, 3), r(1, 3), r(2, 3)), Point());
    // A rotation, not a reflection.
    ASSERT_NEAR(Determinant(r), 1, 1e-13);
  }
  for (const Point& parallel : {kZ, -kZ})
    EXPECT_TRUE(Fails([&] { RotationBetween(kZ, parallel); }));
}

TEST(FindToolPathAxis, SaysWhenThereIsNone) {
  const std::pair<std::vector<Point>, Point> cases[] = {
      {{}, {}},
      {{kZ, kX}, {}},               // below three moves
      {{kZ, kZ, kZ * 3, -kZ}, kZ},  // all parallel or opposite
      {{kZ, kX, kZ, kZ}, kZ},       // only two directions
      {{kZ * 2, kZ, kZ, kZ}, kZ},   // normalised
  };
  for (const auto& [orientations, axis] : cases) {
    const zvToolPathAxis found = FindToolPathAxis(PathOf(orientations));
    EXPECT_FALSE(found.found);
    EXPECT_EQ(found.axis, axis);
  }
  // A repeated orientation says nothing, the search goes on past it.
  EXPECT_TRUE(FindToolPathAxis(PathOf({kZ, kX, kX, -kX, -kX, kY})).found);
  // Nothing but repetitions, in a plane with the first: no axis can be found.
  EXPECT_TRUE(Fails([] { FindToolPathAxis(PathOf({kZ, kX, kX, -kX})); }));
  EXPECT_TRUE(Fails([] { FindToolPathAxis(PathOf({kZ, Point(), kX})); }));
  EXPECT_TRUE(Fails([] { FindToolPathAxis(PathOf({kZ, {NAN, 0, 0}, kX})); }, 5039));
}

TEST(AlignToSpindle, TurnsTheFirstOrientationIntoTheSpindleUnlessItFits) {
  const zv3axMachDef machDef;
  // Only the first move counts.
  const std::vector<Point> fitting[] = {{}, {{0, 0.9e-12, 1}}, {{0, 0, 5}, {1, 0, 0}}};
  for (const auto& path : fitting) EXPECT_FALSE(AlignToSpindle(PathOf(path), machDef));
  const std::vector<Point> turned[] = {{{0, 1.1e-12, 1}}, {{0, 2, 0}, {1, 0, 0}}};
  for (const auto& path : turned) EXPECT_TRUE(AlignToSpindle(PathOf(path), machDef));
  // Between 1e-12 and the arc cosine's snap the matrix is set, and turns nothing.
  EXPECT_EQ(*AlignToSpindle(PathOf({{0, 1e-5, 1}}), machDef),
            (cadcam::zvMatrix<double, 4, 4>::Identity()));
  EXPECT_LT((*AlignToSpindle(PathOf({{0, 2, 0}}), machDef) * kY - kZ).Length(), 1e-15);
  EXPECT_TRUE(Fails([&] { AlignToSpindle(PathOf({-kZ}), machDef); }));
  EXPECT_TRUE(Fails([&] { AlignToSpindle(PathOf({{0, 0, HUGE_VAL}}), machDef); }, 5039));
}

// A path that turns about the machine's axis, in a plane or on a cone.
TEST(RotaryAxis, FittingPathsAreLeftAloneDespiteNoiseAndOthersTurned) {
  Seeded random;
  int fitting = 0;
  for (int i = 0; i < 2000; ++i) {
    Point a = random.UnitVector();
    if (random.Chance(0.3)) a = Point(a.x, a.y, 0).Normalized();
    if (std::fabs(a.z) > 0.95) continue;
    const zv4axMachDef machDef = Machine(a);
    const double size = random.Chance(0.5) ? 0.05 : random.Real(0.5, 20);
    const double step = random.Chance(0.5) ? size : -size;
    const auto path =
        PathOf({kZ, OnCone(kZ, a, step), OnCone(kZ, a, 2 * step), OnCone(kZ, a, 3 * step)});
    const zvToolPathAxis found = FindToolPathAxis(path);
    ASSERT_TRUE(found.found);
    // Either sense of the axis is right.
    ASSERT_NEAR(std::fabs(Dot(found.axis, a)), 1, 1e-9);
    // A path that turns the other way about the axis may come with a matrix that turns nothing;
    // none is ever turned away.
    const auto matrix = AlignToRotaryAxis(path, machDef);
    fitting += !matrix;
    ASSERT_TRUE(!matrix || *matrix == (cadcam::zvMatrix<double, 4, 4>::Identity()));
  }
  EXPECT_GT(fitting, 900);
  // The matrix turns the machine's axis onto the path's, the reverse of the spindle's case.
  const Point x = Point(1, 1, 0).Normalized();
  const auto path = PathOf({kZ, OnCone(kZ, x, 10), OnCone(kZ, x, 20)});
  const auto matrix = AlignToRotaryAxis(path, Machine(kX));
  ASSERT_TRUE(matrix);
  EXPECT_LT((*matrix * kX - FindToolPathAxis(path).axis).Length(), 1e-12);
}

TEST(RotaryAxis, APathWithoutAnAxisFitsWhereItsAngleToTheAxisIsTheSpindles) {
  const Point slanting{1, 0, 1};
  const std::tuple<Point, Point, bool> cases[] = {
      {kX, kY, true},        {kX, {1, 1, 0}, false},  {slanting, kX, true},
      {slanting, kZ, true},  {slanting, -kX, false},  {slanting, kY, false},
      {-slanting, kX, true}, {-slanting, -kX, false}, {slanting, slanting, false}};
  for (const auto& [rotation, orientation, fits] : cases)
    EXPECT_EQ(FitsRotaryAxis(PathOf({orientation, orientation, orientation}), Machine(rotation)),
              fits);
  // Two moves fit only where the spindle is perpendicular.
  const auto path = PathOf({kX, kY});
  EXPECT_TRUE(FitsRotaryAxis(path, Machine(kY)));
  EXPECT_FALSE(AlignToRotaryAxis(path, Machine(kY)));
  EXPECT_TRUE(Fails([&] { AlignToRotaryAxis(path, Machine({0, 1, 1})); }, 5044));
}

}  // namespace
}  // namespace post
