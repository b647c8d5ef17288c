#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/matrix.h>
#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/math_exception.h>
#include <tests/support/numbers.h>
#include <tests/support/points.h>
#include <tests/support/seeded.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace cadcam {
namespace {

using Matrix = zvMatrix<double, 4, 4>;
using tests::Point;
using tests::ThrowsId;

Matrix FromRows(const double (&rows)[4][4]) {
  Matrix m;
  for (std::size_t i = 0; i < 4; ++i)
    for (std::size_t j = 0; j < 4; ++j) m(i, j) = rows[i][j];
  return m;
}

Matrix Diagonal(double a, double b, double c, double d) {
  return FromRows({{a, 0, 0, 0}, {0, b, 0, 0}, {0, 0, c, 0}, {0, 0, 0, d}});
}

double LargestDifference(const Matrix& a, const Matrix& b) {
  double largest = 0;
  for (std::size_t i = 0; i < 4; ++i)
    for (std::size_t j = 0; j < 4; ++j) largest = std::max(largest, std::fabs(a(i, j) - b(i, j)));
  return largest;
}

// A turn about a unit vector by Rodrigues' formula, with a translation.
Matrix Rigid(const Point& u, double rad, const Point& move) {
  const double c = std::cos(rad), s = std::sin(rad), t = 1 - c;
  return FromRows({{u.x * u.x * t + c, u.x * u.y * t - u.z * s, u.x * u.z * t + u.y * s, move.x},
                   {u.x * u.y * t + u.z * s, u.y * u.y * t + c, u.y * u.z * t - u.x * s, move.y},
                   {u.x * u.z * t - u.y * s, u.y * u.z * t + u.x * s, u.z * u.z * t + c, move.z},
                   {0, 0, 0, 1}});
}

TEST(Matrix, DeterminantAndInverseKeepTheirLaws) {
  EXPECT_EQ(Determinant(Matrix()), 0);
  EXPECT_EQ(Determinant(Diagonal(2, 3, 5, 7)), 210);
  // One exchange of rows changes the sign; the element (0, 3) takes part with sign -1.
  EXPECT_EQ(Determinant(FromRows({{0, 0, 0, 2}, {0, 3, 0, 0}, {0, 0, 5, 0}, {7, 0, 0, 0}})), -210);
  EXPECT_EQ(Determinant(FromRows({{0, 2, 0, 0}, {3, 0, 0, 0}, {0, 0, 5, 0}, {0, 0, 0, 7}})), -210);
  tests::Seeded random;
  const auto whole = [&] {
    Matrix m;
    for (std::size_t i = 0; i < 16; ++i) m(i / 4, i % 4) = random.Integer(-5, 5);
    return m;
  };
  for (int i = 0; i < 5000; ++i) {
    const Matrix m = Rigid(random.UnitVector(), random.Real(-3.2, 3.2), random.Vector(300));
    ASSERT_LT(LargestDifference(Inverse(m) * m, Matrix::Identity()), 1e-12);
    const Point p = random.Vector(1000);
    ASSERT_LT((Inverse(m) * (m * p) - p).Length(), 1e-11);
    const Matrix a = whole(), b = whole();
    ASSERT_EQ(Determinant(a * b), Determinant(a) * Determinant(b));
    if (Determinant(a) != 0) {
      ASSERT_LT(LargestDifference(Inverse(a) * a, Matrix::Identity()), 1e-10);
    }
  }
}

TEST(Matrix, OnlyAnExactlySingularMatrixHasNoInverse) {
  const Matrix tiny = Diagonal(1e-100, 1e-100, 1e-100, 1);
  EXPECT_NEAR(Determinant(tiny), 1e-300, 1e-312);
  EXPECT_LT(LargestDifference(Inverse(tiny) * tiny, Matrix::Identity()), 1e-14);
  for (const Matrix& singular :
       {Matrix(), Diagonal(1, 1, 0, 1),
        FromRows({{1, 2, 3, 4}, {1, 2, 3, 4}, {0, 0, 1, 0}, {0, 0, 0, 1}})})
    EXPECT_TRUE(ThrowsId<misc::zvMathException>(
        [&] { Inverse(singular); }, 7108,
        L"Determinant is zero, cannot find matrix inverse: Can compute inverse only for "
        L"nonsingular matrices (det != 0)"));
}

TEST(Matrix, ProductsTranspositionAndPoints) {
  const Matrix quarter = FromRows({{0, -1, 0, 10}, {1, 0, 0, 20}, {0, 0, 1, 30}, {0, 0, 0, 1}});
  EXPECT_EQ(quarter * Point(1, 2, 3), Point(8, 21, 33));
  // The fourth row doesn't act on a point.
  Matrix scaled = quarter;
  scaled(3, 3) = 5;
  EXPECT_EQ(scaled * Point(1, 2, 3), Point(8, 21, 33));
  EXPECT_EQ((quarter * quarter) * Point(1, 2, 3), quarter * (quarter * Point(1, 2, 3)));
  zvMatrix<int, 2, 3> a;
  for (std::size_t i = 0; i < 6; ++i) a(i / 3, i % 3) = static_cast<int>(i) + 1;
  EXPECT_EQ(a.Transposed()(2, 0), 3);
  const zvMatrix<int, 2, 2> product = a * a.Transposed();
  for (std::size_t i = 0; i < 4; ++i)
    EXPECT_EQ(product(i / 2, i % 2), (std::array{14, 32, 32, 77}[i]));
}

TEST(Point3d, NormalisesEverythingButTheExactZero) {
  for (const Point& zero : {Point(), Point(-0.0, 0, -0.0)})
    EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { zero.Normalized(); }, 2189));
  EXPECT_TRUE(ThrowsId<zvcadcamException>([] { zvTPoint3d<float>().Normalized(); }, 2189));
  for (const double size : {1e-320, 1e-200, 1e-100, 1.0, 1e100, 1e200, 1e307}) {
    EXPECT_EQ(Point(size, 0, 0).Normalized(), Point(1, 0, 0)) << size;
    EXPECT_EQ(Point(0, 0, -size).Normalized(), Point(0, 0, -1)) << size;
    if (size < 1e-300) continue;  // too few bits left for the two legs
    const Point p = Point(3 * size, 0, 4 * size).Normalized();
    EXPECT_NEAR(p.x, 0.6, 1e-15) << size;
    EXPECT_NEAR(p.z, 0.8, 1e-15) << size;
  }
  EXPECT_EQ(zvTPoint3d<float>(0, 1e-30f, 0).Normalized(), zvTPoint3d<float>(0, 1, 0));
}

TEST(Point3d, OrdinaryLengthsArePlainBitForBit) {
  tests::Seeded random;
  for (int i = 0; i < 20000; ++i) {
    const Point p = random.Vector(1000);
    const double length = std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z);
    ASSERT_EQ(p.Length(), length);
    ASSERT_EQ(p.Normalized(), Point(p.x / length, p.y / length, p.z / length));
  }
}

TEST(Point3d, ProductsFollowTheRightHand) {
  const Point a(1, 2, 3), b(-4, 5, 6);
  EXPECT_EQ(Cross(a, b), Point(-3, -18, 13));
  EXPECT_EQ(Dot(a, b), 24);
  EXPECT_EQ(a + b, Point(-3, 7, 9));
  EXPECT_EQ(2.0 * a, Point(2, 4, 6));
  EXPECT_EQ((a - b) / 2.0, Point(2.5, -1.5, -1.5));
  Point sum = a;
  ((sum += b) -= a) *= 2;
  EXPECT_EQ(sum, Point(-8, 10, 12));
  EXPECT_EQ(a.SquaredLength(), 14);
}

TEST(Point3d, KnowsWhatIsFinite) {
  EXPECT_TRUE(IsFinite({1e308, -1e308, 0}));
  for (const double bad : {tests::kInfinity, tests::kNaN})
    for (const Point& p : {Point(bad, 0, 0), Point(0, -bad, 0), Point(0, 0, bad)})
      EXPECT_FALSE(IsFinite(p));
}

}  // namespace
}  // namespace cadcam
