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
    scene.control.SetFirstAxisLimit(static_cast<zv5axControlDef::angleLimit>(c[3][1]));
    scene.control.SetSecondAxisLimit(
        zv5axControlDef::angleLimit360);  // which this machine has no axis for
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
    scene.control.SetFirstAxisLimit(static_cast<zv5axControlDef::angleLimit>(wrap));
    scene.control.SetSecondAxisLimit(zv5axControlDef::angleLimit360);
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

}  // namespace

}  // namespace tests
