#include <kandrel/kintree/detail/held_tool_mesh.h>

namespace kintree::detail {

// The mesh comes with the triangulation of tools (zvToolMeshCreator), which this function calls as
// soon as it is there. Until then a held tool has an empty mesh.
misc::zvAutoPointer<cadcam::zvTMesh<float>> HeldToolMesh(const cadcam::zvTool& tool,
                                                         double /*tolerance*/) {
  return misc::MakeAutoPointer<cadcam::zvTMesh<float>>(tool.GetUnits());
}

}  // namespace kintree::detail
