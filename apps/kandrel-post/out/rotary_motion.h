// What two rotary axes of a posted list do: the poles they cross, and how far the tip leaves its
// line meanwhile.
#pragma once

#include <kandrel/post/geometry/five_axis_kinematics.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posted_move.h>

#include <array>
#include <cstdint>

#include "kandrel-post/out/posted_row.h"

namespace kandrel_post {

/// Which rotary axes have their angles wrapped by the control.
std::array<bool, 3> WrappedAxes(const post::zv5axControlDef& control);

/// A control moves all axes linearly from line to line, and the tip then runs on a curve wherever a
/// rotary axis turns. Collects over a posted list by how much that curve leaves the straight line
/// between the part positions of neighbours, in feed moves; and how often the tool passes along the
/// first rotary axis, where that axis doesn't turn it, in feed moves. A third rotary axis stands
/// still and has no part in it.
///
/// Angles that the control wraps are taken the shorter way, as the control does. The distance is
/// sampled at least seven times in a block, closer for large turns, and refined where it is the
/// largest; blocks that can't exceed what was found are passed over. At most some hundred samples a
/// block, seldom any.
class RotaryMotion {
 public:
  using Point = post::zvPostedMove::Point;

  /// `partOrigin` must outlive the object.
  RotaryMotion(const post::zv5axMachDef& machDef, const post::zv5axControlDef& control,
               const Point& partOrigin, double toolLength, double poleToleranceDeg);

  /// The moves of a list, in order; of five or six axes.
  void Add(const PostedRow& row);

  /// In the machine's unit; 0 where no feed move turns an axis.
  double GetLargest() const noexcept { return m_largest; }
  /// Index of the posted move that ends the block of GetLargest.
  std::uint64_t GetIndex() const noexcept { return m_largestIndex; }
  /// Poles entered and left again, both in feed moves.
  std::uint64_t GetPolesCrossed() const noexcept { return m_polesCrossed; }

 private:
  // A block: from where, and by how much.
  struct Block {
    Point machine, machineWay;
    Point part, partWay;
    std::array<double, 2> angles, turns;
  };

  double Bound(const Block& block) const;
  double Distance(const Block& block, double t) const;
  void Examine(const Block& block);
  void CountPoles(const Point& orientation, bool feedMove);

  post::zv5axKinematics m_kinematics;
  double m_fixedReach;  // of the machine's own parts: pivots, tool, part origin
  double m_stretch;     // of the linear axes: a step of 1 moves the tip by that at most
  std::array<bool, 3> m_wrapped;
  double m_poleSine;
  Point m_machine, m_part;  // of the move before
  std::array<double, 2> m_angles{};
  std::uint64_t m_count = 0;
  double m_largest = 0;
  std::uint64_t m_largestIndex = 0;
  Point m_offPole;             // of the tool axis: its part across the first rotary axis
  bool m_enteredPole = false;  // in a feed move, and still there
  std::uint64_t m_polesCrossed = 0;
};

}  // namespace kandrel_post
