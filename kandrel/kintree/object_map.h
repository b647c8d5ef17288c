// zvObjectMap and zvObjMapFiller: the objects of a machine by their names.
#pragma once

#include <kandrel/kintree/kinematic_tree_interface.h>
#include <kandrel/kintree/kinematic_visitor.h>
#include <kandrel/misc/export.h>

#include <functional>
#include <map>
#include <string>

namespace kintree {

/// An object and where it stands.
struct zvObjectEntry {
  mkdKinematicObjectPointer object;
  const mkdKinematicNode* node;  ///< of the machine's tree, which keeps it
};

/// Ordered by the wide characters of the names.
using zvObjectMap = std::map<std::wstring, zvObjectEntry, std::less<>>;

/// Enters each object that it visits under its name; a name that is there keeps its object.
class KANDREL_API zvObjMapFiller final : public mkdKOConstVisitor {
 public:
  /// The map outlives the object.
  explicit zvObjMapFiller(zvObjectMap& map) : m_map(&map), m_next(map.end()) {}

  /// Lets the node's object accept this visitor, and so enters it.
  void Enter(const mkdKinematicNode& node) { Enter(node, m_map->end()); }
  /// Does so in constant time where `next` is what the name comes in front of.
  void Enter(const mkdKinematicNode& node, zvObjectMap::const_iterator next);

  /// Enter the object of the node given last; nothing without one, or for another object.
  void Visit(const mkdInitialStock& object) override;
  void Visit(const mkdStockGeometry& object) override;
  void Visit(const mkdWorkPiece& object) override;
  void Visit(const mkdTranslationalAxis& object) override;
  void Visit(const mkdRotationalAxis& object) override;
  void Visit(const mkdCoordinateTransform& object) override;
  void Visit(const mkdHeldTool& object) override;
  void Visit(const mkdToolpathGeometry& object) override;
  void Visit(const mkdPolygonalGeometry& object) override;
  /// Throws zvKintreeException, id 0, "Cannot visit abstract class".
  void Visit(const mkdKinematicObject& object) override;

 private:
  void Take(const mkdKinematicObject& object);

  zvObjectMap* m_map;
  const mkdKinematicNode* m_node = nullptr;
  zvObjectMap::const_iterator m_next;
};

}  // namespace kintree
