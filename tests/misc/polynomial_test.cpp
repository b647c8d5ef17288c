#include <kandrel/misc/polynomial.h>
#include <tests/support/seeded.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

#include <span>

namespace mathdef {
namespace {

using Polynomial = zvPolynomial<double>;

// Whole coefficients and places, so that sums of powers are exact in any order; lengths on both
// sides of the one that is kept in place.
TEST(Polynomial, EvaluatesDerivesAndCopiesItsCoefficients) {
  tests::Seeded random;
  for (int i = 0; i < 500; ++i) {
    std::vector<double> coefficients(static_cast<std::size_t>(random.Integer(1, 8)));
    for (double& c : coefficients) c = random.Integer(-9, 9);  // a leading 0 counts
    const std::size_t count = coefficients.size();
    const Polynomial original{std::span<const double>(coefficients)};
    Polynomial copy;
    copy = original;
    EXPECT_EQ(copy, original);
    EXPECT_EQ(copy.GetDegree(), count - 1);
    const double x = random.Integer(-6, 6);
    double value = 0, power = 1;
    std::vector<double> derivative(count == 1 ? 1 : 0);
    for (std::size_t k = 0; k < count; ++k) {
      EXPECT_EQ(copy.GetCoefficient(k), coefficients[k]);
      value += coefficients[k] * power;
      power *= x;
      if (k > 0) derivative.push_back(static_cast<double>(k) * coefficients[k]);
    }
    EXPECT_EQ(copy.Evaluate(x), value);
    EXPECT_EQ(copy.Derivative(), Polynomial(std::span<const double>(derivative)));
    EXPECT_TRUE(tests::ThrowsId<zvMathDefException>([&] { copy.GetCoefficient(count); }, 2504));
    Polynomial moved(std::move(copy));
    EXPECT_EQ(moved, original);
    EXPECT_EQ(copy, Polynomial());  // NOLINT(bugprone-use-after-move): the constant 0
    EXPECT_EQ(copy.Evaluate(3), 0);
    copy = std::move(moved);
    EXPECT_EQ(copy, original);
  }
  EXPECT_EQ(Polynomial({1, 2, 3, 4}).Evaluate(0.5), 3.25);
  EXPECT_FALSE(Polynomial({1, 2}) == Polynomial({1, 2, 0}));
  EXPECT_TRUE(
      tests::ThrowsId<zvMathDefException>([] { Polynomial(std::span<const double>()); }, 2505));
}

}  // namespace
}  // namespace mathdef
