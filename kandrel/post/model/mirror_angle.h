// zvMirrorAngle: the second rotary solution of a 5-axis move.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/model/posted_move.h>

#include <utility>

namespace post {

/// Angles in degrees, and the linear axes that this solution needs.
struct zvMirrorAngle {
  double firstAngle = 0;
  double secondAngle = 0;
  cadcam::zvTPoint3d<double> machinePosition;

  bool operator==(const zvMirrorAngle&) const = default;
};

/// What a solver hands on: a posted move with the first solution, and the second solution.
using zvSolutionPair = std::pair<zvPosted5axMove, zvMirrorAngle>;

/// The move of the first solution: the posted move as it stands.
KANDREL_API zvPosted5axMove FirstSolutionMove(const zvSolutionPair& pair);
/// The move of the second solution: a copy with angles and machine position of the mirror angle.
KANDREL_API zvPosted5axMove MirrorSolutionMove(const zvSolutionPair& pair);

}  // namespace post
