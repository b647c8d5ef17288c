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

constexpr Units kOthers[] = {Units(0), Units(3), Units(-1), Units(0x7FFFFFFF)};

TEST(Units, FactorsBetweenThem) {
  EXPECT_EQ(zvUnitsFactory::GetScaleFactor(Units::inch, Units::metric), 25.4);
  EXPECT_EQ(zvUnitsFactory::GetScaleFactor(Units::metric, Units::inch), 0.03937007874015748);
  for (const Units units : {Units::metric, Units::inch, Units(7)})
    EXPECT_EQ(zvUnitsFactory::GetScaleFactor(units, units), 1.0);
  for (const Units other : kOthers) {
    EXPECT_FALSE(zvUnitsFactory::IsKnown(other));
    EXPECT_TRUE(
        ThrowsId<zvmeasuresException>([&] { zvUnitsFactory::GetScaleFactor(other, Units::metric); },
                                      2146, L"Undefined ScaleFactor"));
    EXPECT_TRUE(
        ThrowsId<zvmeasuresException>([&] { zvUnitsFactory::GetScaleFactor(Units::inch, other); },
                                      2146, L"Undefined ScaleFactor"));
  }
}

TEST(Measurable, RefusesOtherUnitsAndStaysAsItWas) {
  Rod rod(Units::inch);
  for (const Units other : kOthers) {
    EXPECT_TRUE(ThrowsId<zvmeasuresException>([&] { Rod unused(other); }, 2141, L"Unknown Units"));
    for (const bool keep : {false, true})
      EXPECT_TRUE(ThrowsId<zvmeasuresException>([&] { rod.SetUnits(other, keep); }, 2141,
                                                L"Unknown Units"));
  }
  rod.fails = true;
  EXPECT_THROW(rod.SetUnits(Units::metric), misc::zvException);
  EXPECT_EQ(rod.GetUnits(), Units::inch);
  EXPECT_EQ(rod.length, 1);
}

TEST(Measurable, ScalesOnceAndOnlyWhenUnitsDiffer) {
  Rod rod(Units::inch, 2);
  rod.SetUnits(Units::inch);
  EXPECT_EQ(rod.scalings, 0);
  rod.SetUnits(Units::metric, true);
  EXPECT_EQ(rod.GetUnits(), Units::metric);
  EXPECT_EQ(rod.scalings, 0);
  EXPECT_EQ(rod.length, 2);
  rod.SetUnits(Units::inch);
  rod.SetUnits(Units::metric);
  EXPECT_EQ(rod.scalings, 2);
  EXPECT_EQ(rod.GetUnits(), Units::metric);
  Rod copy(Units::inch);
  copy = rod;
  EXPECT_EQ(copy.GetUnits(), Units::metric);
}

TEST(Measurable, ThereAndBackKeepsALengthWithinTheRoundings) {
  for (double length = 1e-6; length < 1e6; length *= 1.37) {
    Rod rod(Units::metric, length);
    rod.SetUnits(Units::inch);
    rod.SetUnits(Units::metric);
    // Each of two products and the factor's own rounding: at most 1.5 units in the last place.
    EXPECT_LE(std::fabs(rod.length - length), 3.4e-16 * length) << length;
  }
}

}  // namespace
}  // namespace measures
