#include <kandrel/misc/angles.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>
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

using Exact = long double;  // 80 bits: off by less than a hundredth of a unit of a double

constexpr Exact kExactPi = 3.14159265358979323846264338327950288L;

double ErrorInUnits(double value, Exact exact) {
  const double size = std::fabs(static_cast<double>(exact));
  const double unit = std::nextafter(size, kInfinity) - size;
  return static_cast<double>(std::fabs(value - exact)) / unit;
}

double ErrorInUnits(const zvSineAndCosine& value, Exact sine, Exact cosine) {
  return std::max(ErrorInUnits(value.sine, sine), ErrorInUnits(value.cosine, cosine));
}

double ErrorOfDegrees(double deg) {
  int quarters = 0;  // of which remquo gives three bits at least
  const double over = std::remquo(deg, 90.0, &quarters);
  const Exact rad = over * (kExactPi / 180);
  const Exact s = std::sin(rad), c = std::cos(rad);
  const Exact sines[] = {s, c, -s, -c};
  const auto quarter = static_cast<unsigned>(quarters);
  return ErrorInUnits(SineAndCosineOfDegrees(deg), sines[quarter & 3], sines[(quarter + 1) & 3]);
}

double ErrorOfRadians(double rad) {
  const Exact exact = rad;
  return ErrorInUnits(SineAndCosineOfRadians(rad), std::sin(exact), std::cos(exact));
}

// The largest errors seen in a hundred million of each, in units: sine and cosine of degrees 0.81,
// of radians 0.82, arc cosine 1.23, arc tangent 1.56.
TEST(Trigonometry, IsAsNearAsItSays) {
  tests::Seeded random;
  double degrees = 0, radians = 0, arcCosine = 0, arcTangent = 0;
  for (int i = 0; i < 100000; ++i) {
    const double size = std::exp2(random.Real(-1000, 1000));
    const double small = std::exp2(random.Real(-40, 0));
    for (const double deg : {random.Real(-46, 46), random.Real(-1000, 1000), random.Real(-1e7, 1e7),
                             90 * random.Integer(-100000, 100000) + small, size})
      degrees = std::max(degrees, ErrorOfDegrees(deg));
    for (const double rad : {random.Real(-1, 1), random.Real(-1000, 1000), random.Real(-1e7, 1e7),
                             kPi / 2 * random.Integer(-100000, 100000), size})
      radians = std::max(radians, ErrorOfRadians(rad));
    for (const double x : {random.Real(-1, 1), small, -small, 1 - small, small - 1})
      arcCosine = std::max(arcCosine, ErrorInUnits(ArcCosine(x), std::acos(Exact{x})));
    const double x = random.Real(-1, 1);
    for (const double y : {random.Real(-1, 1), x * random.Real(-1, 1), small, x * small})
      for (const auto& [b, a] : {std::pair{y, x}, {x, y}})
        arcTangent =
            std::max(arcTangent, ErrorInUnits(ArcTangent(b, a), std::atan2(Exact{b}, Exact{a})));
  }
  // The number that comes nearest to a multiple of a right angle.
  radians = std::max(radians, ErrorOfRadians(6381956970095103 * 0x1p797));

  EXPECT_LE(degrees, 0.9);
  EXPECT_LE(radians, 0.9);
  EXPECT_LE(arcCosine, 1.5);
  EXPECT_LE(arcTangent, 2);
}

TEST(Trigonometry, IsExactWhereTheResultIsANumber) {
  const struct { double sine, cosine; } quarters[] = {{0, 1}, {1, 0}, {0, -1}, {-1, 0}};
  for (const double turns : {0.0, 1.0, -1.0, 27777.0, 12345678901.0})
    for (int i = 0; i < 4; ++i) {
      const auto [sine, cosine] = SineAndCosineOfDegrees(360 * turns + 90 * i);
      EXPECT_EQ(sine, quarters[i].sine) << turns << ' ' << i;
      EXPECT_EQ(cosine, quarters[i].cosine) << turns << ' ' << i;
      EXPECT_FALSE(std::signbit(sine) && sine == 0) << turns << ' ' << i;
      EXPECT_FALSE(std::signbit(cosine) && cosine == 0) << turns << ' ' << i;
    }
  EXPECT_EQ(SineAndCosineOfDegrees(-210).sine, 0.5);
  EXPECT_EQ(SineAndCosineOfDegrees(300).cosine, 0.5);
  EXPECT_EQ(SineAndCosineOfRadians(0).cosine, 1);
  EXPECT_EQ(ArcCosine(1), 0);
  EXPECT_EQ(ArcCosine(-1), kPi);
  EXPECT_EQ(ArcCosine(0), kPi / 2);
  for (const tests::NumberCase& c : tests::NumberCases("../misc/data/corners.txt"))
    EXPECT_EQ(ArcTangent(c[0].at(0), c[0].at(1)), c[1].at(0) * kPi / 4) << c.line;
}

TEST(Trigonometry, GivesNaNForWhatHasNoValue) {
  for (const double bad : {kInfinity, -kInfinity, kNaN}) {
    for (const auto& [sine, cosine] : {SineAndCosineOfDegrees(bad), SineAndCosineOfRadians(bad)})
      EXPECT_TRUE(std::isnan(sine) && std::isnan(cosine)) << bad;
    EXPECT_TRUE(std::isnan(ArcTangent(bad, 1)) && std::isnan(ArcTangent(1, bad))) << bad;
  }
  for (const double bad : {1.0000000001, -2.0, kInfinity, kNaN})
    EXPECT_TRUE(std::isnan(ArcCosine(bad))) << bad;
}

TEST(Trigonometry, GivesTwoAtOnceTheBitsThatEachGetsAlone) {
  for (int i = 0; i <= 200000; ++i) {
    const double x = -1 + i * 1e-5;
    const double y = std::ldexp(x, -(i % 60));
    const Lanes both = ArcCosine(Lanes{x, y});
    ASSERT_EQ(Bits(both[0]), Bits(ArcCosine(x)));
    ASSERT_EQ(Bits(both[1]), Bits(ArcCosine(y)));
  }
}

}  // namespace
}  // namespace misc
