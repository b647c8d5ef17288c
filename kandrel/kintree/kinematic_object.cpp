#include <kandrel/kintree/kinematic_object.h>
#include <kandrel/kintree/kinematic_visitor.h>

#include <algorithm>
#include <unordered_set>

namespace kintree {

namespace {

constexpr std::uint8_t kTransformTags[] = {1};

}  // namespace

// Carries matrices down the trees: what has children below it waits here for its turn. Without it
// each level would take its share of the stack.
class mkdKinematicObject::Motion {
 public:
  explicit Motion(const mkdKinematicObject& first) {
    if (first.m_links.trees.size() > 1) m_moved.insert(&first);
  }

  void Add(const mkdKinematicObject& parent, const mkdMatrix& world) {
    for (const mkdKinematicTreeInterface* tree : parent.m_links.trees) {
      const mkdKinematicNode* node = tree->FindNode(parent);
      if (node != nullptr && !node->GetChildren().empty())
        m_waiting.push_back({node->GetValue(), tree, world, parent.m_links.timesHandedOn});
    }
  }

  void Run() {
    while (!m_waiting.empty()) {
      const Waiting next = std::move(m_waiting.back());
      m_waiting.pop_back();
      const Links& links = next.parent->m_links;
      const auto& trees = links.trees;
      // An observer may have changed trees, or have moved the parent anew.
      if (links.timesHandedOn != next.timesHandedOn ||
          std::find(trees.begin(), trees.end(), next.tree) == trees.end())
        continue;
      const mkdKinematicNode::Children& children = next.tree->FindNode(*next.parent)->GetChildren();
      auto child = children.begin();
      for (; child != children.end() && !IsWatched(*child); ++child)
        MoveOnce(*child->GetValue(), next.world);
      // And it may do so now: the rest is gone through in a copy.
      m_children.clear();
      for (; child != children.end(); ++child) m_children.push_back(child->GetValue());
      for (const mkdKinematicObjectPointer& object : m_children) {
        if (links.timesHandedOn != next.timesHandedOn) break;
        MoveOnce(*object, next.world);
      }
    }
  }

 private:
  struct Waiting {
    mkdKinematicObjectPointer parent;
    const mkdKinematicTreeInterface* tree;
    mkdMatrix world;
    std::uint32_t timesHandedOn;
  };

  static bool IsWatched(const mkdKinematicNode& node) {
    return node.GetValue()->m_links.observer != nullptr;
  }

  // Copies of a machine share their objects: each is moved once, by the tree reached first.
  void MoveOnce(mkdKinematicObject& object, const mkdMatrix& world) {
    if (object.m_links.trees.size() > 1 && !m_moved.insert(&object).second) return;
    struct Joined {
      Joined(Links& objectsLinks, Motion* motion)
          : links(objectsLinks), old(std::exchange(objectsLinks.motion, motion)) {}
      Joined(const Joined&) = delete;
      Joined& operator=(const Joined&) = delete;
      ~Joined() { links.motion = old; }

      Links& links;
      Motion* old;
    };
    const Joined joined(object.m_links, this);
    object.SetWorldTransform(world);
  }

  std::vector<Waiting> m_waiting;
  std::vector<mkdKinematicObjectPointer> m_children;
  std::unordered_set<const mkdKinematicObject*> m_moved;
};

mkdKinematicObject::mkdKinematicObject(std::wstring name, std::span<const std::uint8_t> kindTags,
                                       Units units)
    : zvMeasurable(units), m_name(std::move(name)), m_kindTags(kindTags) {}

mkdKinematicObject::mkdKinematicObject(const mkdKinematicObject& other)
    : zvMeasurable(other),
      m_name(other.m_name),
      m_kindTags(other.m_kindTags),
      m_world(other.m_world) {}

mkdKinematicObject& mkdKinematicObject::operator=(const mkdKinematicObject& other) {
  zvMeasurable::operator=(other);
  m_world = other.m_world;
  return *this;
}

mkdKinematicObject::~mkdKinematicObject() = default;

void mkdKinematicObject::Scale(Units, double) {}

mkdKinematicObject::Taken mkdKinematicObject::TakeWorldTransform(const mkdMatrix& world) {
  const std::uint32_t time = ++m_links.timesPlaced;
  Taken taken;
  if (m_links.observer == nullptr) {
    m_world = world;
    return taken;
  }
  if (!m_links.trees.empty()) taken.self = m_links.trees.front()->FindNode(*this)->GetValue();
  const mkdMatrix given = world;  // it may be one of an object that the observer moves
  m_links.observer->OnWorldTransform(*this, given);
  taken.isNewest = m_links.timesPlaced == time;
  if (taken.isNewest) m_world = given;
  return taken;
}

void mkdKinematicObject::MoveChildren(const mkdMatrix& world) {
  ++m_links.timesHandedOn;
  if (m_links.motion != nullptr) return m_links.motion->Add(*this, world);
  if (m_links.trees.empty()) return;
  Motion motion(*this);
  motion.Add(*this, world);
  motion.Run();
}

void mkdKinematicObject::SetWorldTransform(const mkdMatrix& world) {
  const Taken taken = TakeWorldTransform(world);
  if (taken.isNewest) MoveChildren(m_world);
}

void mkdKinematicObject::AcceptVisitor(mkdKOConstVisitor& visitor) const {
  visitor.Visit(*this);
}
void mkdKinematicObject::AcceptVisitor(mkdKOVisitor& visitor) {
  visitor.Visit(*this);
}

mkdCoordinateTransform::mkdCoordinateTransform(std::wstring name, Units units)
    : mkdCoordinateTransform(std::move(name), kTransformTags, units) {}

mkdCoordinateTransform::mkdCoordinateTransform(std::wstring name,
                                               std::span<const std::uint8_t> kindTags, Units units)
    : mkdKinematicObject(std::move(name), kindTags, units) {}

void mkdCoordinateTransform::SetLocalMatrix(const mkdMatrix& local) {
  m_local = local;
  m_composite = GetWorldTransform() * m_local;
}

void mkdCoordinateTransform::SetWorldTransform(const mkdMatrix& world) {
  const Taken taken = TakeWorldTransform(world);
  if (!taken.isNewest) return;
  m_composite = GetWorldTransform() * m_local;
  MoveChildren(m_composite);
}

void mkdCoordinateTransform::AcceptVisitor(mkdKOConstVisitor& visitor) const {
  visitor.Visit(*this);
}
void mkdCoordinateTransform::AcceptVisitor(mkdKOVisitor& visitor) {
  visitor.Visit(*this);
}

}  // namespace kintree
