// What the middle of a block says of it, and why.
//
// As in block_bounds.cpp: over a block s goes from 0 to 1, w and v are the turnings of the axes (by
// A and B radians in all; a and b without their signs), the tip is p = U + Ra F, F = V + Rb W. With
// E = Rb W, of which the rate is v E + Rb W', the frame that Ra turns has
//
//   p'  = w F + F'  (and U' where U moves)
//   p'' = w (w F + 2 F') + F'',  F'' = v (2 E' - v E)
//   F''' = 3 v v E' - 2 v v v E,  F'''' = 4 v v v E' - 3 v v v v E
//
// In the middle F and E are the means of those at the ends but for sup |F''| / 8, and their rates
// the differences but for sup |F'''| / 24. With |x| for the largest size over the block, and e for
// that of E, which is one at an end:
//
//   |E'| <= |mean E'| + |F''| / 2, so that |F''| <= (2 b |mean E'| + b b e) / (1 - b)
//   |F'''| <= b b (3 |E'| + 2 b e),  |F''''| <= b b b (4 |E'| + 3 b e)
//   |p'''| <= a a (|w F| + 3 |F'|) + 3 a |F''| + |F'''|
//   |p''''| <= a a (a |w F| + 4 a |F'| + 6 |F''|) + 4 a |F'''| + |F''''|
//
// With u = s - 1/2 and P2, P3 for p'', p''' in the middle, p differs from the line between its ends
// by
//
//   d = (u u - 1/4) (P2 / 2 + u P3 / 6) + o,  |o| <= |p''''| / 384
//
// of which the largest size is no more than |P2| / 8 + |P3|^2 / (1152 |P2|) + |p''''| / 384, and at
// u = 0, where P3 has no part, no less than |P2| / 8 - |p''''| / 384. Only what is across the way
// counts of it:
//
// The tip. The chord C from end to end is p' in the middle but for |p'''| / 24. Across it P2 has
// |P2 x C| / |C|. The tip doesn't turn back along C where |C| is at least half of what p'' has
// along it: then its distance from the segment is that from the segment's line.
//
// The tool axis t (U = V = 0, W = s). Its part along the normal of its arc is the sine of its angle
// to the arc's plane, and 0 at both ends. The normal is along t(0) x t(1) = M x C, with M the mean
// of the ends: that is t in the middle and P2 / 8, but for |t''''| / 384, so that P2 (M x C) is
// that of t in the middle, as P2 (P2 x C) = 0. The foot of t stays between the ends of the arc
// where the arc's sine is at least half of what t'' has along the tangents at its ends, which are
// off C by half of |C|; for turns as small as here that sine is at least (1 - |C|^2 / 7) |C|.
//
// The mean of the ends is at right angles to C, and so in what is computed here: P2 x M has the
// part of P2 across the arc along C, and that along C across it. An error of the direction of C so
// counts as for the tip.
//
// Tip and tool axis are worked out at once, in the two lanes. Where C is too short, the size of all
// of P2 serves as a bound; what it has across C is reached all the same.
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/geometry/block_law.h>
#include <kandrel/post/geometry/small_turn.h>
#include <kandrel/post/geometry/way_distance.h>

#include <cmath>
#include <limits>

namespace post {

namespace {

using misc::Lanes;
using misc::Spread;
using Pair = zvBlockLaw::Pair;

constexpr double kInfinite = std::numeric_limits<double>::infinity();
/// sqrt(3) / 216, the largest size of (u u - 1/4) u / 6: for where P3 is larger than P2.
constexpr double kCubicError = 0.008018753738744802;

/// For what belongs to the tool axis alone.
constexpr Lanes kOfAxis{0, 1};

/// The same as post::SizeOf, of both.
Lanes SizesOf(const Pair& p) noexcept {
  return misc::Abs(p.x) + misc::Abs(p.y) + misc::Abs(p.z);
}

}  // namespace

zvBlockEstimate zvBlockLaw::Estimate(const Station& from, const Station& to) const noexcept {
  const Lanes turns = TurnsBetween(from.line, to.line);
  const Lanes sizes = misc::Abs(turns);
  if (!misc::AreAll(sizes <= Spread(kSeriesTurn))) [[unlikely]]
    return {Spread(kInfinite), Spread(0)};
  const Lanes first = Spread(turns[0]);
  const Lanes second = Spread(turns[1]);
  const Lanes a = Spread(sizes[0]);
  const Lanes b = Spread(sizes[1]);

  const Pair middle = (from.arms + to.arms) * Spread(0.5);
  const Pair rate = to.arms - from.arms;
  const Pair turning = Cross(m_firsts, middle) * first;
  Pair speed = turning + rate;                        // p' in the middle
  Pair bend = Cross(m_firsts, speed + rate) * first;  // P2
  Lanes second2{};                                    // |F''| and those that follow it
  Lanes second3{};
  Lanes second4{};
  if (m_hasSecond) {
    const Pair reach = (from.reaches + to.reaches) * Spread(0.5);
    const Pair reachRate = to.reaches - from.reaches;
    bend += Cross(m_seconds, reachRate + reachRate - Cross(m_seconds, reach) * second) * second;
    const Lanes mean = SizesOf(reachRate);
    const Lanes bent = b * misc::Max(from.lengths, to.lengths);
    static_assert(1.25 * (1 - kSeriesTurn) >= 1);
    second2 = 1.25 * b * (2.0 * mean + bent);
    const Lanes most = mean + 0.5 * second2;
    second3 = b * b * (3.0 * most + 2.0 * bent);
    second4 = b * b * b * (4.0 * most + 3.0 * bent);
  }
  const Lanes rateSize = SizesOf(rate);
  const Lanes turningSize = SizesOf(turning);
  const Lanes mostRate = rateSize + 0.5 * second2;
  const Lanes mostTurning = turningSize + a * (0.5 * mostRate + 0.125 * second2);
  const Lanes third = a * (a * (mostTurning + 3.0 * mostRate) + 3.0 * second2) + second3;
  const Lanes fourth =
      a * (a * (a * (mostTurning + 4.0 * mostRate) + 6.0 * second2) + 4.0 * second3) + second4;
  // How far P2 and p' in the middle may be off; and what P2 is at most.
  const Lanes bendOff = 0.125 * (a * a + b * b) * second2 + (1.0 / 12) * (a + b) * second3;
  const Lanes speedOff = 0.125 * a * second2 + (1.0 / 24) * (second3 + third);
  const Lanes bendSize = a * (turningSize + 2.0 * rateSize) + second2;

  if (m_carrier == Carrier::kOuter) {
    const zvTurn half = from.turns.First() + TurnOf(0.5 * turns[0]);
    const Point step = Turned(to.nose - from.nose, m_first, half.Reversed());
    speed += PairOf(step, {});
  }
  // The chord's direction is that of p' but for an angle of which the sine is `skew` at most: that
  // moves what is along it to across it, and takes the skew's square of what is across it.
  const Pair product = Cross(bend, speed);
  const Lanes length = misc::Sqrt(speed.SquaredLength());
  const Lanes inverse = 1.0 / length;
  const Lanes skew = speedOff * inverse;
  const Lanes part{misc::Sqrt(product.SquaredLength()[0]), std::fabs(Dot(product, middle)[1])};
  const Lanes across = part * inverse;
  const Lanes along = misc::Abs(Dot(bend, speed)) * inverse;
  const Lanes rest = (1.0 / 384) * fourth;
  const Lanes acrossOff = along * skew + kOfAxis * bendSize * (0.125 * second2 + rest);

  const Lanes shortest = length - speedOff;
  const Lanes longest = length + speedOff;
  const Lanes ahead = along + bendSize * (skew + 0.21 * kOfAxis) + bendOff + 0.5 * third;
  const misc::LaneMask isAcross = misc::And(shortest > Spread(0), ahead <= 1.95 * shortest);
  Lanes most =
      (across + acrossOff) * (1.0 + kOfAxis * (1.0 / 6) * longest * longest) + 1.05 * bendOff;
  Lanes least = across * (1.0 - skew * skew) - acrossOff - 1.05 * bendOff;
  if (!misc::AreAll(isAcross)) [[unlikely]] {
    most = misc::Choose(isAcross, most, misc::Sqrt(bend.SquaredLength()) + bendOff);
    least = misc::Choose(shortest > Spread(0), least, Spread(0));
  }
  const Lanes rounding{kRounding * (m_size + SizeOf(from.nose) + SizeOf(to.nose - from.nose)),
                       kAxisRounding};
  const Lanes cubic = third * misc::Choose(third <= most, Spread(1.0 / 1152), Spread(kCubicError));
  return {0.125 * most + cubic + rest + rounding, 0.125 * least - rest - rounding};
}

}  // namespace post
