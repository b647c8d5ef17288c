#include <gtest/gtest.h>
#include <tests/support/four_axis_scenes.h>
#include <tests/support/posting.h>
#include <tests/support/source_path.h>

#include <functional>

namespace tests {

namespace {

using post::zvPosted4axMove;
using post::zvPostedMove;

constexpr auto kLinear = zvKDRParam::checkLinearAxes;
constexpr auto kRotary = zvKDRParam::checkRotaryAxes;
constexpr auto kAll = zvKDRParam::checkAllAxes;
constexpr auto k360 = zv5axControlDef::angleLimit360;

// Feed moves along X with the axis at these angles.
Source AtAngles(const FourAxisScene& scene, const std::vector<double>& degs) {
  Source source;
  for (const double deg : degs)
    source.push_back({{10.0 * static_cast<double>(source.size()), 5, 0}, scene.DirectionAt(deg)});
  return source;
}

Posting<zvPosted4axMove> Post(const FourAxisScene& scene, const Source& source) {
  return PostAnew(scene, Build(source), true);
}

TEST(FourAxisCreator, NearTheSpindleAnglesAreExact) {
  const FourAxisScene scene;  // a pole tolerance of 0.01 degrees
  const auto creator = scene.Creator();
  const struct {
    double at, deg;
    bool isExact;
  } cases[] = {{0.0099, 0, true},    {-0.0099, 0, true},    {0.0101, 0.0101, false},
               {179.991, 180, true}, {-179.991, 180, true}, {-179.98, -179.98, false}};
  for (const auto& c : cases) {
    const auto move = Move5({1, 2, 3}, scene.DirectionAt(c.at));
    EXPECT_NEAR(creator.PostMove(move, zvPostedMove::link2).GetRotaryAngle(), c.deg,
                c.isExact ? 0 : 1e-9);
  }
}

TEST(FourAxisCreator, AnglesOfKnownRuns) {
  const struct {
    const char* name;
    std::vector<double> source, posted;
    std::pair<double, double> range;
    zvKDRParam::LimitsCheck check = zvKDRParam::checkNothing;
    zv5axControlDef::angleLimit wrap = zv5axControlDef::angleLimitNone;
  } cases[] = {
      {"brought into the range", {-10, -20}, {350, 340}, {0, 360}},
      {"zero outside the range stays", {0, 15}, {0, 15}, {10, 20}},
      // Wound, it leaves the range below; a turn up fits as a whole.
      {"shifted by a turn", {-170, 170, 110}, {190, 170, 110}, {-200, 500}, kAll},
      {"checks see wound angles", {-170, 170}, {190, 170}, {-200, 200}, kAll, k360},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FourAxisScene scene;
    scene.par.SetMaxAngleStep(0);
    scene.par.SetMaxAngleJump(180);
    scene.par.SetLimitsCheck(c.check);
    scene.machine.range = c.range;
    scene.control.SetFirstAxisLimit(c.wrap);
    scene.control.SetSecondAxisLimit(k360);  // which this machine has no axis for
    const auto lines = Post(scene, AtAngles(scene, c.source)).lines;
    ASSERT_EQ(lines.size(), c.posted.size());
    for (std::size_t i = 0; i < lines.size(); ++i)
      EXPECT_NEAR(lines[i].GetRotaryAngle(), c.posted[i], 1e-9) << i;
  }
}

TEST(FourAxisCreator, LargeJumpsAreMadeOffThePart) {
  FourAxisScene scene;
  scene.par.SetMaxAngleStep(0);
  scene.par.SetRetractToLimits(true);
  scene.machine.high = {1000, 1000, 77};
  const auto source = AtAngles(scene, {0, 150, 151});
  const auto [id, lines, counts] = PostAnew(scene, Build(source));
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(counts.largeJumps, 1u);
  EXPECT_EQ(lines[1].GetMachinePosition().z, 77);
  EXPECT_TRUE(lines[1].IsRapid() && lines[2].IsRapid());
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
  const struct {
    const char* name;
    double at;
    zvKDRParam::LimitsCheck check;
    std::pair<double, double> range;
    zv5axControlDef::angleLimit wrap;
    double highX;
    double deg;
    std::uint32_t id;
  } cases[] = {
      {"no check", -30, zvKDRParam::checkNothing, {0, 20}, {}, -1, -30, 0},
      {"linear, broken", -30, kLinear, {0, 20}, {}, -1, 0, 5015},
      {"rotary, wrapped", -30, kRotary, {0, 360}, {}, -1, 330, 0},
      {"rotary, broken", -30, kRotary, {0, 20}, {}, 1, 0, 5013},
      {"slack of the pole's tolerance", 20.009, kRotary, {0, 20}, {}, 1, 20.009, 0},
      {"linear before rotary", -30, kAll, {0, 20}, {}, -1, 0, 5015},
      // An angle that the control writes otherwise may fit in either form.
      {"fits unwrapped", -30, kAll, {0, 360}, zv5axControlDef::angleLimit180, 1, -30, 0},
      {"fits wrapped", -30, kAll, {325, 335}, k360, 1, 330, 0},
      {"fits in neither form", -30, kAll, {-20, 20}, k360, 1, 0, 5018},
  };
  for (const auto& c : cases) {
    FourAxisScene scene;
    scene.machine.range = c.range;
    scene.machine.high.x = c.highX;
    scene.par.SetLimitsCheck(c.check);
    scene.control.SetFirstAxisLimit(c.wrap);
    scene.control.SetSecondAxisLimit(zv5axControlDef::angleLimit360);
    const auto creator = scene.Creator();
    const auto move = Move5({0, 0, 0}, scene.DirectionAt(c.at));
    const std::uint32_t id = IdOf([&] {
      const auto pair = creator.PostMoveWithinMachLimits(move, zvPostedMove::noLink);
      EXPECT_NEAR(pair.first->GetRotaryAngle(), c.deg, 1e-9) << c.name;
      EXPECT_TRUE(pair.second.IsNull()) << c.name;
    });
    EXPECT_EQ(id, c.id) << c.name;
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
  const auto before = Post(creator, path);
  scene.machine.pivot = {0, 50, 0};
  creator.SetMachDef(scene.machine.MachDef());
  EXPECT_EQ(Post(creator, path), before);
  EXPECT_EQ(creator.GetMachDef().GetRotationPivot(), Point(0, 50, 0));
  // Its cone is another.
  scene.machine.spindle = {1, 0, 1};
  creator.SetMachDef(scene.machine.MachDef());
  EXPECT_EQ(Post(creator, path).id, 5030u);
}

// The jump at the edge of the pole's cone can't be divided away: steps far below the pole's
// tolerance make as many lines as they ask for and no more.
TEST(FourAxisCreator, FineStepsEndAtTheEdgeOfAPole) {
  const struct {
    double step, pole, to;
  } cases[] = {{1e-4, 0.01, 1}, {3e-5, 0.01, 1}, {0.003, 1, 3}, {0.001, 1, 3}, {0.02, 10, 20}};
  for (const auto& c : cases)
    for (const bool byDistance : {false, true}) {
      FourAxisScene scene;
      scene.par.SetMaxAngleStep(c.step);
      scene.par.SetPoleAngleTolerance(c.pole);
      scene.par.SetInterpolateByDistance(byDistance);
      const auto lines = std::ssize(Post(scene, AtAngles(scene, {0, c.to})).lines);
      EXPECT_LT(lines, std::lround(2.5 * c.to / c.step)) << c.step;
    }
}

}  // namespace

}  // namespace tests
