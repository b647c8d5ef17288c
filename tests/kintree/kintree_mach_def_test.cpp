
#include <tests/kintree/machine_files.h>

namespace kintree {
namespace {

class Recorder final : public zvKintreeMachDefObserver {
 public:
  void OnObjectAdded(const zvKintreeMachDef& machine,
                     const mkdKinematicObjectPointer& object) override {
    told.push_back(object->GetName());
    wasThere &= machine.GetObject(object->GetName()) == object;
    if (action) std::exchange(action, nullptr)();
  }

  Names told;
  bool wasThere = true;
  std::function<void()> action;
};

TEST(KintreeMachDef, ASecondObjectOfANameIsRefusedAndTheFirstStays) {
  zvKintreeMachDef machine(kMetric);
  Recorder recorder;
  machine.AddObserver(recorder);
  const auto x = Slide(L"X"), second = Slide(L"X"), y = Slide(L"Y");
  const mkdKinematicObjectPointer stranger = Slide(L"Z");
  machine.AddObject(x, nullptr);
  EXPECT_TRUE(ThrowsId<Failure>([&] { machine.AddObject(second, x); }, 5,
                                L"An object with this identifier already exists (X)"));
  EXPECT_TRUE(
      ThrowsId<Failure>([&] { machine.AddObject(y, stranger); }, 1, L"Invalid parent object (Z)"));
  EXPECT_TRUE(ThrowsNull([&] { machine.AddObject(nullptr, x); }));
  EXPECT_EQ(machine.GetTree().GetSize(), 1u);
  EXPECT_EQ(machine.GetObject(L"X"), x);
  EXPECT_TRUE(ThrowsId<Failure>([&] { machine.GetObject(L"Y"); }, 0, L"Object not found (Y)"));
  EXPECT_TRUE(ThrowsId<Failure>([&] { machine.GetNode(L"x"); }, 0, L"Object not found (x)"));

  machine.AddObject(y, x);
  EXPECT_EQ(machine.GetNode(L"Y").GetParent(), &machine.GetNode(L"X"));
  machine.RemoveObserver(recorder);
  machine.AddObject(Body(L""), y);
  EXPECT_TRUE(ThrowsId<Failure>([&] { machine.AddObject(Body(L""), y); }, 5,
                                L"An object with this identifier already exists"));
  EXPECT_EQ(recorder.told, (Names{L"X", L"Y"}));
  EXPECT_TRUE(recorder.wasThere);
}

TEST(KintreeMachDef, TheObserversThatItStillHasAreTold) {
  zvKintreeMachDef machine(kMetric);
  Recorder first, second, added;
  first.action = [&] {
    machine.RemoveObserver(second);
    machine.AddObserver(added);
  };
  machine.AddObserver(first);
  machine.AddObserver(second);
  for (const wchar_t* name : {L"X", L"Y"}) machine.AddObject(Slide(name), nullptr);
  EXPECT_EQ(first.told, (Names{L"X", L"Y"}));
  EXPECT_EQ(second.told, Names());
  EXPECT_EQ(added.told, Names{L"Y"});
}

TEST(KintreeMachDef, AnObjectOfNoClassOfItsOwnIsRefusedAndLeavesNothing) {
  struct Odd final : mkdKinematicObject {
    Odd() : mkdKinematicObject(L"odd", {}, kMetric) {}
  };
  zvKintreeMachDef machine(kMetric);
  const auto odd = MakeAutoPointer<Odd>();
  EXPECT_TRUE(ThrowsId<exceptions::zvKintreeException>([&] { machine.AddObject(odd, nullptr); }, 0,
                                                       L"Cannot visit abstract class"));
  EXPECT_EQ(machine.GetTree().GetSize(), 0u);
  EXPECT_EQ(machine.GetObjectMap().size(), 0u);
}

TEST(KintreeMachDef, ACopyHasItsOwnTreeAndNamesAndSharesTheObjects) {
  zvKintreeMachDef machine(kMetric);
  Recorder recorder;
  machine.AddObserver(recorder);
  const auto x = Slide(L"X");
  machine.AddObject(x, nullptr);
  machine.AddObject(Body(L"body"), x);
  machine.SetName(L"mill");
  machine.SetSchema(L"toolpath.scm");
  machine.SetVersion(1.5f);
  machine.SetWriterVersion(1.6f);
  machine.AddFile(L"base.stl");
  machine.HideSlider(L"X");
  machine.AddPreprocessor({L"p.cpp", L"instance"});
  machine.SetCollisionCheck(L"1", {L"", {}, {zvCollisionGroup::isDynamic, {L"X"}}});
  zvKintreeMachDef assigned(kInch);
  assigned.AddObject(Body(L"gone"), nullptr);
  {
    const zvKintreeMachDef copy(machine);
    assigned = copy;
    assigned = *&assigned;
  }
  assigned.AddObject(Body(L"new"), x);
  EXPECT_EQ(recorder.told.size(), 2u);
  EXPECT_EQ(machine.GetObjectMap().count(L"new"), 0u);
  EXPECT_EQ(assigned.GetObjectMap().count(L"gone"), 0u);
  EXPECT_EQ(assigned.GetObject(L"X"), x);
  EXPECT_NE(&assigned.GetNode(L"X"), &machine.GetNode(L"X"));
  EXPECT_EQ(assigned.GetNode(L"body").GetParent(), &assigned.GetNode(L"X"));
  x->SetValue(3);
  for (const wchar_t* name : {L"body", L"new"})
    EXPECT_EQ(assigned.GetObject(name)->GetWorldTransform(), Shift(3, 0, 0));

  EXPECT_EQ(assigned.GetUnits(), kMetric);
  EXPECT_EQ(assigned.GetName(), L"mill");
  EXPECT_EQ(assigned.GetSchema(), L"toolpath.scm");
  EXPECT_EQ(assigned.GetVersion(), 1.5f);
  EXPECT_EQ(assigned.GetWriterVersion(), 1.6f);
  EXPECT_EQ(assigned.GetFiles(), Names{L"base.stl"});
  EXPECT_FALSE(assigned.IsSliderShown(L"X"));
  EXPECT_EQ(assigned.GetPreprocessors().at(0).instanceName, L"instance");
  EXPECT_EQ(assigned.GetCollisionChecks().at(L"1").second.names.at(0), L"X");
}

TEST(KintreeMachDef, UnitsGoOnToTheObjectsUnlessOnlyTheLabelChanges) {
  zvKintreeMachDef machine(kMetric);
  const auto x = Slide(L"X");
  const auto a = Swivel(L"A", {1, 0, 0}, {25.4f, 0, 254});
  const auto transform = Transform(L"T");
  const auto body = Body(L"body");
  body->GetMesh()->AddVertex({25.4f, 0, 0});
  machine.AddObject(x, nullptr);
  machine.AddObject(a, x);
  machine.AddObject(body, a);
  machine.AddObject(transform, a);
  x->SetMaximum(508);
  transform->SetLocalMatrix(Shift(1, 2, 3));
  machine.SetUnits(kInch, true);
  EXPECT_EQ(machine.GetUnits(), kInch);
  EXPECT_EQ(x->GetUnits(), kMetric);
  machine.SetUnits(kMetric, true);
  const zvKintreeMachDef copy(machine);
  machine.SetUnits(kInch);
  EXPECT_NEAR(x->GetMinimum(), -1000 / 25.4, 1e-12);
  EXPECT_NEAR(x->GetMaximum(), 508 / 25.4, 1e-12);
  EXPECT_EQ(a->GetPivot(), FloatVector(1, 0, 10));
  EXPECT_EQ(a->GetMaximum(), 1000);
  EXPECT_EQ(transform->GetLocalMatrix(), Shift(1, 2, 3));
  EXPECT_EQ(body->GetMesh()->GetVertices()[0].x, 1);
  zvKintreeMachDef(copy).SetUnits(kInch);  // the objects are in inch already
  EXPECT_EQ(a->GetPivot().z, 10);
  EXPECT_TRUE(ThrowsId<measures::zvmeasuresException>(
      [&] { machine.SetUnits(static_cast<measures::zvUnitsFactory::Units>(3)); }, 2141));
}

// A look through all others for each of them would take an hour.
TEST(KintreeMachDef, TakesAndFindsAHundredThousandObjects) {
  zvKintreeMachDef machine(kMetric);
  const auto root = Transform(L"root");
  machine.AddObject(root, nullptr);
  for (int i = 0; i < 100000; ++i) machine.AddObject(Transform(std::to_wstring(i)), root);
  EXPECT_EQ(machine.GetNode(L"root").GetChildren().size(), 100000u);
  EXPECT_EQ(machine.GetObject(L"99999")->GetName(), L"99999");
  root->SetLocalMatrix(Shift(1, 0, 0));
  machine.GetTree().SetWorldTransform(mkdMatrix::Identity());
  EXPECT_EQ(machine.GetObject(L"7")->GetWorldTransform(), Shift(1, 0, 0));
}

}  // namespace
}  // namespace kintree
