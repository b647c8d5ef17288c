#include <kandrel/cadcam/tools/tool_mesh.h>
#include <kandrel/kintree/held_tool.h>
#include <kandrel/kintree/kinematic_visitor.h>

#include <utility>

namespace kintree {

namespace {

mkdPolygonalGeometry::Mesh CuttingMesh(const cadcam::zvTool& tool, double tolerance) {
  cadcam::zvToolMeshCreator<float> creator(
      {.tolerance = tolerance, .parts = 1u << cadcam::cuttingPart});
  tool.AcceptVisitor(creator);
  return misc::MakeAutoPointer<cadcam::zvTMesh<float>>(creator.GetMesh(cadcam::cuttingPart));
}

}  // namespace

mkdHeldTool::mkdHeldTool(std::wstring name, Tool tool, double tolerance, Appearances appearances,
                         Units units)
    : mkdDynamicGeometry(std::move(name), nullptr, std::wstring(), units),
      m_tool(std::move(tool)),
      m_tolerance(tolerance),
      m_appearances(std::move(appearances)) {
  m_tool->SetUnits(units);
  ReplaceMesh(CuttingMesh(*m_tool, m_tolerance));
}

void mkdHeldTool::Scale(Units newUnits, double factor) {
  mkdDynamicGeometry::Scale(newUnits, factor);
  m_tolerance *= factor;
}

void mkdHeldTool::SetUnitsOfParts(Units units, bool keepNumbers) {
  mkdDynamicGeometry::SetUnitsOfParts(units, keepNumbers);
  m_tool->SetUnits(units, keepNumbers);
}

void mkdHeldTool::AcceptVisitor(mkdKOConstVisitor& visitor) const {
  visitor.Visit(*this);
}
void mkdHeldTool::AcceptVisitor(mkdKOVisitor& visitor) {
  visitor.Visit(*this);
}

}  // namespace kintree
