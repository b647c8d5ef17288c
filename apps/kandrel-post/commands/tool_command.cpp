#include <fmt/format.h>
#include <kandrel/cadcam/tools/tool_mesh.h>
#include <kandrel/cadcam/tools/tool_types.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "kandrel-post/commands/commands.h"
#include "kandrel-post/commands/tool_argument.h"
#include "kandrel-post/commands/tool_text.h"
#include "kandrel-post/host/progress.h"
#include "kandrel-post/out/stl_output.h"
#include "kandrel-post/out/text_sink.h"

namespace kandrel_post {

void ListTools() {
  TextSink out(STDOUT_FILENO, "standard output");
  const auto put = [&out](std::string_view name, std::string_view what) {
    out.Put(fmt::format("{:<22} {}\n", name, what));
  };
  for (const cadcam::zvToolType* type : cadcam::ToolTypes()) {
    std::string parameters = "diameter, fluteLength";
    if (!type->hasOneLength) parameters += ", shoulderLength";
    for (const cadcam::zvToolParameter parameter : type->parameters)
      parameters += fmt::format(", {}", RowOf(parameter).name);
    put(type->name, parameters);
  }
  put("zvGenericRevolvedTool", "told by the profiles of its parts");
  put("zvLatheTool", "told by a solid");
  out.Flush();
}

void ShowTool(const std::string& type, const std::vector<std::string>& settings, bool json) {
  const auto tool = MakeTool(type, settings);
  TextSink out(STDOUT_FILENO, "standard output");
  out.Put(json ? ToolToJson(*tool) : DescribeTool(*tool));
  out.Flush();
}

void MeshTool(const ToolMeshOptions& options) {
  const auto tool = MakeTool(options.type, options.settings);
  Progress progress;
  progress.Stage("meshing");
  // Floats, as the file holds them: what they can't tell apart is no triangle.
  cadcam::zvToolMeshCreator<float> meshes({
      .tolerance = options.tolerance,
      .parts = options.part ? 1u << *options.part : cadcam::kAllToolMeshParts,
  });
  tool->AcceptVisitor(static_cast<cadcam::zvToolBranchVisitor&>(meshes));
  cadcam::zvTMesh<float> all(tool->GetUnits());
  for (int part = cadcam::cuttingPart; part <= cadcam::holderPart; ++part)
    all.Merge(meshes.GetMesh(part));
  const bool isEmpty = all.GetTriangles().empty();
  WriteMesh(options.file, all, isEmpty ? cadcam::zvSTLForm::text : cadcam::zvSTLForm::binary);
}

}  // namespace kandrel_post
