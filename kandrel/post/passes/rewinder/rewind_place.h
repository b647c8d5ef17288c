// Where a rewinding goes in: at a link, where the tool is off the part anyway.
#pragma once

#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/move_traits.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/passes/rewinder/link_search.h>
#include <kandrel/post/passes/rewinder/pending_shift.h>

#include <cmath>
#include <iterator>
#include <optional>

namespace post {

/// Whether an angle lies out of a range by more than rounding.
inline bool IsOutOf(const zvRotaryRange& range, double deg) noexcept {
  return deg < range.min - misc::kEqual || deg > range.max + misc::kEqual;
}

/// Looks for places at links, for one axis. Refers to the list and to a walk over it that is at
/// this axis; the moves before the place asked about have their shifts already.
template <class Move>
class zvRewindPlaceFinder {
 public:
  using List = misc::zvMemoryPoolList<Move>;
  using Iterator = typename List::iterator;
  using Traits = zvMoveTraits<Move>;
  using Cursor = typename zvPendingShift<Move>::Cursor;

  /// Where the axis may turn.
  struct Place {
    Iterator node;  ///< the axis turns behind it
    double shift;   ///< by whole turns, degrees: fewer than asked for where that helps already
  };

  /// `range` is copied, in degrees; `axis` is the index of the one that is rewound.
  zvRewindPlaceFinder(List& list, const zvPendingShift<Move>& moves, int axis,
                      const zvRotaryRange& range)
      : m_list(list), m_moves(moves), m_axis(axis), m_range(range) {}

  /// The place for a rewinding that gives the moves from `start` on a shift: in the link nearest
  /// before them, if the moves after it have room for a turn; `previousStart` is where the search
  /// for one ends. A place from which the shift would take moves before `start` out of the range is
  /// passed over for one in the rest of its link. Nothing where no link serves: the rewinding then
  /// goes in at the limit itself.
  std::optional<Place> Find(const Cursor& start, Iterator previousStart, double shift) const {
    std::optional<Iterator> node = FindRewindPlace(std::prev(start.node), previousStart, shift);
    while (node) {
      const std::optional<double> cut = CutShift(*node, start, shift);
      if (!cut) return std::nullopt;
      const Iterator first = FirstOfThoseThatFit(*node, start, *cut);
      if (first == *node) return Place{*node, *cut};
      node = FindBetween(first, start);
    }
    return std::nullopt;
  }

 private:
  static double SenseOf(double shift) { return shift > 0 ? 1 : -1; }

  double Angle(Iterator move) const { return Traits::Angle(*move, m_axis); }

  // Looks back from `before` over moves that still have room for one turn, for a link.
  std::optional<Iterator> FindRewindPlace(Iterator before, Iterator previousStart,
                                          double shift) const {
    if (!(m_range.max - m_range.min > misc::kFullTurnDeg)) return std::nullopt;
    const bool turnsUp = shift > 0;
    const double bound =
        turnsUp ? m_range.max - misc::kFullTurnDeg : m_range.min + misc::kFullTurnDeg;
    Iterator candidate = before;
    for (;;) {
      m_list.Poll();
      if (candidate == m_list.begin()) {
        if (candidate == before && candidate == previousStart) return std::nullopt;
        break;
      }
      if (candidate == previousStart) return std::nullopt;
      if (candidate->GetType() != zvPostedMove::noLink) break;
      if (turnsUp ? Angle(candidate) > bound : Angle(candidate) < bound) return std::nullopt;
      --candidate;
    }
    const std::optional<Iterator> best =
        FindLinkByRank(candidate, m_list.begin(), m_list.GetPolling());
    if (!best || IsOutOf(m_range, Angle(*best) + SenseOf(shift) * misc::kFullTurnDeg))
      return std::nullopt;
    return best;
  }

  // At a link fewer turns than the excess asks for are enough: those that the axis makes behind it
  // anyway are left out, and one more where several were asked for. Nothing when none remains, so
  // that a rewinding there would help nothing.
  std::optional<double> CutShift(Iterator node, const Cursor& start, double shift) const {
    const Iterator after = std::next(node);
    const double deg = after == start.node ? m_moves.Angle(start) : Angle(after);
    const double turns = std::trunc(std::trunc(std::fabs(Angle(node) - deg)) / misc::kFullTurnDeg);
    const double more = std::fabs(shift) > misc::kFullTurnDeg ? 1 : 0;
    const double sense = SenseOf(shift);
    const double cut = shift - sense * misc::kFullTurnDeg * (turns + more);
    if (!(cut * sense >= misc::kFullTurnLessRounding)) return std::nullopt;
    return cut;
  }

  // The first of the moves right before `start`, from `node` on, that keep the range with a shift.
  Iterator FirstOfThoseThatFit(Iterator node, const Cursor& start, double shift) const {
    Iterator first = start.node;
    for (; first != node && !IsOutOf(m_range, Angle(std::prev(first)) + shift); --first)
      m_list.Poll();
    return first;
  }

  // The best move for a rewinding in the last link from `first` to the move before `start`.
  std::optional<Iterator> FindBetween(Iterator first, const Cursor& start) const {
    Iterator at = start.node;
    do {
      if (at == first) return std::nullopt;
      m_list.Poll();
      --at;
    } while (at->GetType() == zvPostedMove::noLink);
    return FindLinkByRank(at, first, m_list.GetPolling());
  }

  List& m_list;
  const zvPendingShift<Move>& m_moves;
  int m_axis;
  zvRotaryRange m_range;
};

}  // namespace post
