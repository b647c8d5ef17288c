// mkdKinematicTree and accessortreenode: the objects of a machine and where they stand.
#pragma once

#include <kandrel/kintree/kinematic_object.h>
#include <kandrel/kintree/kinematic_tree_interface.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/tree.h>

#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace kintree {

/// A read-only view of one node of a tree, valid as long as the node.
class KANDREL_API accessortreenode : public misc::zvTreeIterator<mkdKinematicObjectPointer> {
 public:
  /// Stands at this node, which the tree keeps.
  explicit accessortreenode(const mkdKinematicNode& node) noexcept : zvTreeIterator(&node) {}

  /// Null for the root, which has no object.
  const mkdKinematicObjectPointer& GetObject() const noexcept { return m_node->GetValue(); }
  /// Null for an object at root level.
  const mkdKinematicObject* GetParentObject() const noexcept {
    const mkdKinematicNode* parent = m_node->GetParent();
    return parent != nullptr ? parent->GetValue().Get() : nullptr;
  }
};

/// A tree of shared objects. Range-for gives its nodes in pre-order, the root left out.
///
/// 1. An object stands in a tree once; adding and finding one takes constant time.
/// 2. Adding moves nothing: SetWorldTransform does, of the tree or of one of its objects.
/// 3. A copy has nodes of its own and shares the objects: moving them in one moves them in both.
///    Units and directions are theirs as well.
class KANDREL_API mkdKinematicTree : public mkdKinematicTreeInterface {
 public:
  using Tree = misc::zvTree<mkdKinematicObjectPointer>;
  using iterator = Tree::iterator;

  /// World and composite matrix of an object, as they were when it was first kept.
  struct KeptTransforms {
    mkdMatrix world;
    mkdMatrix composite;  ///< the world matrix of what is below
    std::size_t useCount = 0;
  };

  mkdKinematicTree() = default;
  /// Nodes of its own for the same objects: property 3.
  mkdKinematicTree(const mkdKinematicTree& other);
  mkdKinematicTree& operator=(const mkdKinematicTree&) = delete;
  ~mkdKinematicTree() override;

  const Node& GetRoot() const override { return m_tree.GetRoot(); }
  /// All objects of the tree, in pre-order, for range-for.
  iterator begin() const noexcept { return m_tree.begin(); }
  iterator end() const noexcept { return m_tree.end(); }
  /// What stands below a node of this tree, in pre-order, for range-for.
  static Tree::Range Below(const Node& node) noexcept { return Tree::Below(node); }
  /// How many objects there are.
  std::size_t GetSize() const noexcept { return m_nodes.size(); }

  const Node* FindNode(const mkdKinematicObject& object) const override;
  /// Throws zvMachineSimulatorException kInvalidObject for an object that is in this tree already,
  /// kInvalidParent for a parent that isn't, and "Accessing NULL pointer" for no object.
  const Node& Add(const mkdKinematicObjectPointer& object,
                  const mkdKinematicObject* parent) override;
  /// Takes an object out, which has none below it; does nothing for one that isn't there. Throws
  /// zvMachineSimulatorException kInvalidObject for one that has.
  void Remove(const mkdKinematicObject& object);

  /// Gives each child of a node of this tree `world` as its world matrix, and with it all that is
  /// below the child its place; without a node, the objects at root level, and so the machine.
  /// Throws what mkdAxis::SetWorldTransform throws. For what observers may do meanwhile, see
  /// mkdKinematicObjectObserver.
  void SetWorldTransform(const Node& node, const mkdMatrix& world) const;
  void SetWorldTransform(const mkdMatrix& world) const { SetWorldTransform(GetRoot(), world); }

  /// Keeps where an object of this tree stands, for as long as Release follows each Keep: what
  /// shows it elsewhere finds the way back. Kept twice, it is kept as it was at first. Throws
  /// zvMachineSimulatorException kInvalidObject for an object that isn't in this tree.
  const KeptTransforms& KeepTransforms(const mkdKinematicObject& object);
  /// Null for an object that isn't kept.
  const KeptTransforms* FindKeptTransforms(const mkdKinematicObject& object) const;
  /// Forgets what is kept with the last of the calls; does nothing where nothing is.
  void ReleaseTransforms(const mkdKinematicObject& object);

 private:
  Tree m_tree;
  std::unordered_map<const mkdKinematicObject*, const Node*> m_nodes;
  std::unordered_map<const mkdKinematicObject*, KeptTransforms> m_kept;
  mutable std::uint32_t m_timesHandedOn = 0;  // how often the objects at root level were placed
};

}  // namespace kintree
