// Sample toolpaths whose tool axis turns.
#pragma once

#include <kandrel/cadcam/tool_path.h>

namespace kandrel_post {

/// Flank milling round a twisted blade, in several depths: the tool lies along the ruling.
cadcam::zvToolPath MakeBladeSwarf();
/// Lanes over a hemisphere along its normal, each through the pole.
cadcam::zvToolPath MakeHemispherePole();
/// A thread of many turns, cut with the tool far from its axis: the tool goes round with it.
cadcam::zvToolPath MakeScrew();
/// A round pocket in a plane that stands at 30 degrees: tilted, but never turning.
cadcam::zvToolPath MakeTiltedPocket();
/// A thread round a shaft along X, cut by a tool that points at the shaft's axis: there along it at
/// one depth, back at the next, and nothing but rotation about X is asked for.
cadcam::zvToolPath MakeWorm();

}  // namespace kandrel_post
