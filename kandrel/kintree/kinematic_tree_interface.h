// mkdKinematicTreeInterface: the abstract face of a tree of kinematic objects.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/tree.h>

namespace kintree {

class mkdKinematicObject;

using mkdKinematicObjectPointer = misc::zvAutoPointer<mkdKinematicObject>;
/// The value of the root is null.
using mkdKinematicNode = misc::zvTreeNode<mkdKinematicObjectPointer>;

/// What objects and walks ask of the tree that they stand in. Nodes keep their address as long as
/// the tree lives; objects are shared.
class KANDREL_API mkdKinematicTreeInterface {
 public:
  using Node = mkdKinematicNode;

  virtual ~mkdKinematicTreeInterface() = default;
  /// The node above all; it holds no object.
  virtual const Node& GetRoot() const = 0;
  /// The node of an object; null for one that isn't in this tree.
  virtual const Node* FindNode(const mkdKinematicObject& object) const = 0;
  /// Adds an object behind the children of `parent`, or at root level when that is null.
  virtual const Node& Add(const mkdKinematicObjectPointer& object,
                          const mkdKinematicObject* parent) = 0;

 protected:
  mkdKinematicTreeInterface() = default;
  mkdKinematicTreeInterface(const mkdKinematicTreeInterface&) = default;
  mkdKinematicTreeInterface& operator=(const mkdKinematicTreeInterface&) = default;
};

}  // namespace kintree
