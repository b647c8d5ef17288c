// The sample machines of the folder machines: what stands in their files, and that a posting on
// them moves them as it should.
#include <kandrel/kintree/held_tool.h>
#include <kandrel/kintree/machine_file_reader.h>
#include <kandrel/kintree/message_hook.h>
#include <kandrel/misc/text.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/four_axis_scenes.h>
#include <tests/support/kinematics.h>
#include <tests/support/laws.h>
#include <tests/support/outcome.h>
#include <tests/support/seeded.h>
#include <tests/support/testing.h>
#include <tests/support/three_axis_scenes.h>

#include <filesystem>

namespace tests {
namespace {

using kintree::mkdAxis;
using kintree::mkdKinematicObject;

// An axis of the table side turns or moves the part, one of the head the tool.
enum Side { none, table, head };

struct Sample {
  const char* file;
  std::array<Side, 3> slides;
  int kind;  // of five axes; 0 for fewer
  const wchar_t* first;
  Side firstSide;
  const wchar_t* second;
  double toolLength;
  Point partZero;
  Range x, y, z, firstRange, secondRange;
};

constexpr double kEndless = 100000;

const Sample kSamples[] = {
    {"mill3",
     {table, table, head},
     0,
     nullptr,
     none,
     nullptr,
     120,
     {-170, -120, 0},
     {-500, 500},
     {-400, 400},
     {-300, 300},
     {},
     {}},
    {"mill4_table_a",
     {table, table, head},
     0,
     L"A",
     table,
     nullptr,
     120,
     {-100, 0, 0},
     {-500, 500},
     {-400, 400},
     {-300, 500},
     {-kEndless, kEndless},
     {}},
    {"trunnion_ca",
     {head, head, head},
     3,
     L"C",
     table,
     L"A",
     120,
     {0, 0, 60},
     {-500, 500},
     {-400, 400},
     {-300, 700},
     {-kEndless, kEndless},
     {-120, 30}},
    {"head_table_bc",
     {table, head, head},
     2,
     L"C",
     table,
     L"B",
     120,
     {0, 0, 60},
     {-600, 600},
     {-400, 400},
     {-400, 900},
     {-kEndless, kEndless},
     {-110, 110}},
    {"nutating_head_cb",
     {head, head, head},
     1,
     L"C",
     head,
     L"B",
     120,
     {0, 0, 60},
     {-1500, 1500},
     {-1000, 1000},
     {-500, 1200},
     {-360, 360},
     {-180, 180}},
    {"fork_ca",
     {head, head, head},
     1,
     L"C",
     head,
     L"A",
     120,
     {0, 0, 60},
     {-1500, 1500},
     {-1000, 1000},
     {-500, 1200},
     {-360, 360},
     {-110, 110}},
};

class SampleMachine {
 public:
  explicit SampleMachine(const Sample& sample) : m_sample(sample) {
    kintree::SetMessageHook([](const std::wstring& text) { FAIL() << misc::ToUtf8(text); });
    const std::string path = std::string(KANDREL_SOURCE_DIR "/machines/") + sample.file + ".xml";
    machine = kintree::zvV2XMLReader(misc::FromUtf8(path)).Read(nullptr);
    kintree::SetMessageHook(nullptr);
    machine->GetTree().SetWorldTransform(mkdMatrix::Identity());
  }

  template <class T>
  T& As(const wchar_t* name) const {
    return dynamic_cast<T&>(*machine->GetObject(name));
  }
  mkdAxis& Axis(const wchar_t* name) const { return As<mkdAxis>(name); }
  ToolPlace Place() const { return PlaceOf(As<kintree::mkdHeldTool>(L"tool"), Workpiece()); }
  const mkdKinematicObject& Workpiece() const { return As<kintree::mkdWorkPiece>(L"workpiece"); }

  // The scene whose creator posts for this machine, by what the axes of the tree are.
  void Fill(LinearSetup& setup) const {
    for (int i = 0; i < 3; ++i) {
      const mkdAxis& axis = Axis(kSlides[i]);
      const float sign = m_sample.slides[static_cast<std::size_t>(i)] == table ? -1.f : 1.f;
      const FloatVector d = axis.GetInitialDirection() * sign;
      setup.axes[static_cast<std::size_t>(i)] = {d.x, d.y, d.z};
      setup.low[i] = axis.GetMinimum();
      setup.high[i] = axis.GetMaximum();
    }
  }
  template <class AnyScene>
  void FillScene(AnyScene& scene) const {
    Fill(scene.machine);
    scene.origin = Apply(Workpiece().GetWorldTransform(), {});
    scene.toolLength = -Apply(As<mkdKinematicObject>(L"tool").GetWorldTransform(), {}).z;
    scene.par.SetLimitsCheck(zvKDRParam::checkAllAxes);
  }
  Point Direction(const wchar_t* name) const {
    const FloatVector& d = Axis(name).GetInitialDirection();
    return {d.x, d.y, d.z};
  }
  Point Pivot(const wchar_t* name) const {
    const FloatVector& p = As<kintree::mkdRotationalAxis>(name).GetPivot();
    return {p.x, p.y, p.z};
  }
  Range RangeOf(const wchar_t* name) const {
    return {Axis(name).GetMinimum(), Axis(name).GetMaximum()};
  }

  // Moved line by line, the tool object is where the line says, as the workpiece object sees it.
  void ExpectFollows(const Outcome& outcome) const {
    ASSERT_EQ(outcome.id, 0u) << m_sample.file;
    ASSERT_GE(outcome.lines.size(), 12u) << m_sample.file;
    for (const Line& line : outcome.lines) {
      for (int i = 0; i < 3; ++i) Axis(kSlides[i]).SetValue(line.machine[i]);
      const wchar_t* const names[] = {m_sample.first, m_sample.second};
      for (std::size_t i = 0; i < line.degs.size(); ++i) Axis(names[i]).SetValue(line.degs[i]);
      for (const bool anew : {false, true}) {
        if (anew) machine->GetTree().SetWorldTransform(mkdMatrix::Identity());
        const ToolPlace place = Place();
        ASSERT_LT(Distance(place.tip, line.part), kPlace) << m_sample.file;
        ASSERT_LT(Distance(place.axis, line.orientation), kDirection) << m_sample.file;
      }
    }
  }

  kintree::zvV2XMLReader::Machine machine;

 private:
  static constexpr const wchar_t* kSlides[] = {L"X", L"Y", L"Z"};
  // Single precision at a few hundred millimetres; the largest seen are 2.9e-5 and 5.7e-8.
  static constexpr double kPlace = 1e-4;
  static constexpr double kDirection = 3e-7;

  const Sample& m_sample;
};

TEST(SampleMachines, AreAllThoseOfTheFolder) {
  std::vector<std::string> there, expected;
  for (const auto& entry : std::filesystem::directory_iterator(KANDREL_SOURCE_DIR "/machines"))
    if (entry.path().extension() == ".xml") there.push_back(entry.path().stem().string());
  for (const Sample& sample : kSamples) expected.push_back(sample.file);
  std::sort(there.begin(), there.end());
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(there, expected);
}

TEST(SampleMachines, HaveTheirBodiesAndLimits) {
  for (const Sample& sample : kSamples) {
    const SampleMachine m(sample);
    EXPECT_EQ(m.machine->GetName(), misc::FromUtf8(sample.file));
    EXPECT_EQ(m.machine->GetUnits(), kMetric);
    for (const wchar_t* name : {L"base", L"chuck", L"head", L"workpiece", L"stock"})
      EXPECT_FALSE(m.As<kintree::mkdPolygonalGeometry>(name).GetMesh()->GetTriangles().empty())
          << sample.file << ' ' << misc::ToUtf8(name);
    for (const auto& [name, entry] : m.machine->GetObjectMap()) {
      const auto* body = dynamic_cast<kintree::mkdPolygonalGeometry*>(entry.object.Get());
      EXPECT_TRUE(body == nullptr || !body->GetMesh()->IsEmpty())
          << sample.file << ' ' << misc::ToUtf8(name);
    }
    EXPECT_EQ(m.machine->GetCollisionChecks().size(), 1u);
    EXPECT_EQ(m.RangeOf(L"X"), sample.x) << sample.file;
    EXPECT_EQ(m.RangeOf(L"Y"), sample.y) << sample.file;
    EXPECT_EQ(m.RangeOf(L"Z"), sample.z) << sample.file;
    const std::pair<const wchar_t*, Range> swivels[] = {{sample.first, sample.firstRange},
                                                        {sample.second, sample.secondRange}};
    for (const auto& [name, range] : swivels) {
      EXPECT_TRUE(name == nullptr || m.RangeOf(name) == range) << sample.file;
    }
    const Point tip = m.Place().tip;
    EXPECT_LT(Distance(tip, Point(0, 0, -sample.toolLength) - sample.partZero), 1e-4)
        << sample.file;
  }
}

TEST(SampleMachines, FollowAPathThatIsPostedWithinTheirLimits) {
  Seeded random;
  for (const Sample& sample : kSamples) {
    const SampleMachine m(sample);
    PathBuilder::Moves moves;
    const auto anywhere = [&] { return random.Vector(60) + Point(0, 0, 60); };
    if (sample.kind != 0) {
      FiveAxisScene scene;
      m.FillScene(scene);
      scene.machine.kind = sample.kind;
      scene.machine.first = m.Direction(sample.first);
      scene.machine.second = m.Direction(sample.second);
      scene.machine.secondPivot = m.Pivot(sample.second);
      // In a head the first pivot is measured from the second.
      scene.machine.firstPivot =
          m.Pivot(sample.first) - (sample.kind == 1 ? m.Pivot(sample.second) : Point());
      scene.machine.firstRange = m.RangeOf(sample.first);
      scene.machine.secondRange = m.RangeOf(sample.second);
      for (int i = 0; i < 12; ++i)
        moves.push_back(Move5(anywhere(), scene.Tool(-150 + 25.0 * i, -10 - 2.5 * i)));
      m.ExpectFollows(Post(scene, PathBuilder().Contour(moves)));
    } else if (sample.first) {
      FourAxisScene scene;
      m.FillScene(scene);
      scene.machine.onTable = sample.firstSide == table;
      scene.machine.axis = m.Direction(sample.first);
      scene.machine.pivot = m.Pivot(sample.first);
      scene.machine.range = m.RangeOf(sample.first);
      for (int i = 0; i < 12; ++i) moves.push_back(Move5(anywhere(), scene.DirectionAt(30 * i)));
      m.ExpectFollows(Post(scene, PathBuilder().Contour(moves)));
    } else {
      ThreeAxisScene scene;
      m.FillScene(scene);
      for (int i = 0; i < 12; ++i) moves.push_back(Move3(anywhere()));
      m.ExpectFollows(Post(scene, PathBuilder().Contour(moves)));
    }
  }
}

}  // namespace
}  // namespace tests
