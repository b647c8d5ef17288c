#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/misc/angles.h>
#include <kandrel/misc/host_hooks.h>
#include <kandrel/post/geometry/five_axis_solver.h>
#include <kandrel/post/geometry/solution_choice.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/laws.h>
#include <tests/support/number_cases.h>
#include <tests/support/numbers.h>
#include <tests/support/throws_id.h>
#include <tests/support/toolpath_builders.h>

namespace post {
namespace {

using namespace tests;

constexpr double kPi = 3.14159265358979323846;

Point InPlaneXZ(double deg) {
  return {std::sin(deg * kPi / 180), 0, std::cos(deg * kPi / 180)};
}

zvPosted5axMove SolveMove(const zv5axMoveSolver& solver, const Point& p_part, const Point& t,
                          double poleTolerance = 1e308) {
  return solver.Solve(Move5(p_part, t), zvPostedMove::noLink, 0, false, poleTolerance, true, 0)
      .first;
}

zvRotarySolutions SolveAngles(const FiveAxisScene& scene, const Point& p_part,
                              const Point& orientation, double lastFirstAngle = 0) {
  const zv5axMoveSolver solver = scene.Solver();
  return solver.SolveAngles(p_part, orientation, solver.MakePoleCone(), lastFirstAngle);
}

// Tip and tool of both solutions stand where the machine as rigid bodies has them.
void ExpectOnModel(const FiveAxisScene& scene, const zvRotarySolutions& solutions,
                   const Point& p_part, const Point& orientation, double snap) {
  const double size = scene.Size() + p_part.Length();
  for (const zvRotarySolution* s : {&solutions.first, &solutions.mirror}) {
    const auto pose = scene.Model().At(ToVector(s->position), s->firstAngle, s->secondAngle);
    ASSERT_LE(Distance(ToPoint(pose.tip), p_part), 1e-9 * size);
    ASSERT_LE(Distance(ToPoint(pose.axis), orientation.Normalized()), snap);
  }
}

TEST(FiveAxisSolver, PutsTipAndToolOnTheRigidModelInBothSolutions) {
  Seeded random;
  const int rounds = Rounds(2000);
  int solved = 0, refused = 0;
  for (int i = 0; i < rounds; ++i) {
    SCOPED_TRACE(i);
    const FiveAxisScene scene = RandomScene(random);
    // The smallest and the largest angle between tool and first axis over a whole turn of the
    // second: what an orientation needs to be reached.
    double least = 180, most = 0;
    for (int k = 0; k < 720; ++k) {
      const double deg = DegBetween(scene.Tool(0, 0.5 * k), scene.machine.first);
      least = std::min(least, deg);
      most = std::max(most, deg);
    }
    for (int k = 0; k < 10; ++k) {
      const Point p_part = random.Vector(400);
      const Point orientation = random.UnitVector() * random.Real(0.5, 3);
      const double deg = DegBetween(orientation, scene.machine.first);
      const double slack = 0.3;  // as coarse as the reach is known
      zvRotarySolutions solutions;
      if (const auto id = IdOf([&] { solutions = SolveAngles(scene, p_part, orientation); })) {
        ASSERT_EQ(id, 5000u);
        ASSERT_FALSE(least + slack < deg && deg < most - slack) << deg;
        ++refused;
        continue;
      }
      ++solved;
      ASSERT_TRUE(least - slack < deg && deg < most + slack) << deg;
      // There are two ways to reach a direction, and both are given. A pole is a cone of 0.01
      // degrees.
      const auto& [first, mirror, status] = solutions;
      ASSERT_TRUE(status != 0 || first.secondAngle != mirror.secondAngle);
      ExpectOnModel(scene, solutions, p_part, orientation, status == 0 ? 2e-5 : 2e-4);
      for (const double angle :
           {first.firstAngle, first.secondAngle, mirror.firstAngle, mirror.secondAngle})
        ASSERT_LE(std::fabs(angle), 180);
      if (HasFatalFailure()) return;
    }
  }
  EXPECT_GT(solved, 5 * rounds);
  EXPECT_GT(refused, rounds / 2);
}

TEST(FiveAxisSolver, NamesPolesAndLeavesTheirAngleAtZero) {
  for (const auto& c : NumberCases("geometry/data/poles.txt")) {
    SCOPED_TRACE(c.line);
    const auto direction = [&](std::size_t i) {
      return c[i].size() == 1 ? InPlaneXZ(c[i][0]) : Point{c[i].at(0), c[i].at(1), c[i].at(2)};
    };
    FiveAxisScene scene;
    scene.machine.kind = static_cast<std::int32_t>(c[0][0]);
    scene.machine.first = direction(1);
    scene.machine.second = direction(2);
    scene.par.SetPoleAngleTolerance(c[3][0]);
    const double status = c[5][0];
    const zvRotarySolutions s = SolveAngles(scene, {10, 20, 30}, direction(4));
    EXPECT_EQ(s.poleStatus, status);
    ExpectOnModel(scene, s, {10, 20, 30}, direction(4), 4e-3);
    const bool isOnBoth = c.line.starts_with("on both");
    for (const zvRotarySolution* x : {&s.first, &s.mirror}) {
      EXPECT_TRUE((status != 1 && !isOnBoth) || x->firstAngle == 0);
      EXPECT_TRUE(status != 1 || std::fabs(x->secondAngle) == std::fabs(s.first.secondAngle));
      EXPECT_TRUE(status != 2 || x->secondAngle == 0);
    }
  }
  // A pole tolerance given to one call counts there only.
  const FiveAxisScene scene;
  const zv5axMoveSolver solver = scene.Solver();
  for (const double tolerance : {1.0, 1e308, kInfinity})
    EXPECT_EQ(SolveMove(solver, {}, InPlaneXZ(0.5), tolerance).GetPoleStatus(),
              tolerance == 1 ? 1u : 0u);
}

// A nutating head of 45 degrees reaches a cone of 90 about its first axis.
TEST(FiveAxisSolver, RefusesOnlyWhatIsOutOfReachOrNoDirection) {
  FiveAxisScene nutating;
  nutating.machine.kind = 1;
  nutating.machine.second = {0, 1, 1};
  const auto reach = [&](double deg) { return SolveAngles(nutating, {}, InPlaneXZ(deg)); };
  EXPECT_NO_THROW(reach(89.999));
  // By rounding at the border: both solutions coincide.
  const zvRotarySolutions s = reach(90 + 0.5e-8 / 2 * 180 / kPi);
  EXPECT_NEAR(s.first.firstAngle, s.mirror.firstAngle, 1e-2);
  EXPECT_EQ(s.first.secondAngle, s.mirror.secondAngle);
  for (const double deg : {90.001, 180.0})
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { reach(deg); }, 5000));
  // What is no direction is refused too.
  FiveAxisScene scene;
  const auto solve = [&](const Point& p, const Point& t) { SolveMove(scene.Solver(), p, t); };
  for (const double size : {1e-200, 1e200}) EXPECT_NO_THROW(solve({}, {size, 0, size}));
  EXPECT_TRUE(ThrowsId<cadcam::zvcadcamException>([&] { solve({}, {0, -0.0, 0}); }, 2189));
  for (const double bad : {kNaN, kInfinity, -kInfinity})
    for (double Point::*axis : {&Point::x, &Point::y, &Point::z}) {
      Point p{1, 2, 3}, t{0, 0.6, 0.8};
      p.*axis = t.*axis = bad;
      EXPECT_TRUE(ThrowsId<zvPostException>([&] { solve({1, 2, 3}, t); }, 5039));
      EXPECT_TRUE(ThrowsId<zvPostException>([&] { solve(p, {0, 0.6, 0.8}); }, 5039));
    }
  // Rotary axes that are parallel or nearly so: the definition refuses equal directions only. Of
  // the second pair rounding leaves a vector product of 1e-16.
  using Axes = std::pair<Point, Point>;
  for (const auto& [first, second] : {Axes{{1, 0, 0}, {-1, 0, 0}},
                                      {{1, 1, 1}, {1 + 1e-15, 1, 1}},
                                      {{1, 0, 0}, {1, 1e-5, 0}},
                                      {{1, 0, 0}, {-1, 0, 0.999e-3}}}) {
    scene.machine.first = first;
    scene.machine.second = second;
    for (const Point& t : {Point{1, 0, 0}, Point{0, 0, 1}, Point{0.6, 0, 0.8}})
      EXPECT_TRUE(ThrowsId<cadcam::zvcadcamException>([&] { solve({}, t); }, 2189));
  }
  // These are skew enough.
  scene.machine.first = {0, 1.001e-3, 1};
  scene.machine.second = {0, 0, 1};
  scene.machine.spindle = {1, 0, 0};
  EXPECT_NO_THROW(solve({}, {1, 0, 0}));
}

TEST(FiveAxisSolver, FixesAnUndeterminedAngleOnTheTip) {
  Seeded random;
  for (int i = 0; i < 500; ++i) {
    FiveAxisScene scene = RandomScene(random);
    scene.machine.second = Across(scene.machine.first, random);
    scene.machine.spindle = scene.machine.first;
    const zv5axMoveSolver solver = scene.Solver();
    const Point p_part = random.Vector(300);
    zvPosted5axMove pole = SolveMove(solver, p_part, scene.machine.first);
    ASSERT_EQ(pole.GetPoleStatus(), 1u);
    zvPosted5axMove previous(true);
    for (std::int16_t axis = 0; axis < 2; ++axis) previous.SetAngle(random.Real(-500, 500), axis);
    previous.SetPoleStatus(1);
    const zvPosted5axMove before = pole;
    solver.FixPoleAngle(previous, pole);
    ASSERT_EQ(pole, before);  // two undetermined moves can't help each other
    previous.SetPoleStatus(0);
    solver.FixPoleAngle(previous, pole);
    ASSERT_EQ(pole.GetPoleStatus(), 0u);
    ASSERT_EQ(pole.GetAngle(0), previous.GetAngle(0));
    const zvRotarySolution fixed{pole.GetAngle(0), before.GetAngle(1), pole.GetMachinePosition()};
    ExpectOnModel(scene, {fixed, fixed, 0}, p_part, scene.machine.first, 2e-5);
    pole = before;
    pole.SetPoleStatus(2);
    solver.FixPoleAngle(previous, pole);
    ASSERT_EQ(pole.GetAngle(0), before.GetAngle(0));
    ASSERT_EQ(pole.GetAngle(1), previous.GetAngle(1));
  }
}

bool IsInside(const FiveAxisScene& scene, const Point& p, double slack) {
  const Point above = p - scene.machine.low, below = scene.machine.high - p;
  return std::min({above.x, above.y, above.z, below.x, below.y, below.z}) >= -slack;
}

// Leaves of the circle on which the first axis carries the tip a slot that none of the search's
// steps need hit: across it where it is steep in one coordinate, or where it is foremost in X or Y.
void LeaveASlot(FiveAxisScene& scene, const Point& p_part, double second, Seeded& random) {
  const auto at = [&](double deg) {
    return scene.Kinematics().MachinePosition(p_part, deg, second);
  };
  Point place = at(random.Real(-180, 180));
  const Point middle = (at(0) + at(180)) * 0.5;
  const double r = Distance(at(0), middle);
  double Point::*narrow = &Point::x;
  std::pair<double, double> width{0.01, 0.01};
  if (std::fabs(scene.machine.first.z) == 1 && second == 0 && random.Chance(0.5)) {
    place = middle;
    if (random.Chance(0.5)) narrow = &Point::y;
    place.*narrow += random.Chance(0.5) ? r : -r;
    width = {1e-5 * r, 1e-3};
    if (place.*narrow < middle.*narrow) std::swap(width.first, width.second);
  } else {
    const Point arm = place - middle;
    const Point way = Cross(scene.machine.first, arm);
    for (double Point::*axis : {&Point::y, &Point::z})
      if (std::fabs(way.*axis) > std::fabs(way.*narrow)) narrow = axis;
  }
  const Point room{0.1 * r, 0.1 * r, 0.1 * r};
  scene.machine.low = place - room;
  scene.machine.high = place + room;
  scene.machine.low.*narrow = place.*narrow - width.first;
  scene.machine.high.*narrow = place.*narrow + width.second;
}

// Angle and position belong together, and lie inside wherever an angle can.
TEST(FiveAxisPoleLimits, FindAnAngleInsideWhereThereIsOne) {
  Seeded random;
  const int rounds = Rounds(3000);
  int found = 0, none = 0, slots = 0;
  for (int i = 0; i < rounds; ++i) {
    SCOPED_TRACE(i);
    FiveAxisScene scene;
    scene.par.SetPoleHandling(zvKDRParam::keepWithinLimits);
    scene.machine.kind = random.Chance(0.5) ? 2 : 3;
    scene.machine.first = {0, 0, random.Chance(0.5) ? 1.0 : -1.0};
    scene.machine.firstPivot = random.Vector(30);
    Point orientation{0, 0, random.Chance(0.5) ? 1.0 : -1.0};
    if (random.Chance(0.5)) {  // no axis along Z: the scan
      scene.machine.first = scene.machine.spindle = random.UnitVector();
      scene.machine.second = Across(scene.machine.first, random);
      orientation = scene.machine.first;
    } else if (scene.machine.kind == 2 && random.Chance(0.5)) {  // the pole at a tilt of 90
      orientation = scene.machine.first = {1, 0, 0};
      scene.machine.second = {0, 1, 0};
    }
    scene.machine.secondPivot = random.Vector(30);
    scene.toolLength = random.Real(0, 50);
    const Point p_part = random.Vector(150);
    const double last = random.Real(-720, 720);
    const double second = SolveAngles(scene, p_part, orientation).first.secondAngle;
    const auto at = [&](double deg) {
      return scene.Kinematics().MachinePosition(p_part, deg, second);
    };
    const bool hasSlot = random.Chance(0.5) && Distance(at(0), at(180)) > 60;
    scene.machine.low = Point{-100, -100, -100} + random.Vector(80);
    scene.machine.high = Point{100, 100, 100} + random.Vector(80);
    if (hasSlot) LeaveASlot(scene, p_part, second, random);
    const zvRotarySolutions s = SolveAngles(scene, p_part, orientation, last);
    ExpectOnModel(scene, s, p_part, orientation, 2e-5);
    if (HasFatalFailure()) return;
    if (IsInside(scene, at(0), 1e-15)) {
      ASSERT_EQ(s.poleStatus, 1u);
      continue;
    }
    if (s.poleStatus == 0) {
      ++found;
      slots += hasSlot;
      ASSERT_TRUE(IsInside(scene, s.first.position, 1e-15));
      ASSERT_EQ(s.first.firstAngle, s.mirror.firstAngle);
      continue;
    }
    ++none;
    ASSERT_FALSE(hasSlot);
    // No stretch as long as a step of the search lies inside.
    for (int k = 0, inside = 0; k < 3600; ++k) {
      inside = IsInside(scene, at(0.1 * k), 0) ? inside + 1 : 0;
      ASSERT_LT(inside, 21);
    }
  }
  EXPECT_GT(found, rounds / 30);
  EXPECT_GT(none, rounds / 30);
  EXPECT_GT(slots, rounds / 3);
}

TEST(FiveAxisPoleLimits, CountOnlyWhereTheFirstAxisCanCarryThePole) {
  for (const std::int32_t kind : {0, 1, 2, 3})
    for (const auto handling : {zvKDRParam::keepWithinLimits, zvKDRParam::spreadOnCubic}) {
      FiveAxisScene scene;
      scene.par.SetPoleHandling(handling);
      scene.machine.kind = kind;
      scene.machine.first = {0, 0, kind == 3 ? -1.0 : 1.0};
      scene.machine.low = {-50, -150, -150};
      scene.machine.high = {50, 150, 150};
      // Off in X by a part point that a turn can bring in.
      EXPECT_EQ(SolveAngles(scene, {100, 0, 0}, {0, 0, 1}).poleStatus,
                kind >= 2 && handling == zvKDRParam::keepWithinLimits ? 0u : 1u)
          << kind;
    }
}

std::wstring g_debugLine;

// A plane that can't be met to 1e-13 where the circle is as large as the earth.
TEST(FiveAxisPoleLimits, SaySoWhereABisectionEndsNowhere) {
  FiveAxisScene scene;
  scene.par.SetPoleHandling(zvKDRParam::keepWithinLimits);
  scene.machine.kind = 2;
  scene.machine.axes = {Point{-1, 0, 0}, Point{0, -1, 0}, Point{0, 0, 1}};
  scene.machine.low = {0.1, -1e10, -1e10};
  scene.machine.high = {0.2, 1e10, 1e10};
  const auto before =
      misc::SetDebugLineHook([](std::wstring_view line) noexcept { g_debugLine = line; });
  const zvRotarySolutions s = SolveAngles(scene, {1e9, 0, 0}, {0, 0, 1});
  misc::SetDebugLineHook(before);
  EXPECT_EQ(g_debugLine, L"CTheta Error");
  EXPECT_EQ(s.poleStatus, 1u);
  EXPECT_EQ(s.first.position, (Point{-1e9, 0, 0}));
}

// The machine of the tables: angles within -90..90 and 0..100, slides within 100.
FiveAxisScene LimitedScene(const Numbers& numbers) {
  FiveAxisScene scene;
  scene.machine.firstRange = {-90, 90};
  scene.machine.secondRange = {0, 100};
  scene.machine.low = {-100, -100, -100};
  scene.machine.high = {100, 100, 100};
  scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(numbers[0]));
  scene.par.SetFirstMoveByRule(numbers[1] == 1);
  scene.par.SetFirstMoveMirror(numbers[2] == 1);
  return scene;
}
zvRotarySolutions Both(const Numbers& a, const Numbers& b) {
  return {{a[0], a[1], {a[2], a[3], a[4]}}, {b[0], b[1], {b[2], b[3], b[4]}}, 0};
}

// What keeps limits is taken, then for the next move the nearest, for the first what the rule says.
TEST(FiveAxisChoice, TakesWhatKeepsLimitsAndThenTheNearestOrTheRules) {
  for (const auto& c : NumberCases("geometry/data/choice_next.txt")) {
    const FiveAxisScene scene = LimitedScene(c[0]);
    const zvRotarySolutions both = Both(c[1], c[2]);
    EXPECT_EQ(TakesMirrorNext(0, 0, both, scene.par, scene.machine.MachDef()), c[3][0] == 1)
        << c.line;
  }
  for (const auto& c : NumberCases("geometry/data/choice_first.txt")) {
    FiveAxisScene scene = LimitedScene(c[0]);
    scene.par.SetFirstMoveRule(static_cast<zvKDRParam::FirstMoveRule>(c[0][3]));
    scene.par.SetFirstMoveSolutionIndex(static_cast<zvKDRParam::SolutionIndex>(c[0][4]));
    scene.par.SetFirstMovePreferredAngle(c[0][5]);
    const auto choice = ChooseFirst(Both(c[1], c[2]), scene.par, scene.machine.MachDef());
    EXPECT_EQ(choice.isMirror, c[3][0] == 1) << c.line;
    EXPECT_EQ(choice.excess.IsNone(), c[4].empty()) << c.line;
    if (c[4].empty()) continue;
    EXPECT_EQ(Flat(choice.excess.limitAxis, choice.excess.limitSide), c[4]) << c.line;
  }
}

}  // namespace
}  // namespace post
