// mkdKOVisitor and its three sisters: how the objects of a kinematic tree are told apart.
#pragma once

#include <kandrel/misc/export.h>

namespace kintree {

class accessortreenode;
class mkdCoordinateTransform;
class mkdHeldTool;
class mkdInitialStock;
class mkdKinematicObject;
class mkdPolygonalGeometry;
class mkdRotationalAxis;
class mkdStockGeometry;
class mkdToolpathGeometry;
class mkdTranslationalAxis;
class mkdWorkPiece;

/// Has a slot for each kind of object, which may be changed. An object of a class without a slot of
/// its own comes to that of the next class above it. Above all is the abstract base, whose slot is
/// the last: visitors that sort objects throw there, those that look for some kinds do nothing.
class KANDREL_API mkdKOVisitor {
 public:
  virtual ~mkdKOVisitor() = default;
  /// The slots: one for each class, and the last for a class beyond these.
  virtual void Visit(mkdInitialStock& object) = 0;
  virtual void Visit(mkdStockGeometry& object) = 0;
  virtual void Visit(mkdWorkPiece& object) = 0;
  virtual void Visit(mkdTranslationalAxis& object) = 0;
  virtual void Visit(mkdRotationalAxis& object) = 0;
  virtual void Visit(mkdCoordinateTransform& object) = 0;
  virtual void Visit(mkdHeldTool& object) = 0;
  virtual void Visit(mkdToolpathGeometry& object) = 0;
  virtual void Visit(mkdPolygonalGeometry& object) = 0;
  virtual void Visit(mkdKinematicObject& object) = 0;
};

/// The same for objects that stay as they are.
class KANDREL_API mkdKOConstVisitor {
 public:
  virtual ~mkdKOConstVisitor() = default;
  /// The slots: one for each class, and the last for a class beyond these.
  virtual void Visit(const mkdInitialStock& object) = 0;
  virtual void Visit(const mkdStockGeometry& object) = 0;
  virtual void Visit(const mkdWorkPiece& object) = 0;
  virtual void Visit(const mkdTranslationalAxis& object) = 0;
  virtual void Visit(const mkdRotationalAxis& object) = 0;
  virtual void Visit(const mkdCoordinateTransform& object) = 0;
  virtual void Visit(const mkdHeldTool& object) = 0;
  virtual void Visit(const mkdToolpathGeometry& object) = 0;
  virtual void Visit(const mkdPolygonalGeometry& object) = 0;
  virtual void Visit(const mkdKinematicObject& object) = 0;
};

/// Both add the place in the tree of the object that is being visited, set by whoever walks: null
/// outside a walk, and not owned.
class KANDREL_API mkdKOSimVisitor : public mkdKOVisitor {
 public:
  /// The node of the object that is being visited.
  void SetCurrentNode(const accessortreenode* node) noexcept { m_currentNode = node; }
  const accessortreenode* GetCurrentNode() const noexcept { return m_currentNode; }

 private:
  const accessortreenode* m_currentNode = nullptr;
};
/// The same for objects that it may not change.
class KANDREL_API mkdKOSimConstVisitor : public mkdKOConstVisitor {
 public:
  /// The node of the object that is being visited.
  void SetCurrentNode(const accessortreenode* node) noexcept { m_currentNode = node; }
  const accessortreenode* GetCurrentNode() const noexcept { return m_currentNode; }

 private:
  const accessortreenode* m_currentNode = nullptr;
};

}  // namespace kintree
