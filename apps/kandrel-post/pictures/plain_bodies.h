// Plain bodies for a machine of which nothing but its axes is known.
#pragma once

#include <kandrel/post/model/mach_def.h>

#include "kandrel-post/machine/values.h"
#include "kandrel-post/pictures/machine_model.h"

namespace kandrel_post {

/// The box that a run fills; all corners 0 for a run without lines.
struct RunExtent {
  post::zvMachDef::Point minPart;
  post::zvMachDef::Point maxPart;
  post::zvMachDef::Point minSlides;  ///< positions of the linear axes
  post::zvMachDef::Point maxSlides;
};

/// Gives boxes and cylinders to the objects that ModelOfDefinition has made: a portal for the
/// linear axes, as wide as their limits, or as the run where these are far beyond it; a cylinder
/// along each rotary axis; tables below the path.
void AddPlainBodies(MachineModel& model, const MachineValues& values, const ModelSetup& setup,
                    const RunExtent& extent);

/// Gives the tip the body of an end mill: as long as the tool, and as thick as suits the run.
void AddPlainTool(MachineModel& model, const MachineValues& values, const ModelSetup& setup,
                  const RunExtent& extent);

}  // namespace kandrel_post
