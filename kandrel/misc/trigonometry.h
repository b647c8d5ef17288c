// Sine, cosine, arc cosine and arc tangent of the kernel: one result on every machine. The system's
// own pick their code, and with it the last bit, by what the processor can do.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/misc/lanes.h>
#include <kandrel/misc/tolerances.h>

#include <cmath>
#include <type_traits>

namespace misc {

/// The sine and the cosine of one angle.
struct zvSineAndCosine {
  double sine = 0;
  double cosine = 1;
};

/// Returns both within 0.9 units in the last place, and exact at multiples of 90 degrees, for an
/// angle of any size as it stands: whole turns are taken off without rounding. A zero is positive.
/// NaN for what is not finite.
KANDREL_API zvSineAndCosine SineAndCosineOfDegrees(double deg) noexcept;
/// Returns the same of radians, of any size as well, where 0 is the only exact multiple of a right
/// angle.
KANDREL_API zvSineAndCosine SineAndCosineOfRadians(double rad) noexcept;

/// Returns the angle from (1, 0) to (x, y) in radians, in [-pi, pi], within 2 units in the last
/// place; 0 for (0, 0) and NaN for what is not finite.
KANDREL_API double ArcTangent(double y, double x) noexcept;

namespace detail {

/// The polynomial of ArcSineExcess. Kept in memory: constants of which the compiler knows the value
/// are spread over the lanes at each use, by two more instructions.
KANDREL_API extern const Lanes kArcSineExcess[12];

template <class Number>
inline Number ArcSineTerm(int i) noexcept {
  if constexpr (std::is_same_v<Number, Lanes>)
    return kArcSineExcess[i];
  else
    return kArcSineExcess[i][0];
}

/// (asin(s) - s) / s for z = s^2 in [0, 1/4].
template <class Number>
inline Number ArcSineExcess(Number z) noexcept {
  const auto c = ArcSineTerm<Number>;
  const Number w = z * z;
  const Number even = c(0) + w * (c(2) + w * (c(4) + w * (c(6) + w * (c(8) + w * c(10)))));
  const Number odd = c(1) + w * (c(3) + w * (c(5) + w * (c(7) + w * (c(9) + w * c(11)))));
  return z * (even + z * odd);
}

}  // namespace detail

/// Returns the arc cosine in radians of an argument in [-1, 1], NaN for any other. It is within 1.5
/// units in the last place: by the arc sine up to a half, by acos x = 2 asin sqrt((1 - x) / 2)
/// above it.
inline double ArcCosine(double x) noexcept {
  const double size = std::fabs(x);
  if (size <= 0.5) return kPi / 2 - std::copysign(size + size * detail::ArcSineExcess(x * x), x);
  const double z = 0.5 - 0.5 * size;
  const double root = std::sqrt(z);
  const double twice = 2 * (root + root * detail::ArcSineExcess(z));
  return x < 0 ? kPi - twice : twice;
}

/// Returns the same of two numbers, to the bit.
inline Lanes ArcCosine(Lanes x) noexcept {
  const Lanes size = Abs(x);
  const LaneMask isSmall = size <= Spread(0.5);
  const Lanes z = Choose(isSmall, x * x, 0.5 - 0.5 * size);
  const Lanes sine = Choose(isSmall, size, Sqrt(z));
  const Lanes angle = sine + sine * detail::ArcSineExcess(z);
  const LaneMask signs = SignOf(x);
  const Lanes end = Choose(x < Spread(0), Spread(kPi), Spread(0));
  return Choose(isSmall, kPi / 2 - Reversed(angle, signs), end + Reversed(2 * angle, signs));
}

}  // namespace misc
