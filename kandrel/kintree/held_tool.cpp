#include <kandrel/cadcam/tools/tool_mesh.h>
#include <kandrel/kintree/held_tool.h>
#include <kandrel/kintree/kinematic_visitor.h>
#include <kandrel/misc/exception.h>

#include <utility>

namespace kintree {

namespace {

// All parts are made, although only one is kept: a tool that can't be shown is refused here.
mkdPolygonalGeometry::Mesh CuttingMesh(const cadcam::zvTool& tool, double tolerance) {
  if (!(tolerance > 0)) throw misc::zvException(0, L"Polygonization tolerance is invalid.");
  cadcam::zvToolMeshCreator<float> creator({.tolerance = tolerance});
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
  const Tool converted = m_tool->GetUnits() == units ? m_tool : m_tool->Clone();
  converted->SetUnits(units);
  ReplaceMesh(CuttingMesh(*converted, m_tolerance));
  m_tool->SetUnits(units);  // the caller's: after all that may fail
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
