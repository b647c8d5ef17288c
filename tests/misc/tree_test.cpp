#include <kandrel/misc/tree.h>
#include <tests/support/seeded.h>
#include <tests/support/testing.h>

namespace misc {
namespace {

using Tree = zvTree<int>;

template <class TreeOrRange>
std::vector<int> PreOrder(const TreeOrRange& nodes) {
  std::vector<int> values;
  for (const Tree::Node& node : nodes) values.push_back(node.GetValue());
  return values;
}

// The plain way, which recurses.
std::vector<int> Walked(const Tree::Node& node) {
  std::vector<int> values;
  for (const Tree::Node& child : node.GetChildren()) {
    EXPECT_EQ(child.GetParent(), &node);
    values.push_back(child.GetValue());
    for (const int below : Walked(child)) values.push_back(below);
  }
  return values;
}

TEST(Tree, RandomTreesWalkAsRecursionDoesAlsoCopiedAndCut) {
  tests::Seeded random;
  for (int round = 0; round < 50; ++round) {
    Tree tree;
    std::vector<const Tree::Node*> nodes{&tree.GetRoot()};
    for (int i = 1; i < 60; ++i) {
      const auto& parent = *nodes[random.Integer(0, static_cast<int>(nodes.size()) - 1)];
      nodes.push_back(&tree.Add(i, parent.GetParent() ? Tree::iterator(&parent) : tree.end()));
    }
    const Tree copy = tree;
    const auto areSame = [](const Tree::Node& a, const Tree::Node& b) {
      return a.GetValue() == b.GetValue() && a.GetParent()->GetValue() == b.GetParent()->GetValue();
    };
    EXPECT_TRUE(std::equal(copy.begin(), copy.end(), tree.begin(), tree.end(), areSame));
    EXPECT_EQ(PreOrder(copy), Walked(copy.GetRoot()));
    for (const Tree::Node* node : nodes) EXPECT_EQ(PreOrder(Tree::Below(*node)), Walked(*node));
    const Tree::Node& cut = *nodes[random.Integer(1, 59)];
    std::vector<int> rest = Walked(tree.GetRoot());
    for (const int gone : Walked(cut)) std::erase(rest, gone);
    std::erase(rest, cut.GetValue());
    tree.Remove(cut);
    EXPECT_EQ(PreOrder(tree), rest);
    EXPECT_EQ(PreOrder(copy).size(), 59u);
  }
}

TEST(Tree, ATreeOfAMillionLevelsIsCopiedAndDestroyedWithoutRecursion) {
  EXPECT_EQ(PreOrder(Tree()), std::vector<int>());
  Tree tree;
  const Tree::Node* node = &tree.GetRoot();
  for (int i = 0; i < 1000000; ++i) node = &tree.Add(i, i == 0 ? tree.end() : Tree::iterator(node));
  const Tree copy = tree;
  EXPECT_EQ(std::distance(copy.begin(), copy.end()), 1000000);
  EXPECT_EQ(node->GetValue(), 999999);
}

}  // namespace
}  // namespace misc
