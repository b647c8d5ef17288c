// zvTree: a tree of values whose nodes stay where they are.
#pragma once

#include <cstddef>
#include <iterator>
#include <list>
#include <memory>
#include <utility>

namespace misc {

template <class T>
class zvTree;

/// A node of a zvTree: its value, its parent and its children in the order in which they came. It
/// keeps its address as long as it is in the tree. Only the tree makes nodes.
template <class T>
class zvTreeNode {
 public:
  using Children = std::list<zvTreeNode>;

  /// Only for zvTree: a node below `parent`, null for a root.
  explicit zvTreeNode(T value, zvTreeNode* parent = nullptr)
      : m_value(std::move(value)), m_parent(parent) {}
  zvTreeNode(const zvTreeNode&) = delete;
  zvTreeNode& operator=(const zvTreeNode&) = delete;
  /// Takes all nodes below with it, without recursion: a tree may be as deep as memory lasts.
  ~zvTreeNode() {
    Children pending = std::move(m_children);
    while (!pending.empty()) {
      pending.splice(pending.end(), pending.front().m_children);
      pending.pop_front();
    }
  }

  /// What the tree keeps here; the tree alone changes it.
  const T& GetValue() const noexcept { return m_value; }
  /// Null for the root.
  const zvTreeNode* GetParent() const noexcept { return m_parent; }
  /// In the order in which they were added.
  const Children& GetChildren() const noexcept { return m_children; }

 private:
  friend class zvTree<T>;

  T m_value;
  zvTreeNode* m_parent;
  Children m_children;
  typename Children::iterator m_self;  // its place among its parent's children; not of the root
};

/// Stands at a node of a tree, and goes from each to the next in pre-order: a node, then all that
/// is below it, child by child. It is valid until the node goes. A default one is behind the last.
template <class T>
class zvTreeIterator {
 public:
  using iterator_category = std::forward_iterator_tag;
  using value_type = zvTreeNode<T>;
  using difference_type = std::ptrdiff_t;
  using pointer = const value_type*;
  using reference = const value_type&;

  zvTreeIterator() = default;
  /// Stands at this node; null is the end.
  explicit zvTreeIterator(const value_type* node) noexcept : m_node(node) {}

  /// The node where it stands. Not for an iterator at the end.
  reference operator*() const noexcept { return *m_node; }
  /// A member of the node.
  pointer operator->() const noexcept { return m_node; }
  /// Equal where both stand at one node, or both at the end.
  bool operator==(const zvTreeIterator& other) const noexcept { return m_node == other.m_node; }

  /// To the next node in pre-order, or to the end.
  zvTreeIterator& operator++() noexcept {
    m_node =
        m_node->GetChildren().empty() ? zvTree<T>::Behind(m_node) : &m_node->GetChildren().front();
    return *this;
  }
  /// The same; returns where it stood.
  zvTreeIterator operator++(int) noexcept {
    zvTreeIterator old = *this;
    ++*this;
    return old;
  }

 protected:
  /// Null at the end.
  const value_type* m_node = nullptr;
};

/// Holds values as a tree below a root, whose value is a default one. Range-for gives the nodes
/// below the root in pre-order. Copies are deep; none of the operations recurses. What was moved
/// from is only assigned to or destroyed.
template <class T>
class zvTree {
 public:
  using Node = zvTreeNode<T>;
  using iterator = zvTreeIterator<T>;

  /// The nodes below one, in pre-order, for range-for.
  struct Range {
    iterator first;
    iterator last;
    /// For range-for.
    iterator begin() const noexcept { return first; }
    iterator end() const noexcept { return last; }
  };

  zvTree() : m_root(std::make_unique<Node>(T())) {}
  zvTree(zvTree&&) noexcept = default;
  zvTree& operator=(zvTree&&) noexcept = default;
  /// A deep copy, node by node, without recursion.
  zvTree(const zvTree& other) : zvTree() {
    // In step: `to` is the copy of the node that `from` has as parent.
    Node* to = m_root.get();
    const Node* above = other.m_root.get();
    for (const Node& from : other) {
      for (; above != from.GetParent(); above = above->GetParent()) to = to->m_parent;
      to = &Append(from.GetValue(), *to);
      above = &from;
    }
  }
  /// A deep copy; this tree stays as it was where memory runs out.
  zvTree& operator=(const zvTree& other) {
    if (this != &other) *this = zvTree(other);
    return *this;
  }

  /// The root, which a tree always has; begin and end run over all that is below it, in pre-order.
  const Node& GetRoot() const noexcept { return *m_root; }
  iterator begin() const noexcept { return Below(*m_root).first; }
  iterator end() const noexcept { return {}; }

  /// What stands below `node`, which is one of this tree.
  static Range Below(const Node& node) noexcept {
    const Node* behind = Behind(&node);
    return {iterator(node.m_children.empty() ? behind : &node.m_children.front()),
            iterator(behind)};
  }

  /// Adds `value` behind the children of `parent`, an iterator of this tree; below the root with
  /// none. Returns its node. Constant time.
  const Node& Add(T value, iterator parent = {}) {
    // The tree owns its nodes and isn't const here; what it gave out is the same node as const.
    return Append(std::move(value), parent == end() ? *m_root : const_cast<Node&>(*parent));
  }

  /// Takes `node`, one of this tree but not its root, out with all that is below it.
  void Remove(const Node& node) { node.m_parent->m_children.erase(node.m_self); }

 private:
  friend class zvTreeIterator<T>;

  // The node that follows in pre-order when what is below `node` is left out; null for none.
  static const Node* Behind(const Node* node) noexcept {
    for (; node->m_parent != nullptr; node = node->m_parent) {
      const auto next = std::next(node->m_self);
      if (next != node->m_parent->m_children.end()) return &*next;
    }
    return nullptr;
  }

  static Node& Append(T value, Node& parent) {
    Node& node = parent.m_children.emplace_back(std::move(value), &parent);
    node.m_self = std::prev(parent.m_children.end());
    return node;
  }

  std::unique_ptr<Node> m_root;
};

}  // namespace misc
