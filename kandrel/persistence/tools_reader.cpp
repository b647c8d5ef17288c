#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tools/generic_revolved_tool.h>
#include <kandrel/cadcam/tools/lathe_tool.h>
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/cadcam/tools/typed_revolved_tool.h>
#include <kandrel/persistence/detail/tool_records.h>
#include <kandrel/persistence/geometry2d_reader.h>
#include <kandrel/persistence/record_tags.h>
#include <kandrel/persistence/tools_reader.h>

#include <algorithm>
#include <utility>

namespace cadcam {

using Geometry = geoDef::zvBI2dGeometry<double>;

zvBITools::zvBITools(misc::zvBinInputStream& stream, std::uint32_t version, bool compact,
                     const std::optional<Units>& defaultUnits,
                     std::vector<misc::zvBILostData>* /*lostData*/, bool wideStrings, bool sizes64)
    : m_basic(stream, compact, wideStrings, sizes64),
      m_helper(m_basic),
      m_version(version),
      m_defaultUnits(defaultUnits) {
  persistence::RequireKnown<zvcadcamException>(version, persistence::kLowestRecordVersion);
}

zvBITools::~zvBITools() = default;

std::uint32_t zvBITools::GetUpperKnownBinVersion() const noexcept {
  return persistence::kCurrentVersion;
}

double zvBITools::ReadDouble() {
  double value = 0;
  m_basic.ReadDouble(value);
  return value;
}

std::int32_t zvBITools::ReadInt() {
  std::int32_t value = 0;
  m_basic.ReadInt(value);
  return value;
}

std::uint32_t zvBITools::ReadUnsigned() {
  std::uint32_t value = 0;
  m_basic.ReadUnsigned(value);
  return value;
}

zvBITools::Units zvBITools::ReadUnits() {
  Units units = measures::zvUnitsFactory::metric;
  m_helper.ReadUnits(units);
  return units;
}

zvBITools::Units zvBITools::ReadToolUnits() {
  if (Since(25)) return ReadUnits();
  if (!m_defaultUnits) throw zvcadcamException(zvcadcamException::kNoDefaultUnits);
  return *m_defaultUnits;
}

zvBITools::SolidPointer zvBITools::ReadRevolved(Units units) {
  // The profiles of older files had other forms, of which nothing is known.
  if (!Since(61)) throw zvcadcamException(zvcadcamException::kUnknownVersion);
  return misc::MakeAutoPointer<zvRevolvedSolidDefinition<double>>(Geometry(m_basic).ReadContour(),
                                                                  units);
}

zvBITools::SolidPointer zvBITools::ReadExtruded(Units units) {
  std::vector<geoDef::zv2dPolyLine<double>> lines;
  const auto count = static_cast<std::uint32_t>(ReadInt());
  for (std::uint32_t i = 0; i < count; ++i) lines.push_back(Geometry(m_basic).ReadPolyLine());
  const double height = ReadDouble();
  zvTPoint3d<double> point;
  m_helper.ReadVector(point);
  return misc::MakeAutoPointer<zvExtrudedSolidDefinition<double>>(std::move(lines), height, point,
                                                                  units);
}

zvBITools::SolidPointer zvBITools::ReadMesh() {
  zvTMesh<double> mesh(ReadUnits());
  const auto vertices = static_cast<std::uint32_t>(ReadInt());
  zvTPoint3d<double> point;
  for (std::uint32_t i = 0; i < vertices; ++i) {
    m_helper.ReadVector(point);
    mesh.AddVertex(point);
  }
  const auto triangles = static_cast<std::uint32_t>(ReadInt());
  for (std::uint32_t i = 0; i < triangles; ++i) {
    zvMeshCorners corners;
    for (zvMeshIndex& corner : corners) corner = ReadInt();
    m_helper.ReadVector(point);
    mesh.AddTriangle(corners, point);
  }
  return misc::MakeAutoPointer<zvMeshSolidDefinition<double>>(std::move(mesh));
}

zvBITools::SolidPointer zvBITools::ReadSolid() {
  const Units units = ReadUnits();
  switch (ReadInt()) {
    case persistence::kRevolvedSolid:
      return ReadRevolved(units);
    case persistence::kExtrudedSolid:
      return ReadExtruded(units);
    case persistence::kMeshSolid:
      return ReadMesh();
    default:
      throw zvcadcamException(zvcadcamException::kUnknownSolid);
  }
}

template <class Part>
Part zvBITools::ReadPart(std::uint32_t solidSince, Units units) {
  if (Since(solidSince)) return Part(*ReadSolid());
  const double height = ReadDouble();
  return Part(height, ReadDouble(), units);
}

void zvBITools::ReadTyped(const persistence::zvStoredToolType& stored, Units units,
                          misc::zvAutoPointer<zvTool>& tool) {
  zvToolValues values;
  values.units = units;
  // Below 155 the neck of a zvLolMill follows from its arbor, which comes later.
  const bool hasNeck = stored.type != &zvLolMill::kType || Since(155);
  if (hasNeck)
    for (const zvToolParameter parameter : stored.parameters)
      SetParameter(values.numbers, parameter,
                   persistence::IsStoredWhole(parameter) ? ReadUnsigned() : ReadDouble());
  values.numbers.diameter = ReadDouble();
  values.numbers.fluteLength = ReadDouble();
  values.numbers.shoulderLength = ReadDouble();
  values.arbor = ReadPart<zvTool::Arbor>(22, units);
  values.holder = ReadPart<zvTool::Holder>(23, units);
  // Whose flute and shoulder are one length.
  if (stored.type->hasOneLength) values.numbers.shoulderLength = values.numbers.fluteLength;
  if (Since(130)) {
    const Units shoulderUnits = ReadUnits();
    const double diameter = ReadDouble();
    values.shoulder.emplace(diameter, ReadDouble(), shoulderUnits);
  }
  if (!hasNeck) {
    zvLolMill::ArborFirstDiameterGetter getter;
    const zvSolidDefinition<double>& solid = *values.arbor.GetSolidDefinition();
    solid.AcceptVisitor(getter);
    if (!getter.GetDiameter()) throw zvcadcamException(zvcadcamException::kNoArbor);
    values.numbers.neckDiameter = *getter.GetDiameter() * measures::zvUnitsFactory::GetScaleFactor(
                                                              values.arbor.GetUnits(), units);
  }
  tool = stored.type->make(values);
}

void zvBITools::ReadTool(misc::zvAutoPointer<zvTool>& tool) {
  const std::int32_t code = ReadInt();
  const auto types = persistence::StoredToolTypes();
  const auto stored =
      std::find_if(types.begin(), types.end(), [&](const auto& type) { return type.code == code; });
  if (stored != types.end()) {
    const Units units = ReadToolUnits();
    ReadTyped(*stored, units, tool);
  } else if (code == persistence::kLatheTool) {
    const Units units = ReadToolUnits();
    const zvToolPartDefinition<double> solid(*ReadSolid());
    const zvTool::Holder holder(*ReadSolid());
    tool = misc::MakeAutoPointer<zvLatheTool>(holder, zvTool::Arbor(0, 0, units), solid, units);
  } else if (code == persistence::kGenericTool) {
    const Units units = ReadToolUnits();
    const zvToolPartDefinition<double> cutting(*ReadSolid());
    const zvToolPartDefinition<double> nonCutting(*ReadSolid());
    const zvTool::Arbor arbor(*ReadSolid());
    const zvTool::Holder holder(*ReadSolid());
    tool = misc::MakeAutoPointer<zvGenericRevolvedTool>(cutting, nonCutting, arbor, holder, units);
  } else {
    throw zvcadcamException(zvcadcamException::kUnknownTool);
  }
}

}  // namespace cadcam
