#include <kandrel/misc/measurable.h>
#include <tests/support/seeded.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace measures {
namespace {

using Units = zvUnitsFactory::Units;

// A length that remembers how it was scaled, and which units it had meanwhile.
struct Rod : zvMeasurable {
  explicit Rod(Units units, double l = 1) : zvMeasurable(units), length(l) {}
  void Scale(Units newUnits, double factor) override {
    if (fails) throw misc::zvException(0, L"no");
    EXPECT_NE(GetUnits(), newUnits);  // the label changes after the numbers
    length *= factor;
  }
  double length;
  bool fails = false;
};

TEST(Units, OthersThanMetricAndInchAreRefused) {
  EXPECT_EQ(zvUnitsFactory::GetScaleFactor(Units::inch, Units::metric), 25.4);
  EXPECT_EQ(zvUnitsFactory::GetScaleFactor(Units::metric, Units::inch), 0.03937007874015748);
  Rod rod(Units::inch);
  for (const Units other : {Units(0), Units(3), Units(-1), Units(0x7FFFFFFF)}) {
    EXPECT_FALSE(zvUnitsFactory::IsKnown(other));
    EXPECT_EQ(zvUnitsFactory::GetScaleFactor(other, other), 1.0);
    const std::pair<std::uint32_t, std::function<void()>> failures[] = {
        {2146, [&] { zvUnitsFactory::GetScaleFactor(other, Units::metric); }},
        {2146, [&] { zvUnitsFactory::GetScaleFactor(Units::inch, other); }},
        {2141, [&] { Rod unused(other); }},
        {2141, [&] { rod.SetUnits(other); }},
        {2141, [&] { rod.SetUnits(other, true); }}};
    for (const auto& [id, action] : failures)
      EXPECT_TRUE(tests::ThrowsId<zvmeasuresException>(action, id));
  }
  rod.fails = true;
  EXPECT_THROW(rod.SetUnits(Units::metric), misc::zvException);
  EXPECT_EQ(rod.GetUnits(), Units::inch);
  EXPECT_EQ(rod.length, 1);
}

// Scaled where units differ and the numbers shall follow; there and back within the roundings.
TEST(Measurable, ScalesOnceAndOnlyWhenUnitsDiffer) {
  tests::Seeded random;
  for (int i = 0; i < 2000; ++i) {
    const double length = std::exp2(random.Real(-20, 20));
    Rod rod(Units::metric, length);
    rod.SetUnits(Units::inch);
    EXPECT_EQ(rod.length, length * zvUnitsFactory::GetScaleFactor(Units::metric, Units::inch));
    const double inInch = rod.length;
    rod.SetUnits(Units::inch);
    rod.SetUnits(Units::metric, true);
    rod.SetUnits(Units::inch, true);
    EXPECT_EQ(rod.length, inInch);
    Rod copy(Units::metric);
    copy = rod;
    EXPECT_EQ(copy.GetUnits(), Units::inch);
    copy.SetUnits(Units::metric);
    // Each of two products and the factor's own rounding: at most 1.5 units in the last place.
    EXPECT_LE(std::fabs(copy.length - length), 3.4e-16 * length) << length;
  }
}

}  // namespace
}  // namespace measures
