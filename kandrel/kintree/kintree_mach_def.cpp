#include <kandrel/kintree/kintree_exception.h>
#include <kandrel/kintree/kintree_mach_def.h>

#include <algorithm>

namespace kintree {

zvKintreeMachDef::zvKintreeMachDef(Units units)
    : zvMeasurable(units), m_tree(std::make_unique<mkdKinematicTree>()) {}

zvKintreeMachDef::~zvKintreeMachDef() = default;

zvKintreeMachDef::zvKintreeMachDef(const zvKintreeMachDef& other)
    : zvMeasurable(other),
      m_tree(std::make_unique<mkdKinematicTree>(*other.m_tree)),
      m_name(other.m_name),
      m_collisionChecks(other.m_collisionChecks),
      m_files(other.m_files),
      m_hiddenSliders(other.m_hiddenSliders),
      m_preprocessors(other.m_preprocessors),
      m_schema(other.m_schema),
      m_version(other.m_version),
      m_writerVersion(other.m_writerVersion) {
  zvObjMapFiller filler(m_objects);
  for (const Node& node : *m_tree) filler.Enter(node);
}

zvKintreeMachDef& zvKintreeMachDef::operator=(const zvKintreeMachDef& other) {
  if (this == &other) return *this;
  zvKintreeMachDef copy(other);
  zvMeasurable::operator=(other);
  m_tree.swap(copy.m_tree);
  m_objects.swap(copy.m_objects);
  m_name.swap(copy.m_name);
  m_collisionChecks.swap(copy.m_collisionChecks);
  m_files.swap(copy.m_files);
  m_hiddenSliders.swap(copy.m_hiddenSliders);
  m_preprocessors.swap(copy.m_preprocessors);
  m_schema.swap(copy.m_schema);
  m_version = copy.m_version;
  m_writerVersion = copy.m_writerVersion;
  return *this;
}

void zvKintreeMachDef::AddObject(const mkdKinematicObjectPointer& object,
                                 const mkdKinematicObjectPointer& parent) {
  const auto next = m_objects.lower_bound(object->GetName());
  if (next != m_objects.end() && next->first == object->GetName())
    throw zvMachineSimulatorException(zvMachineSimulatorException::kDuplicateIdentifier,
                                      object->GetName());
  const Node& node = m_tree->Add(object, parent.Get());
  try {
    zvObjMapFiller(m_objects).Enter(node, next);
  } catch (...) {
    m_tree->Remove(*object);
    throw;
  }
  // Any of them may take off itself or others.
  const std::vector<zvKintreeMachDefObserver*> observers = m_observers;
  for (zvKintreeMachDefObserver* observer : observers)
    if (std::find(m_observers.begin(), m_observers.end(), observer) != m_observers.end())
      observer->OnObjectAdded(*this, object);
}

const zvObjectEntry& zvKintreeMachDef::Find(const std::wstring& name) const {
  const auto found = m_objects.find(name);
  if (found == m_objects.end())
    throw zvMachineSimulatorException(zvMachineSimulatorException::kObjectNotFound, name);
  return found->second;
}

const mkdKinematicObjectPointer& zvKintreeMachDef::GetObject(const std::wstring& name) const {
  return Find(name).object;
}

const zvKintreeMachDef::Node& zvKintreeMachDef::GetNode(const std::wstring& name) const {
  return *Find(name).node;
}

void zvKintreeMachDef::RemoveObserver(zvKintreeMachDefObserver& observer) noexcept {
  const auto found = std::find(m_observers.begin(), m_observers.end(), &observer);
  if (found != m_observers.end()) m_observers.erase(found);
}

void zvKintreeMachDef::SetCollisionCheck(const std::wstring& id, zvCollisionCheck check) {
  m_collisionChecks.insert_or_assign(id, std::move(check));
}

bool zvKintreeMachDef::IsSliderShown(const std::wstring& axis) const {
  const auto found = m_hiddenSliders.find(axis);
  return found == m_hiddenSliders.end() || found->second;
}

void zvKintreeMachDef::AddPreprocessor(zvPreprocessor preprocessor) {
  m_preprocessors.push_back(std::move(preprocessor));
}

void zvKintreeMachDef::SetUnitsOfParts(Units units, bool keepNumbers) {
  if (keepNumbers) return;
  for (const auto& [name, entry] : m_objects) entry.object->SetUnits(units);
}

}  // namespace kintree
