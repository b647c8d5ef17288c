#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/point3d.h>
#include <tests/support/numbers.h>
#include <tests/support/seeded.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace cadcam {
namespace {

using tests::Point;
using tests::ThrowsId;

TEST(Point3d, NormalisesEverythingButTheExactZero) {
  for (const Point& zero : {Point(), Point(-0.0, 0, -0.0)})
    EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { zero.Normalized(); }, 2189));
  EXPECT_TRUE(ThrowsId<zvcadcamException>([] { zvTPoint3d<float>().Normalized(); }, 2189));
  for (const double size : {1e-320, 1e-200, 1e-100, 1.0, 1e100, 1e200, 1e307}) {
    EXPECT_EQ(Point(size, 0, 0).Normalized(), Point(1, 0, 0)) << size;
    EXPECT_EQ(Point(0, 0, -size).Normalized(), Point(0, 0, -1)) << size;
    if (size < 1e-300) continue;  // too few bits left for the two legs
    const Point p = Point(3 * size, 0, 4 * size).Normalized();
    EXPECT_NEAR(p.x, 0.6, 1e-15) << size;
    EXPECT_NEAR(p.z, 0.8, 1e-15) << size;
  }
  EXPECT_EQ(zvTPoint3d<float>(0, 1e-30f, 0).Normalized(), zvTPoint3d<float>(0, 1, 0));
}

TEST(Point3d, OrdinaryLengthsArePlainBitForBit) {
  tests::Seeded random;
  for (int i = 0; i < 20000; ++i) {
    const Point p = random.Vector(1000);
    const double length = std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z);
    ASSERT_EQ(p.Length(), length);
    ASSERT_EQ(p.Normalized(), Point(p.x / length, p.y / length, p.z / length));
  }
}

TEST(Point3d, ProductsFollowTheRightHand) {
  const Point a(1, 2, 3), b(-4, 5, 6);
  EXPECT_EQ(Cross(a, b), Point(-3, -18, 13));
  EXPECT_EQ(Dot(a, b), 24);
  EXPECT_EQ(a + b, Point(-3, 7, 9));
  EXPECT_EQ(2.0 * a, Point(2, 4, 6));
  EXPECT_EQ((a - b) / 2.0, Point(2.5, -1.5, -1.5));
  Point sum = a;
  ((sum += b) -= a) *= 2;
  EXPECT_EQ(sum, Point(-8, 10, 12));
  EXPECT_EQ(a.SquaredLength(), 14);
}

TEST(Point3d, KnowsWhatIsFinite) {
  EXPECT_TRUE(IsFinite({1e308, -1e308, 0}));
  for (const double bad : {tests::kInfinity, tests::kNaN})
    for (const Point& p : {Point(bad, 0, 0), Point(0, -bad, 0), Point(0, 0, bad)})
      EXPECT_FALSE(IsFinite(p));
}

}  // namespace
}  // namespace cadcam
