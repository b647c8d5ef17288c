#include <kandrel/misc/angles.h>
#include <kandrel/misc/tolerances.h>

#include <algorithm>
#include <cmath>

namespace misc {

namespace {

// fmod returns its argument unchanged below a full turn; most angles are, and this saves the call.
double Remainder360(double deg) noexcept {
  return std::fabs(deg) < kFullTurnDeg ? deg : std::fmod(deg, kFullTurnDeg);
}

}  // namespace

double SafeAcosRad(double cosine) noexcept {
  if (cosine > 1.0 + kEqual || std::fabs(cosine - 1.0) <= kArcCosineSnap) return 0.0;
  if (cosine < -1.0 - kEqual || std::fabs(cosine + 1.0) <= kArcCosineSnap) return kPi;
  return std::acos(cosine);
}

double WrapTo360(double deg) noexcept {
  double wrapped = Remainder360(deg);
  if (wrapped < 0) wrapped += kFullTurnDeg;
  // A tiny negative angle rounds up to a full turn, which the half-open range leaves out; adding 0
  // turns the -0 of whole negative turns into 0.
  return wrapped == kFullTurnDeg ? 0.0 : wrapped + 0.0;
}

double WrapTo180(double deg) noexcept {
  if (!std::isfinite(deg)) return deg;
  double wrapped = Remainder360(deg);
  if (wrapped > 180.0) wrapped -= kFullTurnDeg;
  if (!(wrapped > -180.0)) wrapped += kFullTurnDeg;
  return wrapped + 0.0;  // -360 gives +0, as repeated addition of a turn would
}

double CircularDistance(double a, double b) noexcept {
  const double wrappedA = WrapTo360(a);
  const double wrappedB = WrapTo360(b);
  // Chosen so that a NaN on either side becomes the result: std::min and std::max drop one of two.
  const bool rises = wrappedA < wrappedB;
  const double low = rises ? wrappedA : wrappedB;
  const double high = rises ? wrappedB : wrappedA;
  return std::min(high - low, low + kFullTurnDeg - high);
}

double WindsBetween(double from, double to) noexcept {
  const double difference = to - from;
  if (std::fabs(difference) <= 180.0) return 0;
  const double turns = std::trunc((std::fabs(difference) - 180.0) / kFullTurnDeg) + 1;
  return difference < 0 ? turns : -turns;
}

double WrapIntoRange(double deg, double low, double high) noexcept {
  const double reduced = deg == 0 ? deg : Remainder360(deg);
  if (reduced < low && reduced + kFullTurnDeg <= high) return reduced + kFullTurnDeg;
  if (reduced > high && reduced - kFullTurnDeg >= low) return reduced - kFullTurnDeg;
  return reduced;
}

bool InCircularRange(double low, double high, double deg, double tolerance) noexcept {
  if (high - low >= kFullTurnDeg - tolerance) return true;
  const double wrappedLow = WrapTo360(low);
  const double wrappedHigh = WrapTo360(high);
  const double wrapped = WrapTo360(deg);
  const bool aboveLow = wrappedLow <= wrapped + tolerance;
  const bool belowHigh = wrapped <= wrappedHigh + tolerance;
  // A range that runs over the seam at 0 is made of two pieces.
  const bool wraps = wrappedLow + tolerance >= wrappedHigh;
  return wraps ? aboveLow || belowHigh : aboveLow && belowHigh;
}

}  // namespace misc
