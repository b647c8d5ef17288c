// zv2dPoint and zv2dBox: points and extents in the plane.
#pragma once

#include <kandrel/misc/tolerances.h>

#include <algorithm>

namespace geoDef {

/// A position in the plane of a profile: x is the radius, y the height. Comparison is exact.
template <class T>
struct zv2dPoint {
  T x{};
  T y{};

  constexpr bool operator==(const zv2dPoint&) const = default;

  /// Arithmetic goes component by component.
  friend constexpr zv2dPoint operator+(const zv2dPoint& a, const zv2dPoint& b) {
    return {a.x + b.x, a.y + b.y};
  }
  friend constexpr zv2dPoint operator-(const zv2dPoint& a, const zv2dPoint& b) {
    return {a.x - b.x, a.y - b.y};
  }
  friend constexpr zv2dPoint operator*(const zv2dPoint& p, T factor) {
    return {p.x * factor, p.y * factor};
  }
  friend constexpr zv2dPoint operator*(T factor, const zv2dPoint& p) { return p * factor; }
};

/// The smallest box along the axes that holds what was added; empty at first.
template <class T>
struct zv2dBox {
  /// An empty box has its corners the wrong way round.
  zv2dPoint<T> minimum{T(misc::kEmptyBox), T(misc::kEmptyBox)};
  zv2dPoint<T> maximum{T(-misc::kEmptyBox), T(-misc::kEmptyBox)};

  /// True until a point has been added.
  constexpr bool IsEmpty() const { return !(minimum.x <= maximum.x && minimum.y <= maximum.y); }
  /// Widens the box so that it holds the point.
  constexpr void Add(const zv2dPoint<T>& p) {
    minimum = {std::min(minimum.x, p.x), std::min(minimum.y, p.y)};
    maximum = {std::max(maximum.x, p.x), std::max(maximum.y, p.y)};
  }
};

}  // namespace geoDef
