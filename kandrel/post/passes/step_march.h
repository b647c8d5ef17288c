// March: divides a step into blocks that each use as much of what is allowed as they can.
#pragma once

#include <kandrel/misc/tolerances.h>

#include <algorithm>
#include <cmath>

namespace post {

/// What a march has come to.
struct zvMarchResult {
  int leaps = 0;           ///< blocks that no division brings within what is allowed
  bool canBeThin = false;  ///< two neighbouring blocks may be one
};

namespace detail {

/// The part of what is allowed that a march aims at: 0.95 of a deviation.
inline constexpr double kAimOfMarch = 0.975;

/// How many even parts a rest of so many blocks gets. Where a few blocks would do if each used all
/// that is allowed, one more would be a waste.
inline double PartsOf(double blocks) {
  constexpr double kFew = 4;
  const double fewest = std::ceil(blocks * kAimOfMarch);
  return fewest <= kFew ? fewest : std::ceil(blocks * (1 - 1e-9));
}

}  // namespace detail

/// Goes along a step of parameter 0 to 1, from where `walk` stands to `end`, in blocks as long as
/// they may be and even in the end. What a block uses is told as a fraction of its greatest length,
/// so that it grows in proportion to the length: the root of a deviation, which grows by its
/// square, and a turn as it is. The next length follows from that of the last, and where the guess
/// was too long or far too short it is mended; on a smooth step most lines are solved once. Where
/// two blocks do, of which the second needs less length than the first, the line is moved there.
///
/// `Walk` stands on a line that is settled:
///   GetPlace()     its parameter
///   Try(t)         solves the line at t; how much a block to it would use: up to 1 is allowed, NaN
///                  is not
///   Accept()       puts the line tried last behind the others and stands on it
///   IsTiny(step)   whether a block of this length is not to be divided any more
///
/// A tiny block that is not allowed is a leap: it is put all the same. After a few of them the
/// march gives up and goes to the end at once.
///
/// It ends whatever the walk says: a block that fails is tried again with at least one part more,
/// so that it becomes shorter until it is tiny, at kShortest at the latest; and each block that is
/// put takes the march on by that much at least.
template <class Walk>
zvMarchResult March(Walk& walk, double end) {
  constexpr double kAim = detail::kAimOfMarch;
  constexpr double kAlmost = 0.995;
  constexpr double kWidestShift = 0.9;
  constexpr double kMeager = 0.6;    // a block that uses less is tried longer, once
  constexpr double kSlimmest = 0.1;  // a step shrinks and grows within these
  constexpr double kWidest = 4;
  constexpr int kMostLeaps = 4;
  constexpr double kShortest = misc::kEqual;

  zvMarchResult result;
  double last = 1;  // what the last block used
  double step = end - walk.GetPlace();
  bool isMended = false;  // the block from here has been tried at another length
  double shorter = 0;     // a length that is allowed, while a longer one is tried
  double fewest = 1;      // parts that have not failed from here
  double whole = 0;       // what the rest would use as one block
  double exact = 0;       // a length that is tried as it is
  int shifts = 0;         // how often, from here
  for (;;) {
    const double from = walk.GetPlace();
    const double rest = end - from;
    // Few parts are rounded off by as much as a failed try aims shorter: alone they would come out
    // the same for ever.
    const double parts = std::max(fewest, detail::PartsOf(rest / step));
    const bool isLast = !(parts > 1 && rest > kShortest);
    const double even = exact > 0 ? exact : rest / parts;
    const double length = isLast ? rest : std::max(even, kShortest);
    const double used = walk.Try(isLast ? end : from + length);
    if (used <= 1) {
      // Of two halves the other one would use too much; a little more here, and both do.
      if (!isLast && parts == 2 && shifts == 0 && whole - used > 1 && whole < 2) {
        shifts = 1;
        shorter = length;
        exact = std::min(length * (whole / 2) / used, kWidestShift * rest);
        continue;
      }
      if (!isLast && !isMended && used < kMeager) {
        isMended = true;
        shorter = length;
        step = length * std::min(kAim / used, kWidest);
        continue;
      }
    } else if (shifts == 1 && exact * kAlmost > shorter * used) {
      shifts = 2;
      exact *= kAlmost / used;
      continue;
    } else if (shorter > 0) {
      step = shorter;
      shorter = exact = 0;
      continue;
    } else if (!isLast && parts == 2 && shifts == 0 && used < whole && whole < 2) {
      shifts = 2;
      exact = length * (whole / 2) / used;
      continue;
    } else if (length > kShortest && !walk.IsTiny(length)) {
      exact = 0;
      isMended = true;
      if (isLast) whole = used;
      fewest = parts + 1;
      step = length * (used > 1 ? std::clamp(kAim / used, kSlimmest, kAim) : kSlimmest);
      continue;
    } else if (++result.leaps > kMostLeaps && !isLast) {
      walk.Try(end);
      walk.Accept();
      return result;
    }
    walk.Accept();
    if (isLast) return result;
    const double share = std::min(used, 1.0);
    result.canBeThin = result.canBeThin || last + share < 1;
    last = share;
    step = length * (used <= 1 ? std::min(kAim / used, kWidest) : kWidest);
    if (exact > 0) step = end - walk.GetPlace();  // which is thought to do
    isMended = false;
    shorter = whole = exact = 0;
    shifts = 0;
    fewest = 1;
  }
}

}  // namespace post
