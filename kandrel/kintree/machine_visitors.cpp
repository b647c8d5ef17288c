#include <kandrel/kintree/kintree_exception.h>
#include <kandrel/kintree/machine_visitors.h>

namespace kintree {

void mkdMSHelperKOVisitor::Walk(const mkdKinematicObject* parent) {
  // The node of before is set again whichever way the walk ends: a visit may walk.
  struct Current {
    explicit Current(mkdKOSimVisitor& itsVisitor)
        : visitor(itsVisitor), before(itsVisitor.GetCurrentNode()) {}
    Current(const Current&) = delete;
    Current& operator=(const Current&) = delete;
    ~Current() { visitor.SetCurrentNode(before); }
    mkdKOSimVisitor& visitor;
    const accessortreenode* before;
  };
  const Current current(*this);
  for (const auto& [name, entry] : m_machine.GetObjectMap()) {
    const accessortreenode node(*entry.node);
    if (parent != nullptr && node.GetParentObject() != parent) continue;
    SetCurrentNode(&node);
    entry.object->AcceptVisitor(*this);
  }
}

void zvKinematicObjectTypeValidatorBase::Visit(const mkdKinematicObject&) {
  throw exceptions::zvKintreeException(0, L"Abstract class visited");
}

template class zvKinematicObjectTypeValidator<mkdTranslationalAxis>;
template class zvKinematicObjectTypeValidator<mkdRotationalAxis>;

void mkdGeometryChecker::Check(const mkdPolygonalGeometry& object) {
  static_cast<void>(*object.GetMesh());
  m_isChecked = true;
}

void mkdGeometryChecker::Visit(const mkdInitialStock& object) {
  Check(object);
}
void mkdGeometryChecker::Visit(const mkdStockGeometry& object) {
  Check(object);
}
void mkdGeometryChecker::Visit(const mkdWorkPiece& object) {
  Check(object);
}
void mkdGeometryChecker::Visit(const mkdPolygonalGeometry& object) {
  Check(object);
}
void mkdGeometryChecker::Visit(const mkdKinematicObject&) {
  throw exceptions::zvKintreeException(0, L"Cannot visit abstract class");
}

}  // namespace kintree
