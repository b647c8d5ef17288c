// A small machine for the passes: the part lies on two tables, the first about Z, which rides on
// the second about X; with one axis, on the first alone. The tool points up.
#pragma once

#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/post/geometry/turn.h>
#include <kandrel/post/model/move_traits.h>
#include <tests/support/number_cases.h>
#include <tests/support/numbers.h>
#include <tests/support/seeded.h>
#include <tests/support/throws_id.h>

namespace tests {

template <class Move>
struct TableMachine {
  using Traits = post::zvMoveTraits<Move>;

  bool solves = true;  // midpoints come as a solver gives them, without whole turns

  static Point Turn(const Point& p, double first, double second) {
    const auto a = post::zvTurn::OfDegrees(first), b = post::zvTurn::OfDegrees(second);
    return post::Rotate(post::Rotate(p, {0, 0, 1}, {}, a), {1, 0, 0}, {}, b);
  }
  static Point TurnBack(const Point& p, const Move& move) {
    return Turn(Turn(p, 0, -Deg(move, 1)), -Deg(move, 0), 0);
  }
  static double Deg(const Move& move, int axis) {
    return axis < Traits::kAxes ? Traits::Angle(move, axis) : 0;
  }
  const TableMachine& Kinematics() const { return *this; }
  static Point MachinePosition(const Move& move) {
    return Turn(move.GetPartPosition(), Deg(move, 0), Deg(move, 1));
  }
  static Point PartPosition(const Move& move) { return TurnBack(move.GetMachinePosition(), move); }
  static Point Orientation(const Move& move) { return TurnBack({0, 0, 1}, move); }

  Move Retract(const Move& move) const {
    Move lifted = move;
    lifted.SetPartPosition(move.GetPartPosition() + 100.0 * move.GetOrientation());
    lifted.SetMachinePosition(MachinePosition(lifted));
    lifted.SetRapid(true);
    return lifted;
  }
  std::optional<Move> Midpoint(const Move& a, const Move& b, double) const {
    Move middle = a;
    middle.SetPartPosition(0.5 * (a.GetPartPosition() + b.GetPartPosition()));
    for (int axis = 0; axis < Traits::kAxes; ++axis) {
      const double from = Traits::Angle(a, axis);
      const double deg = from + std::remainder(Traits::Angle(b, axis) - from, 360.0) / 2;
      Traits::SetAngle(middle, axis, solves ? std::remainder(deg, 360.0) : deg);
    }
    middle.SetMachinePosition(MachinePosition(middle));
    middle.SetOrientation(Orientation(middle));
    return middle;
  }
};

/// A small move on the table at the given angles.
template <class Move>
Move TableMove(const Point& p_part, std::initializer_list<double> degs,
               post::zvPostedMove::Types type = post::zvPostedMove::noLink) {
  Move move(true);
  int axis = 0;
  for (const double deg : degs)
    if (axis < post::zvMoveTraits<Move>::kAxes)
      post::zvMoveTraits<Move>::SetAngle(move, axis++, deg);
  move.SetPartPosition(p_part);
  move.SetMachinePosition(TableMachine<Move>::MachinePosition(move));
  move.SetOrientation(TableMachine<Move>::Orientation(move));
  move.SetType(type);
  return move;
}

/// A posted list of its own pool.
template <class Move>
struct PassList {
  misc::zvMemoryPoolProvider provider;
  misc::zvMemoryPoolList<Move> list{provider};

  PassList() = default;
  template <class Moves>
  explicit PassList(const Moves& moves) {
    for (const Move& move : moves) list.PushBack(move);
  }
  std::vector<double> Angles(int axis = 0) {
    std::vector<double> degs;
    for (const Move& move : list) degs.push_back(post::zvMoveTraits<Move>::Angle(move, axis));
    return degs;
  }
};

}  // namespace tests
