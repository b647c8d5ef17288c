#include <tests/post/creators/rows.h>
#include <tests/support/four_axis_scenes.h>
#include <tests/support/outcome.h>

namespace tests {
namespace {

using post::zvPostedMove;

constexpr auto kLinear = zvKDRParam::checkLinearAxes;
constexpr auto kRotary = zvKDRParam::checkRotaryAxes;
constexpr auto kAll = zvKDRParam::checkAllAxes;

// Feed moves along X with the axis at these angles.
Source AtAngles(const FourAxisScene& scene, const std::vector<double>& degs) {
  Source source;
  for (const double deg : degs)
    source.push_back({{10.0 * static_cast<double>(source.size()), 5, 0}, scene.DirectionAt(deg)});
  return source;
}

TEST(FourAxisCreator, NearTheSpindleAnglesAreExact) {
  const FourAxisScene scene;  // a pole tolerance of 0.01 degrees
  const auto creator = scene.Creator();
  for (const auto& [name, at, deg, error] : Rows<3>("four_axis_poles.txt")) {
    const auto move = Move5({1, 2, 3}, scene.DirectionAt(at));
    EXPECT_NEAR(creator.PostMove(move, zvPostedMove::link2).GetRotaryAngle(), deg, error);
  }
}

TEST(FourAxisCreator, AnglesOfKnownRuns) {
  for (const auto& c : NumberCases("creators/data/known_runs.txt")) {
    SCOPED_TRACE(c.line);
    FourAxisScene scene;
    scene.par.SetMaxAngleStep(0);
    scene.par.SetMaxAngleJump(180);
    scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(c[3][0]));
    scene.machine.range = {c[2][0], c[2][1]};
    scene.control = Wrapping(c[3][1], 1);  // of which this machine has the first axis alone
    const auto lines = Post(scene, AtAngles(scene, c[0])).lines;
    ASSERT_EQ(lines.size(), c[1].size());
    for (std::size_t i = 0; i < lines.size(); ++i)
      EXPECT_NEAR(lines[i].degs[0], c[1][i], 1e-9) << i;
  }
}

TEST(FourAxisCreator, LargeJumpsAreMadeOffThePart) {
  FourAxisScene scene;
  scene.par.SetMaxAngleStep(0);
  scene.par.SetRetractToLimits(true);
  scene.machine.high = {1000, 1000, 77};
  const auto source = AtAngles(scene, {0, 150, 151});
  const Outcome outcome = Post(scene, source);
  ASSERT_EQ(outcome.lines.size(), 5u);
  EXPECT_EQ(outcome.counts.largeJumps, 1u);
  EXPECT_EQ(outcome.lines[1].machine.z, 77);
  EXPECT_TRUE(outcome.lines[1].rapid && outcome.lines[2].rapid);
  scene.par.SetMaxAngleJump(150.5);
  EXPECT_EQ(Post(scene, source).lines.size(), 3u) << "no jump";
  scene.par.SetMaxAngleJump(120);
  scene.machine.high.z = -77;
  EXPECT_EQ(Post(scene, source).id, 5008u) << "from outside of the limits there is no way";
}

TEST(FourAxisCreator, TellsWhatIsWrong) {
  const Source good{{{0, 0, 0}, {0, 0, 1}}, {{9, 0, 0}, {0, 0.1, 1}}, {{9, 9, 0}, {0, 0.2, 1}}};
  std::vector<double> degs;
  for (double deg = 0; deg <= 900; deg += 10) degs.push_back(deg);
  const Source turns = AtAngles({}, degs);
  const auto three = [&](const Point& a, const Point& b) {
    return Source{{{}, {0, 0, 1}}, {{}, a}, {{}, b}};
  };
  using Change = std::function<void(FourAxisScene&)>;
  const Change nothing = [](FourAxisScene&) {};
  const Change aligns = [](FourAxisScene& s) { s.par.SetAlignToolpath(true); };
  const Change coarse = [](FourAxisScene& s) { s.par.SetMaxAngleStep(179); };
  const auto checks = [](zvKDRParam::LimitsCheck check, std::pair<double, double> range,
                         double highX = 1000, double lowY = -1000) -> Change {
    return [=](FourAxisScene& s) {
      s.par.SetLimitsCheck(check);
      s.machine.range = range;
      s.machine.high.x = highX;
      s.machine.low.y = lowY;
    };
  };
  // clang-format off
  const struct {
    const char* name;
    Source source;
    Change change;
    std::uint32_t id;
    std::size_t left = 0;
  } cases[] = {
      {"nothing", good, nothing, 0, 5},
      // The move halfway has no orientation; only two moves between, and it isn't there.
      {"opposite", {good[0], {{1, 0, 0}, {0, 0, 1}}, {{}, {0, 0, -1}}, good[1]}, coarse, 2189, 2},
      {"the whole path is checked first", three({0, 0, -1}, {1, 0, 0}), coarse, 5030},
      {"minimum of Y", good, checks(kLinear, {-1000, 1000}, 1000, 1), 5011},
      {"maximum of X, all axes", good, checks(kAll, {90, 95}, 8), 5015},
      {"rotary minimum", good, checks(kRotary, {5, 95}, 8), 5013},
      // Below a whole turn nothing is rewound, and without the check of all axes nothing shifted.
      {"rewound", turns, checks(kAll, {-360, 360}), 0},
      {"less than a turn", turns, checks(kAll, {-150, 150}), 5018},
      {"turns of a rotary check", turns, checks(kRotary, {-360, 360}), 5018},
      {"no shift of a rotary check", AtAngles({}, {-170, -230, -290}), checks(kRotary, {-200, 500}), 5013},
      // A tilted spindle, fitting: two moves are too few to tell.
      {"too short to align", {{{}, {0.6, 0, 0.8}}, {{}, {0.6, 0.8, 0}}},
       [&](FourAxisScene& s) { aligns(s); s.machine.spindle = {0.6, 0, 0.8}; }, 5044},
      {"aligned to an oblique axis", three({0.1, 0.1, 1}, {0.2, 0.2, 1}), aligns, 5030},
  };
  // clang-format on
  for (const auto& c : cases) {
    FourAxisScene scene;
    c.change(scene);
    const auto outcome = Post(scene, c.source);
    EXPECT_EQ(outcome.id, c.id) << c.name;
    if (c.left != 0 || c.id == 5030) {
      EXPECT_EQ(outcome.lines.size(), c.left) << c.name;
    }
  }
}

TEST(FourAxisCreator, SingleMovesWithinLimits) {
  for (const auto& [name, at, check, low, high, wrap, highX, deg, id] :
       Rows<8>("four_axis_single_moves.txt")) {
    SCOPED_TRACE(name);
    FourAxisScene scene;
    scene.machine.range = {low, high};
    scene.machine.high.x = highX;
    scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(check));
    scene.control = Wrapping(wrap, 1);
    const auto creator = scene.Creator();
    const auto move = Move5({0, 0, 0}, scene.DirectionAt(at));
    const auto within = [&] {
      return creator.PostMoveWithinMachLimits(move, zvPostedMove::noLink);
    };
    ASSERT_EQ(IdOf(within), id);
    if (id != 0) continue;
    EXPECT_NEAR(within().first->GetRotaryAngle(), deg, 1e-9);
    EXPECT_TRUE(within().second.IsNull());
  }
}

// Steps and limits are the creator's own copy, the pole's tolerance the caller's object.
TEST(FourAxisCreator, ReadsEachParameterFromItsPlace) {
  FourAxisScene scene;
  auto creator = scene.Creator();
  const Source source = AtAngles(scene, {0, 10, 10.005});
  const std::size_t before = creator.Post(Build(source), true)->GetCount();
  scene.par.SetMaxAngleStep(1);
  scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(7));
  EXPECT_EQ(creator.Post(Build(source), true)->GetCount(), before);
  scene.par.SetPoleAngleTolerance(10);
  const auto move = Move5({}, scene.DirectionAt(9.9));
  EXPECT_EQ(creator.PostMove(move, zvPostedMove::noLink).GetRotaryAngle(), 0);
  EXPECT_EQ(creator.Post(Build(source), true)->Front().GetRotaryAngle(), 0);
  EXPECT_EQ(creator.GetPar().GetPoleAngleTolerance(), 0.01);
}

TEST(FourAxisCreator, ANewMachineReachesChecksButNotSolutions) {
  FourAxisScene scene;
  scene.toolLength = 10;
  auto creator = scene.Creator();
  const auto path = Build(AtAngles(scene, {0, 40}));
  const auto before = PostBy(creator, path);
  scene.machine.pivot = {0, 50, 0};
  creator.SetMachDef(scene.machine.MachDef());
  EXPECT_EQ(PostBy(creator, path), before);
  EXPECT_EQ(creator.GetMachDef().GetRotationPivot(), Point(0, 50, 0));
  // Its cone is another.
  scene.machine.spindle = {1, 0, 1};
  creator.SetMachDef(scene.machine.MachDef());
  EXPECT_EQ(PostBy(creator, path).id, 5030u);
}

// The jump at the edge of the pole's cone can't be divided away: steps far below the pole's
// tolerance make as many lines as they ask for and no more.
TEST(FourAxisCreator, FineStepsEndAtTheEdgeOfAPole) {
  for (const auto& [name, step, pole, to] : Rows<3>("fine_steps.txt"))
    for (const bool byDistance : {false, true}) {
      FourAxisScene scene;
      scene.par.SetMaxAngleStep(step);
      scene.par.SetPoleAngleTolerance(pole);
      scene.par.SetInterpolateByDistance(byDistance);
      const auto lines = std::ssize(Post(scene, AtAngles(scene, {0, to})).lines);
      EXPECT_LT(lines, std::lround(2.5 * to / step)) << step;
    }
}

// Its paths are posted move by move, with nothing between.
FourAxisScene Plain(FourAxisScene scene = {}) {
  scene.par.SetMaxAngleStep(0);
  scene.par.SetMaxAngleJump(1000);
  return scene;
}

Line Alone(const FourAxisScene& scene, const SourceMove& move) {
  return LineOf(
      scene.Creator().PostMove(Move5(move.tip, move.orientation), post::zvPostedMove::noLink));
}

// A path is solved some moves at a time; each must come out to the bit as it does alone, whatever
// stands beside it.
TEST(FourAxisPaths, ArePostedAsTheirMovesAreAlone) {
  Seeded random;
  const int rounds = Rounds(600);
  int alike = 0;
  for (int i = 0; i < rounds; ++i) {
    FourAxisScene scene = Plain(RandomFourAxisScene(random));
    scene.par.SetPoleAngleTolerance(random.Chance(0.5) ? 0.1 : random.Real(1, 10));
    const auto any = [&](const std::array<double, 4>& values, int from, int to) {
      return values[static_cast<std::size_t>(random.Integer(from, to))];
    };
    Source source;
    for (int k = random.Integer(2, 200); k > 0; --k) {
      const double apart = any({0, 1e-6, 5e-4, 1e-3}, 0, 3);
      const double deg = random.Chance(0.8)   ? random.Real(-180, 180)
                         : random.Chance(0.5) ? 180 - apart
                                              : -apart;
      const bool isUsual = random.Chance(0.9);
      const double length = any({1, 1.1, 1e-200, 1e200}, isUsual ? 0 : 2, isUsual ? 1 : 3);
      const bool isOnAxis = scene.machine.onTable && random.Chance(0.02);
      source.push_back({isOnAxis ? scene.machine.pivot - scene.origin : random.Vector(200),
                        scene.Tool(deg) * length});
      if (length == 1 && random.Chance(0.05))
        source.back().orientation = Rounded(source.back().orientation);
      if (isOnAxis && random.Chance(0.5))  // hardly off it, far from the pivot
        source.back().tip += scene.machine.axis.Normalized() * 900 + random.Vector(1e-10);
    }
    const Lines lines = Post(scene, source).lines;
    ASSERT_EQ(lines.size(), source.size()) << i;
    for (std::size_t k = 0; k < lines.size(); ++k) {
      const Line alone = Alone(scene, source[k]);
      const double deg = lines[k].degs[0];
      ASSERT_EQ(lines[k].machine, alone.machine) << i << ' ' << k;
      ASSERT_EQ(deg, alone.degs[0] + 360 * std::round((deg - alone.degs[0]) / 360)) << i;
      ASSERT_EQ(lines[k].source, static_cast<int>(k)) << i;
      ++alike;
    }
  }
  EXPECT_GT(alike, 80 * rounds);
}

// A turn shows at any distance from the axis above 1e-12, and none below; alone and in a path.
TEST(FourAxisPaths, TurnPointsByTheirDistanceFromTheAxis) {
  const FourAxisScene scene = Plain();
  for (const double y : {1e-10, 1.1e-12, 0.9e-12}) {
    const Source source(2, {{1000, y, 0}, scene.Tool(120)});
    const Line alone = Alone(scene, source[0]);
    EXPECT_NEAR(alone.machine.y, y > 1e-12 ? -y / 2 : y, 1e-25);
    for (const Line& line : Post(scene, source).lines) EXPECT_EQ(line.machine, alone.machine);
  }
}

// An orientation hardly off the cone, on either side of it, has the turn of the one on it and stays
// as it was given.
TEST(FourAxisPaths, SolveOrientationsNearTheConeAsOnIt) {
  Seeded random;
  FourAxisScene scene = Plain();
  for (const double opening : {20.0, 45.0, 90.0, 120.0}) {
    scene.machine.spindle = SpindleAt(scene.machine.axis, opening, random);
    for (const double deg : {-170.0, -60.0, 2.0, 80.0})
      for (const double off : {-0.99e-6, 1e-9, 0.99e-6}) {
        const Point on = scene.Tool(deg);
        const Point across = Cross(Cross(on, scene.machine.axis), on).Normalized();
        const Source source(2, {{10, 20, 30}, on + off * across});
        for (const Line& line : Post(scene, source).lines) {
          EXPECT_NEAR(line.degs[0], deg, 1e-9) << opening << ' ' << off;
          EXPECT_EQ(line.orientation, source[0].orientation);
        }
      }
  }
}

// Checks then follow the new machine and solutions the old one, whose cone says nothing about what
// lies between.
TEST(FourAxisPaths, AreBlendedAsTheyStandAfterAChangeOfTheMachine) {
  const FourAxisScene scene;
  FourAxisScene other;
  other.machine.axis = {0, 1, 0};
  auto creator = scene.Creator();
  creator.SetMachDef(other.machine.MachDef());
  const Lines lines =
      PostBy(creator, Build({{{0, 0, 0}, other.Tool(-20)}, {{9, 0, 0}, other.Tool(-60)}})).lines;
  EXPECT_GT(lines.size(), 10u);
  double tilt = 0;
  for (const Line& line : lines) {
    EXPECT_NEAR(line.orientation.Length(), 1, 1e-12);
    EXPECT_NEAR(line.orientation.y, 0, 1e-12);
    EXPECT_GT(line.orientation.x, tilt);
    tilt = line.orientation.x;
  }
}

// Nor may a move that can't be posted hide beside one that can.
TEST(FourAxisPaths, AreRefusedWhereverTheFaultStands) {
  const auto faults = Rows<7>("four_axis_faults.txt");
  for (const bool onTable : {true, false})
    for (std::size_t place = 0; place < 70; ++place)
      for (const auto& [name, id, x, y, z, i, j, k] : faults) {
        FourAxisScene scene;
        scene.machine.onTable = onTable;
        scene.toolLength = 50;
        Source source;
        for (int m = 0; m < 70; ++m) source.push_back({{1.0 * m, 0, 0}, scene.Tool(20 + m)});
        source[place] = {{x, y, z}, {i, j, k}};
        EXPECT_EQ(Post(scene, source, true).id, id)
            << name << " at " << place << (onTable ? " table" : " head");
      }
}

}  // namespace
}  // namespace tests
