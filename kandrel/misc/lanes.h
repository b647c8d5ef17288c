// Lanes: two numbers that are worked on at once.
#pragma once

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <cmath>
#include <cstdint>
#include <type_traits>

namespace misc {

/// Arithmetic goes lane by lane and gives each lane the bits that it gives a single number.
using Lanes = double __attribute__((vector_size(16)));
/// What a comparison of Lanes gives: all bits set where it holds, none where it doesn't.
using LaneMask = std::int64_t __attribute__((vector_size(16)));

/// Returns the number in each lane; or the number itself, for code that serves both.
template <class Number = Lanes>
constexpr Number Spread(double value) noexcept {
  if constexpr (std::is_same_v<Number, Lanes>)
    return Lanes{value, value};
  else
    return value;
}

/// True in the lanes where both are. Not by the operator, which g++ 12 makes twelve instructions
/// of.
inline LaneMask And(LaneMask a, LaneMask b) noexcept {
#if defined(__SSE2__)
  return reinterpret_cast<LaneMask>(
      _mm_and_pd(reinterpret_cast<Lanes>(a), reinterpret_cast<Lanes>(b)));
#else
  return a & b;
#endif
}
/// The same of one value.
inline bool And(bool a, bool b) noexcept {
  return a && b;
}

/// Returns the square root of each lane.
inline Lanes Sqrt(Lanes x) noexcept {
#if defined(__SSE2__)
  return _mm_sqrt_pd(x);
#else
  return Lanes{std::sqrt(x[0]), std::sqrt(x[1])};
#endif
}

/// Returns what std::sqrt does, but without setting the system's errno.
inline double Sqrt(double x) noexcept {
#if defined(__SSE2__)
  const __m128d number = _mm_set_sd(x);
  return _mm_cvtsd_f64(_mm_sqrt_sd(number, number));
#else
  return std::sqrt(x);
#endif
}

/// Returns the larger of two numbers in each lane; the second where either is NaN.
inline Lanes Max(Lanes a, Lanes b) noexcept {
#if defined(__SSE2__)
  return _mm_max_pd(a, b);
#else
  return Lanes{a[0] > b[0] ? a[0] : b[0], a[1] > b[1] ? a[1] : b[1]};
#endif
}

/// True when the mask holds in both lanes.
inline bool AreAll(LaneMask mask) noexcept {
#if defined(__SSE2__)
  return _mm_movemask_pd(reinterpret_cast<Lanes>(mask)) == 3;
#else
  return mask[0] != 0 && mask[1] != 0;
#endif
}

/// Takes `yes` in the lanes where the mask holds, `no` in the others.
inline Lanes Choose(LaneMask mask, Lanes yes, Lanes no) noexcept {
  return reinterpret_cast<Lanes>((reinterpret_cast<LaneMask>(yes) & mask) |
                                 (reinterpret_cast<LaneMask>(no) & ~mask));
}

/// Returns the sign bits of the lanes where the mask holds.
inline LaneMask SignBits(LaneMask mask) noexcept {
  return mask & reinterpret_cast<LaneMask>(Spread(-0.0));
}

/// Returns the sign bits of both lanes.
inline LaneMask SignOf(Lanes x) noexcept {
  return SignBits(reinterpret_cast<LaneMask>(x));
}

/// Reverses the signs where `signs` has its sign bit set.
inline Lanes Reversed(Lanes x, LaneMask signs) noexcept {
  return reinterpret_cast<Lanes>(reinterpret_cast<LaneMask>(x) ^ signs);
}

/// Returns each lane without its sign.
inline Lanes Abs(Lanes x) noexcept {
  return Reversed(x, SignOf(x));
}

}  // namespace misc
