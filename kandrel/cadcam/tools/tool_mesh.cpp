#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/curves/polygonizer.h>
#include <kandrel/cadcam/curves/triangulation.h>
#include <kandrel/cadcam/tool_approximation_exception.h>
#include <kandrel/cadcam/tools/revolve_profile.h>
#include <kandrel/cadcam/tools/tool_mesh.h>
#include <kandrel/misc/misc_exception.h>

#include <algorithm>
#include <cmath>

namespace cadcam {

namespace {

template <class T>
zvTPoint3d<T> PointOf(double x, double y, double z) {
  const zvTPoint3d<T> point(static_cast<T>(x), static_cast<T>(y), static_cast<T>(z));
  for (int axis = 0; axis < 3; ++axis)
    if (!std::isfinite(point[axis])) throw zvtoolapproximationException(0);
  return point;
}

// The corners of an outline as a mesh of T will hold them, counter-clockwise; without equal ones
// in a row.
template <class T>
std::vector<geoDef::zv2dPoint<double>> CornersOf(const geoDef::zv2dPolyLine<double>& outline) {
  std::vector<geoDef::zv2dPoint<double>> corners;
  for (const auto& p : outline.points) {
    const zvTPoint3d<T> held = PointOf<T>(p.x, p.y, 0);
    const geoDef::zv2dPoint<double> corner{held.x, held.y};
    if (corners.empty() || !(corners.back() == corner)) corners.push_back(corner);
  }
  while (corners.size() > 1 && corners.back() == corners.front()) corners.pop_back();
  if (TwiceArea(corners) < 0) std::reverse(corners.begin(), corners.end());
  return corners;
}

}  // namespace

template <class T>
zvToolMeshBase<T>::zvToolMeshBase(measures::zvUnitsFactory::Units units)
    : m_meshes{zvTMesh<T>(units), zvTMesh<T>(units), zvTMesh<T>(units), zvTMesh<T>(units)} {}

template <class T>
const zvTMesh<T>& zvToolMeshBase<T>::GetMesh(int part) const {
  if (part < cuttingPart || part > holderPart)
    throw misc::zvmiscException(misc::zvmiscException::kIndexOutOfBounds);
  return m_meshes[static_cast<std::size_t>(part)];
}

template <class T>
void zvToolMeshBase<T>::SetShank(const zvToolMeshRules& rules, const zvTool& tool) {
  using Creator = zvToolPartMeshCreator<T>;
  Set(rules, arborPart, [&] {
    try {
      return Creator::Create(tool.GetArbor(), rules, tool.GetUnits(), tool.GetShoulderLength());
    } catch (const zvtoolapproximationException& e) {
      throw zvtoolapproximationException(zvtoolapproximationException::kInvalidArborProfile, &e);
    }
  });
  Set(rules, holderPart, [&] {
    return Creator::Create(tool.GetHolder(), rules, tool.GetUnits(), tool.GetTotalLength());
  });
}

template <class T>
void zvToolPartMeshCreator<T>::Visit(const zvMeshSolidDefinition<double>& solid) {
  zvTMesh<T> mesh(m_mesh.GetUnits());
  mesh.Reserve(solid.GetMesh().GetVertices().size(), solid.GetMesh().GetTriangles().size());
  for (const auto& v : solid.GetMesh().GetVertices())
    mesh.AddVertex(PointOf<T>(v.x, v.y, v.z + m_lift));
  for (const auto& triangle : solid.GetMesh().GetTriangles())
    mesh.AddTriangle(triangle.corners,
                     {static_cast<T>(triangle.normal.x), static_cast<T>(triangle.normal.y),
                      static_cast<T>(triangle.normal.z)});
  m_mesh = std::move(mesh);
}

template <class T>
void zvToolPartMeshCreator<T>::Visit(const zvExtrudedSolidDefinition<double>& solid) {
  zvTMesh<T> mesh(m_mesh.GetUnits());
  const auto corners = CornersOf<T>(solid.GetContour());
  const auto [low, high] = std::minmax({m_lift, m_lift + solid.GetHeight()});
  const T bottom = PointOf<T>(0, 0, low).z, top = PointOf<T>(0, 0, high).z;
  if (!corners.empty() && bottom < top) {
    const auto triangles = Triangulate(corners);
    for (const T z : {bottom, top})
      for (const auto& corner : corners) mesh.AddVertex(PointOf<T>(corner.x, corner.y, z));
    const auto n = static_cast<zvMeshIndex>(corners.size());
    for (const auto& triangle : triangles) {
      const auto index = [&](std::size_t i) { return static_cast<zvMeshIndex>(triangle[i]); };
      mesh.AddTriangle({index(0), index(2), index(1)});
      mesh.AddTriangle({n + index(0), n + index(1), n + index(2)});
    }
    for (zvMeshIndex i = 0; i < n; ++i) {
      const zvMeshIndex next = (i + 1) % n;
      mesh.AddTriangle({i, next, n + next});
      mesh.AddTriangle({i, n + next, n + i});
    }
  }
  m_mesh = std::move(mesh);
}

template <class T>
void zvToolPartMeshCreator<T>::Visit(const zvRevolvedSolidDefinition<double>& solid) {
  const geoDef::zv2dGeometryPolygonizer<double> polygonizer(m_rules.tolerance);
  m_mesh = zvRevolveProfileSrv<T>(m_rules.tolerance, m_rules.largestAngle)
               .Revolve(polygonizer.Polygonize(solid.GetProfile()), m_mesh.GetUnits(), m_lift);
}

template <class T>
void zvToolPartMeshCreator<T>::Visit(const zvSolidDefinition<double>&) {
  throw zvcadcamException(2177);
}

template <class T>
zvTMesh<T> zvToolPartMeshCreator<T>::Create(const zvToolPartDefinition<double>& part,
                                            const zvToolMeshRules& rules, Units units,
                                            double lift) {
  zvToolPartMeshCreator creator(rules, units, lift);
  if (part.GetSolidDefinition()) part.GetSolidDefinition()->AcceptVisitor(creator);
  return creator.m_mesh;
}

template <class T>
void zvRevolvedToolMeshCreator<T>::Visit(const zvLatheTool&) {
  throw zvtoolapproximationException(2176);
}

template <class T>
void zvRevolvedToolMeshCreator<T>::Visit(const zvGenericRevolvedTool& tool) {
  Take(zvGenericRevolvedApproximation<double>(tool, m_rules.tolerance), tool.GetFluteLength());
}

template <class T>
void zvRevolvedToolMeshCreator<T>::Visit(const zvTool&) {
  throw zvtoolapproximationException(0);
}

template <class T>
void zvRevolvedToolMeshCreator<T>::Take(const zvRevolvedToolApproximation<double>& approximation,
                                        double nonCuttingLift) {
  const zvRevolvedTool& tool = approximation.GetTool();
  const zvRevolveProfileSrv<T> service(m_rules.tolerance, m_rules.largestAngle);
  this->Set(m_rules, cuttingPart,
            [&] { return service.Revolve(approximation.GetCuttingProfile(), tool.GetUnits()); });
  this->Set(m_rules, nonCuttingPart, [&] {
    return service.Revolve(approximation.GetNonCuttingProfile(), tool.GetUnits(), nonCuttingLift);
  });
  this->SetShank(m_rules, tool);
}

template <class T>
zvLatheToolMeshCreator<T>::zvLatheToolMeshCreator(const zvLatheTool& tool,
                                                  const zvToolMeshRules& rules)
    : zvToolMeshBase<T>(tool.GetUnits()) {
  this->Set(rules, cuttingPart, [&] {
    return zvToolPartMeshCreator<T>::Create(tool.GetSolid(), rules, tool.GetUnits(), 0);
  });
  this->SetShank(rules, tool);
}

template <class T>
zvToolMeshCreator<T>::zvToolMeshCreator(T tolerance, T largestAngle, unsigned parts)
    : m_rules{tolerance, largestAngle, parts} {}

template <class T>
void zvToolMeshCreator<T>::Visit(const zvLatheTool& tool) {
  m_creator = nullptr;
  m_creator = misc::MakeAutoPointer<zvLatheToolMeshCreator<T>>(tool, m_rules);
}

template <class T>
void zvToolMeshCreator<T>::Visit(const zvGenericRevolvedTool& tool) {
  VisitRevolved(tool);
}

template <class T>
void zvToolMeshCreator<T>::Visit(const zvTypedRevolvedTool& tool) {
  VisitRevolved(tool);
}

template <class T>
void zvToolMeshCreator<T>::Visit(const zvTool&) {
  throw misc::zvException(0, L"Abstract class passed in ToolMeshCreator");
}

template <class T>
void zvToolMeshCreator<T>::VisitRevolved(const zvTool& tool) {
  m_creator = nullptr;
  auto creator = misc::MakeAutoPointer<zvRevolvedToolMeshCreator<T>>(m_rules, tool.GetUnits());
  tool.AcceptVisitor(static_cast<zvToolVisitor&>(*creator));
  m_creator = creator;
}

template class zvToolMeshBase<float>;
template class zvToolMeshBase<double>;
template class zvToolPartMeshCreator<float>;
template class zvToolPartMeshCreator<double>;
template class zvRevolvedToolMeshCreator<float>;
template class zvRevolvedToolMeshCreator<double>;
template class zvLatheToolMeshCreator<float>;
template class zvLatheToolMeshCreator<double>;
template class zvToolMeshCreator<float>;
template class zvToolMeshCreator<double>;

}  // namespace cadcam
