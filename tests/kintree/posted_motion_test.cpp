// Trees that are moved as a posting says, against the toolpath that was posted.
#include <kandrel/misc/tolerances.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/four_axis_scenes.h>
#include <tests/support/kinematics.h>
#include <tests/support/laws.h>
#include <tests/support/outcome.h>
#include <tests/support/seeded.h>
#include <tests/support/testing.h>
#include <tests/support/three_axis_scenes.h>

namespace tests {
namespace {

using misc::zvAutoPointer;
using AxisPointer = zvAutoPointer<kintree::mkdAxis>;

// The machine of a scene as a tree: slides below the root, on either side; the tables, each on the
// one before it, and the workpiece; the heads likewise, and the tool.
class TreeOfScene {
 public:
  template <class AnyScene>
  TreeOfScene(const AnyScene& scene, Seeded& random) {
    const rigid::Machine model = scene.Model();
    zvAutoPointer<kintree::mkdKinematicObject> part, head;
    for (std::size_t i = 0; i < 3; ++i) {
      const bool carriesPart = random.Chance(0.5);
      const Point direction = scene.machine.axes[i] * (carriesPart ? -1.0 : 1.0);
      m_slides.push_back(Slide(std::wstring(1, L"XYZ"[i]), ToFloat(direction)));
      Add(m_slides.back(), carriesPart ? part : head, 100000);
    }
    for (const auto& table : model.tables) AddSwivel(table, part);
    for (const auto& swivel : model.heads) AddSwivel(swivel, head);

    const auto partZero = Transform(L"part zero");
    const FloatVector origin = ToFloat(scene.origin);
    partZero->SetLocalMatrix(Shift(origin.x, origin.y, origin.z));
    Add(partZero, part);
    Add(workpiece, part);

    // The tool's z is the spindle, its tip the tool's length in front of the nose.
    const Point z = scene.machine.spindle.Normalized();
    const Point x = Across(z, random), y = Cross(z, x), tip = z * -scene.toolLength;
    mkdMatrix toolTip = mkdMatrix::Identity();
    for (int row = 0; row < 3; ++row) {
      const auto r = static_cast<std::size_t>(row);
      std::size_t column = 0;
      for (const Point& p : {x, y, z, tip}) toolTip(r, column++) = static_cast<float>(p[row]);
    }
    const auto toolZero = Transform(L"tool zero");
    toolZero->SetLocalMatrix(toolTip);
    Add(toolZero, head);
    Add(tool, head);
    PlaceAnew();
  }

  void MoveTo(const Line& line) {
    for (int i = 0; i < 3; ++i) m_slides[static_cast<std::size_t>(i)]->SetValue(line.machine[i]);
    for (const auto& [axis, angle] : m_swivels) axis->SetValue(line.degs.at(angle));
  }
  // The other way: values of single axes, and the whole once.
  void PlaceAnew() { m_machine.GetTree().SetWorldTransform(mkdMatrix::Identity()); }

  zvAutoPointer<kintree::mkdPolygonalGeometry> workpiece = Body(L"workpiece");
  zvAutoPointer<kintree::mkdPolygonalGeometry> tool = Body(L"tool");

 private:
  template <class Object>
  void Add(const Object& object, zvAutoPointer<kintree::mkdKinematicObject>& below,
           double limit = 0) {
    if constexpr (requires { object->SetMinimum(limit); }) {
      object->SetMinimum(-limit);
      object->SetMaximum(limit);
    }
    m_machine.AddObject(object, below);
    below = object;
  }
  void AddSwivel(const rigid::Machine::RotaryAxis& axis,
                 zvAutoPointer<kintree::mkdKinematicObject>& below) {
    const auto& [direction, pivot] = axis.joint;
    const auto swivel = Swivel(L"R" + std::to_wstring(axis.angle), ToFloat(ToPoint(direction)),
                               ToFloat(ToPoint(pivot)));
    m_swivels.emplace_back(swivel, axis.angle);
    Add(swivel, below, 1e6);
  }

  kintree::zvKintreeMachDef m_machine{kMetric};
  std::vector<AxisPointer> m_slides;
  std::vector<std::pair<AxisPointer, std::size_t>> m_swivels;
};

// Single precision: a few units in the last place of numbers up to two thousand, and as many of
// directions. The largest seen are 1.9e-4 and 2.9e-7.
constexpr double kPlace = 1e-3;
constexpr double kDirection = 1e-6;

template <class AnyScene>
void ExpectOnPath(const AnyScene& scene, const PathBuilder& path, Seeded& random) {
  const Outcome outcome = Post(scene, path);
  ASSERT_EQ(outcome.id, 0u);
  ASSERT_FALSE(outcome.lines.empty());
  TreeOfScene tree(scene, random);
  for (const Line& line : outcome.lines) {
    tree.MoveTo(line);
    if (random.Chance(0.1)) tree.PlaceAnew();
    const ToolPlace place = PlaceOf(*tree.tool, *tree.workpiece);
    ASSERT_LT(Distance(place.tip, line.part), kPlace);
    ASSERT_LT(Distance(place.axis, line.orientation), kDirection);
  }
}

TEST(PostedMotion, TreesOfFiveAxesPutTheToolOnThePath) {
  Seeded random;
  for (int round = 0; round < 60; ++round) {
    FiveAxisScene scene = RandomScene(random);
    scene.machine.axes = FiveAxisSetup().axes;
    scene.machine.kind = random.Integer(1, 3);
    const double first = random.Real(-170, 170), second = random.Real(20, 60);
    PathBuilder::Moves moves;
    for (int i = 0; i < 8; ++i)
      moves.push_back(Move5(random.Vector(200), scene.Tool(first + 4 * i, second + 3 * i)));
    ExpectOnPath(scene, PathBuilder().Contour(moves), random);
  }
}

TEST(PostedMotion, TreesOfThreeAndFourAxesPutTheToolOnThePath) {
  Seeded random;
  for (int round = 0; round < 40; ++round) {
    FourAxisScene four = RandomFourAxisScene(random);
    four.machine.axes = FourAxisSetup().axes;
    if (!four.machine.onTable) four.machine.pivot = {};  // it means another thing there
    PathBuilder::Moves moves;
    for (int i = 0; i < 8; ++i)
      moves.push_back(Move5(random.Vector(200), four.DirectionAt(20 * i)));
    ExpectOnPath(four, PathBuilder().Contour(moves), random);

    ThreeAxisScene three = RandomThreeAxisScene(random);
    three.machine.axes = ThreeAxisSetup().axes;
    moves.clear();
    for (int i = 0; i < 8; ++i)
      moves.push_back(Move3(random.Vector(200), 1000, false, three.machine.spindle.Normalized()));
    ExpectOnPath(three, PathBuilder().Contour(moves), random);
  }
}

}  // namespace
}  // namespace tests
