// zvMatrix: a small fixed matrix; with 4x4 doubles a homogeneous transformation.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>

#include <array>
#include <cstddef>

namespace cadcam {

/// Has R rows of C columns in row order, zero by default. As a homogeneous transformation the upper
/// left 3x3 block is the rotation, the fourth column the translation, the last row 0, 0, 0, 1.
template <class T, std::size_t R, std::size_t C>
class zvMatrix {
 public:
  /// All elements are zero.
  constexpr zvMatrix() = default;

  /// Returns ones on the diagonal, zeros elsewhere.
  static constexpr zvMatrix Identity() requires(R == C) {
    zvMatrix identity;
    for (std::size_t i = 0; i < R; ++i) identity(i, i) = T{1};
    return identity;
  }

  /// The element at a row and a column, which count from 0 and are not checked.
  constexpr T& operator()(std::size_t row, std::size_t column) {
    return m_elements[row * C + column];
  }
  constexpr const T& operator()(std::size_t row, std::size_t column) const {
    return m_elements[row * C + column];
  }

  /// True when all elements are equal, without a tolerance.
  constexpr bool operator==(const zvMatrix&) const = default;

  /// The product, which applies `b` first; each sum runs from the first column on.
  template <std::size_t K>
  friend constexpr zvMatrix<T, R, K> operator*(const zvMatrix& a, const zvMatrix<T, C, K>& b) {
    zvMatrix<T, R, K> product;
    for (std::size_t i = 0; i < R; ++i)
      for (std::size_t j = 0; j < K; ++j)
        for (std::size_t k = 0; k < C; ++k) product(i, j) += a(i, k) * b(k, j);
    return product;
  }

  /// Returns the matrix with rows and columns exchanged.
  constexpr zvMatrix<T, C, R> Transposed() const {
    zvMatrix<T, C, R> transposed;
    for (std::size_t i = 0; i < R; ++i)
      for (std::size_t j = 0; j < C; ++j) transposed(j, i) = (*this)(i, j);
    return transposed;
  }

 private:
  std::array<T, R * C> m_elements{};
};

/// Returns `m` applied to the point (x, y, z, 1); the result is not divided by the fourth row.
constexpr zvTPoint3d<double> operator*(const zvMatrix<double, 4, 4>& m,
                                       const zvTPoint3d<double>& p) {
  return {m(0, 0) * p.x + m(0, 1) * p.y + m(0, 2) * p.z + m(0, 3),
          m(1, 0) * p.x + m(1, 1) * p.y + m(1, 2) * p.z + m(1, 3),
          m(2, 0) * p.x + m(2, 1) * p.y + m(2, 2) * p.z + m(2, 3)};
}

/// Returns the determinant, by expansion along the first row, each 3x3 minor by the rule of Sarrus.
KANDREL_API double Determinant(const zvMatrix<double, 4, 4>& m) noexcept;

/// Returns the inverse, as the adjugate divided by the determinant. Throws misc::zvMathException of
/// kind 7 when the determinant is exactly 0.
KANDREL_API zvMatrix<double, 4, 4> Inverse(const zvMatrix<double, 4, 4>& m);

}  // namespace cadcam
