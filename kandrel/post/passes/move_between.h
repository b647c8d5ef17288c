// MoveBetween: a posted 5-axis move between two others at given angles.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/geometry/five_axis_kinematics.h>
#include <kandrel/post/model/posted_move.h>

namespace post {

/// The move at `t`, from 0 at `a` to 1 at `b`, with the tip on the straight line between theirs and
/// the linear axes where the angles, degrees, need them. Feeds and extended data blend; the feed of
/// a rapid move doesn't mix with that of a feed move. Rapid only between two rapid moves; type and
/// source index are b's; marked as inserted; small where one of the two is.
KANDREL_API zvPosted5axMove MoveBetween(const zvPosted5axMove& a, const zvPosted5axMove& b,
                                        double t, double firstAngle, double secondAngle,
                                        const cadcam::zvTPoint3d<double>& orientation,
                                        const zv5axKinematics& kinematics);

}  // namespace post
