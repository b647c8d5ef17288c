// A machine as rigid bodies, written from physics: what carries the part, what carries the tool.
// It includes nothing of the library and has arithmetic of its own, so that the two can't share a
// mistake.
#pragma once

#include <array>
#include <cmath>

namespace tests::rigid {

using Vector = std::array<double, 3>;

inline Vector Add(const Vector& a, const Vector& b) {
  return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}
inline Vector Subtract(const Vector& a, const Vector& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
inline Vector Times(const Vector& a, double f) {
  return {a[0] * f, a[1] * f, a[2] * f};
}
inline double Norm(const Vector& a) {
  return std::hypot(a[0], a[1], a[2]);
}
inline Vector Unit(const Vector& a) {
  return Times(a, 1 / Norm(a));
}
inline double Distance(const Vector& a, const Vector& b) {
  return Norm(Subtract(a, b));
}

/// What a pose is: where the tool tip stands and where the tool points, from the tip up.
struct Pose {
  Vector tip;
  Vector axis;
};

/// The linear axes carry the spindle along their directions; the part stands at its origin.
struct LinearMachine {
  std::array<Vector, 3> axes{Vector{1, 0, 0}, Vector{0, 1, 0}, Vector{0, 0, 1}};
  Vector spindle{0, 0, 1};
  Vector partOrigin{};
  double toolLength = 0;

  /// The pose in a frame at the part's origin with the machine's directions, for slide positions.
  Pose At(const Vector& slides) const {
    Vector nose{};
    for (int i = 0; i < 3; ++i) nose = Add(nose, Times(axes[i], slides[i]));
    const Vector up = Unit(spindle);
    return {Subtract(Subtract(nose, Times(up, toolLength)), partOrigin), up};
  }
};

}  // namespace tests::rigid
