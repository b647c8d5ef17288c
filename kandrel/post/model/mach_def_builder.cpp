#include <kandrel/post/model/mach_def_builder.h>

#include <utility>

namespace post {

zvMachDefBuilder::zvMachDefBuilder(const zvMachDefBuilder& other)
    : m_kind(other.m_kind), m_axisNames(other.m_axisNames), m_machDef(other.m_machDef->Clone()) {}

zvMachDefBuilder& zvMachDefBuilder::operator=(const zvMachDefBuilder& other) {
  if (this == &other) return *this;
  return *this = zvMachDefBuilder(other);
}

zvMachDefBuilder& zvMachDefBuilder::operator=(zvMachDefBuilder&& other) noexcept {
  std::swap(m_kind, other.m_kind);
  m_axisNames.swap(other.m_axisNames);
  m_machDef.Swap(other.m_machDef);
  return *this;
}

void zvMachDefBuilder::SetMachDef(const misc::zvAutoPointer<zvMachDef>& machDef) {
  m_machDef = machDef->Clone();
}

}  // namespace post
