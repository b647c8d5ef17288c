#include <gtest/gtest.h>
#include <kandrel/misc/polynomial.h>
#include <tests/support/throws_id.h>

#include <span>
#include <vector>

namespace mathdef {
namespace {

using tests::ThrowsId;
using Polynomial = zvPolynomial<double>;

TEST(Polynomial, EvaluatesAndDerivesAcrossTheSizeThatIsKeptInPlace) {
  const struct {
    Polynomial polynomial;
    double x, value;
    Polynomial derivative;
  } cases[] = {
      {{}, 5, 0, {0}},
      {{7}, 5, 7, {0}},
      {{1, 2}, 5, 11, {2}},
      {{1, 2, 3, 4}, 0.5, 3.25, {2, 6, 12}},
      {{-1, 0, 0, 0, 1}, 3, 80, {0, 0, 0, 4}},
      {{1, 1, 1, 1, 1, 1}, 2, 63, {1, 2, 3, 4, 5}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.polynomial.Evaluate(c.x), c.value) << c.polynomial.GetDegree();
    EXPECT_EQ(c.polynomial.Derivative(), c.derivative);
  }
}

TEST(Polynomial, CopiesAndChecksItsCoefficients) {
  const std::vector<double> coefficients = {1, 2, 3, 4, 5, 0};
  for (std::size_t count = 1; count <= coefficients.size(); ++count) {
    const Polynomial original{std::span<const double>(coefficients).first(count)};
    Polynomial copy;
    copy = original;
    EXPECT_EQ(copy, original);
    EXPECT_EQ(copy.GetDegree(), count - 1);  // a leading 0 counts
    for (std::size_t i = 0; i < count; ++i) EXPECT_EQ(copy.GetCoefficient(i), coefficients[i]);
    EXPECT_TRUE(ThrowsId<zvMathDefException>([&] { copy.GetCoefficient(count); }, 2504));
    Polynomial moved(std::move(copy));
    EXPECT_EQ(moved, original);
    EXPECT_EQ(copy, Polynomial());  // NOLINT(bugprone-use-after-move): the constant 0
    EXPECT_EQ(copy.Evaluate(3), 0);
    copy = std::move(moved);
    EXPECT_EQ(copy, original);
  }
  EXPECT_FALSE(Polynomial({1, 2}) == Polynomial({1, 2, 0}));
  EXPECT_TRUE(ThrowsId<zvMathDefException>([] { Polynomial(std::span<const double>()); }, 2505));
}

}  // namespace
}  // namespace mathdef
