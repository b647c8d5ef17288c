#include <kandrel/cadcam/matrix.h>
#include <kandrel/misc/math_exception.h>

namespace cadcam {

namespace {

using Matrix4 = zvMatrix<double, 4, 4>;

// Determinant of the matrix without one row and one column, by the rule of Sarrus.
double Minor(const Matrix4& m, std::size_t withoutRow, std::size_t withoutColumn) noexcept {
  zvMatrix<double, 3, 3> s;
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = 0; j < 3; ++j)
      s(i, j) = m(i < withoutRow ? i : i + 1, j < withoutColumn ? j : j + 1);
  return s(0, 0) * s(1, 1) * s(2, 2) + s(0, 1) * s(1, 2) * s(2, 0) + s(0, 2) * s(1, 0) * s(2, 1) -
         s(0, 2) * s(1, 1) * s(2, 0) - s(0, 0) * s(1, 2) * s(2, 1) - s(0, 1) * s(1, 0) * s(2, 2);
}

}  // namespace

double Determinant(const Matrix4& m) noexcept {
  double determinant = 0;
  double sign = 1;
  for (std::size_t column = 0; column < 4; ++column) {
    determinant += sign * m(0, column) * Minor(m, 0, column);
    sign = -sign;
  }
  return determinant;
}

Matrix4 Inverse(const Matrix4& m) {
  const double determinant = Determinant(m);
  if (determinant == 0)
    throw misc::zvMathException(L"Can compute inverse only for nonsingular matrices (det != 0)",
                                misc::zvMathException::kDeterminantIsZero);
  Matrix4 work;
  for (std::size_t i = 0; i < 4; ++i)
    for (std::size_t j = 0; j < 4; ++j)
      work(i, j) = ((i + j) % 2 == 0 ? 1.0 : -1.0) * Minor(m, i, j) / determinant;
  return work.Transposed();
}

}  // namespace cadcam
