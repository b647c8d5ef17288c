#include <gtest/gtest.h>
#include <kandrel/misc/measurable.h>
#include <tests/support/throws_id.h>

#include <cmath>

namespace measures {
namespace {

using tests::ThrowsId;
using Units = zvUnitsFactory::Units;

// A length that remembers how it was scaled, and which units it had meanwhile.
struct Rod : zvMeasurable {
  explicit Rod(Units units, double l = 1) : zvMeasurable(units), length(l) {}
  void Scale(Units newUnits, double factor) override {
    if (fails) throw misc::zvException(0, L"no");
    EXPECT_NE(GetUnits(), newUnits);  // the label changes after the numbers
    length *= factor;
    ++scalings;
  }
  double length;
  int scalings = 0;
  bool fails = false;
};

TEST(Units, OthersThanMetricAndInchAreRefused) {
  EXPECT_EQ(zvUnitsFactory::GetScaleFactor(Units::inch, Units::metric), 25.4);
  EXPECT_EQ(zvUnitsFactory::GetScaleFactor(Units::metric, Units::inch), 0.03937007874015748);
  Rod rod(Units::inch);
  const auto fails = [](auto&& action, std::uint32_t id) {
    return ThrowsId<zvmeasuresException>(action, id);
  };
  for (const Units other : {Units(0), Units(3), Units(-1), Units(0x7FFFFFFF)}) {
    EXPECT_FALSE(zvUnitsFactory::IsKnown(other));
    EXPECT_EQ(zvUnitsFactory::GetScaleFactor(other, other), 1.0);
    EXPECT_TRUE(fails([&] { zvUnitsFactory::GetScaleFactor(other, Units::metric); }, 2146));
    EXPECT_TRUE(fails([&] { zvUnitsFactory::GetScaleFactor(Units::inch, other); }, 2146));
    EXPECT_TRUE(fails([&] { Rod unused(other); }, 2141));
    for (const bool keep : {false, true})
      EXPECT_TRUE(fails([&] { rod.SetUnits(other, keep); }, 2141));
  }
  rod.fails = true;
  EXPECT_THROW(rod.SetUnits(Units::metric), misc::zvException);
  EXPECT_EQ(rod.GetUnits(), Units::inch);
  EXPECT_EQ(rod.length, 1);
}

TEST(Measurable, ScalesOnceAndOnlyWhenUnitsDiffer) {
  Rod rod(Units::inch, 2);
  rod.SetUnits(Units::inch);
  rod.SetUnits(Units::metric, true);
  EXPECT_EQ(rod.GetUnits(), Units::metric);
  EXPECT_EQ(rod.scalings, 0);
  EXPECT_EQ(rod.length, 2);
  rod.SetUnits(Units::inch);
  rod.SetUnits(Units::metric);
  EXPECT_EQ(rod.scalings, 2);
  Rod copy(Units::inch);
  copy = rod;
  EXPECT_EQ(copy.GetUnits(), Units::metric);
}

TEST(Measurable, ThereAndBackKeepsALengthWithinTheRoundings) {
  for (int i = 0; i < 88; ++i) {
    const double length = 1e-6 * std::pow(1.37, i);
    Rod rod(Units::metric, length);
    rod.SetUnits(Units::inch);
    rod.SetUnits(Units::metric);
    // Each of two products and the factor's own rounding: at most 1.5 units in the last place.
    EXPECT_LE(std::fabs(rod.length - length), 3.4e-16 * length) << length;
  }
}

}  // namespace
}  // namespace measures
