#include <kandrel/misc/range_exception.h>
#include <tests/kintree/machine_files.h>

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
  const auto c = Swivel(L"C");
  tree.Add(c, x.Get());
  x->SetValue(1);
  c->SetValue(90);
  tree.KeepTransforms(*c);
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
  EXPECT_EQ(Apply(tree.FindKeptTransforms(*c)->composite, {1, 0, 0}), Point(1, 1, 0));
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

TEST(KinematicTree, WhatFloatsCantHoldIsRefusedAndChangesNothing) {
  const auto x = Slide(L"X", {0.6f, 0.8f, 0});
  const auto a = Swivel(L"A", {0, 0, 1}, {3e38f, -3e38f, 0});
  const auto body = Body(L"body");
  mkdKinematicTree tree;
  tree.Add(x, nullptr);
  tree.Add(body, x.Get());
  x->SetValue(2);
  const mkdMatrix placed = body->GetWorldTransform();
  for (mkdAxis* axis : {static_cast<mkdAxis*>(x.Get()), static_cast<mkdAxis*>(a.Get())}) {
    axis->SetMinimum(-kInfinity);
    axis->SetMaximum(kInfinity);
  }
  const std::tuple<mkdAxis*, double> cases[] = {{x.Get(), 1e39},
                                                {x.Get(), -1e308},
                                                {x.Get(), kInfinity},
                                                {a.Get(), 180},
                                                {a.Get(), -kInfinity}};
  for (const auto& [axis, value] : cases) {
    const zvValue before = axis->GetValueState();
    EXPECT_TRUE(ThrowsId<Failure>([&, moved = axis, to = value] { moved->SetValue(to); }, 2));
    EXPECT_EQ(axis->GetValue(), before.current);
    EXPECT_EQ(axis->GetValueState().lastInRange, before.lastInRange);
    EXPECT_EQ(axis->GetValueState().requested, value);
  }
  EXPECT_EQ(body->GetWorldTransform(), placed);
  // A pivot of inches that is too long in millimetres stays, and so do the units.
  mkdRotationalAxis inch(L"A", {0, 0, 1}, {1, 3e37f, 0}, kInch);
  EXPECT_TRUE(ThrowsId<Failure>([&] { inch.SetUnits(kMetric); }, 2, L"Invalid axis (A)"));
  EXPECT_EQ(inch.GetPivot(), FloatVector(1, 3e37f, 0));
  EXPECT_EQ(inch.GetUnits(), kInch);
}

TEST(KinematicTree, UnitsThatAreThereAlreadyReachNoParts) {
  const auto x = MakeAutoPointer<mkdTranslationalAxis>(L"X", FloatVector(1, 0, 0), kInch);
  zvKintreeMachDef machine(kMetric);
  machine.AddObject(x, nullptr);
  machine.SetUnits(kMetric);
  EXPECT_EQ(x->GetUnits(), kInch);
  const auto mesh = MakeAutoPointer<cadcam::zvTMesh<float>>(kInch);
  mkdPolygonalGeometry body(L"body", mesh, L"", kMetric);
  body.SetUnits(kMetric);
  EXPECT_EQ(mesh->GetUnits(), kInch);
  // The value is of the old units until it is set anew.
  x->SetValue(900);
  x->SetUnits(kMetric);
  EXPECT_EQ(x->GetValue(), 900);
  x->SetUnits(kInch);
  const auto metric = Slide(L"Y");
  metric->SetValue(900);
  metric->SetUnits(kInch);
  EXPECT_THROW(metric->SetWorldTransform(mkdMatrix::Identity()), misc::zvRangeException<double>);
}

// Does something once, when a matrix that is told of shifts by more than 5.
struct Interference final : mkdKinematicObjectObserver {
  void OnWorldTransform(const mkdKinematicObject&, const mkdMatrix& world) override {
    if (world(0, 3) > 5 && action) std::exchange(action, nullptr)();
  }
  std::function<void()> action;
};

// X carries b1, Y and b2; Y carries b3; b1 or Y is watched.
struct Scene {
  Scene() {
    tree->Add(x, nullptr);
    tree->Add(b1, x.Get());
    tree->Add(y, x.Get());
    tree->Add(b2, x.Get());
    tree->Add(b3, y.Get());
    tree->Add(last, nullptr);
  }
  void Watch(const std::wstring& name, mkdKinematicObjectObserver* observer) const {
    for (const auto& node : *tree)
      if (node.GetValue()->GetName() == name) node.GetValue()->SetObserver(observer);
  }
  std::vector<float> Shifts() const {
    std::vector<float> shifts;
    for (const mkdKinematicObject* object :
         std::vector<const mkdKinematicObject*>{b1.Get(), b2.Get(), b3.Get(), last.Get()})
      shifts.push_back(object->GetWorldTransform()(0, 3));
    return shifts;
  }

  misc::zvAutoPointer<mkdTranslationalAxis> x = Slide(L"X"), y = Slide(L"Y");
  misc::zvAutoPointer<mkdPolygonalGeometry> b1 = Body(L"b1"), b2 = Body(L"b2"), b3 = Body(L"b3"),
                                            last = Body(L"last");
  std::unique_ptr<mkdKinematicTree> tree = std::make_unique<mkdKinematicTree>();
};

TEST(KinematicTree, AnObserverThatMovesHasTheLastWord) {
  using Do = std::function<void(Scene&)>;
  const Do clamp = [](Scene& s) { s.x->SetValue(5); };
  const Do follow = [](Scene& s) { s.y->SetValue(100); };
  const Do place = [](Scene& s) { s.tree->SetWorldTransform(Shift(1, 0, 0)); };
  const Do set = [](Scene& s) { s.x->SetValue(9); };
  const Do put = [](Scene& s) { s.tree->SetWorldTransform(Shift(9, 0, 0)); };
  const struct {
    std::wstring watched;
    Do motion, action;
    std::vector<float> shifts;
  } cases[] = {
      {L"b1", set, clamp, {5, 5, 5, 0}},    {L"Y", set, clamp, {5, 5, 5, 0}},
      {L"b2", set, clamp, {5, 5, 5, 0}},    {L"b1", set, follow, {9, 9, 109, 0}},
      {L"Y", set, follow, {9, 9, 109, 0}},  {L"b2", set, follow, {9, 9, 109, 0}},
      {L"b3", set, follow, {9, 9, 109, 0}}, {L"b1", put, clamp, {14, 14, 14, 9}},
      {L"X", put, clamp, {14, 14, 14, 9}},  {L"b1", put, place, {1, 1, 1, 1}},
      {L"last", put, place, {1, 1, 1, 1}},  {L"b1", set, place, {10, 10, 10, 1}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(misc::ToUtf8(c.watched) + " " + std::to_string(&c - cases));
    Scene scene;
    Interference observer;
    observer.action = [&] { c.action(scene); };
    scene.Watch(c.watched, &observer);
    c.motion(scene);
    EXPECT_EQ(observer.action, nullptr);
    EXPECT_EQ(scene.Shifts(), c.shifts);
  }
}

// The sanitizer sees it if anything that is gone is touched.
TEST(KinematicTree, AnObserverMayTakeOutObjectsAndTrees) {
  const auto takeOutBoth = [](Scene& s) {
    s.tree->Remove(*std::exchange(s.b3, nullptr));
    s.tree->Remove(*std::exchange(s.y, nullptr));
  };
  const auto takeOutAll = [](Scene& s) { s = {}; };
  const std::tuple<std::wstring, std::function<void(Scene&)>> cases[] = {
      {L"b1", [](Scene& s) { s.tree->Remove(*std::exchange(s.b1, nullptr)); }},
      {L"b1", [](Scene& s) { s.tree->Remove(*std::exchange(s.b2, nullptr)); }},
      {L"b2", takeOutBoth},
      {L"b3", takeOutBoth},
      {L"b1", takeOutAll},
      {L"b3", takeOutAll},
  };
  for (const auto& [watched, action] : cases) {
    SCOPED_TRACE(misc::ToUtf8(watched));
    Scene scene;
    Interference observer;
    observer.action = [&scene, act = action] { act(scene); };
    scene.Watch(watched, &observer);
    mkdAxis& x = *scene.x;
    x.SetValue(9);
    EXPECT_EQ(observer.action, nullptr);
    for (const auto& node : *scene.tree) node.GetValue()->SetObserver(nullptr);
    scene.x->SetValue(1);
    EXPECT_EQ(scene.x->GetCompositeMatrix(), Shift(1, 0, 0));
  }
}

TEST(KinematicTree, AMatrixOfAnObjectThatMovesIsTakenAsItWas) {
  Scene scene;
  scene.x->SetValue(7);
  scene.tree->SetWorldTransform(scene.x->GetCompositeMatrix());
  EXPECT_EQ(scene.Shifts(), (std::vector<float>{14, 14, 14, 7}));
  Interference observer;
  observer.action = [&] { scene.x->SetValue(5); };
  scene.last->SetObserver(&observer);
  scene.last->SetWorldTransform(scene.x->GetCompositeMatrix());
  EXPECT_EQ(scene.Shifts(), (std::vector<float>{12, 12, 12, 14}));
}

}  // namespace
}  // namespace kintree
