#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tools/generic_revolved_tool.h>
#include <kandrel/cadcam/tools/lathe_tool.h>
#include <kandrel/cadcam/tools/typed_revolved_tool.h>
#include <kandrel/persistence/detail/tool_records.h>
#include <kandrel/persistence/geometry2d_writer.h>
#include <kandrel/persistence/helper_writer.h>
#include <kandrel/persistence/record_tags.h>
#include <kandrel/persistence/tools_writer.h>

#include <algorithm>

namespace cadcam {

using persistence::Put;
using Geometry = geoDef::zvBO2dGeometry<double>;

void zvBOTools::zvBinSolidDefinition::Visit(const zvRevolvedSolidDefinition<double>& solid) {
  m_basic.WriteInt(solid.GetUnits());
  m_basic.WriteInt(persistence::kRevolvedSolid);
  Geometry(m_basic).Write(solid.GetProfile());
}

void zvBOTools::zvBinSolidDefinition::Visit(const zvExtrudedSolidDefinition<double>& solid) {
  m_basic.WriteInt(solid.GetUnits());
  m_basic.WriteInt(persistence::kExtrudedSolid);
  m_basic.WriteCount(solid.GetPolyLines().size());
  for (const auto& line : solid.GetPolyLines()) Geometry(m_basic).Write(line);
  m_basic.WriteDouble(solid.GetHeight());
  Put(m_basic, solid.GetPoint());
}

void zvBOTools::zvBinSolidDefinition::Visit(const zvMeshSolidDefinition<double>& solid) {
  const zvTMesh<double>& mesh = solid.GetMesh();
  m_basic.WriteInt(solid.GetUnits());
  m_basic.WriteInt(persistence::kMeshSolid);
  m_basic.WriteInt(mesh.GetUnits());
  m_basic.WriteCount(mesh.GetVertices().size());
  for (const auto& vertex : mesh.GetVertices()) Put(m_basic, vertex);
  m_basic.WriteCount(mesh.GetTriangles().size());
  for (const auto& triangle : mesh.GetTriangles()) {
    for (const zvMeshIndex corner : triangle.corners) m_basic.WriteInt(corner);
    Put(m_basic, triangle.normal);
  }
}

void zvBOTools::zvBinSolidDefinition::Visit(const zvSolidDefinition<double>& /*solid*/) {
  throw zvcadcamException(zvcadcamException::kUnknownSolid);
}

void zvBOTools::zvBinTool::WritePart(const zvToolPartDefinition<double>& part) {
  zvBinSolidDefinition writer(m_basic);
  const zvSolidDefinition<double>& solid = *part.GetSolidDefinition();
  solid.AcceptVisitor(writer);
}

void zvBOTools::zvBinTool::Visit(const zvLatheTool& tool) {
  m_basic.WriteInt(persistence::kLatheTool);
  m_basic.WriteInt(tool.GetUnits());
  WritePart(tool.GetSolid());
  WritePart(tool.GetHolder());
}

void zvBOTools::zvBinTool::Visit(const zvGenericRevolvedTool& tool) {
  m_basic.WriteInt(persistence::kGenericTool);
  m_basic.WriteInt(tool.GetUnits());
  WritePart(tool.GetCuttingPart());
  WritePart(tool.GetNonCuttingPart());
  WritePart(tool.GetArbor());
  WritePart(tool.GetHolder());
}

void zvBOTools::zvBinTool::Visit(const zvTypedRevolvedTool& tool) {
  const auto types = persistence::StoredToolTypes();
  const auto stored = std::find_if(types.begin(), types.end(), [&](const auto& candidate) {
    return candidate.type == &tool.GetType();
  });
  if (stored == types.end()) throw zvcadcamException(zvcadcamException::kUnknownTool);
  m_basic.WriteInt(stored->code);
  m_basic.WriteInt(tool.GetUnits());
  for (const zvToolParameter parameter : stored->parameters) {
    const double value = GetParameter(tool.GetNumbers(), parameter);
    if (persistence::IsStoredWhole(parameter))
      m_basic.WriteUnsigned(static_cast<std::uint32_t>(value));
    else
      m_basic.WriteDouble(value);
  }
  m_basic.WriteDouble(tool.GetDiameter());
  m_basic.WriteDouble(tool.GetFluteLength());
  m_basic.WriteDouble(tool.GetShoulderLength());
  WritePart(tool.GetArbor());
  WritePart(tool.GetHolder());
  const auto& shoulder = tool.GetShoulderDefinition();
  m_basic.WriteInt(shoulder.GetUnits());
  m_basic.WriteDouble(shoulder.GetShoulderDiameter());
  m_basic.WriteDouble(shoulder.GetShoulderBaseLength());
}

void zvBOTools::Write(const zvTool& tool) {
  const misc::zvBOBasicTypes::Gathering gathering(m_basic);
  zvBinTool writer(m_basic);
  tool.AcceptVisitor(static_cast<zvToolBranchVisitor&>(writer));
}

void zvBOTools::Write(const zvSolidDefinition<double>& solid) {
  const misc::zvBOBasicTypes::Gathering gathering(m_basic);
  zvBinSolidDefinition writer(m_basic);
  solid.AcceptVisitor(writer);
}

}  // namespace cadcam
