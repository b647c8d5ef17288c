#include <kandrel/misc/range_exception.h>
#include <tests/kintree/machine_files.h>
#include <tests/support/seeded.h>

namespace kintree {
namespace {

class Recorder final : public mkdKinematicObjectObserver {
 public:
  void OnWorldTransform(const mkdKinematicObject& object, const mkdMatrix& world) override {
    told.push_back(object.GetName());
    wasBefore &= object.GetWorldTransform() != world;
  }

  std::vector<std::wstring> told;
  bool wasBefore = true;
};

TEST(KinematicTree, MovingAnAxisMovesAllBelowItAndNothingElse) {
  mkdKinematicTree tree;
  const auto x = Slide(L"X"), z = Slide(L"Z", {0, 0, 1});
  const auto c = Swivel(L"C"), fixed = Swivel(L"A");
  const auto plate = Body(L"plate"), part = Body(L"part");
  tree.Add(x, nullptr);
  tree.Add(fixed, nullptr);
  tree.Add(plate, x.Get());  // a body carries on what is below it
  tree.Add(c, plate.Get());
  tree.Add(z, c.Get());
  tree.Add(part, z.Get());
  Recorder recorder;
  for (const auto& node : tree) node.GetValue()->SetObserver(&recorder);

  tree.SetWorldTransform(Shift(0, 0, 100));
  EXPECT_EQ(recorder.told, (std::vector<std::wstring>{L"X", L"plate", L"C", L"Z", L"part", L"A"}));
  EXPECT_TRUE(recorder.wasBefore);
  recorder.told.clear();
  c->SetValue(90);
  EXPECT_EQ(recorder.told, (std::vector<std::wstring>{L"Z", L"part"}));
  x->SetValue(10);
  z->SetValue(5);
  EXPECT_EQ(Apply(part->GetWorldTransform(), {1, 0, 0}), Point(10, 1, 105));
  EXPECT_EQ(fixed->GetCompositeMatrix(), Shift(0, 0, 100));
  EXPECT_EQ(c->GetCurrentDirection(), FloatVector(0, 0, 1));

  recorder.told.clear();
  tree.SetWorldTransform(*tree.FindNode(*c), Shift(1, 1, 1));
  EXPECT_EQ(recorder.told, (std::vector<std::wstring>{L"Z", L"part"}));
  EXPECT_EQ(part->GetWorldTransform(), Shift(1, 1, 6));
}

TEST(KinematicTree, AnAxisBelowThatRefusesItsValueEndsTheMotion) {
  mkdKinematicTree tree;
  const auto x = Slide(L"X"), y = Slide(L"Y", {0, 1, 0});
  const auto body = Body(L"body");
  tree.Add(x, nullptr);
  tree.Add(y, x.Get());
  tree.Add(body, y.Get());
  y->SetMinimum(1);
  EXPECT_THROW(x->SetValue(2), misc::zvRangeException<double>);
  EXPECT_EQ(y->GetWorldTransform(), Shift(2, 0, 0));
  EXPECT_EQ(body->GetWorldTransform(), mkdMatrix::Identity());
  y->SetValue(1);  // a motion that failed leaves nothing behind
  EXPECT_EQ(body->GetWorldTransform(), Shift(2, 1, 0));
}

TEST(KinematicTree, ObjectsStandInATreeOnceAndBelowOneOfIt) {
  mkdKinematicTree tree;
  const auto x = Slide(L"X"), y = Slide(L"Y");
  tree.Add(x, nullptr);
  EXPECT_TRUE(ThrowsId<Failure>([&] { tree.Add(x, nullptr); }, 3, L"Invalid object (X)"));
  EXPECT_TRUE(ThrowsId<Failure>([&] { tree.Add(x, x.Get()); }, 3));
  const auto other = Slide(L"other");
  EXPECT_TRUE(
      ThrowsId<Failure>([&] { tree.Add(y, other.Get()); }, 1, L"Invalid parent object (other)"));
  EXPECT_TRUE(ThrowsId<Failure>([&] { tree.Add(y, y.Get()); }, 1, L"Invalid parent object (Y)"));
  EXPECT_TRUE(ThrowsNull([&] { tree.Add(nullptr, nullptr); }));
  EXPECT_EQ(tree.GetSize(), 1u);
  EXPECT_EQ(tree.FindNode(*y), nullptr);

  tree.Add(y, x.Get());
  EXPECT_TRUE(ThrowsId<Failure>([&] { tree.Remove(*x); }, 3, L"Invalid object (X)"));
  tree.Remove(*y);
  tree.Remove(*y);
  x->SetValue(3);
  EXPECT_EQ(y->GetWorldTransform(), mkdMatrix::Identity());
  EXPECT_EQ(accessortreenode(*tree.FindNode(*x)).GetParentObject(), nullptr);
  EXPECT_EQ(accessortreenode(tree.GetRoot()).GetParentObject(), nullptr);
}

TEST(KinematicTree, CopiesShareTheirObjectsAndEachMovesThoseOfBoth) {
  auto tree = std::make_unique<mkdKinematicTree>();
  const auto x = Slide(L"X"), y = Slide(L"Y", {0, 1, 0});
  const auto ours = Body(L"ours"), theirs = Body(L"theirs"), deep = Body(L"deep");
  tree->Add(x, nullptr);
  tree->Add(y, x.Get());
  mkdKinematicTree copy(*tree);
  tree->Add(ours, y.Get());
  copy.Add(theirs, y.Get());
  copy.Add(deep, theirs.Get());
  Recorder recorder;
  for (const auto& object : {mkdKinematicObjectPointer(y), mkdKinematicObjectPointer(deep)})
    object->SetObserver(&recorder);
  x->SetValue(4);
  for (const auto& body : {ours, theirs, deep})
    EXPECT_EQ(body->GetWorldTransform(), Shift(4, 0, 0));
  EXPECT_EQ(recorder.told, (std::vector<std::wstring>{L"Y", L"deep"}));
  tree = nullptr;
  x->SetValue(5);
  EXPECT_EQ(ours->GetWorldTransform(), Shift(4, 0, 0));
  EXPECT_EQ(deep->GetWorldTransform(), Shift(5, 0, 0));
}

// Each level stands in two trees that share it out in opposite order: moved along every way there
// is, the lowest would be moved 2^40 times, or without end.
TEST(KinematicTree, TreesThatDisagreeMoveEachObjectOnce) {
  std::vector<misc::zvAutoPointer<mkdTranslationalAxis>> axes;
  for (int i = 0; i < 80; ++i) axes.push_back(Slide(std::to_wstring(i)));
  mkdKinematicTree one, two;
  for (std::size_t i = 0; i < axes.size(); ++i) {
    one.Add(axes[i], i == 0 ? nullptr : axes[i - 1].Get());
    const std::size_t back = axes.size() - 1 - i;
    two.Add(axes[back], i == 0 ? nullptr : axes[back + 1].Get());
  }
  Recorder recorder;
  for (const auto& axis : axes) axis->SetObserver(&recorder);
  axes[40]->SetValue(1);
  EXPECT_LE(recorder.told.size(), axes.size());
  EXPECT_EQ(axes[79]->GetWorldTransform(), Shift(1, 0, 0));
  EXPECT_EQ(axes[0]->GetWorldTransform(), Shift(1, 0, 0));
}

TEST(KinematicTree, AHundredThousandLevelsMoveWithoutRecursion) {
  auto tree = std::make_unique<mkdKinematicTree>();
  mkdKinematicObjectPointer last;
  for (int i = 0; i < 100000; ++i) {
    const mkdKinematicObjectPointer next =
        i % 2 == 0 ? mkdKinematicObjectPointer(Slide(L"s")) : mkdKinematicObjectPointer(Body(L"b"));
    tree->Add(next, last.Get());
    last = next;
  }
  const auto copy = std::make_unique<mkdKinematicTree>(*tree);
  tree->SetWorldTransform(Shift(0, 0, 1));
  EXPECT_EQ(last->GetWorldTransform(), Shift(0, 0, 1));
}

TEST(KinematicTree, KeptTransformsAreThoseOfTheFirstUntilTheLastIsReleased) {
  mkdKinematicTree tree;
  const auto x = Slide(L"X");
  const auto body = Body(L"body");
  EXPECT_TRUE(ThrowsId<Failure>([&] { tree.KeepTransforms(*x); }, 3));
  tree.Add(x, nullptr);
  tree.Add(body, x.Get());
  x->SetValue(1);
  tree.KeepTransforms(*x);
  tree.KeepTransforms(*body);
  x->SetValue(2);
  EXPECT_EQ(tree.KeepTransforms(*x).useCount, 2u);
  EXPECT_EQ(mkdKinematicTree(tree).FindKeptTransforms(*x)->useCount, 2u);
  tree.ReleaseTransforms(*x);
  ASSERT_NE(tree.FindKeptTransforms(*x), nullptr);
  EXPECT_EQ(tree.FindKeptTransforms(*x)->world, mkdMatrix::Identity());
  EXPECT_EQ(tree.FindKeptTransforms(*x)->composite, Shift(1, 0, 0));
  EXPECT_EQ(tree.FindKeptTransforms(*body)->composite, Shift(1, 0, 0));
  tree.ReleaseTransforms(*x);
  tree.ReleaseTransforms(*x);
  EXPECT_EQ(tree.FindKeptTransforms(*x), nullptr);
  tree.Remove(*body);
  EXPECT_EQ(tree.FindKeptTransforms(*body), nullptr);
}

TEST(KinematicTree, ACopyOfAnObjectStandsAlone) {
  mkdKinematicTree tree;
  const auto x = Slide(L"X");
  const auto body = Body(L"body");
  Recorder recorder;
  body->SetObserver(&recorder);
  tree.Add(x, nullptr);
  tree.Add(body, x.Get());
  mkdTranslationalAxis copy(*x);
  copy.SetValue(9);
  EXPECT_EQ(x->GetValue(), 0);
  EXPECT_EQ(body->GetWorldTransform(), mkdMatrix::Identity());
  EXPECT_EQ(mkdPolygonalGeometry(*body).GetObserver(), nullptr);
  // Name, kind and the place in the tree are no part of the value.
  *x = *Slide(L"Y", {0, 1, 0});
  x->SetValue(8);
  EXPECT_EQ(body->GetWorldTransform(), Shift(0, 8, 0));
  EXPECT_EQ(x->GetName(), L"X");
  static_cast<mkdCoordinateTransform&>(*x) = *Transform(L"T");
  EXPECT_EQ(x->GetKindTags()[0], 3);
}

}  // namespace
}  // namespace kintree
