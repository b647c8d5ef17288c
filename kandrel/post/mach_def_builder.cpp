#include <kandrel/post/mach_def_builder.h>

namespace post {

zvMachDefBuilder::zvMachDefBuilder(const zvMachDefBuilder& other)
    : m_kind(other.m_kind), m_axisNames(other.m_axisNames), m_machDef(other.m_machDef->Clone()) {}

zvMachDefBuilder& zvMachDefBuilder::operator=(const zvMachDefBuilder& other) {
  if (this == &other) return *this;
  misc::zvAutoPointer<zvMachDef> machDef = other.m_machDef->Clone();
  m_axisNames = other.m_axisNames;
  m_kind = other.m_kind;
  m_machDef = std::move(machDef);
  return *this;
}

void zvMachDefBuilder::SetMachDef(const misc::zvAutoPointer<zvMachDef>& machDef) {
  m_machDef = machDef->Clone();
}

}  // namespace post
