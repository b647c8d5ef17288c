// zvPolynomial: a polynomial in one variable.
#pragma once

#include <kandrel/misc/mathdef_exception.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <utility>
#include <vector>

namespace mathdef {

/// Has its coefficients from the constant term upward. The degree is their number less one; a
/// leading coefficient may be 0. Up to the cubics that blending uses, nothing is on the heap.
template <class T>
class zvPolynomial {
 public:
  /// The constant 0.
  zvPolynomial() = default;

  /// Throws zvMathDefException 2505 "Negative Polynom degree" without a coefficient.
  explicit zvPolynomial(std::span<const T> coefficients) : m_count(coefficients.size()) {
    if (m_count == 0) throw zvMathDefException(zvMathDefException::kNegativeDegree);
    if (m_count > kInPlace) m_high.resize(m_count);
    std::copy(coefficients.begin(), coefficients.end(), Data());
  }
  zvPolynomial(std::initializer_list<T> coefficients)
      : zvPolynomial(std::span<const T>(coefficients.begin(), coefficients.size())) {}
  zvPolynomial(const zvPolynomial&) = default;
  /// What was moved from is the constant 0.
  zvPolynomial(zvPolynomial&& other) noexcept { Swap(other); }
  zvPolynomial& operator=(zvPolynomial other) noexcept {
    Swap(other);
    return *this;
  }
  ~zvPolynomial() = default;

  /// The number of coefficients less one.
  std::size_t GetDegree() const noexcept { return m_count - 1; }

  /// The factor of x to the power `index`. Throws zvMathDefException 2504 "Index out of range in
  /// WMAdapter" above the degree.
  T GetCoefficient(std::size_t index) const {
    if (index >= m_count) throw zvMathDefException(zvMathDefException::kIndexOutOfRange);
    return Data()[index];
  }

  /// Returns the value at `x`, by Horner's rule.
  T Evaluate(T x) const noexcept {
    const T* coefficients = Data();
    T value = coefficients[m_count - 1];
    for (std::size_t i = m_count - 1; i-- > 0;) value = value * x + coefficients[i];
    return value;
  }

  /// Returns the derivative, of degree one less; that of a constant is the constant 0.
  zvPolynomial Derivative() const {
    zvPolynomial derivative;
    if (m_count == 1) return derivative;
    derivative.m_count = m_count - 1;
    if (derivative.m_count > kInPlace) derivative.m_high.resize(derivative.m_count);
    for (std::size_t i = 1; i < m_count; ++i)
      derivative.Data()[i - 1] = static_cast<T>(i) * Data()[i];
    return derivative;
  }

  /// True when both have the same degree and equal coefficients, without a tolerance.
  friend bool operator==(const zvPolynomial& a, const zvPolynomial& b) {
    return std::equal(a.Data(), a.Data() + a.m_count, b.Data(), b.Data() + b.m_count);
  }

 private:
  static constexpr std::size_t kInPlace = 4;

  void Swap(zvPolynomial& other) noexcept {
    std::swap(m_low, other.m_low);
    m_high.swap(other.m_high);
    std::swap(m_count, other.m_count);
  }

  const T* Data() const noexcept { return m_count > kInPlace ? m_high.data() : m_low.data(); }
  T* Data() noexcept { return m_count > kInPlace ? m_high.data() : m_low.data(); }

  std::array<T, kInPlace> m_low{};
  std::vector<T> m_high;  // all coefficients, when they are more than kInPlace
  std::size_t m_count = 1;
};

}  // namespace mathdef
