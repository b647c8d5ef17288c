// A small machine for the passes: the part lies on two tables, the first about Z, which rides on
// the second about X; with one axis, on the first alone. The tool points up.
#pragma once

#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/post/model/move_traits.h>
#include <tests/support/points.h>

#include <cmath>
#include <initializer_list>
#include <optional>
#include <vector>

namespace tests {

template <class Move>
struct TableKinematics {
  static Point Turn(const Point& p, double first, double second) {
    const double a = first * 0.017453292519943295;
    const double b = second * 0.017453292519943295;
    const Point q{p.x * std::cos(a) - p.y * std::sin(a), p.x * std::sin(a) + p.y * std::cos(a),
                  p.z};
    return {q.x, q.y * std::cos(b) - q.z * std::sin(b), q.y * std::sin(b) + q.z * std::cos(b)};
  }
  static Point TurnBack(const Point& p, double first, double second) {
    return Turn(Turn(p, 0, -second), -first, 0);
  }
  static double Deg(const Move& move, int axis) {
    using Traits = post::zvMoveTraits<Move>;
    return axis < Traits::kAxes ? Traits::Angle(move, axis) : 0;
  }

  Point MachinePosition(const Move& move) const {
    return Turn(move.GetPartPosition(), Deg(move, 0), Deg(move, 1));
  }
  Point PartPosition(const Move& move) const {
    return TurnBack(move.GetMachinePosition(), Deg(move, 0), Deg(move, 1));
  }
  Point Orientation(const Move& move) const {
    return TurnBack({0, 0, 1}, Deg(move, 0), Deg(move, 1));
  }
};

template <class Move>
struct TableMachine {
  TableKinematics<Move> kinematics;
  bool solves = true;  // midpoints come as a solver gives them, without whole turns

  const TableKinematics<Move>& Kinematics() const { return kinematics; }
  Move Retract(const Move& move) const {
    Move lifted = move;
    lifted.SetPartPosition(move.GetPartPosition() + 100.0 * move.GetOrientation());
    lifted.SetMachinePosition(kinematics.MachinePosition(lifted));
    lifted.SetRapid(true);
    return lifted;
  }
  std::optional<Move> Midpoint(const Move& a, const Move& b, double) const {
    using Traits = post::zvMoveTraits<Move>;
    Move middle = a;
    middle.SetPartPosition(0.5 * (a.GetPartPosition() + b.GetPartPosition()));
    for (int axis = 0; axis < Traits::kAxes; ++axis) {
      const double from = Traits::Angle(a, axis);
      const double deg = from + std::remainder(Traits::Angle(b, axis) - from, 360.0) / 2;
      Traits::SetAngle(middle, axis, solves ? std::remainder(deg, 360.0) : deg);
    }
    middle.SetMachinePosition(kinematics.MachinePosition(middle));
    middle.SetOrientation(kinematics.Orientation(middle));
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
  const TableKinematics<Move> kinematics;
  move.SetPartPosition(p_part);
  move.SetMachinePosition(kinematics.MachinePosition(move));
  move.SetOrientation(kinematics.Orientation(move));
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
