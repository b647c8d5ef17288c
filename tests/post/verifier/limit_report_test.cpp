// What a run leaves of its limits, by hand; and the shift of the part that spares it, against
// machines as rigid bodies and against another way to find the nearest of all shifts.
#include <kandrel/post/verifier/limit_report.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/four_axis_scenes.h>
#include <tests/support/numbers.h>
#include <tests/support/six_axis_scenes.h>

namespace {

using post::zv5axControlDef;
using post::zvLimitBreach;
using post::zvLimitReport;
using tests::kInfinity;
using tests::kNaN;
using tests::Point;

struct BreachCase {
  const char* what;
  double x;
  double first;
  double second;
  zv5axControlDef::angleLimit control;
  std::string expected;  // axis, side, value, bound, excess of each
};

std::string Line(const zvLimitBreach& b) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << b.limit.limitAxis << "<>"[b.limit.limitSide] << ' ' << b.value << ' ' << b.bound << ' '
       << b.excess << ';';
  return text.str();
}

std::string Shown(std::span<const zvLimitBreach> breaches) {
  std::string text;
  for (const zvLimitBreach& b : breaches) text += Line(b);
  return text;
}

// X from -5 to infinity, A from -30 to 45, B from 100 to 500; a tolerance of a half.
TEST(LimitReport, TellsEachAxisThatIsOutAndByHowMuch) {
  constexpr auto kNone = zv5axControlDef::angleLimitNone;
  constexpr auto kWrap = zv5axControlDef::angleLimit360;
  const BreachCase cases[] = {
      {"inside", 0, 0, 200, kNone, ""},
      {"on the bounds", -5, 45, 100, kNone, ""},
      {"past them by rounding", -5 - 5e-13, 45, 100, kNone, ""},
      {"past them by more", -5 - 4e-3, 45, 100, kNone, "0< -5.004 -5 0.004;"},
      {"no upper limit", 1e300, 45, 100, kNone, ""},
      {"within the tolerance", 0, 45.4, 99.6, kNone, ""},
      {"beyond it", 0, 46, 99, kNone, "3> 46 45 1;4< 99 100 1;"},
      {"all at once", -7, -31, 501, kNone, "0< -7 -5 2;3< -31 -30 1;4> 501 500 1;"},
      {"a whole turn off without wrapping", 0, 330, 100, kNone, "3> 330 45 285;"},
      {"a whole turn off", 0, 330, 50, kWrap, ""},
      {"a whole turn off, within the tolerance", 0, 329.6, 501 - 360, kWrap, ""},
      {"no turn fits", 0, 329, 200, kWrap, "3> 329 45 284;"},
      {"not a number", kNaN, 0, kNaN, kWrap, "0< nan -5 nan;4< nan 100 nan;"},
  };
  tests::FiveAxisSetup setup;
  setup.low.x = -5;
  setup.high.x = kInfinity;
  setup.firstRange = {-30, 45};
  setup.secondRange = {100, 500};
  for (const BreachCase& c : cases) {
    SCOPED_TRACE(c.what);
    zvLimitReport report(setup.MachDef(), tests::Wrapping(c.control, c.control), 0.5);
    EXPECT_EQ(Shown(report.Add({{c.x, 0, 0}, c.first, c.second})), c.expected);
    EXPECT_EQ(report.HasLinearBreach(), c.expected.starts_with('0'));
  }
}

// Lines of a run with the part where it stands, and how a shift of it moves their linear axes.
struct ShiftScene {
  misc::zvAutoPointer<post::zvMachDef> machDef;
  std::vector<zvLimitReport::Line> lines;
  std::vector<std::array<Point, 3>> columns;  // what a unit of each coordinate moves them by
};

// Where the slides stand for a tip, by the model alone: its poses are affine in them.
Point SlidesFor(const tests::rigid::Machine& model, const Point& p_part, double first,
                double second) {
  const auto at = [&](const Point& slides) {
    return tests::ToPoint(model.At(tests::ToVector(slides), first, second, 0.0).tip);
  };
  const Point zero = at({});
  cadcam::zvMatrix<double, 4, 4> toPart;
  for (std::size_t j = 0; j < 3; ++j) {
    Point unit;
    unit[static_cast<int>(j)] = 1;
    const Point column = at(unit) - zero;
    for (std::size_t i = 0; i < 3; ++i) toPart(i, j) = column[static_cast<int>(i)];
  }
  toPart(3, 3) = 1;
  return cadcam::Inverse(toPart) * (p_part - zero);
}

template <class Scene>
ShiftScene MakeLines(tests::Seeded& random, const Scene& scene) {
  ShiftScene made{tests::MachDefOf(scene).Clone(), {}, {}};
  const int count = random.Integer(1, 12);
  const double spread = random.Chance(0.3) ? 1 : 360;
  for (int i = 0; i < count; ++i) {
    const Point tip = random.Vector(100);
    const double first = random.Real(-spread, spread), second = random.Real(-spread, spread);
    const auto slides = [&](const Point& shift) {
      tests::rigid::Machine model = scene.Model();
      model.partOrigin = tests::rigid::Add(model.partOrigin, tests::ToVector(shift));
      return SlidesFor(model, tip, first, second);
    };
    const Point at = slides({});
    made.lines.push_back({at, first, second});
    made.columns.push_back(
        {slides({1, 0, 0}) - at, slides({0, 1, 0}) - at, slides({0, 0, 1}) - at});
  }
  return made;
}

ShiftScene RandomShiftScene(tests::Seeded& random) {
  const int sort = random.Integer(0, 3);
  if (sort == 0) return MakeLines(random, tests::RandomFourAxisScene(random));
  if (sort == 1) return MakeLines(random, tests::RandomSixAxisScene(random));
  return MakeLines(random, tests::RandomScene(random));
}

Point Moved(const ShiftScene& scene, std::size_t line, const Point& shift) {
  const auto& [x, y, z] = scene.columns[line];
  return scene.lines[line].p_mach + x * shift.x + y * shift.y + z * shift.z;
}

// The shift nearest to none within the limits, by Dykstra's projections from one limit to the next.
Point NearestByProjections(const ShiftScene& scene) {
  struct Space {
    Point normal;
    double reach;
    Point correction{};
  };
  std::vector<Space> spaces;
  for (std::size_t i = 0; i < scene.lines.size(); ++i)
    for (int axis = 0; axis < 3; ++axis) {
      const auto& [x, y, z] = scene.columns[i];
      const Point row{x[axis], y[axis], z[axis]};
      const double at = scene.lines[i].p_mach[axis];
      spaces.push_back({row, scene.machDef->GetMaxLimits()[axis] - at});
      spaces.push_back({-row, at - scene.machDef->GetMinLimits()[axis]});
    }
  Point shift;
  for (int sweep = 0; sweep < 20000; ++sweep)
    for (Space& space : spaces) {
      const Point from = shift + space.correction;
      const double excess = Dot(space.normal, from) - space.reach;
      shift = excess > 0 ? from - space.normal * (excess / space.normal.SquaredLength()) : from;
      space.correction = from - shift;
    }
  return shift;
}

TEST(LimitReport, FindsTheSmallestShiftThatClearsTheLinearLimits) {
  tests::Seeded random;
  int held = 0;
  for (int run = 0; run < 120; ++run) {
    SCOPED_TRACE(run);
    const ShiftScene scene = RandomShiftScene(random);
    // Limits that the run keeps after a shift of its own.
    const Point known = random.Vector(200);
    Point low = Moved(scene, 0, known), high = low;
    for (std::size_t i = 0; i < scene.lines.size(); ++i)
      for (int axis = 0; axis < 3; ++axis) {
        low[axis] = std::min(low[axis], Moved(scene, i, known)[axis]);
        high[axis] = std::max(high[axis], Moved(scene, i, known)[axis]);
      }
    const double room = random.Real(1, 50);
    scene.machDef->SetMinLimits(low - Point{room, room, room});
    scene.machDef->SetMaxLimits(high + Point{room, room, room});

    zvLimitReport report(*scene.machDef, {}, 0);
    for (const auto& line : scene.lines) report.Add(line);
    for (const double margin : {0.0, 1e-3}) {
      const auto shift = report.SmallestShift(margin);
      ASSERT_TRUE(shift.has_value());
      for (std::size_t i = 0; i < scene.lines.size(); ++i)
        for (int axis = 0; axis < 3; ++axis) {
          const double at = Moved(scene, i, *shift)[axis];
          ASSERT_GE(at, scene.machDef->GetMinLimits()[axis] + margin / 2 - 1e-9);
          ASSERT_LE(at, scene.machDef->GetMaxLimits()[axis] - margin / 2 + 1e-9);
        }
      ASSERT_TRUE(margin != 0 || shift->IsZero() != report.HasLinearBreach());
    }
    const Point nearest = NearestByProjections(scene);
    ASSERT_NEAR(report.SmallestShift(0)->Length(), nearest.Length(), 1e-4);
    ASSERT_LT((*report.SmallestShift(0) - nearest).Length(), 1e-2);
    held += report.HasLinearBreach() ? 1 : 0;

    // A line that stands still asks for nothing; one beyond all others for more than there is.
    report.AddUnbound({high + Point{1e4, 0, 0}, 0, 0});
    ASSERT_NEAR(report.SmallestShift(0)->Length(), nearest.Length(), 1e-4);
    zvLimitReport::Line far = scene.lines[0];
    far.p_mach.x += high.x - low.x + 2 * room + 1e-6;
    report.Add(far);
    ASSERT_FALSE(report.SmallestShift(0).has_value());
  }
  EXPECT_GT(held, 60);
}

// Half a turn apart a table takes the part to opposite sides: what helps one line harms the other.
TEST(LimitReport, FindsThatNoShiftHelps) {
  tests::FourAxisSetup setup;
  setup.low = {-100, -10, -100};
  setup.high = {100, 10, 100};
  zvLimitReport report(setup.MachDef(), {}, 0);
  report.Add({{0, 11, 0}, 0, 0});
  ASSERT_TRUE(report.SmallestShift(0).has_value());
  EXPECT_NEAR(report.SmallestShift(0)->y, -1, 1e-12);
  report.Add({{0, 9.5, 0}, 180, 0});
  EXPECT_FALSE(report.SmallestShift(0).has_value());
  // Not a number: no shift mends it.
  setup.high.x = kNaN;
  zvLimitReport broken(setup.MachDef(), {}, 0);
  broken.Add({{0, 0, 0}, 0, 0});
  EXPECT_FALSE(broken.SmallestShift(0).has_value());
}

}  // namespace
