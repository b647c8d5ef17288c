// zvAlignMatrix: the turn that lays a toolpath onto its machine.
#pragma once

#include <kandrel/cadcam/matrix.h>
#include <kandrel/misc/auto_pointer.h>

namespace post {

/// Shared; a pure rotation in row order. Null when the toolpath stays as it is.
using zvAlignMatrix = misc::zvAutoPointer<cadcam::zvMatrix<double, 4, 4>>;

}  // namespace post
