// Turns by small angles without the library's sine, and what they make of vectors.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/lanes.h>
#include <kandrel/misc/trigonometry.h>
#include <kandrel/post/geometry/turn.h>

#include <cmath>

namespace post {

/// The largest angle of which the series below are taken.
constexpr double kSeriesTurn = 0.2;

/// A few terms of the series of sine and cosine for small angles: the first left out is below
/// 1e-18.
template <class Number>
[[gnu::always_inline]] inline Number SmallSine(Number rad) noexcept {
  const Number z = rad * rad;
  return rad + rad * z *
                   (-1.0 / 6 + z * (1.0 / 120 + z * (-1.0 / 5040 +
                                                     z * (1.0 / 362880 + z * (-1.0 / 39916800)))));
}
template <class Number>
[[gnu::always_inline]] inline Number SmallCosine(Number rad) noexcept {
  const Number z = rad * rad;
  return 1.0 +
         z * (-0.5 + z * (1.0 / 24 +
                          z * (-1.0 / 720 +
                               z * (1.0 / 40320 + z * (-1.0 / 3628800 + z * (1.0 / 479001600))))));
}

/// Of an angle in radians of any size.
[[gnu::always_inline]] inline zvTurn TurnOf(double rad) noexcept {
  if (!(std::fabs(rad) < kSeriesTurn)) [[unlikely]] {
    const misc::zvSineAndCosine turn = misc::SineAndCosineOfRadians(rad);
    return {turn.cosine, turn.sine};
  }
  return {SmallCosine(rad), SmallSine(rad)};
}

/// One turn after another about the same axis.
inline zvTurn operator+(const zvTurn& a, const zvTurn& b) noexcept {
  return {a.cosine * b.cosine - a.sine * b.sine, a.sine * b.cosine + a.cosine * b.sine};
}

/// The turns of two axes, one in each lane.
struct zvTurnPair {
  misc::Lanes cosine{1, 1};
  misc::Lanes sine{0, 0};

  zvTurn First() const noexcept { return {cosine[0], sine[0]}; }
  zvTurn Second() const noexcept { return {cosine[1], sine[1]}; }
};

/// Either turned on by an angle in radians below kSeriesTurn.
inline zvTurnPair TurnedOn(const zvTurnPair& turns, misc::Lanes rad) noexcept {
  const misc::Lanes cosine = SmallCosine(rad);
  const misc::Lanes sine = SmallSine(rad);
  return {turns.cosine * cosine - turns.sine * sine, turns.sine * cosine + turns.cosine * sine};
}

/// A vector turned about a direction through the origin; with the turn of 0 it stays. `Number` is
/// double, or misc::Lanes for two at once.
template <class Number>
[[gnu::always_inline]] inline cadcam::zvTPoint3d<Number> Turned(
    const cadcam::zvTPoint3d<Number>& v, const cadcam::zvTPoint3d<Number>& direction, Number cosine,
    Number sine) noexcept {
  return v * cosine + Cross(direction, v) * sine + direction * (Dot(direction, v) * (1.0 - cosine));
}
[[gnu::always_inline]] inline cadcam::zvTPoint3d<double> Turned(
    const cadcam::zvTPoint3d<double>& v, const cadcam::zvTPoint3d<double>& direction,
    const zvTurn& turn) noexcept {
  return Turned(v, direction, turn.cosine, turn.sine);
}

}  // namespace post
