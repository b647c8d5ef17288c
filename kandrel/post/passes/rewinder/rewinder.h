// zvRewinder: turns a rotary axis that runs into its limit back by whole turns, off the part.
#pragma once

#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/polled_end.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/move_traits.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/passes/rewinder/axis_rewinder.h>
#include <kandrel/post/passes/rewinder/pending_shift.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

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
        m_ranges(ranges),
        m_par(par),
        m_smallMoves(smallMoves),
        m_machine(machine),
        m_slack(slack) {}

  /// Returns the number of rewindings put in. Nothing happens when an axis that can't be rewound is
  /// out of its range by more than the slack, or when none can be rewound.
  std::uint32_t Run() {
    for (int axis = 0; axis < Traits::kAxes; ++axis)
      if (!CanRewind(axis) && IsAnyOut(axis)) return 0;
    zvPendingShift<Move> moves(m_list);
    std::uint32_t rewindings = 0;
    for (int axis = 0; axis < Traits::kAxes; ++axis)
      if (CanRewind(axis))
        rewindings += zvAxisRewinder<Move, Machine>(m_list, moves, axis, RangeOf(axis), m_par,
                                                    m_smallMoves, m_machine)
                          .Run();
    return rewindings;
  }

 private:
  const zvRotaryRange& RangeOf(int axis) const { return m_ranges[static_cast<std::size_t>(axis)]; }

  // Whether the range holds a whole turn.
  bool CanRewind(int axis) const {
    return std::fabs(RangeOf(axis).max - RangeOf(axis).min) >= misc::kFullTurnDeg;
  }

  bool IsAnyOut(int axis) const {
    const auto [min, max] = RangeOf(axis);
    misc::zvPolledEnd end(m_list);
    for (auto move = m_list.begin(); end.IsBefore(move); ++move) {
      const double deg = Traits::Angle(*move, axis);
      if (deg < min - m_slack || deg > max + m_slack) return true;
    }
    return false;
  }

  List& m_list;
  Ranges m_ranges;
  const zvKDRParam& m_par;
  bool m_smallMoves;
  const Machine& m_machine;
  double m_slack;
};

}  // namespace post
