#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/kintree/machine_visitors.h>
#include <tests/kintree/machine_files.h>

namespace kintree {
namespace {

using exceptions::zvKintreeException;

using Mesh = mkdPolygonalGeometry::Mesh;

// An object of each class, named by it; those of triangles with `mesh`.
std::vector<mkdKinematicObjectPointer> OneOfEach(const Mesh& mesh) {
  return {
      MakeAutoPointer<mkdInitialStock>(L"initial stock", mesh, L"", kMetric),
      MakeAutoPointer<mkdStockGeometry>(L"stock", mesh, L"", kMetric),
      MakeAutoPointer<mkdWorkPiece>(L"workpiece", mesh, L"", kMetric),
      Slide(L"slide"),
      Swivel(L"swivel"),
      Transform(L"transform"),
      MakeAutoPointer<mkdHeldTool>(L"tool", MakeAutoPointer<cadcam::zvEndMill>(), 0.1,
                                   mkdHeldTool::Appearances(), kMetric),
      MakeAutoPointer<mkdToolpathGeometry>(L"toolpath", nullptr, L"", kMetric),
      MakeAutoPointer<mkdPolygonalGeometry>(L"geometry", mesh, L"", kMetric),
  };
}

// Says by which slot it was called, and with it which object was there.
template <class Visitor, class Object>
class Slots final : public Visitor {
 public:
  template <class T>
  using Seen = std::conditional_t<std::is_const_v<Object>, const T, T>;

  void Visit(Seen<mkdInitialStock>& o) override { Add(L"initial stock", o); }
  void Visit(Seen<mkdStockGeometry>& o) override { Add(L"stock", o); }
  void Visit(Seen<mkdWorkPiece>& o) override { Add(L"workpiece", o); }
  void Visit(Seen<mkdTranslationalAxis>& o) override { Add(L"slide", o); }
  void Visit(Seen<mkdRotationalAxis>& o) override { Add(L"swivel", o); }
  void Visit(Seen<mkdCoordinateTransform>& o) override { Add(L"transform", o); }
  void Visit(Seen<mkdHeldTool>& o) override { Add(L"tool", o); }
  void Visit(Seen<mkdToolpathGeometry>& o) override { Add(L"toolpath", o); }
  void Visit(Seen<mkdPolygonalGeometry>& o) override { Add(L"geometry", o); }
  void Visit(Seen<mkdKinematicObject>& o) override { Add(L"base", o); }

  std::vector<std::pair<std::wstring, std::wstring>> seen;

 private:
  void Add(const wchar_t* slot, Object& object) { seen.emplace_back(slot, object.GetName()); }
};

struct Odd final : mkdKinematicObject {
  Odd() : mkdKinematicObject(L"base", {}, kMetric) {}
};

TEST(MachineVisitors, EachClassHasItsSlotAndAClassWithoutOneTheLast) {
  Slots<mkdKOSimVisitor, mkdKinematicObject> changing;
  Slots<mkdKOSimConstVisitor, const mkdKinematicObject> reading;
  auto objects = OneOfEach(nullptr);
  objects.push_back(MakeAutoPointer<Odd>());
  for (const mkdKinematicObjectPointer& object : objects) {
    object->AcceptVisitor(changing);
    const mkdKinematicObject& same = *object;
    same.AcceptVisitor(reading);
  }
  EXPECT_EQ(changing.seen.size(), 10u);
  EXPECT_EQ(changing.seen, reading.seen);
  for (const auto& [slot, name] : changing.seen) EXPECT_EQ(slot, name);
}

class Walker final : public mkdMSHelperKOVisitor {
 public:
  using mkdMSHelperKOVisitor::mkdMSHelperKOVisitor;
  using mkdMSHelperKOVisitor::Visit;
  void Visit(mkdTranslationalAxis& axis) override {
    if (walksInside) Walk(&axis);
    ASSERT_NE(GetCurrentNode(), nullptr);
    EXPECT_EQ(GetCurrentNode()->GetObject().Get(), &axis);
    seen.push_back(axis.GetName());
    if (axis.GetName() == L"b" && GetMachine().GetObjectMap().count(L"e") == 0)
      GetMachine().AddObject(Slide(L"e"), nullptr);
    if (axis.GetName() == failsAt) throw zvKintreeException(0, L"stop");
  }

  std::vector<std::wstring> seen;
  std::wstring failsAt;
  bool walksInside = false;
};

TEST(MachineVisitors, AWalkGoesByNameOrOverTheChildrenOfOneObject) {
  zvKintreeMachDef machine(kMetric);
  const auto d = Slide(L"d"), b = Slide(L"b");
  machine.AddObject(d, nullptr);
  machine.AddObject(b, d);
  machine.AddObject(Transform(L"a2"), d);
  machine.AddObject(Slide(L"c"), b);
  machine.AddObject(Slide(L"a"), d);
  Walker walker(machine);
  walker.Walk();
  EXPECT_EQ(walker.seen, (Names{L"a", L"b", L"c", L"d", L"e"}));
  EXPECT_EQ(walker.GetCurrentNode(), nullptr);
  walker.seen.clear();
  walker.Walk(d.Get());
  EXPECT_EQ(walker.seen, (Names{L"a", L"b"}));
  walker.seen.clear();
  walker.walksInside = true;
  walker.Walk(b.Get());
  walker.Walk(d.Get());  // a walk within a walk gives the node back
  EXPECT_EQ(walker.seen, (Names{L"c", L"a", L"c", L"b"}));
  walker.failsAt = L"b";
  EXPECT_THROW(walker.Walk(), zvKintreeException);
  EXPECT_EQ(walker.GetCurrentNode(), nullptr);
}

TEST(MachineVisitors, TypeValidatorsKeepACopyOfWhatTheyAccept) {
  zvKinematicObjectTypeValidator<mkdTranslationalAxis> slide;
  zvKinematicObjectTypeValidator<mkdRotationalAxis> swivel;
  for (const mkdKinematicObjectPointer& object : OneOfEach(nullptr)) {
    const mkdKinematicObject& o = *object;
    o.AcceptVisitor(slide);
    o.AcceptVisitor(swivel);
    EXPECT_EQ(slide.IsOfType(), o.GetName() == L"slide");
    EXPECT_EQ(swivel.IsOfType(), o.GetName() == L"swivel");
    EXPECT_EQ(slide.GetObject().IsNull(), !slide.IsOfType());
    EXPECT_EQ(swivel.GetObject().IsNull(), !swivel.IsOfType());
    if (!swivel.IsOfType()) continue;
    EXPECT_EQ(swivel.GetObject()->GetName(), L"swivel");
    EXPECT_NE(static_cast<mkdKinematicObject*>(swivel.GetObject().Get()), object.Get());
  }
  const Odd odd;
  EXPECT_TRUE(ThrowsId<zvKintreeException>([&] { odd.AcceptVisitor(slide); }, 0,
                                           L"Abstract class visited"));
}

TEST(MachineVisitors, GeometryInACollisionGroupNeedsAMesh) {
  const std::vector<std::wstring> needAMesh = {L"initial stock", L"stock", L"workpiece",
                                               L"geometry"};
  const auto mesh = MakeAutoPointer<cadcam::zvTMesh<float>>();
  for (const bool hasMesh : {false, true})
    for (const mkdKinematicObjectPointer& object : OneOfEach(hasMesh ? mesh : nullptr)) {
      const mkdKinematicObject& o = *object;
      mkdGeometryChecker checker;
      const auto check = [&] { o.AcceptVisitor(checker); };
      const bool isRefused =
          !hasMesh && std::count(needAMesh.begin(), needAMesh.end(), o.GetName());
      EXPECT_EQ(static_cast<bool>(ThrowsNull(check)), isRefused) << misc::ToUtf8(o.GetName());
      EXPECT_EQ(checker.IsChecked(), !isRefused);
    }
  mkdGeometryChecker checker;
  const Odd odd;
  EXPECT_TRUE(ThrowsId<zvKintreeException>([&] { odd.AcceptVisitor(checker); }, 0,
                                           L"Cannot visit abstract class"));
}

}  // namespace
}  // namespace kintree
