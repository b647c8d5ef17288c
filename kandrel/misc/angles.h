// Angle arithmetic in one place. Degrees, unless a name ends in Rad.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>

#include <algorithm>
#include <cmath>

namespace misc {

/// Returns the arc cosine in radians for the dot product of two unit vectors: 0 for one above
/// 1 + 1e-12 or within 1e-10 of 1, pi for one below -1 - 1e-12 or within 1e-10 of -1. Angles below
/// 1.41e-5 rad therefore come out as exactly 0.
inline double SafeAcosRad(double cosine) noexcept {
  if (std::fabs(cosine) < kFarFromSnap) [[likely]]
    return ArcCosine(cosine);
  if (cosine > 1.0 + kEqual || std::fabs(cosine - 1.0) <= kArcCosineSnap) return 0.0;
  if (cosine < -1.0 - kEqual || std::fabs(cosine + 1.0) <= kArcCosineSnap) return kPi;
  return ArcCosine(cosine);
}

/// Returns the arc sine of the root of `v` in degrees, and 0 for `v` not above 0 or not below 1.
KANDREL_API double AsinSqrt(double v) noexcept;

/// Returns `deg` reduced into [0, 360). What is not finite gives NaN.
inline double WrapTo360(double deg) noexcept {
  // fmod returns its argument unchanged below a full turn; most angles are, and this saves the
  // call.
  double wrapped = std::fabs(deg) < kFullTurnDeg ? deg : std::fmod(deg, kFullTurnDeg);
  if (wrapped < 0) wrapped += kFullTurnDeg;
  // A tiny negative angle rounds up to a full turn, which the half-open range leaves out; adding 0
  // turns the -0 of whole negative turns into 0.
  return wrapped == kFullTurnDeg ? 0.0 : wrapped + 0.0;
}

/// Returns `deg` reduced into (-180, 180]: -180 gives 180. What is not finite comes back as it is.
KANDREL_API double WrapTo180(double deg) noexcept;

/// Returns the smaller of the two ways round from `a` to `b`, in [0, 180]; NaN where one of them is
/// not finite.
inline double CircularDistance(double a, double b) noexcept {
  const double wrappedA = WrapTo360(a);
  const double wrappedB = WrapTo360(b);
  // Chosen so that a NaN on either side becomes the result: std::min and std::max drop one of two.
  const bool rises = wrappedA < wrappedB;
  const double low = rises ? wrappedA : wrappedB;
  const double high = rises ? wrappedB : wrappedA;
  return std::min(high - low, low + kFullTurnDeg - high);
}

/// Returns the number of whole turns that bring `to` within half a turn of `from`, and 0 for a
/// difference of exactly half a turn. It is a double, as it may have any size; NaN or infinite for
/// such a difference.
KANDREL_API double WindsBetween(double from, double to) noexcept;

/// Returns `deg` reduced towards zero by whole turns, and brought into [low, high] by one more turn
/// where that is possible.
KANDREL_API double WrapIntoRange(double deg, double low, double high) noexcept;

/// True when `deg` lies between `low` and `high` on the circle, with the slack `tolerance`; always
/// for a range of at least a full turn less the slack, and also for `low` equal to `high`.
KANDREL_API bool InCircularRange(double low, double high, double deg, double tolerance) noexcept;

}  // namespace misc
