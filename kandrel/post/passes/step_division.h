// Step division: what is still too large a step when all else is done is divided.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/post/geometry/five_axis_kinematics.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_parameters.h>

#include <cstdint>

namespace post {

/// Divides each feed step, and with interpolateRapidMoves each rapid one, whose angles differ by
/// more than maxAngleStep and by no more than maxAngleJump: turns of the free axis on a pole that
/// nothing has spread, and what the depth of a subdivision has left. Tip and angles are linear
/// between the step's ends, so the tip stays on its line however far it is from the axes; the tool
/// takes the orientations that the control would take it through anyway.
///
/// For a wound list. Steps are those of `par`, `kinematics` those that the angles were solved for;
/// `largestStep` is what CalcWindedAngles returned for it, or more: nothing is looked at where that
/// is within maxAngleStep. A part of a step is rapid as its end is, and has the source index of its
/// start. Returns the number of steps divided. Linear. Throws zvPostException 5039 for more than
/// 2^31 - 2 parts of one step.
KANDREL_API std::uint32_t DivideLargeSteps(misc::zvMemoryPoolList<zvPosted5axMove>& list,
                                           double largestStep, const zvKDRParam& par,
                                           double maxAngleJump, const zv5axKinematics& kinematics);

/// Divides one step, whose larger turn is `turn`, in the same way, whatever its size.
KANDREL_API void DivideStep(misc::zvMemoryPoolList<zvPosted5axMove>& list,
                            misc::zvMemoryPoolList<zvPosted5axMove>::iterator from,
                            misc::zvMemoryPoolList<zvPosted5axMove>::iterator to,
                            const zvKDRParam& par, double turn, const zv5axKinematics& kinematics);

}  // namespace post
