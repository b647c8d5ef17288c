#include <kandrel/misc/value_validator.h>
#include <tests/support/numbers.h>
#include <tests/support/testing.h>

namespace misc {
namespace {

using tests::kInfinity;
using tests::kNaN;

TEST(ValueValidator, SteppedValuesLieOnAStepWithinTheBounds) {
  struct Case {
    double minimum, maximum, step, value;
    bool isValid;
  };
  const Case cases[] = {
      {0, 10, 0.5, 1.5, true},
      {0, 10, 0.5, 1.3, false},
      {0.25, 10, 0.5, 1.25, true},  // steps count from the minimum
      {0.25, 10, 0.5, 1.5, false},
      {0, 10, 0.5, 1.5 + 0.9e-5, true},
      {0, 10, 0.5, 1.5 + 1.1e-5, false},
      {0, 10, 0.5, 1.5 - 0.9e-5, true},  // the rest is nearly a whole step
      {0, 10, 0.5, 1.5 - 1.1e-5, false},
      {0, 10, -0.5, 1.5 - 0.9e-5, true},
      {0, 10, 0.5, -0.9e-12, true},
      {0, 10, 0.5, -1.1e-12, false},
      {0, 10, 0.5, 10 + 0.5e-12, true},
      {0, 10, 0.5, 10.5, false},
      {0, 10, 0, 0, false},  // no step, no values
      {0, 10, kNaN, 0, false},
      {0, 10, 0.5, kNaN, false},
      {kNaN, 10, 0.5, 1, false},
      {-kInfinity, kInfinity, 0.5, 1, false},
  };
  for (const Case& c : cases) {
    const zvSteppingBasedDiscreteValueValidator<double> validator(c.minimum, c.maximum, c.step);
    EXPECT_EQ(validator.IsValid(c.value), c.isValid)
        << c.minimum << ' ' << c.step << ' ' << c.value;
  }
}

TEST(ValueValidator, ListedValuesAreTheOnlyOnesUnlessThereAreNone) {
  const zvListBasedDiscreteValueValidator<double> some({0, 90, -45.5}), none({});
  for (const double value : {0.0, 90.0, -45.5, 90 + 0.9e-12}) EXPECT_TRUE(some.IsValid(value));
  for (const double value : {1.0, 90 + 2e-12, kNaN, kInfinity}) {
    EXPECT_FALSE(some.IsValid(value));
    EXPECT_TRUE(none.IsValid(value));
  }
}

TEST(ValueValidator, VisitorsTellTheKindsApart) {
  struct Kind : zvValueValidatorVisitor<double> {
    void Visit(const zvSteppingBasedDiscreteValueValidator<double>&) override { kinds += "step "; }
    void Visit(const zvListBasedDiscreteValueValidator<double>&) override { kinds += "list "; }
    void Visit(const zvValueValidator<double>&) override { kinds += "other"; }
    std::string kinds;
  } kind;
  struct Own : zvValueValidator<double> {
    bool IsValid(const double&) const override { return false; }
  };
  zvSteppingBasedDiscreteValueValidator<double>(0, 1, 1).AcceptVisitor(kind);
  zvListBasedDiscreteValueValidator<double>({}).AcceptVisitor(kind);
  Own().AcceptVisitor(kind);
  EXPECT_EQ(kind.kinds, "step list other");
}

}  // namespace
}  // namespace misc
