#include <kandrel/cadcam/tools/solid_users.h>
#include <kandrel/cadcam/tools/tool_part.h>

namespace cadcam {

namespace {

template <class T>
misc::zvAutoPointer<zvSolidDefinition<T>> Cloned(
    const misc::zvAutoPointer<zvSolidDefinition<T>>& solid) {
  if (!solid) return nullptr;
  zvSolidDefinitionCloner<T> cloner;
  static_cast<const zvSolidDefinition<T>&>(*solid).AcceptVisitor(cloner);
  return cloner.GetClone();
}

}  // namespace

template <class T>
zvToolPartDefinition<T>::zvToolPartDefinition(const zvSolidDefinition<T>& solid)
    : zvMeasurable(solid.GetUnits()), m_solid(solid.Clone()) {}

template <class T>
zvToolPartDefinition<T>::zvToolPartDefinition(const std::vector<Point>& points, Units units)
    : zvMeasurable(units),
      m_solid(misc::MakeAutoPointer<zvRevolvedSolidDefinition<T>>(LinesThrough(points), units)) {}

template <class T>
zvToolPartDefinition<T>::zvToolPartDefinition(T height, T radius, Units units)
    : zvToolPartDefinition(std::vector<Point>{{radius, T(0)}, {radius, height}}, units) {}

template <class T>
zvToolPartDefinition<T>::zvToolPartDefinition(const zvToolPartDefinition& other)
    : zvMeasurable(other), m_solid(Cloned(other.m_solid)) {}

template <class T>
zvToolPartDefinition<T>& zvToolPartDefinition<T>::operator=(const zvToolPartDefinition& other) {
  return *this = zvToolPartDefinition(other);
}

template <class T>
void zvToolPartDefinition<T>::SetUnitsOfParts(Units units, bool keepNumbers) {
  if (m_solid) m_solid->SetUnits(units, keepNumbers);
}

template class zvToolPartDefinition<double>;

}  // namespace cadcam
