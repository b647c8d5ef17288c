// HeldToolMesh: what a held tool shows of its tool.
#pragma once

#include <kandrel/cadcam/mesh.h>
#include <kandrel/cadcam/tools/tool.h>
#include <kandrel/misc/auto_pointer.h>

namespace kintree::detail {

/// Returns a new mesh of the tool's cutting part, in its units and frame, to `tolerance`.
misc::zvAutoPointer<cadcam::zvTMesh<float>> HeldToolMesh(const cadcam::zvTool& tool,
                                                         double tolerance);

}  // namespace kintree::detail
