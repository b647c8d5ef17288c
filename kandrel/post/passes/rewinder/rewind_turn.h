// The moves of a rewinding: lift, turn of the axis, drop.
#pragma once

#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/model/move_traits.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_parameters.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <utility>

namespace post {

/// Puts the moves of rewindings of one axis into a list, each with the source index of the move
/// that it starts from. For `Machine` see zvRewinder; all that is given is referred to. Throws
/// zvPostException 5039 for a turn of more than 2^31 - 2 steps, and what Retract throws.
template <class Move, class Machine>
class zvRewindTurn {
 public:
  using List = misc::zvMemoryPoolList<Move>;
  using Iterator = typename List::iterator;
  using Traits = zvMoveTraits<Move>;

  /// `axis` is the index of the one that is rewound.
  zvRewindTurn(List& list, int axis, const zvKDRParam& par, bool smallMoves, const Machine& machine)
      : m_list(list), m_axis(axis), m_par(par), m_smallMoves(smallMoves), m_machine(machine) {}

  /// The move with the axis turned by whole turns, degrees: the linear axes stand.
  Move Turned(Move move, double shift) const {
    Traits::SetAngle(move, m_axis, Traits::Angle(move, m_axis) + shift);
    return move;
  }

  /// The move with the tool lifted off the part along its axis, as the machine retracts.
  Move Lifted(const Move& move) const { return m_machine.Retract(move); }

  /// The lift over a move at the limit. Between two rapid moves, as lifts to the linear limits are,
  /// it may stand outside those itself: then there is none.
  std::optional<Move> LiftedAtLimit(const Move& move, bool isInAir) const {
    try {
      return m_machine.Retract(move);
    } catch (const zvPostException& e) {
      if (!isInAir || e.GetId() != zvPostException::kOutOfLimits) throw;
      return std::nullopt;
    }
  }

  /// Puts lift, turn and drop behind `before`, ahead of `rest`. The turn goes by maxAngleStep where
  /// that is above 0. The linear axes stand, so that nothing but this axis moves: for one in the
  /// head the tip swings about, lifted off the part.
  void Insert(Iterator before, Iterator rest, double shift, Move lift) const {
    lift.SetType(zvPostedMove::noLink);
    MarkInserted(lift, *before);
    const double liftDeg = Traits::Angle(lift, m_axis);
    const auto turnedTo = [&](const Move& move, double deg) {
      Move turned = move;
      Traits::SetAngle(turned, m_axis, deg);
      SyncFromMachine(turned);
      return turned;
    };

    const double step = m_par.GetMaxAngleStep();
    const double whole = step > 0 ? std::fabs(shift) - m_par.GetLimitTolerance() : 0;
    const double sense = shift > 0 ? 1 : -1;
    if (step > 0) RequireCount(whole / step);
    m_list.Insert(rest, lift);
    double turned = 0;
    while (sense * turned < whole) {
      m_list.Insert(rest, turned != 0 ? turnedTo(lift, liftDeg + turned) : lift);
      turned += sense * step;
    }
    m_list.Insert(rest, turnedTo(lift, liftDeg + shift));

    Move drop = *before;
    drop.SetType(zvPostedMove::noLink);
    MarkInserted(drop, *before);
    m_list.Insert(rest, turnedTo(drop, Traits::Angle(*before, m_axis) + shift));
  }

  /// Puts lifts over two moves ahead of `at`: between them all axes swing in the air.
  void InsertSwing(const Move& before, const Move& after, Iterator at) const {
    for (const Move* end : {&before, &after}) {
      Move lift = m_machine.Retract(*end);
      lift.SetType(zvPostedMove::noLink);
      MarkInserted(lift, *end);
      m_list.Insert(at, std::move(lift));
    }
  }

  /// Where an angle was forced to the limit, as on a pole, the steps beside it may turn further
  /// than a feed step should: they are divided, with the axes turning evenly and the tip on its
  /// line. The parts go ahead of `at`, and are as `forced` in all but place and angles:
  /// step_division.h, by which 5-axis lists are divided otherwise, blends feeds and knows no 4-axis
  /// moves.
  void Divide(const Move& from, const Move& to, Iterator at, const Move& forced) const {
    const double step = m_par.GetMaxAngleStep();
    if (!(step > 0) || (forced.IsRapid() && !m_par.GetInterpolateRapidMoves())) return;
    double turn = 0;
    for (int axis = 0; axis < Traits::kAxes; ++axis)
      turn = std::max(turn, std::fabs(Traits::Angle(to, axis) - Traits::Angle(from, axis)));
    if (!(turn > step)) return;
    const double parts = std::trunc(turn / step) + 1;
    RequireCount(parts);
    for (std::uint32_t part = 1; part < parts; ++part) {
      const double t = part / parts;
      Move between = forced;
      between.SetPartPosition((1 - t) * from.GetPartPosition() + t * to.GetPartPosition());
      for (int axis = 0; axis < Traits::kAxes; ++axis)
        Traits::SetAngle(between, axis,
                         (1 - t) * Traits::Angle(from, axis) + t * Traits::Angle(to, axis));
      between.SetMachinePosition(m_machine.Kinematics().MachinePosition(between));
      between.SetOrientation(m_machine.Kinematics().Orientation(between));
      m_list.Insert(at, std::move(between));
    }
  }

 private:
  static void RequireCount(double count) {
    if (!(count <= misc::kLargestCount)) throw zvPostException(zvPostException::kInvalidVector);
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

  List& m_list;
  int m_axis;
  const zvKDRParam& m_par;
  bool m_smallMoves;
  const Machine& m_machine;
};

}  // namespace post
