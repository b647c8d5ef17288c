// The sample machines of the folder machines, and machines made of them: what posting reads of
// their files moves their trees as the toolpath says.
#include <kandrel/kintree/held_tool.h>
#include <kandrel/kintree/machine_reader.h>
#include <kandrel/persistence/settings_file.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/creators/four_axis_creator.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <tests/kintree/machine_files.h>
#include <tests/support/memory_streams.h>
#include <tests/support/outcome.h>
#include <tests/support/seeded.h>

namespace tests {
namespace {

using kintree::mkdAxis;
using kintree::mkdKinematicNode;
using post::zvMachDefUtils;
using Machine = kintree::zvV2XMLReader::Machine;

constexpr double kEndless = 100000;

struct Sample {
  const char* file;
  std::wstring axes;
  Point partZero;
};

const Sample kSamples[] = {
    {"mill3", L"XYZ", {-170, -120, 0}},         {"mill4_table_a", L"XYZA", {-100, 0, 0}},
    {"trunnion_ca", L"XYZCA", {0, 0, 60}},      {"head_table_bc", L"XYZCB", {0, 0, 60}},
    {"nutating_head_cb", L"XYZCB", {0, 0, 60}}, {"fork_ca", L"XYZCA", {0, 0, 60}},
};

std::wstring PathOf(const Sample& sample) {
  return misc::FromUtf8(std::string(KANDREL_SOURCE_DIR "/machines/") + sample.file + ".xml");
}

Machine ReadFile(const std::wstring& path) {
  const Reports reports;
  const Machine machine = kintree::zvV2XMLReader(path).Read(nullptr);
  EXPECT_TRUE(reports.Get().empty());
  machine->GetTree().SetWorldTransform(mkdMatrix::Identity());
  return machine;
}

// All that the definition says, and the names of its axes.
std::string BytesOf(const post::zvMachDefBuilder& definition) {
  MemoryOutput stream;
  zvKDSOutput(stream, definition);
  return stream.GetBytes();
}

// The tool as the workpiece sees it, by the tree's own matrices or by exact ones.
ToolPlace FloatPlace(const Machine& machine) {
  return PlaceOf(Widened(machine->GetObject(L"tool")->GetWorldTransform()),
                 Widened(machine->GetObject(L"workpiece")->GetWorldTransform()));
}
ToolPlace ExactPlace(const Machine& machine) {
  return PlaceOf(ExactWorld(machine->GetNode(L"tool")), ExactWorld(machine->GetNode(L"workpiece")));
}

// How far apart two places are: the largest of all tips, and of all axes.
struct Worst {
  double tip = 0, axis = 0;
  void Take(const ToolPlace& a, const ToolPlace& b) {
    tip = std::max(tip, Distance(a.tip, b.tip));
    axis = std::max(axis, Distance(a.axis, b.axis));
  }
};

Outcome PostOn(const post::zvMachDef& definition, const Point& origin, double toolLength,
               const PathBuilder& path) {
  const zv5axControlDef control;
  zvKDRParam par(kMetric);
  par.SetLimitsCheck(zvKDRParam::checkAllAxes);
  const auto post = [&]<class Creator>(const auto& as, Creator*) {
    Creator creator(as, control, par, origin, toolLength);
    return PostBy(creator, path);
  };
  switch (definition.GetNumbersOfAxes()) {
    case post::zvMachDef::threeAxes:
      return post(zvMachDefUtils::As3ax(definition), static_cast<zvPosted3axTPCreator*>(nullptr));
    case post::zvMachDef::fourAxes:
      return post(zvMachDefUtils::As4ax(definition), static_cast<zvPosted4axTPCreator*>(nullptr));
    default:
      return post(zvMachDefUtils::As5ax(definition), static_cast<zvPosted5axTPCreator*>(nullptr));
  }
}

// Posts a path on the definition that posting reads of a file, moves the file's tree line by line
// to where the axes are said to stand, and looks where the tool then is: on the path.
void ExpectOnPath(const std::wstring& path, bool isRapid, Seeded& random) {
  const Machine machine = ReadFile(path);
  const post::zvMachDefBuilder definition = zvMachDefReader(path).Read();
  std::vector<mkdAxis*> axes;
  for (const std::wstring& name : definition.GetAxisNames())
    axes.push_back(&As<mkdAxis>(machine, name));
  const Point origin = Apply(machine->GetObject(L"workpiece")->GetWorldTransform(), {});
  const double toolLength = -Apply(machine->GetObject(L"tool")->GetWorldTransform(), {}).z;

  // The tool points where the tree itself takes it.
  std::vector<ToolPlace> wanted;
  PathBuilder::Moves moves;
  for (int i = 0; i < 12; ++i) {
    if (axes.size() > 3) axes[3]->SetValue(-150 + 25.0 * i);
    if (axes.size() > 4) axes[4]->SetValue(-10 - 2.5 * i);
    wanted.push_back({random.Vector(60) + Point(0, 0, 60), ExactPlace(machine).axis});
    moves.push_back(axes.size() == 3 ? Move3(wanted.back().tip, 1000, isRapid)
                                     : Move5(wanted.back().tip, wanted.back().axis, 1000, isRapid));
  }
  const Outcome outcome =
      PostOn(*definition.GetMachDef(), origin, toolLength, PathBuilder().Contour(moves));
  ASSERT_EQ(outcome.id, 0u);

  Worst exact, moved, placed;
  std::size_t posted = 0;
  for (const Line& line : outcome.lines) {
    for (int i = 0; i < 3; ++i) axes[static_cast<std::size_t>(i)]->SetValue(line.machine[i]);
    for (std::size_t i = 0; i < line.degs.size(); ++i) axes[3 + i]->SetValue(line.degs[i]);
    ToolPlace place{line.part, line.orientation};
    if (!line.inserted) place = wanted.at(posted++);
    exact.Take(ExactPlace(machine), place);
    moved.Take(FloatPlace(machine), place);
    machine->GetTree().SetWorldTransform(mkdMatrix::Identity());
    placed.Take(FloatPlace(machine), place);
  }
  EXPECT_EQ(posted, moves.size());
  EXPECT_LT(exact.tip, 1e-9);
  EXPECT_LT(exact.axis, 1e-9);
  // Single precision at some hundred millimetres; the largest seen are 1.4e-4 and 1.4e-7.
  for (const Worst& worst : {moved, placed}) {
    EXPECT_LT(worst.tip, 3e-4);
    EXPECT_LT(worst.axis, 4e-7);
  }
}

TEST(SampleMachines, AreThoseOfTheFolderWithTheirBodiesAndLimits) {
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(KANDREL_SOURCE_DIR "/machines"))
    files += entry.path().extension() == ".xml";
  EXPECT_EQ(files, std::size(kSamples));
  for (const Sample& sample : kSamples) {
    SCOPED_TRACE(sample.file);
    const Machine machine = ReadFile(PathOf(sample));
    EXPECT_EQ(machine->GetName(), misc::FromUtf8(sample.file));
    for (const auto& [name, entry] : machine->GetObjectMap()) {
      const auto* body = dynamic_cast<kintree::mkdPolygonalGeometry*>(entry.object.Get());
      EXPECT_TRUE(body == nullptr || !body->GetMesh()->IsEmpty()) << misc::ToUtf8(name);
    }
    EXPECT_EQ(machine->GetCollisionChecks().size(), 1u);
    EXPECT_LT(Distance(FloatPlace(machine).tip, Point(0, 0, -120) - sample.partZero), 1e-4);

    const post::zvMachDefBuilder definition = zvMachDefReader(PathOf(sample)).Read();
    std::wstring names;
    for (const std::wstring& name : definition.GetAxisNames()) names += name;
    EXPECT_EQ(names, sample.axes);
    for (int i = 0; i < 3; ++i) {
      const auto& axis =
          As<mkdAxis>(machine, std::wstring(1, names.at(static_cast<std::size_t>(i))));
      EXPECT_EQ(definition.GetMachDef()->GetMinLimits()[i], axis.GetMinimum());
      EXPECT_EQ(definition.GetMachDef()->GetMaxLimits()[i], axis.GetMaximum());
    }
  }
}

TEST(SampleMachines, FollowAPathThatIsPostedOnTheirFiles) {
  Seeded random;
  for (const Sample& sample : kSamples) {
    SCOPED_TRACE(sample.file);
    ExpectOnPath(PathOf(sample), false, random);
  }
}

// Any directions, pivots and places of part and tool.
void Disturb(const Machine& machine, Seeded& random) {
  Point spindle{0, 0, 1}, other = spindle;
  for (const auto& [name, entry] : machine->GetObjectMap()) {
    auto* axis = dynamic_cast<mkdAxis*>(entry.object.Get());
    if (axis == nullptr) continue;
    axis->SetMinimum(-kEndless);
    axis->SetMaximum(kEndless);
    auto* swivel = dynamic_cast<kintree::mkdRotationalAxis*>(axis);
    if (swivel == nullptr) continue;
    Point direction;
    do {
      direction = random.UnitVector();
    } while (std::fabs(Dot(direction, spindle)) > 0.8 || std::fabs(Dot(direction, other)) > 0.8);
    other = direction;
    swivel->SetInitialDirection(ToFloat(direction));
    swivel->SetPivot(ToFloat(random.Vector(300)));
  }
  std::array<Point, 3> slides;
  do {
    for (Point& slide : slides) slide = random.UnitVector();
  } while (std::fabs(Dot(Cross(slides[0], slides[1]), slides[2])) <= 0.3);
  for (std::size_t i = 0; i < 3; ++i)
    As<mkdAxis>(machine, std::wstring(1, L"XYZ"[i])).SetInitialDirection(ToFloat(slides[i]));
  const FloatVector zero = ToFloat(random.Vector(200));
  As<kintree::mkdCoordinateTransform>(machine, L"workpiece_transform")
      .SetLocalMatrix(Shift(zero.x, zero.y, zero.z));
  As<kintree::mkdCoordinateTransform>(machine, L"tool_transform")
      .SetLocalMatrix(Shift(0, 0, static_cast<float>(random.Real(-200, 50))));
}

TEST(SampleMachines, OfAnyDirectionsAndPivotsFollowItToo) {
  Seeded random;
  for (int round = 0; round < 60; ++round) {
    const ScratchFolder folder;
    const Sample& sample = kSamples[static_cast<std::size_t>(round) % std::size(kSamples)];
    SCOPED_TRACE(sample.file);
    const Machine machine = ReadFile(PathOf(sample));
    Disturb(machine, random);
    kintree::zvV2XMLWriter(*machine, folder.WidePath("m.xml")).Write();
    // Rapid: the shortest way between two directions that such a machine reaches may leave them.
    ExpectOnPath(folder.WidePath("m.xml"), true, random);
  }
}

// The same machine with the branches below each object in another order.
void AddShuffled(const mkdKinematicNode& from, kintree::zvKintreeMachDef& to, Seeded& random) {
  std::vector<const mkdKinematicNode*> left;
  for (const mkdKinematicNode& child : from.GetChildren()) left.push_back(&child);
  while (!left.empty()) {
    const auto next = left.begin() + random.Integer(0, static_cast<int>(left.size()) - 1);
    to.AddObject((*next)->GetValue(), from.GetValue());
    AddShuffled(**next, to, random);
    left.erase(next);
  }
}

TEST(SampleMachines, AreTheSameWhateverTheOrderOfTheBranches) {
  Seeded random;
  for (const Sample& sample : kSamples) {
    SCOPED_TRACE(sample.file);
    const ScratchFolder folder;
    const Machine machine = ReadFile(PathOf(sample));
    const std::string wanted = BytesOf(zvMachDefReader(PathOf(sample)).Read());
    bool isToolFirst = false, isToolLast = false;
    for (int round = 0; round < 12; ++round) {
      kintree::zvKintreeMachDef shuffled(machine->GetUnits());
      AddShuffled(machine->GetTree().GetRoot(), shuffled, random);
      kintree::zvV2XMLWriter(shuffled, folder.WidePath("m.xml")).Write();
      const std::string order = Nested(ReadFile(folder.WidePath("m.xml")));
      (order.find("tool_") < order.find("workpiece") ? isToolFirst : isToolLast) = true;
      EXPECT_EQ(BytesOf(zvMachDefReader(folder.WidePath("m.xml")).Read()), wanted) << order;
    }
    EXPECT_TRUE(isToolFirst && isToolLast);
  }
}

}  // namespace
}  // namespace tests
