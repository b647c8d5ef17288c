// zvAxisRewinder: the rewindings of one rotary axis.
#pragma once

#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/polled_end.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/move_traits.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/passes/rewinder/move_at_limit.h>
#include <kandrel/post/passes/rewinder/pending_shift.h>
#include <kandrel/post/passes/rewinder/rewind_place.h>
#include <kandrel/post/passes/rewinder/rewind_turn.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>

namespace post {

/// Goes through a list by stretches, each as long as some number of whole turns brings all of it
/// into the axis' range. The first is shifted as it stands; before each later one a rewinding is
/// put in. Refers to all that it is given. For `Machine` and what is thrown see zvRewinder.
template <class Move, class Machine>
class zvAxisRewinder {
 public:
  using List = misc::zvMemoryPoolList<Move>;
  using Iterator = typename List::iterator;
  using Traits = zvMoveTraits<Move>;

  /// `moves` is a walk over the list; it begins anew with the axis.
  zvAxisRewinder(List& list, zvPendingShift<Move>& moves, int axis, const zvRotaryRange& range,
                 const zvKDRParam& par, bool smallMoves, const Machine& machine)
      : m_list(list),
        m_moves(moves),
        m_axis(axis),
        m_range{std::min(range.min, range.max), std::max(range.min, range.max)},
        m_limit(machine, axis, m_range, smallMoves),
        m_places(list, moves, axis, m_range),
        m_turn(list, axis, par, smallMoves, machine) {}

  /// Returns the number of rewindings put in.
  std::uint32_t Run() {
    m_moves.Start(m_axis);
    Cursor start = m_moves.First();
    Cursor next = start;
    if (!FindExcess(start, next)) return 0;
    if (m_shift != 0) {
      // The first stretch is shifted as a whole, with no move inserted.
      m_moves.ShiftFrom(start.node, m_shift);
      m_moves.CommitTo(next);
      start = next;
    }
    Cursor previousStart = m_moves.First();
    try {
      // Each round puts a rewinding in or takes the start further, so this many are enough.
      for (std::size_t round = 0; round < 4 * m_moves.Count() + 16 && FindExcess(start, next);
           ++round) {
        const std::uint32_t before = m_rewindings;
        InsertRewind(start, next, previousStart);
        if (m_rewindings == before && next.index <= start.index) break;
        previousStart = start;
        start = next;
      }
    } catch (...) {
      // The turns of the rewindings that are in hold for all that follows them.
      m_moves.CommitTo(m_moves.End());
      throw;
    }
    m_moves.CommitTo(m_moves.End());
    return m_rewindings;
  }

 private:
  using Moves = zvPendingShift<Move>;
  using Cursor = typename Moves::Cursor;

  // False when no move from `start` on is out. Else m_shift is the last multiple of a turn that
  // fits the stretch from `start` to the move before `next`, which is the end when all fit.
  bool FindExcess(const Cursor& start, Cursor& next) {
    if (start.index >= m_moves.Count() || !m_moves.IsAnyOut(start, m_range)) return false;
    m_shift = 0;
    double minDeg = m_moves.Angle(start);
    double maxDeg = minDeg;
    misc::zvPolledEnd end(m_list.GetPolling(), start.index, m_moves.Count());
    for (next = start; end.IsBefore(next.index); Moves::Advance(next)) {
      const double deg = m_moves.Angle(next);
      minDeg = std::min(minDeg, deg);
      maxDeg = std::max(maxDeg, deg);
      // The least shift by which the smallest angle comes to the lower bound or above.
      const double s = std::ceil((m_range.min - minDeg) / misc::kFullTurnDeg) * misc::kFullTurnDeg;
      if (!(std::fabs(s) <= misc::kLargestShift) || minDeg + s < m_range.min - misc::kEqual ||
          maxDeg + s > m_range.max + misc::kEqual)
        return true;
      m_shift = s;
    }
    return true;
  }

  double Sense() const { return m_shift > 0 ? 1 : -1; }

  // Puts a rewinding by m_shift before `start`, and takes `next` back where the search has to go on
  // before it.
  void InsertRewind(const Cursor& start, Cursor& next, const Cursor& previousStart) {
    if (std::fabs(m_shift) < misc::kFullTurnLessRounding || start.node == m_list.begin()) return;
    m_moves.CommitTo(start);
    if (const auto place = m_places.Find(start, previousStart.node, m_shift)) {
      const Iterator rest = std::next(place->node);
      Rewind(place->node, rest, place->shift, m_turn.Lifted(*place->node));
      StepBack(next, rest);
    } else if (RewindAtLimit(start) == m_shift) {
      return;
    }
    // A stretch that got fewer turns than it asks for is out, maybe in its middle alone: where it
    // turned round beyond the limit.
    for (Cursor move = start; move.index < next.index; Moves::Advance(move)) {
      m_list.Poll();
      if (IsOutOf(m_range, m_moves.Angle(move))) {
        next = move;
        break;
      }
    }
  }

  void Rewind(Iterator before, Iterator rest, double shift, Move lift) {
    m_turn.Insert(before, rest, shift, std::move(lift));
    m_moves.ShiftFrom(rest, shift);
    ++m_rewindings;
  }

  // Rewinds where the step to `start` reaches the limit, or behind the move before it where that
  // step doesn't. Returns the turns made, degrees.
  double RewindAtLimit(const Cursor& start) {
    using Kind = typename zvLimitMove<Move>::Kind;
    Iterator before = std::prev(start.node);
    zvLimitMove<Move> limit = m_limit.Find(*before, m_moves.At(start));
    const bool isInAir = before->IsRapid() && start.node->IsRapid();
    std::optional<Move> lift;
    if (limit.move) lift = m_turn.LiftedAtLimit(*limit.move, isInAir);
    if (limit.kind == Kind::kLeap || (limit.move && !lift)) {
      m_turn.InsertSwing(*before, m_turn.Turned(m_moves.At(start), m_shift), start.node);
      m_moves.ShiftFrom(start.node, m_shift);
      ++m_rewindings;
      return m_shift;
    }
    std::optional<Move> forced;  // the move at the limit, where steps beside it may be large
    if (limit.kind == Kind::kForced) forced = limit.move;
    if (forced) m_turn.Divide(*before, *forced, start.node, *forced);
    if (limit.move) before = m_list.Insert(start.node, std::move(*limit.move));

    // A range that falls just short of whole turns has no room for all that the stretch asks.
    double shift = m_shift;
    while (std::fabs(shift) > misc::kFullTurnDeg &&
           IsOutOf(m_range, Traits::Angle(*before, m_axis) + shift))
      shift -= Sense() * misc::kFullTurnDeg;
    const Iterator rest = start.node;
    if (!lift) lift = m_turn.Lifted(*before);
    m_turn.Insert(before, rest, shift, *std::move(lift));
    if (forced)
      m_turn.Divide(*std::prev(rest), m_turn.Turned(m_moves.At(start), shift), rest, *forced);
    m_moves.ShiftFrom(rest, shift);
    ++m_rewindings;
    return shift;
  }

  // Takes `next` back to the first of the moves before it that stand at or beyond the limit towards
  // which the list runs, and no further than the move behind the place: the search goes on from
  // there. An end becomes the last move where that one stands so.
  void StepBack(Cursor& next, Iterator rest) const {
    const auto isBeyond = [&](const Cursor& cursor) {
      return Sense() < 0 ? m_moves.Angle(cursor) >= m_range.max
                         : m_moves.Angle(cursor) <= m_range.min;
    };
    const auto back = [](Cursor cursor) {
      --cursor.node;
      --cursor.index;
      return cursor;
    };
    if (next.index >= m_moves.Count()) {
      const Cursor last = back(m_moves.End());
      if (!isBeyond(last)) return;
      next = last;
    } else if (!isBeyond(next)) {
      return;
    }
    for (; next.node != rest && next.index > 0 && isBeyond(back(next)); next = back(next))
      m_list.Poll();
  }

  List& m_list;
  Moves& m_moves;
  int m_axis;
  zvRotaryRange m_range;
  zvLimitMoveFinder<Move, Machine> m_limit;
  zvRewindPlaceFinder<Move> m_places;
  zvRewindTurn<Move, Machine> m_turn;
  double m_shift = 0;  // what FindExcess found
  std::uint32_t m_rewindings = 0;
};

}  // namespace post
