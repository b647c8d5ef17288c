// zvPendingShift: whole turns added to the rest of a list, in one walk.
#pragma once

#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/polled_end.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/move_traits.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace post {

/// The moves of a list, with one axis at hand. A shift adds to that axis' angle from some move to
/// the end: it is carried along and added when the walk passes, so that many shifts cost no more
/// than one. Degrees; the list is referred to.
template <class Move>
class zvPendingShift {
 public:
  using List = misc::zvMemoryPoolList<Move>;
  using Iterator = typename List::iterator;
  using Traits = zvMoveTraits<Move>;

  /// A move of the list as it was at Start, with its place in it. Moves inserted later have no
  /// place; `index` is the count of moves for the end.
  struct Cursor {
    Iterator node;
    std::size_t index;
  };

  /// Refers to the list.
  explicit zvPendingShift(List& list) : m_list(list) {}

  /// Begins with an axis and no shift.
  void Start(int axis) {
    m_axis = axis;
    m_pending = 0;
    m_first = m_committed = {m_list.begin(), 0};
    MeasureSuffixes();
  }

  /// How many moves the list had at Start, its first one, and the place behind its last.
  std::size_t Count() const { return m_count; }
  const Cursor& First() const { return m_first; }
  Cursor End() { return {m_list.end(), m_count}; }

  /// To the next move.
  static void Advance(Cursor& cursor) {
    ++cursor.node;
    ++cursor.index;
  }

  /// The angle with the shift that is still to be added.
  double Angle(const Cursor& cursor) const {
    return Traits::Angle(*cursor.node, m_axis) +
           (cursor.index >= m_committed.index ? m_pending : 0);
  }

  /// The move with that angle.
  Move At(const Cursor& cursor) const {
    Move move = *cursor.node;
    Traits::SetAngle(move, m_axis, Angle(cursor));
    return move;
  }

  /// Adds the pending shift to the moves before `end`; those behind still wait for it.
  void CommitTo(const Cursor& end) {
    for (; m_committed.index < end.index; Advance(m_committed)) {
      m_list.Poll();
      if (m_pending != 0)
        Traits::SetAngle(*m_committed.node, m_axis,
                         Traits::Angle(*m_committed.node, m_axis) + m_pending);
    }
  }

  /// Adds a shift to all moves from `rest` to the end. `rest` stands before the moves that wait, or
  /// is the first of them.
  void ShiftFrom(Iterator rest, double shift) {
    misc::zvPolledEnd end(m_list, rest, m_committed.node);
    for (; end.IsBefore(rest); ++rest)
      Traits::SetAngle(*rest, m_axis, Traits::Angle(*rest, m_axis) + shift);
    m_pending += shift;
  }

  /// Whether a move from `from` on is out of the range.
  bool IsAnyOut(Cursor from, const zvRotaryRange& range) const {
    for (; from.index < m_committed.index; Advance(from)) {
      m_list.Poll();
      const double deg = Angle(from);
      if (deg < range.min || deg > range.max) return true;
    }
    if (from.index >= m_count) return false;
    return m_suffixes[from.index].min + m_pending < range.min ||
           m_suffixes[from.index].max + m_pending > range.max;
  }

 private:
  // The smallest and largest angle from each move to the end, as the list stands now.
  void MeasureSuffixes() {
    m_count = m_list.GetCount();
    m_suffixes.resize(m_count);
    zvRotaryRange suffix{misc::kNoValue, -misc::kNoValue};
    std::size_t index = m_count;
    for (Iterator node = m_list.end(); index != 0;) {
      --node;
      m_list.Poll();
      const double deg = Traits::Angle(*node, m_axis);
      suffix = {std::min(suffix.min, deg), std::max(suffix.max, deg)};
      m_suffixes[--index] = suffix;
    }
  }

  List& m_list;
  int m_axis = 0;
  double m_pending = 0;  // still to be added to the moves from m_committed on
  Cursor m_first;
  Cursor m_committed;
  std::size_t m_count = 0;
  std::vector<zvRotaryRange> m_suffixes;
};

}  // namespace post
