// What is no number, and whole objects as flat lists of numbers, so that one comparison sees every
// field.
#pragma once

#include <tests/support/points.h>
#include <tests/support/testing.h>

namespace tests {

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Numbers = std::vector<double>;

inline void Append(Numbers& to, const Point& p) {
  to.insert(to.end(), {p.x, p.y, p.z});
}
inline void Append(Numbers& to, const Numbers& numbers) {
  to.insert(to.end(), numbers.begin(), numbers.end());
}
template <class T>
void Append(Numbers& to, const T& value) {
  to.push_back(static_cast<double>(value));
}

/// Numbers, flags, points and lists of numbers one after the other.
template <class... T>
Numbers Flat(const T&... values) {
  Numbers n;
  (Append(n, values), ...);
  return n;
}

}  // namespace tests
