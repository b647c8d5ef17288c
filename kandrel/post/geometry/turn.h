// zvTurn: rotations by an angle, right-handed.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/angles.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/lanes.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>

#include <cmath>

namespace post {

/// An angle by its cosine and sine.
struct KANDREL_API zvTurn {
  double cosine = 1;
  double sine = 0;

  /// The turn by an angle.
  static zvTurn OfDegrees(double deg) noexcept;
  static zvTurn OfRadians(double rad) noexcept;
  /// The turn back.
  zvTurn Reversed() const noexcept { return {cosine, -sine}; }
};

/// What reaches from a line to a point that is turned about it. `Number` is double, or misc::Lanes
/// for two at once.
template <class Number>
struct ArmOf {
  using Point = cadcam::zvTPoint3d<Number>;

  /// The arm from the line through `pivot` along the unit vector `direction` to `p`.
  ArmOf(const Point& p, const Point& direction, const Point& pivot)
      : v(p - pivot), across(Cross(direction, v)) {}

  /// False within 1e-12 of the pivot, and in a direction from it that is parallel to the line
  /// within 1e-12 (sine).
  auto IsOffAxis() const {
    constexpr double kSquare = misc::kOnAxis * misc::kOnAxis;
    const Number squared = v.SquaredLength();
    return misc::And(squared > misc::Spread<Number>(kSquare),
                     across.SquaredLength() > kSquare * squared);
  }
  /// False within 1e-12 of the line, at any distance from the pivot; the direction is a unit
  /// vector.
  auto IsOffLine() const {
    return across.SquaredLength() > misc::Spread<Number>(misc::kOnAxis * misc::kOnAxis);
  }
  /// Rodrigues' rotation, right-handed: v cos + (D x v) sin + D (D.v)(1 - cos) from the pivot.
  Point Turned(const Point& direction, const Point& pivot, Number cosine, Number sine) const {
    return pivot + v * cosine + across * sine + direction * (Dot(direction, v) * (1.0 - cosine));
  }

  Point v;
  Point across;
};

/// A point turned about a line. One that lies on it, by IsOffAxis, comes back exactly.
inline cadcam::zvTPoint3d<double> Rotate(const cadcam::zvTPoint3d<double>& p,
                                         const cadcam::zvTPoint3d<double>& direction,
                                         const cadcam::zvTPoint3d<double>& pivot,
                                         const zvTurn& turn) noexcept {
  const ArmOf<double> arm(p, direction, pivot);
  if (!arm.IsOffAxis()) [[unlikely]]
    return p;
  return arm.Turned(direction, pivot, turn.cosine, turn.sine);
}

/// The same, but whether it lies on the line is decided by its distance alone: IsOffLine.
inline cadcam::zvTPoint3d<double> RotateOffLine(const cadcam::zvTPoint3d<double>& p,
                                                const cadcam::zvTPoint3d<double>& direction,
                                                const cadcam::zvTPoint3d<double>& pivot,
                                                const zvTurn& turn) noexcept {
  const ArmOf<double> arm(p, direction, pivot);
  if (!arm.IsOffLine()) [[unlikely]]
    return p;
  return arm.Turned(direction, pivot, turn.cosine, turn.sine);
}

/// An angle in degrees with its cosine and sine.
struct zvSolvedAngle {
  double deg = 0;
  zvTurn turn;
};

/// The angle whose cosine is `x`, negative if asked, with the snap of misc::SafeAcosRad. Its sine
/// is the root of 1 - x^2 = (1 - x)(1 + x), of which the product loses no digits near 1. That
/// spares kinematics a sine and a cosine: equal to 4e-13 in positions.
[[gnu::always_inline]] inline zvSolvedAngle AngleOfCosine(double x, bool isNegative) noexcept {
  double rad = 0;
  if (std::fabs(x) < misc::kFarFromSnap) [[likely]] {
    rad = misc::ArcCosine(x);
  } else {
    rad = misc::SafeAcosRad(x);
    if (rad == 0) return {0, {1, 0}};
    if (rad == misc::kPi) {
      const double half = rad * misc::kDegreesPerRadian;
      return {isNegative ? -half : half, {-1, 0}};
    }
  }
  const double deg = rad * misc::kDegreesPerRadian;
  const double sine = std::sqrt((1 - x) * (1 + x));
  return isNegative ? zvSolvedAngle{-deg, {x, -sine}} : zvSolvedAngle{deg, {x, sine}};
}

}  // namespace post
