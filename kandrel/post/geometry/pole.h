// zvPoleCone: which orientations lie on the pole of a rotary axis; and the story of poles.
//
// A tool that points along a rotary axis lies on its pole: any angle of that axis serves it, and a
// small tilt beside it asks for any other angle at once. What happens to such a move on 5 axes, in
// the order in which a posting comes to it:
//
// 1. Met. An orientation within the cone counts as along the axis. Its angle is 0 and the move's
//    pole status names the axis: it is undetermined. A pole of the second axis wins over one of the
//    first. geometry/five_axis_solver.h; on 4 axes, where the spindle's own direction is snapped to
//    0 or 180, geometry/four_axis_kinematics.h.
// 2. Spent on limits. With poleHandling keepWithinLimits the free angle of the first axis is turned
//    until the linear axes stand inside their limits. geometry/pole_limits.h.
// 3. Crossed. The move takes the free angle of the determined one before it, so that the axis
//    stands still on the pole: zv5axMoveSolver::FixPoleAngle, which spends a free angle on the
//    limits as in 2. Moves at the very start take that of the first determined one, as soon as the
//    list is built: SettleFirstMoves of creators/five_axis_creator.cpp. The move after the pole is
//    chosen as a first one, by geometry/solution_choice.h, and settled once more when all before it
//    stand.
// 4. Interpolated. An excess within the pole's tolerance asks for no move; a move made on a pole
//    hands on the angle at which its axis will stand; beside a pole a subdivision is refined before
//    it is judged, and a turn of the free axis alone, off a pole, is left whole for the blending.
//    passes/five_axis_interpolation.h: SkipForPole, CarryPole, Refine, IsFreeTurn.
// 5. Blended. With one of the two blending poleHandlings the turn that is left at the end of a run
//    on the pole is spread over the run. passes/pole_blending.h.
// 6. Made off the part, or divided. A turn above maxAngleJump is a large jump, made with the tool
//    lifted: passes/angle_jumps.h. One below it, still larger than a step, is divided with the tip
//    on its line: passes/step_division.h.
// 7. Held to a tolerance. With a path tolerance 4 and 5 are others: the way goes by the place on
// the
//    pole that is nearest to the path, the free axis standing; where it must turn it does so with
//    the tip standing, and the turn is spread over the run that ends there, or divided. Lines
//    beside the pole keep the tilt of the path. passes/path_keeper.h, SpreadPoleTurns of
//    passes/pole_blending.h.
// 8. Rewound. Where the free axis reaches its limit on the pole it may stand at the limit as well
//    as anywhere: the move is put there by force, and the steps beside it are divided.
//    passes/rewinder/move_at_limit.h, rewind_turn.h.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/misc/lanes.h>

#include <cmath>

namespace post {

/// The orientations within a half-angle, the pole tolerance, of an axis or of its opposite: made
/// once for many moves.
struct zvPoleCone {
  double eps = 0;  ///< 1 - cos(half-angle)^2

  /// `deg` is the half-angle.
  KANDREL_API static zvPoleCone OfDegrees(double deg) noexcept;

  /// For the cosine c between a unit orientation and the axis: 1 - c^2 is the same for both ends of
  /// the axis, and grows with the angle to the nearer one.
  bool Holds(double cosine) const noexcept { return std::fabs(cosine * cosine - 1) <= eps; }
  /// Whether they lie off the cone, for two cosines at once; false for what is not a number. `one`
  /// and `epsOfBoth` hold 1 and eps twice, kept by a caller who asks often.
  static misc::LaneMask IsOff(misc::Lanes cosine, misc::Lanes one, misc::Lanes epsOfBoth) noexcept {
    return misc::Abs(cosine * cosine - one) > epsOfBoth;
  }
};

}  // namespace post
