#include "kandrel-post/pictures/turn_keys.h"

#include <kandrel/misc/lanes.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>

#include <cmath>
#include <cstddef>

namespace kandrel_post {

namespace {

using misc::LaneMask;
using misc::Lanes;

struct SinesAndCosines {
  Lanes sine;
  Lanes cosine;
};

// Of angles of at most 1e12 degrees, within 2e-10: the power series up to z^5 for z = x^2, x at
// most pi/4.
SinesAndCosines OfDegrees(Lanes deg) {
  // A sum with this has the nearest whole number in its last bits, whatever the sign.
  constexpr double kRounding = 0x1.8p52;
  constexpr double kRightAngleDeg = misc::kFullTurnDeg / 4;
  const Lanes sum = deg * (1 / kRightAngleDeg) + kRounding;
  const Lanes x = (deg - (sum - kRounding) * kRightAngleDeg) * misc::kRadiansPerDegree;
  const auto quarters = reinterpret_cast<LaneMask>(sum);
  const Lanes z = x * x;
  const Lanes s =
      x + x * (z * (-1.0 / 6 + z * (1.0 / 120 + z * (-1.0 / 5040 +
                                                     z * (1.0 / 362880 + z * (-1.0 / 39916800))))));
  const Lanes c =
      1.0 +
      z * (-0.5 + z * (1.0 / 24 + z * (-1.0 / 720 + z * (1.0 / 40320 + z * (-1.0 / 3628800)))));
  const LaneMask isOdd = -(quarters & 1);
  return {misc::Reversed(misc::Choose(isOdd, c, s), misc::SignBits(quarters << 62)),
          misc::Reversed(misc::Choose(isOdd, s, c), misc::SignBits((quarters + 1) << 62))};
}

// Of half an angle: a whole turn brings it back to where it was. Below the border, right angles can
// be taken off one that is no larger without a loss.
double Reduced(double deg, double border) {
  return std::fabs(deg) <= border ? deg : std::remainder(deg, misc::kFullTurnDeg);
}

}  // namespace

std::array<double, 4> QuaternionOf(const post::zvMachDef::Point& direction, double deg) {
  const misc::zvSineAndCosine half =
      misc::SineAndCosineOfDegrees(Reduced(deg / 2, misc::kFullTurnDeg));
  return {direction.x * half.sine, direction.y * half.sine, direction.z * half.sine, half.cosine};
}

void PutQuaternions(const post::zvMachDef::Point& direction, std::span<const double> degs,
                    int parts, float* keys) {
  constexpr double kBorder = 1e12;
  const double half = 0.5 / parts;
  const Lanes vector{direction.x, direction.y};
  const auto pairOf = [&](double first, double second) {
    return OfDegrees(Lanes{Reduced(first * half, kBorder), Reduced(second * half, kBorder)});
  };
  const auto put = [&](double sine, double cosine) {
    const Lanes firstTwo = vector * sine;
    *keys++ = static_cast<float>(firstTwo[0]);
    *keys++ = static_cast<float>(firstTwo[1]);
    *keys++ = static_cast<float>(direction.z * sine);
    *keys++ = static_cast<float>(cosine);
  };
  std::size_t i = 0;
  for (; i + 1 < degs.size(); i += 2) {
    const SinesAndCosines of = pairOf(degs[i], degs[i + 1]);
    put(of.sine[0], of.cosine[0]);
    put(of.sine[1], of.cosine[1]);
  }
  if (i == degs.size()) return;
  const SinesAndCosines of = pairOf(degs[i], 0);
  put(of.sine[0], of.cosine[0]);
}

}  // namespace kandrel_post
