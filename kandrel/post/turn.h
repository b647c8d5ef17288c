// zvTurn: rotations by an angle, right-handed.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/angles.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/tolerances.h>

#include <cmath>

namespace post {

/// An angle by its cosine and sine.
struct KANDREL_API zvTurn {
  double cosine = 1;
  double sine = 0;

  static zvTurn OfDegrees(double deg) noexcept;
  zvTurn Reversed() const noexcept { return {cosine, -sine}; }
};

/// Rodrigues' rotation of a point about a line, right-handed: v cos + (D x v) sin + D (D.v)(1 -
/// cos) with v from the pivot to the point. A point within 1e-12 of the pivot, or one whose
/// direction from it is parallel to the line within 1e-12 (sine), comes back exactly.
inline cadcam::zvTPoint3d<double> Rotate(const cadcam::zvTPoint3d<double>& p,
                                         const cadcam::zvTPoint3d<double>& direction,
                                         const cadcam::zvTPoint3d<double>& pivot,
                                         const zvTurn& turn) noexcept {
  const cadcam::zvTPoint3d<double> v = p - pivot;
  const cadcam::zvTPoint3d<double> across = Cross(direction, v);
  const double squared = v.SquaredLength();
  constexpr double kSquare = misc::kOnAxis * misc::kOnAxis;
  if (squared <= kSquare || across.SquaredLength() <= kSquare * squared) [[unlikely]]
    return p;
  return pivot + v * turn.cosine + across * turn.sine +
         direction * (Dot(direction, v) * (1 - turn.cosine));
}

/// An angle in degrees with its cosine and sine.
struct zvSolvedAngle {
  double deg = 0;
  zvTurn turn;
};

/// The angle whose cosine is `x`, negative if asked, with the snap of misc::SafeAcosRad. Its sine
/// comes from the cosine, which spares kinematics a sine and a cosine: equal to 4e-13 in positions.
[[gnu::always_inline]] inline zvSolvedAngle AngleOfCosine(double x, bool isNegative) noexcept {
  double rad = 0;
  if (std::fabs(x) < 0.9999) [[likely]] {
    rad = std::acos(x);  // nothing to snap
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
