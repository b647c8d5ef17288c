// zvRewinder: turns a rotary axis that runs into its limit back by whole turns, off the part.
#pragma once

#include <kandrel/misc/angles.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/move_traits.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/passes/limit_checker.h>
#include <kandrel/post/passes/rewinder/link_search.h>
#include <kandrel/post/passes/rewinder/move_at_limit.h>
#include <kandrel/post/passes/rewinder/pending_shift.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace post {

/// Rewinds each axis of a list whose range spans at least a full turn, one after the other. A
/// rewinding lifts the tool, turns the axis back by whole turns with the linear axes standing, and
/// comes down where it left. It goes in at a link where one is near, by the rank of its type, else
/// at the limit itself. Where the angle leaps over the limit, from one solution to the other, no
/// move can stand there: the tool lifts before the leap, all axes swing in the air, and it comes
/// down behind it. So it does between two rapid moves where the move at the limit lies outside the
/// linear limits and can't be lifted to them.
///
/// `Machine` is what the rewinder needs of the creator:
///   Kinematics()             MachinePosition(move), PartPosition(move), Orientation(move)
///   Retract(move)            a lifted move; may throw zvPostException 5008 or 5039
///   Midpoint(a, b, tolerance)  the move halfway, solved; or nothing
/// All that is given is referred to. Linear in the number of moves, inserted ones included: a shift
/// of all later moves is carried along and added when the walk passes.
///
/// Throws zvPostException 5051 when the search for the move at a limit comes to no end, 5039 for a
/// turn of more than 2^31 - 2 steps, and what Retract and Midpoint throw; the list is then half
/// rewound.
template <class Move, class Machine>
class zvRewinder {
 public:
  using List = misc::zvMemoryPoolList<Move>;
  using Iterator = typename List::iterator;
  using Traits = zvMoveTraits<Move>;
  using Ranges = std::array<zvRotaryRange, Traits::kAxes>;

  /// `slack`: what an axis that can't be rewound may stand out of its range by, degrees.
  zvRewinder(List& list, const Ranges& ranges, const zvKDRParam& par, bool smallMoves,
             const Machine& machine, double slack = 0)
      : m_list(list),
        m_moves(list),
        m_ranges(ranges),
        m_par(par),
        m_smallMoves(smallMoves),
        m_machine(machine),
        m_slack(slack) {}

  /// Returns the number of rewindings put in. Nothing happens when an axis that can't be rewound is
  /// out of its range by more than the slack, or when none can be rewound.
  std::uint32_t Run() {
    if (!Prepare()) return 0;
    for (m_axis = 0; m_axis < Traits::kAxes; ++m_axis)
      if (m_isRewound[m_axis]) RunAxis();
    return m_rewindings;
  }

 private:
  using Moves = zvPendingShift<Move>;
  using Cursor = typename Moves::Cursor;

  bool Prepare() {
    bool isAny = false;
    for (int axis = 0; axis < Traits::kAxes; ++axis) {
      const auto [min, max] = m_ranges[axis];
      const double span = std::fabs(max - min);
      m_isRewound[axis] = span >= misc::kFullTurnDeg && span > misc::kEqual;
      isAny = isAny || m_isRewound[axis];
      if (m_isRewound[axis]) continue;
      for (const Move& move : m_list) {
        const double deg = Traits::Angle(move, axis);
        if (deg < min - m_slack || deg > max + m_slack) return false;
      }
    }
    return isAny;
  }

  void RunAxis() {
    const auto [min, max] = m_ranges[m_axis];
    m_low = std::min(min, max);
    m_high = std::max(min, max);
    m_moves.Start(m_axis);
    m_shift = 0;

    Cursor start = m_moves.First();
    Cursor next = start;
    if (!FindExcess(start, next)) return;
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
  }

  // False when no move from `start` on is out. Else m_shift is the last multiple of a turn that
  // fits the stretch from `start` to the move before `next`, which is the end when all fit.
  bool FindExcess(const Cursor& start, Cursor& next) {
    if (start.index >= m_moves.Count() || !m_moves.IsAnyOut(start, {m_low, m_high})) return false;
    m_shift = 0;
    double minDeg = m_moves.Angle(start);
    double maxDeg = minDeg;
    for (next = start; next.index < m_moves.Count(); Moves::Advance(next)) {
      const double deg = m_moves.Angle(next);
      minDeg = std::min(minDeg, deg);
      maxDeg = std::max(maxDeg, deg);
      const double s = std::ceil((m_low - minDeg) / misc::kFullTurnDeg) * misc::kFullTurnDeg;
      if (!(std::fabs(s) <= misc::kLargestShift) || minDeg + s < m_low - misc::kEqual ||
          maxDeg + s > m_high + misc::kEqual)
        return true;
      m_shift = s;
    }
    return true;
  }

  bool IsOut(double deg) const { return deg < m_low - misc::kEqual || deg > m_high + misc::kEqual; }

  void InsertRewind(const Cursor& start, Cursor& next, const Cursor& previousStart) {
    double shift = m_shift;
    if (std::fabs(shift) < misc::kFullTurnLessRounding || start.node == m_list.begin()) return;
    m_moves.CommitTo(start);
    const double sense = shift > 0 ? 1 : -1;
    Iterator before = std::prev(start.node);
    Iterator place;
    const bool found = FindPlace(place, start, previousStart.node, sense, shift);
    std::optional<Move> forced;  // the move at the limit, where steps beside it may be large
    std::optional<Move> lift;
    if (found) {
      before = place;
    } else {
      zvLimitMove<Move> limit = FindMoveAtLimit(*before, start);
      using Kind = typename zvLimitMove<Move>::Kind;
      const bool isInAir = before->IsRapid() && start.node->IsRapid();
      if (limit.move) lift = Lifted(*limit.move, isInAir);
      if (limit.kind == Kind::kLeap || (limit.move && !lift)) {
        InsertSwing(*before, start, shift);
        m_moves.ShiftFrom(start.node, shift);
        ++m_rewindings;
        return;
      }
      if (limit.move) {
        if (limit.kind == Kind::kForced) forced = limit.move;
        if (forced) DivideTurn(*before, *forced, start.node, *forced);
        before = m_list.Insert(start.node, std::move(*limit.move));
      }
      // A range that falls just short of whole turns has no room for all that the stretch asks.
      while (std::fabs(shift) > misc::kFullTurnDeg && IsOut(Traits::Angle(*before, m_axis) + shift))
        shift -= sense * misc::kFullTurnDeg;
    }
    const Iterator rest = std::next(before);
    if (!lift) lift = m_machine.Retract(*before);
    InsertTurn(before, rest, sense, shift, *std::move(lift));
    if (forced) DivideTurn(*std::prev(rest), Turned(m_moves.At(start), shift), rest, *forced);
    m_moves.ShiftFrom(rest, shift);
    ++m_rewindings;
    if (!found && shift == m_shift) return;
    if (found) StepBack(next, rest, sense);
    // A stretch that got fewer turns than it asks for is out, maybe in its middle alone: where it
    // turned round beyond the limit.
    for (Cursor move = start; move.index < next.index; Moves::Advance(move))
      if (IsOut(m_moves.Angle(move))) {
        next = move;
        break;
      }
  }

  Move Turned(Move move, double shift) const {
    Traits::SetAngle(move, m_axis, Traits::Angle(move, m_axis) + shift);
    return move;
  }

  zvLimitMove<Move> FindMoveAtLimit(const Move& before, const Cursor& start) const {
    return zvLimitMoveFinder<Move, Machine>(m_machine, m_axis, {m_low, m_high}, m_smallMoves)
        .Find(before, m_moves.At(start));
  }

  // A rewinding at a link costs fewer turns than the excess asks; false when none remains, so that
  // it would help nothing.
  bool CutShift(Iterator place, const Cursor& start, double sense, double& shift) const {
    const Iterator after = std::next(place);
    const double deg = after == start.node ? m_moves.Angle(start) : Traits::Angle(*after, m_axis);
    const double turns =
        std::trunc(std::trunc(std::fabs(Traits::Angle(*place, m_axis) - deg)) / misc::kFullTurnDeg);
    const double more = std::fabs(shift) > misc::kFullTurnDeg ? 1 : 0;
    const double cut = shift - sense * misc::kFullTurnDeg * (turns + more);
    if (!(cut * sense >= misc::kFullTurnLessRounding)) return false;
    shift = cut;
    return true;
  }

  // The lift over a move at the limit. Between two rapid moves, as lifts to the linear limits are,
  // it may stand outside those itself: then there is none.
  std::optional<Move> Lifted(const Move& move, bool isInAir) const {
    try {
      return m_machine.Retract(move);
    } catch (const zvPostException& e) {
      if (!isInAir || e.GetId() != zvPostException::kOutOfLimits) throw;
      return std::nullopt;
    }
  }

  // Lifts over `before` and over `start` as it stands when turned: between them all axes swing.
  void InsertSwing(const Move& before, const Cursor& start, double shift) {
    const Move after = Turned(m_moves.At(start), shift);
    for (const Move* end : {&before, &after}) {
      Move lift = m_machine.Retract(*end);
      lift.SetType(zvPostedMove::noLink);
      MarkInserted(lift, *end);
      m_list.Insert(start.node, std::move(lift));
    }
  }

  // Where an angle was forced to the limit, as on a pole, the steps beside it may turn further than
  // a feed step should: they are divided, with the axes turning evenly and the tip on its line.
  void DivideTurn(const Move& from, const Move& to, Iterator at, const Move& pattern) {
    const double step = m_par.GetMaxAngleStep();
    if (!(step > 0) || (pattern.IsRapid() && !m_par.GetInterpolateRapidMoves())) return;
    double turn = 0;
    for (int axis = 0; axis < Traits::kAxes; ++axis)
      turn = std::max(turn, std::fabs(Traits::Angle(to, axis) - Traits::Angle(from, axis)));
    if (!(turn > step)) return;
    const double parts = std::trunc(turn / step) + 1;
    if (!(parts <= misc::kLargestCount)) throw zvPostException(zvPostException::kInvalidVector);
    for (std::uint32_t part = 1; part < parts; ++part) {
      const double t = part / parts;
      Move between = pattern;
      between.SetPartPosition((1 - t) * from.GetPartPosition() + t * to.GetPartPosition());
      for (int axis = 0; axis < Traits::kAxes; ++axis)
        Traits::SetAngle(between, axis,
                         (1 - t) * Traits::Angle(from, axis) + t * Traits::Angle(to, axis));
      between.SetMachinePosition(m_machine.Kinematics().MachinePosition(between));
      between.SetOrientation(m_machine.Kinematics().Orientation(between));
      m_list.Insert(at, std::move(between));
    }
  }

  // Lift, turn and drop behind `before`. The linear axes stand while the axis turns, so that for an
  // axis in the head the tip swings about: deliberate.
  void InsertTurn(Iterator before, Iterator rest, double sense, double shift, Move lift) {
    lift.SetType(zvPostedMove::noLink);
    MarkInserted(lift, *before);
    const double liftDeg = Traits::Angle(lift, m_axis);

    if (m_par.GetMaxAngleStep() > 0) {
      const double step = sense * m_par.GetMaxAngleStep();
      const double whole = std::fabs(shift) - m_par.GetLimitTolerance();
      if (!(whole / std::fabs(step) <= misc::kLargestCount))
        throw zvPostException(zvPostException::kInvalidVector);
      m_list.Insert(rest, lift);
      double turned = 0;
      while (sense * turned < whole) {
        Move turn = lift;
        if (turned != 0) {
          Traits::SetAngle(turn, m_axis, liftDeg + turned);
          SyncFromMachine(turn);
        }
        m_list.Insert(rest, std::move(turn));
        turned += step;
      }
    } else {
      m_list.Insert(rest, lift);
    }
    Move end = lift;
    Traits::SetAngle(end, m_axis, liftDeg + shift);
    SyncFromMachine(end);
    m_list.Insert(rest, std::move(end));

    Move drop = *before;
    drop.SetType(zvPostedMove::noLink);
    MarkInserted(drop, *before);
    Traits::SetAngle(drop, m_axis, Traits::Angle(*before, m_axis) + shift);
    SyncFromMachine(drop);
    m_list.Insert(rest, std::move(drop));
  }

  void MarkInserted(Move& move, const Move& source) const {
    if (m_smallMoves || move.HasNoExtended()) return;
    if (!source.HasNoExtended()) move.SetSourceIndex(source.GetSourceIndex());
    move.SetInserted(true);
  }

  void SyncFromMachine(Move& move) const {
    move.SetPartPosition(m_machine.Kinematics().PartPosition(move));
    move.SetOrientation(m_machine.Kinematics().Orientation(move));
  }

  // Takes `next` back to the first of the moves before it that stand at or beyond the limit towards
  // which the list runs, and no further than the move behind the place: the search goes on from
  // there. An end becomes the last move where that one stands so.
  void StepBack(Cursor& next, Iterator rest, double sense) {
    const auto isBeyond = [&](const Cursor& cursor) {
      return sense < 0 ? m_moves.Angle(cursor) >= m_high : m_moves.Angle(cursor) <= m_low;
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
    while (next.node != rest && next.index > 0 && isBeyond(back(next))) next = back(next);
  }

  // The place of a rewinding at a link, and the turns made there. A place from which they would
  // take moves before `start` out of the limits is passed over for one in the rest of its link.
  bool FindPlace(Iterator& place, const Cursor& start, Iterator previousStart, double sense,
                 double& shift) const {
    if (!FindRewindPlace(place, std::prev(start.node), previousStart, shift)) return false;
    for (;;) {
      double cut = shift;
      if (!CutShift(place, start, sense, cut)) return false;
      Iterator first = start.node;
      while (first != place && !IsOut(Traits::Angle(*std::prev(first), m_axis) + cut)) --first;
      if (first == place) {
        shift = cut;
        return true;
      }
      Iterator at = start.node;
      do {
        if (at == first) return false;
        --at;
      } while (at->GetType() == zvPostedMove::noLink);
      const std::optional<Iterator> best = FindLinkByRank(at, first);
      if (!best) return false;
      place = *best;
    }
  }

  // Looks back from `before` for a link where the tool is off the part anyway, and where one turn
  // still fits.
  bool FindRewindPlace(Iterator& place, Iterator before, Iterator previousStart,
                       double shift) const {
    if (!(m_high - m_low > misc::kFullTurnDeg)) return false;
    const bool turnsUp = shift > 0;
    const double bound = turnsUp ? m_high - misc::kFullTurnDeg : m_low + misc::kFullTurnDeg;
    Iterator candidate = before;
    for (;;) {
      if (candidate == m_list.begin()) {
        if (candidate == before && candidate == previousStart) return false;
        break;
      }
      if (candidate == previousStart) return false;
      if (candidate->GetType() != zvPostedMove::noLink) break;
      const double deg = Traits::Angle(*candidate, m_axis);
      if (turnsUp ? deg > bound : deg < bound) return false;
      --candidate;
    }
    const std::optional<Iterator> best = FindLinkByRank(candidate, m_list.begin());
    if (!best) return false;
    place = *best;
    const double turned =
        Traits::Angle(*place, m_axis) + (shift >= 0 ? 1 : -1) * misc::kFullTurnDeg;
    return turned >= m_low - misc::kEqual && turned <= m_high + misc::kEqual;
  }

  List& m_list;
  Moves m_moves;
  Ranges m_ranges;
  const zvKDRParam& m_par;
  bool m_smallMoves;
  const Machine& m_machine;
  double m_slack;

  std::array<bool, Traits::kAxes> m_isRewound{};
  std::uint32_t m_rewindings = 0;

  // Of the axis at hand.
  int m_axis = 0;
  double m_low = 0;
  double m_high = 0;
  double m_shift = 0;  // what FindExcess found
};

}  // namespace post
