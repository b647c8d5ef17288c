// zvTPoint3d: three coordinates, point and vector alike.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/misc/lanes.h>

#include <cmath>
#include <limits>

namespace cadcam {

namespace detail {
KANDREL_API double ScaledLength(double x, double y, double z) noexcept;

/// Length of a vector: the root of the sum of squares, or where that under- or overflows, a scaled
/// form. The plain form comes first because its bits decide output.
inline double Length(double x, double y, double z) noexcept {
  const double plain = misc::Sqrt(x * x + y * y + z * z);
  const bool isInRange = plain > 0 && plain <= std::numeric_limits<double>::max();
  return isInRange ? plain : ScaledLength(x, y, z);
}
[[noreturn]] KANDREL_API void ThrowNullVector();
}  // namespace detail

/// A position or a direction. T is double in all kernel data and float in meshes. Comparison is
/// exact.
template <class T>
struct zvTPoint3d {
  T x{};
  T y{};
  T z{};

  /// The origin, or the zero vector.
  constexpr zvTPoint3d() = default;
  /// Of these components.
  constexpr zvTPoint3d(T xValue, T yValue, T zValue) : x(xValue), y(yValue), z(zValue) {}

  constexpr bool operator==(const zvTPoint3d&) const = default;

  /// The component of an axis: 0 is x, 1 is y, any other z.
  constexpr T& operator[](int axis) noexcept { return axis == 0 ? x : axis == 1 ? y : z; }
  constexpr const T& operator[](int axis) const noexcept {
    return axis == 0 ? x : axis == 1 ? y : z;
  }

  /// Component by component.
  constexpr zvTPoint3d operator-() const { return {-x, -y, -z}; }
  constexpr zvTPoint3d& operator+=(const zvTPoint3d& p) { return *this = *this + p; }
  constexpr zvTPoint3d& operator-=(const zvTPoint3d& p) { return *this = *this - p; }
  constexpr zvTPoint3d& operator*=(T factor) { return *this = *this * factor; }

  /// Arithmetic goes component by component.
  friend constexpr zvTPoint3d operator+(const zvTPoint3d& a, const zvTPoint3d& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
  }
  friend constexpr zvTPoint3d operator-(const zvTPoint3d& a, const zvTPoint3d& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
  }
  friend constexpr zvTPoint3d operator*(const zvTPoint3d& p, T factor) {
    return {p.x * factor, p.y * factor, p.z * factor};
  }
  friend constexpr zvTPoint3d operator*(T factor, const zvTPoint3d& p) { return p * factor; }
  friend constexpr zvTPoint3d operator/(const zvTPoint3d& p, T divisor) {
    return {p.x / divisor, p.y / divisor, p.z / divisor};
  }

  /// True when all three components are exactly 0.
  constexpr bool IsZero() const { return x == 0 && y == 0 && z == 0; }

  /// The square may over- or underflow where the length doesn't.
  constexpr T SquaredLength() const { return x * x + y * y + z * z; }
  T Length() const { return static_cast<T>(detail::Length(x, y, z)); }

  /// Divides by the length. Throws zvcadcamException 2189 "Can't normalize null vector." when all
  /// components are exactly 0; a very small vector normalises.
  void Normalize() {
    if (IsZero()) detail::ThrowNullVector();
    *this = *this / Length();
  }
  /// Returns a normalised copy; throws as Normalize.
  zvTPoint3d Normalized() const {
    zvTPoint3d copy = *this;
    copy.Normalize();
    return copy;
  }
};

/// Returns the scalar product.
template <class T>
constexpr T Dot(const zvTPoint3d<T>& a, const zvTPoint3d<T>& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// Returns the vector product, right-handed.
template <class T>
constexpr zvTPoint3d<T> Cross(const zvTPoint3d<T>& a, const zvTPoint3d<T>& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// True when no component is infinite or NaN.
constexpr bool IsFinite(const zvTPoint3d<double>& p) noexcept {
  // Finite numbers times 0 sum up to 0; infinity and NaN give NaN.
  return p.x * 0 + p.y * 0 + p.z * 0 == 0;
}

}  // namespace cadcam
