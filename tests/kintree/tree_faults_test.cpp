// What goes wrong with a tree only now and then: numbers at the edge of floats, and observers that
// interfere.
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/kintree/held_tool.h>
#include <kandrel/misc/range_exception.h>
#include <tests/kintree/machine_files.h>

namespace kintree {
namespace {

TEST(TreeFaults, WhatFloatsCantHoldIsRefusedAndChangesNothing) {
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

TEST(TreeFaults, UnitsThatAreThereAlreadyReachNoParts) {
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

TEST(TreeFaults, AnObserverThatMovesHasTheLastWord) {
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
TEST(TreeFaults, AnObserverMayTakeOutObjectsAndTrees) {
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

TEST(TreeFaults, AMatrixOfAnObjectThatMovesIsTakenAsItWas) {
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

TEST(TreeFaults, AHeldToolThatIsRefusedLeavesTheCallersTool) {
  for (const double tolerance : {kNaN, 0.0, -1.0, -kInfinity, 1e300}) {
    const auto tool = MakeAutoPointer<cadcam::zvEndMill>();
    const std::wstring text = tolerance > 0 ? L"profile tolerance larger than toolRadius"
                                            : L"Polygonization tolerance is invalid.";
    EXPECT_TRUE(ThrowsId<misc::zvException>(
        [&] { mkdHeldTool(L"tool", tool, tolerance, {}, kInch); }, 0, text));
    EXPECT_EQ(tool->GetUnits(), kMetric);
    EXPECT_EQ(tool->GetDiameter(), 10);
  }
}

}  // namespace
}  // namespace kintree
