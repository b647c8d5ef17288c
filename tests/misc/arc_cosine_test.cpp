#include <gtest/gtest.h>
#include <kandrel/misc/arc_cosine.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

using misc::ArcCosine;
using misc::Lanes;

// Against 80 bits, from which `x` differs by less than a thousandth of a unit in the last place.
double ErrorInUnits(double x) {
  const long double exact = std::acos(static_cast<long double>(x));
  const double rounded = static_cast<double>(exact);
  const double unit = std::nextafter(rounded, 4) - rounded;
  return static_cast<double>(std::fabs(static_cast<long double>(ArcCosine(x)) - exact)) / unit;
}

TEST(ArcCosine, IsWithinTwoUnitsInTheLastPlace) {
  for (int i = 0; i <= 200000; ++i) {
    const double x = -1 + i * 1e-5;
    ASSERT_LE(ErrorInUnits(x), 2) << x;
  }
  for (double x = 1; x > 1e-300; x *= 0.83) {
    ASSERT_LE(ErrorInUnits(x), 2) << x;
    ASSERT_LE(ErrorInUnits(1 - x), 2) << 1 - x;
    ASSERT_LE(ErrorInUnits(x - 1), 2) << x - 1;
  }
  EXPECT_EQ(ArcCosine(1), 0);
  EXPECT_EQ(ArcCosine(-1), misc::kPi);
  EXPECT_EQ(ArcCosine(0), misc::kPi / 2);
  for (const double x : {1.0000000001, -2.0, std::numeric_limits<double>::infinity(),
                         std::numeric_limits<double>::quiet_NaN()})
    EXPECT_TRUE(std::isnan(ArcCosine(x))) << x;
}

TEST(ArcCosine, GivesTwoAtOnceTheBitsThatEachGetsAlone) {
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
