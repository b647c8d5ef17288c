#include <kandrel/kintree/geometry.h>
#include <kandrel/kintree/held_tool.h>
#include <kandrel/kintree/kinematic_axis.h>
#include <kandrel/kintree/kinematic_tree.h>
#include <kandrel/kintree/kinematic_visitor.h>
#include <kandrel/kintree/kintree_exception.h>

#include <vector>

namespace kintree {

namespace {

// The world matrix of what is below an object.
class CompositeGetter final : public mkdKOConstVisitor {
 public:
  void Visit(const mkdInitialStock& object) override { Take(object); }
  void Visit(const mkdStockGeometry& object) override { Take(object); }
  void Visit(const mkdWorkPiece& object) override { Take(object); }
  void Visit(const mkdTranslationalAxis& object) override {
    m_matrix = object.GetCompositeMatrix();
  }
  void Visit(const mkdRotationalAxis& object) override { m_matrix = object.GetCompositeMatrix(); }
  void Visit(const mkdCoordinateTransform& object) override {
    m_matrix = object.GetCompositeMatrix();
  }
  void Visit(const mkdHeldTool& object) override { Take(object); }
  void Visit(const mkdToolpathGeometry& object) override { Take(object); }
  void Visit(const mkdPolygonalGeometry& object) override { Take(object); }
  void Visit(const mkdKinematicObject& object) override { Take(object); }

  const mkdMatrix& GetMatrix() const noexcept { return m_matrix; }

 private:
  void Take(const mkdKinematicObject& object) { m_matrix = object.GetWorldTransform(); }

  mkdMatrix m_matrix;
};

}  // namespace

// By the default constructor: what is thrown here then finds a tree to take off its objects.
mkdKinematicTree::mkdKinematicTree(const mkdKinematicTree& other) : mkdKinematicTree() {
  m_nodes.reserve(other.m_nodes.size());
  for (const Node& node : other) Add(node.GetValue(), accessortreenode(node).GetParentObject());
  m_kept = other.m_kept;
}

mkdKinematicTree::~mkdKinematicTree() {
  for (const Node& node : m_tree) std::erase(node.GetValue()->m_links.trees, this);
}

const mkdKinematicTree::Node* mkdKinematicTree::FindNode(const mkdKinematicObject& object) const {
  const auto found = m_nodes.find(&object);
  return found != m_nodes.end() ? found->second : nullptr;
}

const mkdKinematicTree::Node& mkdKinematicTree::Add(const mkdKinematicObjectPointer& object,
                                                    const mkdKinematicObject* parent) {
  using Failure = zvMachineSimulatorException;
  const auto [place, isNew] = m_nodes.try_emplace(&*object, nullptr);
  if (!isNew) throw Failure(Failure::kInvalidObject, object->GetName());
  auto& trees = object->m_links.trees;
  try {
    const Node* above = parent != nullptr ? FindNode(*parent) : &GetRoot();
    // An object below itself has a place, but no node yet.
    if (above == nullptr) throw Failure(Failure::kInvalidParent, parent->GetName());
    trees.push_back(this);
    place->second = &m_tree.Add(object, iterator(above));
  } catch (...) {
    std::erase(trees, this);
    m_nodes.erase(place);
    throw;
  }
  return *place->second;
}

void mkdKinematicTree::Remove(const mkdKinematicObject& object) {
  const Node* node = FindNode(object);
  if (node == nullptr) return;
  if (!node->GetChildren().empty())
    throw zvMachineSimulatorException(zvMachineSimulatorException::kInvalidObject,
                                      object.GetName());
  const mkdKinematicObjectPointer kept = node->GetValue();  // the tree may be its last owner
  std::erase(kept->m_links.trees, this);
  m_kept.erase(kept.Get());
  m_nodes.erase(kept.Get());
  m_tree.Remove(*node);
}

void mkdKinematicTree::SetWorldTransform(const Node& node, const mkdMatrix& world) const {
  // Copies: an observer may change the tree, and the matrix may be of an object that moves.
  const mkdMatrix given = world;
  std::vector<mkdKinematicObjectPointer> children;
  for (const Node& child : node.GetChildren()) children.push_back(child.GetValue());
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the node may go
  const mkdKinematicObjectPointer above = node.GetValue();
  std::uint32_t& timesHandedOn = above ? above->m_links.timesHandedOn : m_timesHandedOn;
  const std::uint32_t time = ++timesHandedOn;
  for (const mkdKinematicObjectPointer& child : children) {
    if (timesHandedOn != time) return;  // an observer has moved them anew
    child->SetWorldTransform(given);
  }
}

const mkdKinematicTree::KeptTransforms& mkdKinematicTree::KeepTransforms(
    const mkdKinematicObject& object) {
  if (FindNode(object) == nullptr)
    throw zvMachineSimulatorException(zvMachineSimulatorException::kInvalidObject,
                                      object.GetName());
  const auto [place, isNew] = m_kept.try_emplace(&object);
  KeptTransforms& kept = place->second;
  ++kept.useCount;
  if (!isNew) return kept;
  CompositeGetter composite;
  object.AcceptVisitor(composite);
  kept.world = object.GetWorldTransform();
  kept.composite = composite.GetMatrix();
  return kept;
}

const mkdKinematicTree::KeptTransforms* mkdKinematicTree::FindKeptTransforms(
    const mkdKinematicObject& object) const {
  const auto found = m_kept.find(&object);
  return found != m_kept.end() ? &found->second : nullptr;
}

void mkdKinematicTree::ReleaseTransforms(const mkdKinematicObject& object) {
  const auto found = m_kept.find(&object);
  if (found != m_kept.end() && --found->second.useCount == 0) m_kept.erase(found);
}

}  // namespace kintree
