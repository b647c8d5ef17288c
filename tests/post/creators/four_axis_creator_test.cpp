#include <gtest/gtest.h>
#include <tests/support/four_axis_scenes.h>
#include <tests/support/posting.h>
#include <tests/support/source_path.h>

#include <functional>

namespace {

using post::zv5axControlDef;
using post::zvKDRParam;
using post::zvPosted4axMove;
using post::zvPostedMove;
using tests::Build;
using tests::FourAxisScene;
using tests::IdOf;
using tests::Move5;
using tests::Point;
using tests::Source;

// Feed moves along X with the axis at these angles; `rapidFrom` and later ones are rapid.
Source AtAngles(const FourAxisScene& scene, const std::vector<double>& degs,
                std::size_t rapidFrom = 1000) {
  Source source;
  for (const double deg : degs)
    source.push_back({{10.0 * static_cast<double>(source.size()), 5, 0},
                      scene.DirectionAt(deg),
                      600,
                      source.size() >= rapidFrom});
  return source;
}

std::vector<double> Ramp(double from, double to, double step) {
  std::vector<double> degs;
  const int count = static_cast<int>(std::lround((to - from) / step));
  for (int i = 0; i <= count; ++i) degs.push_back(from + i * step);
  return degs;
}

tests::Posting<zvPosted4axMove> Post(const FourAxisScene& scene, const Source& source) {
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
    const zvPosted4axMove move =
        creator.PostMove(Move5({1, 2, 3}, scene.DirectionAt(c.at)), zvPostedMove::link2);
    EXPECT_NEAR(move.GetRotaryAngle(), c.deg, c.isExact ? 0 : 1e-9) << c.at;
    const auto pose = scene.Model().At(tests::ToVector(move.GetMachinePosition()), c.deg);
    EXPECT_LE(tests::Distance(tests::ToPoint(pose.tip), {1, 2, 3}), 1e-9);
  }
}

TEST(FourAxisCreator, AnglesOfKnownRuns) {
  using Range = std::pair<double, double>;
  using Limit = zv5axControlDef::angleLimit;
  static constexpr Range kFree{-100000, 100000};
  constexpr auto kAll = zvKDRParam::checkAllAxes;
  constexpr auto kNothing = zvKDRParam::checkNothing;
  constexpr auto k360 = zv5axControlDef::angleLimit360;
  struct Case {
    const char* name;
    std::vector<double> source, posted;
    Range range = kFree;
    zvKDRParam::LimitsCheck check = kNothing;
    Limit first = zv5axControlDef::angleLimitNone, second = zv5axControlDef::angleLimitNone;
  };
  // clang-format off
  const Case cases[] = {
      {"the short way over the back", {-170, 170}, {-170, -190}},
      {"brought into the range", {-10, -20}, {350, 340}, {0, 360}},
      {"zero outside the range stays", {0, 15}, {0, 15}, {10, 20}},
      // Winded to -190, then wrapped for the control; the second axis' limit is none of this machine's.
      {"wrapped by 360", {-170, 170}, {190, 170}, kFree, kNothing, k360},
      {"second axis", {-170, 170}, {-170, -190}, kFree, kNothing, zv5axControlDef::angleLimitNone, k360},
      {"one move", {-170}, {190}, kFree, kNothing, k360},
      // Winding leaves the range below; a turn up fits as a whole.
      {"shifted by a turn", {-170, 170, 110}, {190, 170, 110}, {-200, 500}, kAll},
      {"within the tolerance", {-170.00005, -160}, {-170.00005, -160}, {-170, 100}, kAll},
      {"checks see winded angles", {-170, 170}, {190, 170}, {-200, 200}, kAll, k360},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    FourAxisScene scene;
    scene.par.SetMaxAngleStep(0);
    scene.par.SetMaxAngleJump(180);
    scene.par.SetLimitsCheck(c.check);
    scene.machine.range = c.range;
    scene.control.SetFirstAxisLimit(c.first);
    scene.control.SetSecondAxisLimit(c.second);
    const auto lines = Post(scene, AtAngles(scene, c.source)).lines;
    ASSERT_EQ(lines.size(), c.posted.size());
    for (std::size_t i = 0; i < lines.size(); ++i)
      EXPECT_NEAR(lines[i].GetRotaryAngle(), c.posted[i], 1e-9) << i;
  }
}

TEST(FourAxisCreator, LargeJumpsAreMadeOffThePart) {
  FourAxisScene scene;
  scene.par.SetMaxAngleStep(0);
  scene.par.SetRetractDistance(40);
  const auto source = AtAngles(scene, {0, 150, 151});
  const auto [id, lines, counts] = PostAnew(scene, Build(source));
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(counts.largeJumps, 1u);
  for (const std::size_t i : {1, 2}) {
    const zvPosted4axMove& from = lines[i == 1 ? 0 : 3];
    EXPECT_TRUE(lines[i].IsRapid() && lines[i].IsInserted());
    EXPECT_EQ(lines[i].GetRotaryAngle(), from.GetRotaryAngle());
    EXPECT_EQ(lines[i].GetPartPosition(), from.GetPartPosition() + 40 * from.GetOrientation());
  }
  scene.par.SetMaxAngleJump(150.5);
  EXPECT_EQ(Post(scene, source).lines.size(), 3u) << "no jump";

  // To the limits instead: exactly onto the first that is met, here Z.
  scene.par.SetMaxAngleJump(120);
  scene.par.SetRetractToLimits(true);
  scene.machine.high = {1000, 1000, 77};
  EXPECT_EQ(Post(scene, source).lines.at(1).GetMachinePosition().z, 77);
  // From outside of them there is no way.
  scene.machine.high = {1000, 1000, -77};
  EXPECT_EQ(Post(scene, source).id, 5008u);
}

TEST(FourAxisCreator, RewindsWhereTheRangeEnds) {
  FourAxisScene scene;
  scene.machine.range = {-360, 360};
  scene.par.SetLimitsCheck(zvKDRParam::checkAllAxes);
  const std::vector<double> degs = Ramp(0, 900, 3);
  auto creator = scene.Creator();
  const auto turns = creator.Post(Build(AtAngles(scene, degs)), true);
  // A shift by a turn, then one rewinding by two at the limit: its move, lift, 240 turns, end,
  // drop.
  EXPECT_EQ(turns->GetCount(), 301u + 244u);
  EXPECT_EQ(creator.GetCounts().rewindings, 1u);
  EXPECT_NEAR(turns->Front().GetRotaryAngle(), -360, 1e-9);
  EXPECT_NEAR(turns->Back().GetRotaryAngle(), -180, 1e-9);

  // With a link in reach it turns there, and by one turn less.
  Source source = AtAngles(scene, degs);
  for (std::size_t i = 200; i <= 210; ++i) {
    source[i].link = 5;
    source[i].rapid = true;
  }
  const auto atLink = creator.Post(Build(source), false);
  EXPECT_EQ(creator.GetCounts().rewindings, 1u);
  EXPECT_EQ(atLink->GetCount(), 301u + 123u);
  for (const zvPosted4axMove& move : *atLink) {
    ASSERT_LE(std::fabs(move.GetRotaryAngle()), 360 + 1e-9);
    ASSERT_TRUE(!move.IsInserted() || move.GetSourceIndex() == 210);
    ASSERT_TRUE(!move.IsInserted() || move.GetType() == zvPostedMove::noLink);
  }

  // Below a whole turn nothing is rewound, and without the check of all axes nothing shifted.
  scene.machine.range = {-150, 150};
  EXPECT_EQ(Post(scene, AtAngles(scene, degs)).id, 5018u);
  scene.machine.range = {-360, 360};
  scene.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes);
  EXPECT_EQ(Post(scene, AtAngles(scene, degs)).id, 5018u);
  scene.machine.range = {-200, 500};
  EXPECT_EQ(Post(scene, AtAngles(scene, Ramp(-170, -290, -3))).id, 5013u);
}

TEST(FourAxisCreator, TellsWhatIsWrong) {
  const Source good{{{0, 0, 0}, {0, 0, 1}}, {{9, 0, 0}, {0, 0.1, 1}}, {{9, 9, 0}, {0, 0.2, 1}}};
  const auto with = [&](std::size_t at, const Point& orientation, const Point& tip = {}) {
    Source source = good;
    source[at].orientation = orientation;
    source[at].tip = tip;
    return source;
  };
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
      {"off the cone", with(1, {1.001e-6, 0, 1}), nothing, 5030},
      {"hardly off the cone", with(1, {0.999e-6, 0, 1}), nothing, 0},
      {"zero orientation", with(2, {0, 0, 0}), nothing, 2189},
      // The move halfway has no orientation; only two moves between, and it isn't there.
      {"opposite", {good[0], {{1, 0, 0}, {0, 0, 1}}, {{}, {0, 0, -1}}, good[1]}, coarse, 2189, 2},
      {"the whole path is checked first", three({0, 0, -1}, {1, 0, 0}), coarse, 5030},
      {"minimum of Y", good, checks(zvKDRParam::checkLinearAxes, {-1000, 1000}, 1000, 1), 5011},
      {"maximum of X, all axes", good, checks(zvKDRParam::checkAllAxes, {90, 95}, 8), 5015},
      {"rotary minimum", good, checks(zvKDRParam::checkRotaryAxes, {5, 95}, 8), 5013},
      {"limits crossed", good, checks(zvKDRParam::checkAllAxes, {400, -400}), 5013},
      // A tilted spindle, fitting: two moves are too few to tell.
      {"too short to align", {{{}, {0.6, 0, 0.8}}, {{}, {0.6, 0.8, 0}}},
       [&](FourAxisScene& s) { aligns(s); s.machine.spindle = {0.6, 0, 0.8}; }, 5044},
      {"too short, but square", {good[0], good[1]}, aligns, 0},
      {"aligned to an oblique axis", three({0.1, 0.1, 1}, {0.2, 0.2, 1}), aligns, 5030},
      {"aligned to a square axis", three({0.1, 0, 1}, {0.2, 0, 1}), aligns, 0},
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
  using Limit = zv5axControlDef::angleLimit;
  struct Case {
    const char* name;
    double at;
    zvKDRParam::LimitsCheck check;
    std::pair<double, double> range;
    Limit wrap;
    double highX;
    double deg;
    std::uint32_t id;
  };
  constexpr std::pair<double, double> kSmall{0, 20}, kWhole{0, 360};
  constexpr auto kLinear = zvKDRParam::checkLinearAxes;
  constexpr auto kRotary = zvKDRParam::checkRotaryAxes;
  constexpr auto kAll = zvKDRParam::checkAllAxes;
  // clang-format off
  const Case cases[] = {
      {"no check", -30, zvKDRParam::checkNothing, kSmall, {}, -1, -30, 0},
      {"linear", -30, kLinear, kSmall, {}, 1, -30, 0},
      {"linear, broken", -30, kLinear, kSmall, {}, -1, 0, 5015},
      {"rotary, wrapped", -30, kRotary, kWhole, {}, -1, 330, 0},
      {"rotary, broken", -30, kRotary, kSmall, {}, 1, 0, 5013},
      {"slack of the pole's tolerance", 20.009, kRotary, kSmall, {}, 1, 20.009, 0},
      {"all", -30, kAll, kWhole, {}, 1, 330, 0},
      {"linear before rotary", -30, kAll, kSmall, {}, -1, 0, 5015},
      // An angle that the control writes otherwise may fit in either form.
      {"fits unwrapped", -30, kAll, kWhole, zv5axControlDef::angleLimit180, 1, -30, 0},
      {"fits wrapped", -30, kAll, {325, 335}, zv5axControlDef::angleLimit360, 1, 330, 0},
      {"fits in neither form", -30, kAll, {-20, 20}, zv5axControlDef::angleLimit360, 1, 0, 5018},
  };
  // clang-format on
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
  const auto before = tests::Post(creator, path);
  scene.machine.pivot = {0, 50, 0};
  creator.SetMachDef(scene.machine.MachDef());
  EXPECT_EQ(tests::Post(creator, path), before);
  EXPECT_EQ(creator.GetMachDef().GetRotationPivot(), Point(0, 50, 0));
  // Its cone is another.
  scene.machine.spindle = {1, 0, 1};
  creator.SetMachDef(scene.machine.MachDef());
  EXPECT_EQ(tests::Post(creator, path).id, 5030u);
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

// Blends between them pass by the axis, where a direction has next to no turn of its own.
TEST(FourAxisCreator, OppositeOrientationsStayOnTheirCone) {
  for (const double opening : {45.0, 60.0, 90.0})
    for (const bool inHead : {false, true})
      for (const double turn : {180.0, 179.99999}) {
        FourAxisScene scene;
        scene.machine.axis = {1, 2, 3};
        tests::Seeded random;
        scene.machine.spindle = tests::SpindleAt(scene.machine.axis, opening, random);
        scene.machine.onTable = !inHead;
        const auto model = scene.Model();
        for (const zvPosted4axMove& line : Post(scene, AtAngles(scene, {3, 3 + turn})).lines) {
          const Point wanted = line.GetOrientation();
          const Point axis = tests::ToPoint(model.At({}, line.GetRotaryAngle()).axis);
          ASSERT_NEAR(wanted.Length(), 1, 1e-12) << opening << ' ' << inHead;
          ASSERT_LT((axis - wanted).Length(), 1.5e-5) << opening << ' ' << inHead << ' ' << turn;
        }
      }
}

}  // namespace
