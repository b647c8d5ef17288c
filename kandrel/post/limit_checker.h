// Limit tests of posted moves.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/limit_type.h>
#include <kandrel/post/mach_def.h>

namespace post {

/// The first limit that a machine position breaks by more than 1e-12, in the order x minimum, x
/// maximum, y, z; none when it keeps them all. A coordinate or limit that is not a number breaks.
KANDREL_API zvLimitType FirstLinearExcess(const cadcam::zvTPoint3d<double>& machinePosition,
                                          const zvMachDef& machDef);

}  // namespace post
