// Whether the axes, moving linearly, take the tool off its way.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/post/geometry/five_axis_kinematics.h>
#include <kandrel/post/model/posted_move.h>

namespace post {

/// True where the tool, with both rotary axes turning linearly from `a` to `b`, comes further than
/// `deg` off the shortest way between its orientations there: where a list changes from one
/// solution to the other. Looked at in seven places, an eighth of the step apart.
KANDREL_API bool LeavesItsWay(const zvPosted5axMove& a, const zvPosted5axMove& b, double deg,
                              const zv5axKinematics& kinematics);

}  // namespace post
