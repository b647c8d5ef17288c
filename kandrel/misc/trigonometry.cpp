#include <kandrel/misc/trigonometry.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace misc {

namespace {

__extension__ using Wide = unsigned __int128;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// A number as the sum of two, of which the second is less than half a unit of the first.
struct Pair {
  double high;
  double low;
};

// A constant in two pieces: 26 bits, and the rest of it to 79 bits; and as one number.
struct Factor {
  double high;
  double low;
  double whole;
};

constexpr Factor kRadiansInADegree{0x1.1df46ap-6, 0x1.294e9c8ae0ec6p-33, kRadiansPerDegree};
constexpr Factor kRightAngle{0x1.921fb5p+0, 0x1.110b4611a6263p-26, kPi / 2};

// The product to some 75 bits.
Pair Product(double high, double low, const Factor& factor) noexcept {
  // Without its last 26 bits `high` times 26 others is exact.
  constexpr std::uint64_t kFirst27Bits = ~std::uint64_t{0x3ffffff};
  const double most = std::bit_cast<double>(std::bit_cast<std::uint64_t>(high) & kFirst27Bits);
  const double product = most * factor.high;
  const double rest = most * factor.low + ((high - most) + low) * factor.whole;
  const double sum = product + rest;
  return {sum, (product - sum) + rest};
}

// The polynomials are those that meet the functions at the zeros of the Chebyshev polynomial over
// the interval named, worked out from the power series in 60 digits.

// (sin x / x - 1) / z for z = x^2, x in [0, pi/4]; the sine is off by 6.4e-18 of itself at most.
double SineExcess(double z) noexcept {
  return -0.16666666666666666 +
         z * (0.008333333333333331 +
              z * (-0.00019841269841265065 +
                   z * (2.755731921933898e-06 +
                        z * (-2.5052106232383108e-08 +
                             z * (1.6058531608767765e-10 + z * -7.586696515355814e-13)))));
}

// (cos x - 1 + z / 2) / z^2 for the same; the cosine is off by 1.3e-18 of itself at most.
double CosineExcess(double z) noexcept {
  return 0.041666666666666664 +
         z * (-0.0013888888888887398 +
              z * (2.4801587298765574e-05 +
                   z * (-2.755731727167133e-07 +
                        z * (2.0876146256219284e-09 + z * -1.1382631547716708e-11))));
}

// (atan t / t - 1) / z for z = t^2, t in [0, tan 1/2]; the arc tangent is off by 9.9e-18 of itself
// at most.
double ArcTangentExcess(double z) noexcept {
  constexpr std::array<double, 13> kTerms{
      -0.3333333333333333,  0.19999999999996634, -0.14285714285080275,  0.11111111064033101,
      -0.09090907267577275, 0.07692265465253435, -0.06666035001415486,  0.05875965576498669,
      -0.05218364640082313, 0.0454162512780988,  -0.035887134330789536, 0.021845877404232678,
      -0.007208510952107397};
  double sum = 0;
  for (std::size_t i = kTerms.size(); i-- > 0;) sum = sum * z + kTerms[i];
  return sum;
}

// Of an angle in radians, at most pi/4 in size, with `quarters` right angles added to it.
zvSineAndCosine SineAndCosine(Pair rad, std::uint32_t quarters) noexcept {
  const double x = rad.high;
  const double z = x * x;
  const double half = 0.5 * z;
  const double most = 1 - half;
  const double sine = x + (x * z * SineExcess(z) + rad.low * most);
  const double cosine = most + (((1 - most) - half) + (z * z * CosineExcess(z) - x * rad.low));
  const bool isTurned = (quarters & 1) != 0;
  const double turnedSine = isTurned ? cosine : sine;
  const double turnedCosine = isTurned ? sine : cosine;
  // Plus 0: a zero is positive.
  return {((quarters & 2) != 0 ? -turnedSine : turnedSine) + 0.0,
          (((quarters + 1) & 2) != 0 ? -turnedCosine : turnedCosine) + 0.0};
}

// 2 / pi as a binary fraction, a word of zeros before it: as many bits as the largest number needs.
constexpr std::array<std::uint64_t, 20> kTwoOverPi{
    0x0000000000000000, 0xa2f9836e4e441529, 0xfc2757d1f534ddc0, 0xdb6295993c439041,
    0xfe5163abdebbc561, 0xb7246e3a424dd2e0, 0x06492eea09d1921c, 0xfe1deb1cb129a73e,
    0xe88235f52ebb4484, 0xe99c7026b45f7e41, 0x3991d639835339f4, 0x9c845f8bbdf9283b,
    0x1ff897ffde05980f, 0xef2f118b5a0a6d1f, 0x6d367ecf27cb09b7, 0x4f463f669e5fea2d,
    0x7527bac7ebe5f17b, 0x3d0739f78a5292ea, 0x6bfb5fb11f8d5d08, 0x56033046fc7b6bab};

// The 64 bits of it from this one on.
std::uint64_t TwoOverPiFrom(std::size_t bit) noexcept {
  const std::size_t word = bit / 64;
  const std::size_t shift = bit % 64;
  return shift == 0 ? kTwoOverPi[word]
                    : kTwoOverPi[word] << shift | kTwoOverPi[word + 1] >> (64 - shift);
}

// By the way of Payne and Hanek: of the product with 2 / pi, which counts right angles, only those
// bits are worked out that lie below whole turns, and 126 of them behind the point are kept. No
// number is nearer than 2^-61 to a multiple of a right angle: what is over is good to 65 bits.
zvSineAndCosine OfLargeRadians(double size) noexcept {
  int exponent = 0;
  const double fraction = std::frexp(size, &exponent);
  const auto bits = static_cast<std::uint64_t>(std::ldexp(fraction, 53));  // size = bits 2^shift
  const int shift = exponent - 53;
  // Bits of 2 / pi that stand for 2^(2 - shift) and more give whole turns.
  const auto first = static_cast<std::size_t>(64 + shift - 2);
  const Wide low = Wide{bits} * TwoOverPiFrom(first + 128);
  const Wide middle = Wide{bits} * TwoOverPiFrom(first + 64) + (low >> 64);
  const std::uint64_t top = bits * TwoOverPiFrom(first) + static_cast<std::uint64_t>(middle >> 64);
  // Two bits of right angles, and 126 bits of what is over; the nearest multiple is taken off.
  const Wide product = Wide{top} << 64 | static_cast<std::uint64_t>(middle);
  const auto quarters = static_cast<std::uint32_t>((product + (Wide{1} << 125)) >> 126);
  Wide over = product - (Wide{quarters} << 126);
  const bool isNegative = over >> 127 != 0;
  if (isNegative) over = -over;
  // The first 53 bits of it, and as many behind them.
  int width = 0;
  for (Wide rest = over; rest != 0; rest >>= 1) ++width;
  const int cut = width > 53 ? width - 53 : 0;
  const Wide most = over >> cut;
  const Wide least = over - (most << cut);
  const double high = std::ldexp(static_cast<double>(static_cast<std::uint64_t>(most)), cut - 126);
  const double next = std::ldexp(static_cast<double>(least), -126);
  const Pair rad = Product(isNegative ? -high : high, isNegative ? -next : next, kRightAngle);
  return SineAndCosine(rad, quarters);
}

}  // namespace

zvSineAndCosine SineAndCosineOfDegrees(double deg) noexcept {
  constexpr double kRoundedPlainly = 0x1p30;
  if (!(std::fabs(deg) < kRoundedPlainly)) [[unlikely]] {
    deg = std::remainder(deg, kFullTurnDeg);
    if (std::isnan(deg)) return {kNaN, kNaN};
  }
  // The nearest whole number, and it times 90 taken off: exact.
  constexpr double kRounds = 0x1.8p52;
  const double quarters = (deg * (1 / 90.0) + kRounds) - kRounds;
  return SineAndCosine(Product(deg - 90 * quarters, 0, kRadiansInADegree),
                       static_cast<std::uint32_t>(static_cast<std::int32_t>(quarters)));
}

zvSineAndCosine SineAndCosineOfRadians(double rad) noexcept {
  if (std::fabs(rad) <= kPi / 4) return SineAndCosine({rad, 0}, 0);
  if (!std::isfinite(rad)) return {kNaN, kNaN};
  const zvSineAndCosine ofSize = OfLargeRadians(std::fabs(rad));
  return rad < 0 ? zvSineAndCosine{-ofSize.sine, ofSize.cosine} : ofSize;
}

double ArcTangent(double y, double x) noexcept {
  // Multiples of pi/4 in two pieces.
  constexpr std::array<Pair, 5> kEighths{{{0, 0},
                                          {kPi / 4, 3.061616997868383e-17},
                                          {kPi / 2, 6.123233995736766e-17},
                                          {3 * kPi / 4, 9.184850993605148e-17},
                                          {kPi, 1.2246467991473532e-16}}};
  constexpr double kTanHalf = 0.5463;
  if (!std::isfinite(x) || !std::isfinite(y)) return kNaN;
  if (x == 0 && y == 0) return 0;
  const bool isSteep = std::fabs(y) > std::fabs(x);
  const double less = std::fabs(isSteep ? x : y);
  const double more = std::fabs(isSteep ? y : x);
  // Above half a radian the angle is measured from the diagonal: below it the three roundings of
  // that are too much.
  const bool isBelow = less <= kTanHalf * more;
  const double t = isBelow ? less / more : (0.5 * less - 0.5 * more) / (0.5 * less + 0.5 * more);
  std::size_t eighths = isBelow ? 0 : 1;
  bool isReversed = false;
  if (isSteep) {
    eighths = 2 - eighths;
    isReversed = !isReversed;
  }
  if (x < 0) {
    eighths = 4 - eighths;
    isReversed = !isReversed;
  }
  const double angle = t + t * (t * t) * ArcTangentExcess(t * t);
  const Pair& base = kEighths[eighths];
  return std::copysign(base.high + ((isReversed ? -angle : angle) + base.low), y);
}

namespace detail {

// (asin(s) / s - 1) / z in powers of z = s^2, over [0, 1/4]: by Remez' exchange, for the smallest
// error of the arc sine relative to itself, which is 1.6e-17.
const Lanes kArcSineExcess[12] = {
    Spread(0.16666666666665408),  Spread(0.07500000000337008),   Spread(0.044642856828333695),
    Spread(0.030381959136746864), Spread(0.022371758055786155),  Spread(0.017359704680246557),
    Spread(0.013885236321372181), Spread(0.012169205766418549),  Spread(0.0065280016707795875),
    Spread(0.019528190908689107), Spread(-0.016224134065289834), Spread(0.03191218755916993)};

}  // namespace detail

}  // namespace misc
