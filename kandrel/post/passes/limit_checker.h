// Limits of a finished list, and shifting the whole of it into its rotary ones.
#pragma once

#include <kandrel/misc/angles.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/polled_end.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/move_traits.h>

#include <array>
#include <cmath>

namespace post {

/// Brings each angle that is out of its range into it by whole turns, where that can be; no
/// tolerance applies. Machine positions hold for any number of turns.
template <class Move>
void WrapIntoRanges(Move& move,
                    const std::array<zvRotaryRange, zvMoveTraits<Move>::kAxes>& ranges) {
  for (int axis = 0; axis < zvMoveTraits<Move>::kAxes; ++axis) {
    const double deg = zvMoveTraits<Move>::Angle(move, axis);
    const auto [min, max] = ranges[axis];
    if (deg < min || deg > max)
      zvMoveTraits<Move>::SetAngle(move, axis, misc::WrapIntoRange(deg, min, max));
  }
}

/// The same for all moves of a list.
template <class Move>
void WrapIntoRanges(misc::zvMemoryPoolList<Move>& list,
                    const std::array<zvRotaryRange, zvMoveTraits<Move>::kAxes>& ranges) {
  if (HoldSolvedAngles(ranges)) return;
  misc::zvPolledEnd end(list);
  for (auto move = list.begin(); end.IsBefore(move); ++move) WrapIntoRanges(*move, ranges);
}

/// How the lower bounds of two axes are measured before a shift.
enum class zvLowerBounds {
  /// That of the second stays its first value, and values below that go to the lower bound of the
  /// first instead, raising it where they are above it. It is tried first, so that lists which it
  /// mends come out as they always have.
  kShared,
  kOwn,  // each axis for itself
};

/// The checks of a finished list, and the shift that may spare a rewinding. Refers to all that it
/// is given.
template <class Move>
class zvListLimits {
 public:
  using List = misc::zvMemoryPoolList<Move>;
  using Traits = zvMoveTraits<Move>;
  using Ranges = std::array<zvRotaryRange, Traits::kAxes>;

  /// `limitTolerance`, in degrees: how far a rotary axis may leave its range.
  template <class MachDef>
  zvListLimits(List& list, const MachDef& machDef, double limitTolerance)
      : m_list(list),
        m_machDef(machDef),
        m_ranges(RotaryRangesOf(machDef)),
        m_slack(limitTolerance) {}

  /// Whether a move is out of a rotary range; `limit` is what the first such breaks, else none.
  bool RotaryExceeded(zvLimitType& limit) const {
    return IsAnyOut(limit, [&](const Move& move) { return RotaryOut(move, m_ranges, m_slack); });
  }
  /// The same of the linear limits.
  bool LinearExceeded(zvLimitType& limit) const {
    return IsAnyOut(
        limit, [&](const Move& move) { return LinearOut(move.GetMachinePosition(), m_machDef); });
  }

  /// Shifts the angles of the list by whole turns into their ranges where that can be. False when
  /// the list fits or has been made to; true when a shift is not enough for some axis.
  bool TryShiftAll(zvLowerBounds lowerBounds = zvLowerBounds::kShared) {
    Bounds bounds;
    auto move = m_list.begin();
    if (move != m_list.end()) {
      for (int axis = 0; axis < Traits::kAxes; ++axis)
        bounds.low[axis] = bounds.high[axis] = Traits::Angle(*move, axis);
      misc::zvPolledEnd end(m_list);
      while (end.IsBefore(++move)) bounds.Include(*move, lowerBounds);
    }
    for (int axis = 0; axis < Traits::kAxes; ++axis)
      if (!ShiftAxis(axis, bounds.low[axis], bounds.high[axis])) return true;
    return false;
  }

 private:
  template <class Excess>
  bool IsAnyOut(zvLimitType& limit, const Excess& excess) const {
    limit = {};
    misc::zvPolledEnd end(m_list);
    for (auto move = m_list.begin(); end.IsBefore(move); ++move)
      if (limit = excess(*move); !limit.IsNone()) return true;
    return false;
  }

  struct Bounds {
    std::array<double, Traits::kAxes> low;
    std::array<double, Traits::kAxes> high{};

    Bounds() { low.fill(misc::kNoValue); }

    void Include(const Move& move, zvLowerBounds lowerBounds) {
      const double first = Traits::Angle(move, 0);
      if (first < low[0]) low[0] = first;
      if (first > high[0]) high[0] = first;
      if constexpr (Traits::kAxes == 2) {
        const double second = Traits::Angle(move, 1);
        if (second > high[1]) high[1] = second;
        if (second < low[1]) low[lowerBounds == zvLowerBounds::kOwn ? 1 : 0] = second;
      }
    }
  };

  // False when no shift brings the axis into its range.
  bool ShiftAxis(int axis, double low, double high) {
    const auto [min, max] = m_ranges[axis];
    if (high + m_slack < low) return false;
    if (min - m_slack <= low && high <= max + m_slack) return true;
    if ((max - min) + m_slack < high - low) return false;
    const double shift = std::ceil((min - low) / misc::kFullTurnDeg) * misc::kFullTurnDeg;
    if (!(std::fabs(shift) <= misc::kLargestShift) || high + shift > max + m_slack) return false;
    misc::zvPolledEnd end(m_list);
    for (auto move = m_list.begin(); end.IsBefore(move); ++move)
      Traits::SetAngle(*move, axis, Traits::Angle(*move, axis) + shift);
    return true;
  }

  List& m_list;
  const zvMachDef& m_machDef;
  Ranges m_ranges;
  double m_slack;
};

}  // namespace post
