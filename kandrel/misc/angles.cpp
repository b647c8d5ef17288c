#include <kandrel/misc/angles.h>
#include <kandrel/misc/tolerances.h>

#include <cmath>

namespace misc {

namespace {

double Remainder360(double deg) noexcept {
  return std::fabs(deg) < kFullTurnDeg ? deg : std::fmod(deg, kFullTurnDeg);
}

}  // namespace

double AsinSqrt(double v) noexcept {
  return v > 0 && v < 1 ? ArcCosine(std::sqrt(1 - v)) * kDegreesPerRadian : 0.0;
}

double WrapTo180(double deg) noexcept {
  if (!std::isfinite(deg)) return deg;
  double wrapped = Remainder360(deg);
  if (wrapped > 180.0) wrapped -= kFullTurnDeg;
  if (!(wrapped > -180.0)) wrapped += kFullTurnDeg;
  return wrapped + 0.0;  // plus 0: -360 gives +0, not -0
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
