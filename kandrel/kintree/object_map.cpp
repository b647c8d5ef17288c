#include <kandrel/kintree/geometry.h>
#include <kandrel/kintree/held_tool.h>
#include <kandrel/kintree/kinematic_axis.h>
#include <kandrel/kintree/kintree_exception.h>
#include <kandrel/kintree/object_map.h>

#include <utility>

namespace kintree {

void zvObjMapFiller::Enter(const mkdKinematicNode& node, zvObjectMap::const_iterator next) {
  m_node = &node;
  m_next = next;
  const mkdKinematicObject& object = *node.GetValue();
  object.AcceptVisitor(*this);
}

void zvObjMapFiller::Take(const mkdKinematicObject& object) {
  if (m_node == nullptr || m_node->GetValue().Get() != &object) return;
  const auto next = std::exchange(m_next, m_map->end());  // it may go while this object lives
  m_map->try_emplace(next, object.GetName(), zvObjectEntry{m_node->GetValue(), m_node});
}

void zvObjMapFiller::Visit(const mkdInitialStock& object) {
  Take(object);
}
void zvObjMapFiller::Visit(const mkdStockGeometry& object) {
  Take(object);
}
void zvObjMapFiller::Visit(const mkdWorkPiece& object) {
  Take(object);
}
void zvObjMapFiller::Visit(const mkdTranslationalAxis& object) {
  Take(object);
}
void zvObjMapFiller::Visit(const mkdRotationalAxis& object) {
  Take(object);
}
void zvObjMapFiller::Visit(const mkdCoordinateTransform& object) {
  Take(object);
}
void zvObjMapFiller::Visit(const mkdHeldTool& object) {
  Take(object);
}
void zvObjMapFiller::Visit(const mkdToolpathGeometry& object) {
  Take(object);
}
void zvObjMapFiller::Visit(const mkdPolygonalGeometry& object) {
  Take(object);
}
void zvObjMapFiller::Visit(const mkdKinematicObject&) {
  throw exceptions::zvKintreeException(0, L"Cannot visit abstract class");
}

}  // namespace kintree
