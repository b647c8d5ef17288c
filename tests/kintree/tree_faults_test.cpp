// What goes wrong with a tree and its machine files only now and then: numbers at the edge of
// floats, observers that interfere, failing memory, odd machines and settings.
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/kintree/held_tool.h>
#include <kandrel/kintree/kintree_exception.h>
#include <kandrel/kintree/machine_overwrite.h>
#include <kandrel/kintree/machine_reader.h>
#include <kandrel/kintree/machine_visitors.h>
#include <kandrel/misc/range_exception.h>
#include <kandrel/persistence/settings_file.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>
#include <sys/stat.h>
#include <tests/kintree/machine_files.h>
#include <tests/support/kinematics.h>
#include <tests/support/memory_watch.h>
#include <tests/support/numbers.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace kintree {
namespace {

using misc::MakeAutoPointer;
using tests::Body;
using tests::FloatVector;
using tests::kInch;
using tests::kInfinity;
using tests::kMetric;
using tests::kNaN;
using tests::Shift;
using tests::Slide;
using tests::Swivel;
using tests::ThrowsId;
using Failure = zvMachineSimulatorException;
using Names = std::vector<std::wstring>;

TEST(TreeFaults, ADirectionAlongABaseVectorIsExactlyThat) {
  const struct {
    FloatVector given, unit;
  } cases[] = {
      {{0.9999999f, 0, 0}, {1, 0, 0}},
      {{0, -1.0000002f, 0}, {0, -1, 0}},
      {{0, 0, 1e-40f}, {0, 0, 1}},
      {{-3e38f, 0, 0}, {-1, 0, 0}},
      {{0.70710682f, 0.70710682f, 0}, {0.70710682f, 0.70710682f, 0}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Slide(L"X", c.given)->GetInitialDirection(), c.unit);
    EXPECT_EQ(Swivel(L"A", c.given)->GetCurrentDirection(), c.unit);
  }
  EXPECT_TRUE(std::signbit(Slide(L"X", {1, -0.0f, 0})->GetInitialDirection().y));
}

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

TEST(TreeFaults, AssigningLeavesNameKindAndPlace) {
  zvKintreeMachDef machine(kMetric);
  const auto x = Slide(L"X"), y = Slide(L"Y", {0, 1, 0});
  const auto t = tests::Transform(L"T");
  for (const mkdKinematicObjectPointer& object : std::vector<mkdKinematicObjectPointer>{x, y, t})
    machine.AddObject(object, nullptr);
  *x = *y;
  EXPECT_EQ(machine.GetObject(L"X")->GetName(), L"X");
  EXPECT_EQ(x->GetInitialDirection(), FloatVector(0, 1, 0));
  static_cast<mkdCoordinateTransform&>(*x) = *t;
  EXPECT_EQ(x->GetKindTags()[0], 3);
}

TEST(TreeFaults, ACopyThatFindsNoMemoryLeavesNoTrace) {
  mkdKinematicTree tree;
  const auto x = Slide(L"X"), y = Slide(L"Y");
  const auto body = Body(L"body");
  tree.Add(x, nullptr);
  tree.Add(y, x.Get());
  tree.Add(body, y.Get());
  bool isRefused = true;
  int refusals = 0;
  for (std::uint64_t served = 0; isRefused; ++served) {
    isRefused = false;
    try {
      const tests::MemoryFailure failure(served, false);
      const auto copy = std::make_unique<mkdKinematicTree>(tree);
    } catch (const std::bad_alloc&) {
      isRefused = true;
      ++refusals;
    }
    x->SetValue(static_cast<double>(served));
    EXPECT_EQ(body->GetWorldTransform(), Shift(static_cast<float>(served), 0, 0));
  }
  EXPECT_GT(refusals, 3);
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
    for (const auto& node : *scene.tree)
      if (node.GetValue()->GetName() == c.watched) node.GetValue()->SetObserver(&observer);
    c.motion(scene);
    EXPECT_EQ(observer.action, nullptr);
    EXPECT_EQ(scene.Shifts(), c.shifts);
  }
}

// The sanitizer sees it if anything that is gone is touched.
TEST(TreeFaults, AnObserverMayTakeOutObjectsAndTrees) {
  const std::tuple<std::wstring, std::function<void(Scene&)>> cases[] = {
      {L"b1", [](Scene& s) { s.tree->Remove(*std::exchange(s.b1, nullptr)); }},
      {L"b1", [](Scene& s) { s.tree->Remove(*std::exchange(s.b2, nullptr)); }},
      {L"b2",
       [](Scene& s) {
         s.tree->Remove(*std::exchange(s.b3, nullptr));
         s.tree->Remove(*std::exchange(s.y, nullptr));
       }},
      {L"b3",
       [](Scene& s) {
         s.tree->Remove(*std::exchange(s.b3, nullptr));
         s.tree->Remove(*std::exchange(s.y, nullptr));
       }},
      {L"b1", [](Scene& s) { s = {}; }},
      {L"b3", [](Scene& s) { s = {}; }},
  };
  for (const auto& [watched, action] : cases) {
    SCOPED_TRACE(misc::ToUtf8(watched));
    Scene scene;
    Interference observer;
    observer.action = [&scene, act = action] { act(scene); };
    for (const auto& node : *scene.tree)
      if (node.GetValue()->GetName() == watched) node.GetValue()->SetObserver(&observer);
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

TEST(TreeFaults, AMachineTellsTheObserversThatItStillHas) {
  struct Observer final : zvKintreeMachDefObserver {
    void OnObjectAdded(const zvKintreeMachDef&, const mkdKinematicObjectPointer&) override {
      ++told;
      if (action) action();
    }
    int told = 0;
    std::function<void()> action;
  };
  zvKintreeMachDef machine(kMetric);
  Observer first, second, added;
  first.action = [&] {
    machine.RemoveObserver(second);
    machine.AddObserver(added);
    first.action = nullptr;
  };
  machine.AddObserver(first);
  machine.AddObserver(second);
  machine.AddObject(Slide(L"X"), nullptr);
  EXPECT_EQ((std::vector{first.told, second.told, added.told}), (std::vector{1, 0, 0}));
  machine.AddObject(Slide(L"Y"), nullptr);
  EXPECT_EQ((std::vector{first.told, second.told, added.told}), (std::vector{2, 0, 1}));
}

TEST(TreeFaults, AWalkWithinAWalkGivesTheNodeBack) {
  struct Walker final : mkdMSHelperKOVisitor {
    using mkdMSHelperKOVisitor::mkdMSHelperKOVisitor;
    using mkdMSHelperKOVisitor::Visit;
    void Visit(mkdTranslationalAxis& axis) override {
      Walk(&axis);
      ASSERT_NE(GetCurrentNode(), nullptr);
      EXPECT_EQ(GetCurrentNode()->GetObject().Get(), &axis);
      ++visits;
    }
    int visits = 0;
  };
  zvKintreeMachDef machine(kMetric);
  const auto x = Slide(L"X");
  machine.AddObject(x, nullptr);
  machine.AddObject(Slide(L"Y"), x);
  Walker walker(machine);
  walker.Walk();
  EXPECT_EQ(walker.visits, 3);
  EXPECT_EQ(walker.GetCurrentNode(), nullptr);
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

TEST(TreeFaults, AnUnknownAccessHasNoTextOfAnother) {
  for (const int access : {-1, 3, 6})
    EXPECT_EQ(
        exceptions::zvFileAccessException(L"m", exceptions::zvFileAccessException::Access(access))
            .GetMessage(),
        L"File 'm' Unknown error.");
}

const std::string kX = "x='1' y='0' z='0'", kY = "x='0' y='1' z='0'", kZ = "x='0' y='0' z='1'";
const std::string kTool = tests::Geometry("tool", "objtype='tool'");
const std::string kPart = tests::Geometry("workpiece", "objtype='workpiece'");

std::string Carrier(const std::string& id, const std::string& direction,
                    const std::string& inside) {
  return "<axis id='" + id + "' " + direction + ">" + inside + "</axis>";
}
std::string Turning(const std::string& id, const std::string& direction,
                    const std::string& inside) {
  return Carrier(id, direction + " type='rotation' rzx='0' rzy='0' rzz='0'", inside);
}
std::string XYZ(const std::string& inside) {
  return Carrier("X", kX, Carrier("Y", kY, Carrier("Z", kZ, inside)));
}

class OddMachines : public testing::Test {
 protected:
  post::zvMachDefBuilder Read(const std::string& body, const std::string& version = "1.4") {
    tests::WriteFile(m_folder.Path("m.xml"),
                     tests::MachineFile(body, "units='metric' version='" + version + "'"));
    return m_reader.Read();
  }
  void Settings(const Names& names) {
    post::zv3axMachDef machDef;
    machDef.SetSpindleDirection({0, 1, 0});
    post::zvMachDefBuilder builder;
    builder.SetKind(1);
    builder.SetAxisNames(names);
    builder.SetMachDef(machDef.Clone());
    zvKDSOutput(m_folder.WidePath("m.kds"), builder);
  }

  tests::ScratchFolder m_folder;
  zvMachDefReader m_reader{m_folder.WidePath("m.xml")};
};

TEST_F(OddMachines, AreReadToTheLetter) {
  const std::string fixture = tests::Geometry("fixture", "objtype='geometry'");
  const std::string tool = tests::Geometry("Tool", "objtype='tool'");  // carried by nothing
  const std::string cPart = Turning("C", kZ, kPart);
  const struct {
    const char* what;
    std::string body;
    Names names;
    int onWorkpieceOrKind;
    Names rotaries, translations;
  } cases[] = {
      {"the rotary axis of a Tool is ignored",
       Turning("B", kY, tool) + XYZ(cPart),
       {L"X", L"Y", L"Z", L"C"},
       1,
       {L"B", L"C"},
       {L"X", L"Y", L"Z"}},
      {"a Tool says which side a rotary axis is on",
       XYZ(Turning("A", kX, tool + kPart)),
       {L"X", L"Y", L"Z", L"A"},
       0,
       {L"A"},
       {L"X", L"Y", L"Z"}},
      {"a rotary axis above both, workpiece first",
       Turning("A", kX, cPart + XYZ(kTool)),
       {L"X", L"Y", L"Z", L"C", L"A"},
       3,
       {L"A", L"C"},
       {L"X", L"Y", L"Z"}},
      {"a rotary axis above both, tool first",
       Turning("A", kX, XYZ(kTool) + cPart),
       {L"X", L"Y", L"Z", L"C", L"A"},
       2,
       {L"A", L"C"},
       {L"X", L"Y", L"Z"}},
      {"a fourth translation axis is lost",
       Carrier("U", kX, fixture) + XYZ(kTool) + cPart,
       {L"X", L"Y", L"Z", L"C"},
       1,
       {L"C"},
       {L"X", L"Y", L"Z", L"Z"}},
      {"directions that are 1 but for rounding",
       Carrier("P", "x='0.9999999' y='0' z='0'",
               Carrier("Q", "x='0' y='1.0000002' z='0'",
                       Carrier("R", "x='0' y='0' z='0.9999998'", kTool))) +
           cPart,
       {L"P", L"Q", L"R", L"C"},
       1,
       {L"C"},
       {L"P", L"Q", L"R"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const post::zvMachDefBuilder builder = Read(c.body);
    const post::zvMachDef& machDef = *builder.GetMachDef();
    EXPECT_EQ(builder.GetAxisNames(), c.names);
    if (c.names.size() == 4)
      EXPECT_EQ(post::zvMachDefUtils::As4ax(machDef).GetRotaryOnWorkpiece(), c.onWorkpieceOrKind);
    else
      EXPECT_EQ(post::zvMachDefUtils::As5ax(machDef).GetFiveAxisKind(), c.onWorkpieceOrKind);
    EXPECT_EQ(m_reader.GetRotAxisFound(), c.rotaries);
    EXPECT_EQ(m_reader.GetTranAxisFound(), c.translations);
  }
  // Parallel to the last digit: two rotary axes that are one.
  EXPECT_TRUE(ThrowsId<post::zvPostException>(
      [&] {
        Read(XYZ(kTool) + Turning("A", "x='0.9999999' y='0' z='0'",
                                  Turning("B", "x='1.0000002' y='0' z='0'", kPart)));
      },
      5002));
}

TEST_F(OddMachines, AnAxisThatMovesTheWorkpieceIsTurnedRoundWithItsZeros) {
  const auto builder = Read(Carrier("X", kX, kPart) + Carrier("Y", kY, Carrier("Z", kZ, kTool)));
  const auto direction = builder.GetMachDef()->GetXAxisDirection();
  EXPECT_EQ(direction, tests::Point(-1, 0, 0));
  EXPECT_TRUE(std::signbit(direction.y) && std::signbit(direction.z));
  EXPECT_FALSE(std::signbit(builder.GetMachDef()->GetYAxisDirection().x));
}

TEST_F(OddMachines, WithNamesTheLastTranslationAxisGivesTheUnits) {
  const std::string body =
      XYZ(kTool) + "<machine_data version='1.4' units='inch'/>" + Carrier("U", kX, "");
  EXPECT_EQ(Read(body).GetMachDef()->GetUnits(), kMetric);
  Settings({L"X", L"Y", L"Z"});
  EXPECT_EQ(Read(body).GetMachDef()->GetUnits(), kInch);
}

TEST_F(OddMachines, SettingsWithoutNamesLeaveTheFilesAxesAndSpindle) {
  for (const bool hasNames : {false, true}) {
    Settings(hasNames ? Names{L"X", L"Y", L"Z"} : Names{});
    const post::zvMachDefBuilder builder = Read(XYZ(kTool) + Turning("C", kZ, kPart));
    EXPECT_EQ(builder.GetKind(), 1);
    EXPECT_EQ(builder.GetAxisNames().size(), hasNames ? 3u : 0u);
    EXPECT_EQ(builder.GetMachDef()->GetNumbersOfAxes(),
              hasNames ? post::zvMachDef::threeAxes : post::zvMachDef::fourAxes);
    EXPECT_EQ(builder.GetMachDef()->GetSpindleDirection(),
              hasNames ? tests::Point(0, 1, 0) : tests::Point(0, 0, 1));
  }
}

TEST_F(OddMachines, SettingsThatCannotBeReadAreNotPassedOver) {
  const std::string path = m_folder.Path("m.kds");
  const std::wstring widePath = m_folder.WidePath("m.kds");
  const struct {
    const char* what;
    std::function<void()> make;
    bool isRefused;
  } cases[] = {
      {"folder", [&] { std::filesystem::create_directory(path); }, false},
      {"pipe", [&] { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); }, true},
      {"device", [&] { std::filesystem::create_symlink("/dev/zero", path); }, true},
      {"loop", [&] { std::filesystem::create_symlink("m.kds", path); }, true},
      {"link to nothing", [&] { std::filesystem::create_symlink("none", path); }, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    c.make();
    const auto read = [&] { Read(XYZ(kTool)); };
    if (c.isRefused)
      EXPECT_TRUE(ThrowsId<misc::zvException>(read, 0, L"File open failed.\n" + widePath));
    else
      EXPECT_NO_THROW(read());
    std::filesystem::remove(path);
  }
}

TEST_F(OddMachines, AFileThatGainedAToolpathIsOverwrittenAgainAndAgain) {
  const std::string unit = "initialvalue='1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1'";
  Read(XYZ(kTool) + "<transform id='workpiece_transform' " + unit + ">" + kPart + "</transform>",
       "1.3");
  post::zv3axMachDef machDef;
  for (const double limit : {10.0, 20.0, 30.0}) {
    machDef.SetMaxLimits({limit, limit, limit});
    const auto pointer = machDef.Clone();
    zvXMLOverwrite(m_folder.WidePath("m.xml"), pointer, {}).Overwrite();
    EXPECT_EQ(m_reader.Read().GetMachDef()->GetMaxLimits(), tests::Point(limit, limit, limit));
    const auto machine = zvV2XMLReader(m_folder.WidePath("m.xml")).Read(nullptr);
    EXPECT_EQ(tests::Nested(machine), "X(Y(Z(tool))),workpiece_transform(workpiece,toolpath)");
  }
}

}  // namespace
}  // namespace kintree
