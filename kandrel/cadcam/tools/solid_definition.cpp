#include <kandrel/cadcam/tools/solid_definition.h>
#include <kandrel/misc/misc_exception.h>

#include <utility>

namespace cadcam {

template <class T>
zvRevolvedSolidDefinition<T>::zvRevolvedSolidDefinition(Profile profile, Units units)
    : zvSolidDefinitionOf<T, zvRevolvedSolidDefinition<T>>(units), m_profile(std::move(profile)) {}

template <class T>
const geoDef::zv2dElement<T>& zvRevolvedSolidDefinition<T>::GetFirstElement() const {
  if (m_profile.IsEmpty()) throw misc::zvmiscException(misc::zvmiscException::kIndexOutOfBounds);
  return GetElements().front();
}

template <class T>
T zvRevolvedSolidDefinition<T>::GetRadius() const {
  const geoDef::zv2dBox<T> box = Extents(m_profile);
  return box.IsEmpty() ? T(0) : box.maximum.x;
}

template <class T>
T zvRevolvedSolidDefinition<T>::GetHeight() const {
  const auto last = EndPoint(m_profile);
  return last ? last->y : T(0);
}

template <class T>
void zvRevolvedSolidDefinition<T>::Scale(Units, double factor) {
  m_profile = Scaled(m_profile, static_cast<T>(factor));
}

template <class T>
zvExtrudedSolidDefinition<T>::zvExtrudedSolidDefinition(std::vector<PolyLine> polyLines, T height,
                                                        const zvTPoint3d<T>& point, Units units)
    : zvSolidDefinitionOf<T, zvExtrudedSolidDefinition<T>>(units),
      m_polyLines(std::move(polyLines)),
      m_height(height),
      m_point(point) {}

template <class T>
const geoDef::zv2dPolyLine<T>& zvExtrudedSolidDefinition<T>::GetContour() const noexcept {
  static const PolyLine kNone;
  return m_polyLines.empty() ? kNone : m_polyLines.front();
}

template <class T>
void zvExtrudedSolidDefinition<T>::Scale(Units, double factor) {
  const T by = static_cast<T>(factor);
  for (PolyLine& line : m_polyLines)
    for (geoDef::zv2dPoint<T>& point : line.points) point = point * by;
  m_height *= by;
  m_point *= by;
}

template <class T>
zvMeshSolidDefinition<T>::zvMeshSolidDefinition(zvTMesh<T> mesh)
    : zvSolidDefinitionOf<T, zvMeshSolidDefinition<T>>(mesh.GetUnits()), m_mesh(std::move(mesh)) {}

template <class T>
T zvMeshSolidDefinition<T>::GetHeight() const {
  return m_mesh.IsEmpty() ? T(0) : m_mesh.GetMaximum().z;
}

template <class T>
void zvMeshSolidDefinition<T>::SetUnitsOfParts(Units units, bool keepNumbers) {
  m_mesh.SetUnits(units, keepNumbers);
}

template class zvRevolvedSolidDefinition<double>;
template class zvExtrudedSolidDefinition<double>;
template class zvMeshSolidDefinition<double>;

}  // namespace cadcam
