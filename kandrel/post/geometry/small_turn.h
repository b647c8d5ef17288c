// Turns by small angles without the library's sine, and what they make of vectors.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/trigonometry.h>
#include <kandrel/post/geometry/turn.h>

#include <cmath>

namespace post {

/// Of an angle in radians of any size: a few terms of the series where it is small, of which the
/// first left out is below 1e-18.
[[gnu::always_inline]] inline zvTurn TurnOf(double rad) noexcept {
  if (!(std::fabs(rad) < 0.2)) [[unlikely]] {
    const misc::zvSineAndCosine turn = misc::SineAndCosineOfRadians(rad);
    return {turn.cosine, turn.sine};
  }
  const double z = rad * rad;
  const double sine =
      rad + rad * z *
                (-1.0 / 6 +
                 z * (1.0 / 120 + z * (-1.0 / 5040 + z * (1.0 / 362880 + z * (-1.0 / 39916800)))));
  const double cosine =
      1 + z * (-0.5 + z * (1.0 / 24 +
                           z * (-1.0 / 720 +
                                z * (1.0 / 40320 + z * (-1.0 / 3628800 + z * (1.0 / 479001600))))));
  return {cosine, sine};
}

/// One turn after another about the same axis.
inline zvTurn operator+(const zvTurn& a, const zvTurn& b) noexcept {
  return {a.cosine * b.cosine - a.sine * b.sine, a.sine * b.cosine + a.cosine * b.sine};
}

/// A vector turned about a direction through the origin; with the turn of 0 it stays.
[[gnu::always_inline]] inline cadcam::zvTPoint3d<double> Turned(
    const cadcam::zvTPoint3d<double>& v, const cadcam::zvTPoint3d<double>& direction,
    const zvTurn& turn) noexcept {
  return v * turn.cosine + Cross(direction, v) * turn.sine +
         direction * (Dot(direction, v) * (1 - turn.cosine));
}

}  // namespace post
