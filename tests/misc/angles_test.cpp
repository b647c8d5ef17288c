#include <kandrel/misc/angles.h>
#include <kandrel/misc/tolerances.h>
#include <tests/support/number_cases.h>
#include <tests/support/numbers.h>
#include <tests/support/seeded.h>
#include <tests/support/testing.h>

namespace misc {
namespace {

using tests::kInfinity;
using tests::kNaN;

std::uint64_t Bits(double value) {
  return std::bit_cast<std::uint64_t>(value);
}

// The plain forms that the closed ones must equal bit for bit.
double PlainWrapTo360(double deg) {
  double wrapped = std::fmod(deg, 360.0);
  if (wrapped < 0) wrapped += 360.0;
  return wrapped + 0.0;  // whole negative turns leave -0
}

double PlainWrapTo180(double deg) {
  while (180.0 < deg) deg -= 360.0;
  while (!(-180.0 < deg)) deg += 360.0;
  return deg;
}

double PlainCircularDistance(double a, double b) {
  const double d = std::fabs(PlainWrapTo360(a) - PlainWrapTo360(b));
  return d > 180.0 ? 360.0 - d : d;
}

TEST(Angles, WrapLikeTheLoopsBitForBit) {
  tests::Seeded random;
  for (int i = 0; i < 200000; ++i) {
    const double a = random.Real(-5000, 5000);
    // Whole and half turns with a little beside them, and anything.
    const double near = random.Integer(-30, 30) * 180.0 +
                        std::ldexp(random.Real(-5000, 5000), random.Integer(-60, 0));
    for (const double deg : {a, near, std::floor(a)}) {
      ASSERT_EQ(Bits(WrapTo180(deg)), Bits(PlainWrapTo180(deg))) << deg;
      const double plain = PlainWrapTo360(deg);
      ASSERT_EQ(Bits(WrapTo360(deg)), Bits(plain == 360.0 ? 0.0 : plain)) << deg;
    }
    ASSERT_NEAR(CircularDistance(a, near), PlainCircularDistance(a, near), 1e-12);
    ASSERT_EQ(Bits(CircularDistance(a, near)), Bits(CircularDistance(near, a)));
  }
}

TEST(Angles, HugeAndMeaninglessAnglesEnd) {
  for (const double deg : {1e300, -1e300, 4.7e18, std::numeric_limits<double>::max()}) {
    EXPECT_TRUE(WrapTo360(deg) >= 0 && WrapTo360(deg) < 360) << deg;
    EXPECT_TRUE(WrapTo180(deg) > -180 && WrapTo180(deg) <= 180) << deg;
  }
  for (const double deg : {kInfinity, -kInfinity, kNaN}) {
    EXPECT_TRUE(std::isnan(WrapTo360(deg)));
    EXPECT_EQ(Bits(WrapTo180(deg)), Bits(deg));
  }
}

TEST(Angles, ArcCosineSnapsNearItsEndsAndIsPlainBetween) {
  for (const double c : {1.0, 1.0 - 0.9e-10, 1.0 + 1e-12, 1.0 + 2e-12, 1.5, 1e300, kInfinity})
    EXPECT_EQ(SafeAcosRad(c), 0.0) << c;
  for (const double c : {-1.0, -1.0 + 0.9e-10, -1.0 - 1e-12, -1.5, -1e300, -kInfinity})
    EXPECT_EQ(SafeAcosRad(c), kPi) << c;
  for (int i = 0; i <= 5405; ++i) {
    const double c = -1.0 + 1.1e-10 + i * 0.00037;
    ASSERT_NEAR(SafeAcosRad(c), std::acos(c), 5e-16);
  }
  EXPECT_NEAR(SafeAcosRad(1.0 - 1.1e-10), 1.4832e-5, 1e-8);
  EXPECT_TRUE(std::isnan(SafeAcosRad(kNaN)));
}

TEST(Angles, WrapIntoRangeTurnsIntoTheRangeWhereOneTurnDoes) {
  for (const tests::NumberCase& c : tests::NumberCases("../misc/data/wraps.txt"))
    EXPECT_EQ(WrapIntoRange(c[0].at(0), c[0].at(1), c[0].at(2)), c[1].at(0)) << c.line;
}

TEST(Angles, InCircularRangeLooksRoundTheCircle) {
  for (const tests::NumberCase& c : tests::NumberCases("../misc/data/circular_ranges.txt"))
    EXPECT_EQ(InCircularRange(c[0].at(0), c[0].at(1), c[0].at(2), c[0].at(3)), c[1].at(0) == 1)
        << c.line;
}

}  // namespace
}  // namespace misc
