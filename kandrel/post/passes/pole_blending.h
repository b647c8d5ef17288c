// BlendPoles: smooth rotary motion through poles.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/post/geometry/five_axis_solver.h>
#include <kandrel/post/model/limit_tests.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_parameters.h>

#include <array>
#include <cstdint>
#include <optional>

namespace post {

/// Where one axis stands at 0 on its pole, the other has frozen and jumps at the end of the run.
/// This spreads the jump over the run: with poleHandling 2 by its length, new moves taking the
/// angle of the end of the segment they are put into, with 3 on a cubic whose ends continue the
/// motion before and after, and not at all with another value.
///
/// 1. Only runs on a pole are blended: there the other axis doesn't turn the tool. A stretch where
///    an axis merely happens to stand at 0 is left alone. A run reaches from the last move off the
///    pole to the first one off it again: new moves in these two segments stand on the pole
///    already, or still, and tilt less than the path does there, by a step of the interpolation at
///    most where it has divided the way to the pole.
/// 2. Runs before the first determined move are not blended, nor runs of no length.
/// 3. Linear in the number of moves. Angles are not wound yet, but may lie in their `ranges`.
/// 4. The slopes of a cubic's ends are at most three times the run's mean.
///
/// Steps and the way are those of `par`, the kinematics and the pole those of `solver`. Returns the
/// number of poles blended. Throws zvPostException 5039 for more than 2^31 - 2 moves in one run.
KANDREL_API std::uint32_t BlendPoles(misc::zvMemoryPoolList<zvPosted5axMove>& list,
                                     const zvKDRParam& par,
                                     const std::array<zvRotaryRange, 2>& ranges,
                                     const zv5axMoveSolver& solver);

/// The same for a wound list whose lines keep the tilt of the path, as a path tolerance wants it:
/// where the free axis of the first axis' pole turns at the end of a run on the pole, with the tip
/// standing, the turn is spread over the lines of the run itself, and nothing is put beside it. On
/// the cubic lines are put in the run so that no step is above maxAngleStep; evenly none are: what
/// divides the blocks follows. A turn above maxAngleJump stays where it is. `cone` says what is on
/// the pole.
KANDREL_API std::uint32_t SpreadPoleTurns(misc::zvMemoryPoolList<zvPosted5axMove>& list,
                                          const zvKDRParam& par, const zv5axMoveSolver& solver,
                                          const zv5axMoveSolver::PoleCone& cone);

/// The second angle, within half a turn of `near`, at which the tool lies along the first axis, on
/// the side of `orientation`; nothing where the machine can't stand so. In the cone an angle may
/// have been solved for a tilt, or stand between such: a turn of the free axis would swing the
/// tool.
KANDREL_API std::optional<double> SecondAngleOnPole(const zv5axMoveSolver& solver,
                                                    const zv5axMoveSolver::PoleCone& cone,
                                                    const cadcam::zvTPoint3d<double>& orientation,
                                                    double near);

/// Whether poleHandling is one of the two.
KANDREL_API bool BlendsPoles(const zvKDRParam& par);

}  // namespace post
