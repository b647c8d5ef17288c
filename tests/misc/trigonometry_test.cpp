#include <kandrel/misc/trigonometry.h>
#include <tests/support/number_cases.h>
#include <tests/support/numbers.h>
#include <tests/support/seeded.h>
#include <tests/support/testing.h>

namespace {

using misc::ArcCosine;
using misc::ArcTangent;
using misc::Lanes;
using Exact = long double;  // 80 bits: off by less than a hundredth of a unit of a double

constexpr Exact kPi = 3.14159265358979323846264338327950288L;

double ErrorInUnits(double value, Exact exact) {
  const double size = std::fabs(static_cast<double>(exact));
  const double unit = std::nextafter(size, tests::kInfinity) - size;
  return static_cast<double>(std::fabs(value - exact)) / unit;
}

double ErrorInUnits(const misc::zvSineAndCosine& value, Exact sine, Exact cosine) {
  return std::max(ErrorInUnits(value.sine, sine), ErrorInUnits(value.cosine, cosine));
}

double ErrorOfDegrees(double deg) {
  int quarters = 0;  // of which remquo gives three bits at least
  const double over = std::remquo(deg, 90.0, &quarters);
  const Exact rad = over * (kPi / 180);
  const Exact s = std::sin(rad), c = std::cos(rad);
  const Exact sines[] = {s, c, -s, -c};
  const auto quarter = static_cast<unsigned>(quarters);
  return ErrorInUnits(misc::SineAndCosineOfDegrees(deg), sines[quarter & 3],
                      sines[(quarter + 1) & 3]);
}

double ErrorOfRadians(double rad) {
  const Exact exact = rad;
  return ErrorInUnits(misc::SineAndCosineOfRadians(rad), std::sin(exact), std::cos(exact));
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
                             misc::kPi / 2 * random.Integer(-100000, 100000), size})
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
      const auto [sine, cosine] = misc::SineAndCosineOfDegrees(360 * turns + 90 * i);
      EXPECT_EQ(sine, quarters[i].sine) << turns << ' ' << i;
      EXPECT_EQ(cosine, quarters[i].cosine) << turns << ' ' << i;
      EXPECT_FALSE(std::signbit(sine) && sine == 0) << turns << ' ' << i;
      EXPECT_FALSE(std::signbit(cosine) && cosine == 0) << turns << ' ' << i;
    }
  EXPECT_EQ(misc::SineAndCosineOfDegrees(-210).sine, 0.5);
  EXPECT_EQ(misc::SineAndCosineOfDegrees(300).cosine, 0.5);
  EXPECT_EQ(misc::SineAndCosineOfRadians(0).cosine, 1);
  EXPECT_EQ(ArcCosine(1), 0);
  EXPECT_EQ(ArcCosine(-1), misc::kPi);
  EXPECT_EQ(ArcCosine(0), misc::kPi / 2);
  for (const tests::NumberCase& c : tests::NumberCases("../misc/data/corners.txt"))
    EXPECT_EQ(ArcTangent(c[0].at(0), c[0].at(1)), c[1].at(0) * misc::kPi / 4) << c.line;
}

TEST(Trigonometry, GivesNaNForWhatHasNoValue) {
  using tests::kInfinity;
  using tests::kNaN;
  for (const double bad : {kInfinity, -kInfinity, kNaN}) {
    for (const auto& [sine, cosine] :
         {misc::SineAndCosineOfDegrees(bad), misc::SineAndCosineOfRadians(bad)})
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
    ASSERT_EQ(std::bit_cast<std::uint64_t>(double{both[0]}),
              std::bit_cast<std::uint64_t>(ArcCosine(x)));
    ASSERT_EQ(std::bit_cast<std::uint64_t>(double{both[1]}),
              std::bit_cast<std::uint64_t>(ArcCosine(y)));
  }
}

}  // namespace
