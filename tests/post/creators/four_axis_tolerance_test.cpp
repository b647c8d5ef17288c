// 4-axis postings held to a path tolerance: the law by rigid bodies, how many lines it takes, what
// can't be held, refusals.
#include <tests/post/creators/held_postings.h>
#include <tests/support/four_axis_scenes.h>

namespace tests {
namespace {

using post::zvPathTolerance;

// Turns of all sizes, over and beside 0 and 180, on the spot too; tips a metre about; orientations
// of any length and as files have them.
Source AnyPath(const FourAxisScene& scene, Seeded& random) {
  Source source;
  double deg = random.Real(-180, 180);
  Point tip = random.Vector(1000 / std::sqrt(3));
  for (int k = random.Integer(2, 8); k > 0; --k) {
    const double length = random.Chance(0.8) ? 1 : std::pow(10, random.Real(-2, 2));
    source.push_back({tip, scene.Tool(deg) * length, 1000, random.Chance(0.1)});
    if (length == 1 && random.Chance(0.2))
      source.back().orientation = Rounded(source.back().orientation);
    const double turn = std::pow(10, random.Real(-4, 2.2));
    if (random.Chance(0.2))
      deg = (random.Chance(0.5) ? 180 : 0) + (random.Chance(0.5) ? turn : -turn) * 1e-3;
    else
      deg += random.Chance(0.5) ? turn : -turn;
    // Opposite ones, which have no arc of their own, stand in another test.
    if (DegBetween(scene.Tool(deg), source.back().orientation) > 179.9) deg += 1;
    if (random.Chance(0.8)) tip += random.Vector(std::pow(10, random.Real(-2, 2)));
  }
  return source;
}

TEST(FourAxisTolerance, IsHeldWhateverTheMachine) {
  Seeded random;
  int held = 0, reported = 0;
  const int rounds = Rounds(1500);
  int more = 0;
  for (int i = 0; i < rounds; ++i) {
    SCOPED_TRACE(i);
    FourAxisScene scene = RandomFourAxisScene(random);
    scene.par.SetMaxAngleStep(random.Chance(0.2) ? 0 : random.Real(0.5, 40));
    scene.par.SetMaxAngleJump(1000);
    if (random.Chance(0.2)) {
      DivideByDistance(scene.par, random.Real(1, 50));
    }
    const zvPathTolerance tolerance(std::pow(10, random.Real(-4, 0)),
                                    std::pow(10, random.Real(-2.5, 0.5)));
    const Source source = AnyPath(scene, random);
    const Outcome outcome = PostHeld(scene, source, tolerance);
    ASSERT_EQ(outcome.id, 0u);
    ExpectSource(source, outcome.lines);
    const Rules rules = Rules::Of(scene);
    ExpectPoses(rules, outcome.lines);
    // No line brings the tool nearer to the arc than its cone; where that is flat nothing is lost.
    const double opening = DegBetween(scene.machine.axis, scene.machine.spindle);
    EXPECT_TRUE(outcome.report.IsHeld() || std::fabs(opening - 90) > 1e-9);
    EXPECT_LE(outcome.report.largestTip, tolerance.GetTip());
    ExpectFollows(rules, source, outcome.lines,
                  {std::max(tolerance.GetAxis(), outcome.report.largestAxis) * (1 + 1e-6),
                   tolerance.GetTip() * (1 + 1e-6)});
    for (std::size_t k = 1; k < outcome.lines.size(); ++k) {
      const Line &a = outcome.lines[k - 1], &b = outcome.lines[k];
      if (b.rapid) continue;
      const double step = scene.par.GetMaxAngleStep();
      EXPECT_TRUE(!(step > 0) || std::fabs(b.degs[0] - a.degs[0]) <= step + 1e-9) << k;
      EXPECT_TRUE(!scene.par.GetInterpolateByDistance() ||
                  (b.part - a.part).Length() <= scene.par.GetInterpolationDistance() + 1e-9)
          << k;
    }
    ++(outcome.report.IsHeld() ? held : reported);
    more += static_cast<int>(outcome.lines.size() - source.size());
    if (HasFailure()) return;
  }
  EXPECT_GT(held, 0.6 * rounds);
  EXPECT_GT(reported, rounds / 15);
  EXPECT_GT(more, 66 * rounds);
}

FourAxisScene Table(double openingDeg = 90) {
  FourAxisScene scene;
  scene.machine.axis = {std::sin(openingDeg * kRad), 0, std::cos(openingDeg * kRad)};
  scene.machine.pivot = {3, -4, 50};
  scene.origin = {10, 20, 30};
  scene.toolLength = 120;
  return scene;
}

TEST(FourAxisTolerance, TakesFewMoreLinesThanTheLongestBlocks) {
  struct Case {
    bool onTable;
    double opening, tip, turn, far, largestStep;
  };
  for (const Case& c : {Case{true, 90, 0.01, 7, 80, 3}, Case{true, 90, 0.0005, 2, 80, 3},
                        Case{true, 45, 0.01, 25, 200, 3}, Case{false, 90, 0.01, 12, 500, 10},
                        Case{true, 80, 1, 40, 900, 5}, Case{true, 90, 0.1, 60, 5, 30},
                        Case{false, 30, 0.001, 90, 10, 30}}) {
    SCOPED_TRACE(testing::Message() << c.onTable << ' ' << c.opening << ' ' << c.tip);
    FourAxisScene scene = Table(c.opening);
    scene.machine.onTable = c.onTable;
    scene.par.SetMaxAngleStep(c.largestStep);
    Source source;
    for (int i = 0; i < 40; ++i)
      source.push_back({{i * 0.5, c.far * std::cos(0.1 * i), c.far * std::sin(0.07 * i)},
                        scene.Tool(c.turn * i + 3 * std::sin(0.5 * i))});
    const Outcome held = PostHeld(scene, source, {c.tip, 90});
    EXPECT_TRUE(held.report.IsHeld());
    std::vector<double> degs;  // of the moves alone
    for (const SourceMove& move : source) degs.push_back(Post(scene, {move}).lines[0].degs[0]);
    const auto maker = scene.Maker();
    const auto at = [&](std::size_t k, double t, const Line& last) {
      const Point part = source[k - 1].tip * (1 - t) + source[k].tip * t;
      double deg = degs[k - 1] + t * std::remainder(degs[k] - degs[k - 1], 360);
      deg = last.degs[0] + std::remainder(deg - last.degs[0], 360);
      return Line{maker.GetKinematics().MachinePosition(part, deg), part, scene.Tool(deg), {deg}};
    };
    const std::size_t fewest = FewestLines(Rules::Of(scene), {c.tip, 90},
                                           Post(scene, {source[0]}).lines[0], source.size(), at);
    EXPECT_GT(fewest, source.size());
    EXPECT_LE(static_cast<double>(held.lines.size()), 1.15 * static_cast<double>(fewest)) << fewest;
  }
}

// Between directions of a cone with the half-angle b, a turn of 2 h apart about its axis, the cone
// is off their arc by the sine sin(b) cos(b) (1 - cos(h)) / sqrt(1 - sin(b)^2 sin(h)^2).
TEST(FourAxisTolerance, SaysWhatTheConeLeavesTheArcBy) {
  for (const double opening : {90.0, 80.0, 45.0, 150.0})
    for (const double turn : {0.5, 4.0, 30.0, 100.0, -175.0}) {
      SCOPED_TRACE(testing::Message() << opening << ' ' << turn);
      const double s = std::sin(opening * kRad), h = turn / 2 * kRad;
      const double off = std::asin(std::fabs(s * std::cos(opening * kRad)) * (1 - std::cos(h)) /
                                   std::sqrt(1 - std::pow(s * std::sin(h), 2))) /
                         kRad;
      const FourAxisScene scene = Table(opening);
      const Source source{{{5, 0, 0}, scene.Tool(20.0)},
                          {{6, 0, 0}, scene.Tool(20.0 + turn)},
                          {{7, 0, 0}, scene.Tool(20.0 + turn)}};
      for (const double part : {0.97, 1.03}) {
        const double tolerance = off * part;
        if (tolerance < 0.01) continue;
        for (const bool small : {false, true}) {
          const Outcome held = PostHeld(scene, source, {0.01, tolerance}, small);
          EXPECT_EQ(held.report.IsHeld(), part > 1);
          if (part > 1) continue;
          EXPECT_NEAR(held.report.largestAxis, off, 0.021 * off);
          // Its lines are in the midst of the turn.
          const std::size_t lines = held.lines.size() - 2;
          ASSERT_LE(held.report.count, lines);
          const auto middle = static_cast<double>(lines + 1) / 2;
          EXPECT_LE(held.report.lines[0].index, middle + 0.5);
          EXPECT_GE(held.report.lines[0].index + held.report.count, middle + 0.5);
          EXPECT_EQ(held.report.lines[0].source, small ? -1 : lines > 1 ? 0 : 1);
        }
      }
    }
}

// Half a turn, or nearly, about an axis that is square to the spindle: on the side of the arc where
// there is one, though angles beside 0 and 180 are solved as just these.
TEST(FourAxisTolerance, OppositeOrientationsAndEqualMovesAreHeld) {
  const FourAxisScene scene = Table();
  struct Case {
    double from, to, side;  // side: of the half circle, by Y; 0 for either
  };
  for (const Case& c : {Case{0, 180, 0}, Case{0, 180 - 3e-4, 1}, Case{0, 180 + 3e-4, -1},
                        Case{-3e-4, 180 - 7e-4, 1}, Case{180, 3e-4, 1}, Case{180, -3e-4, -1}}) {
    SCOPED_TRACE(testing::Message() << c.from << ' ' << c.to);
    const Source source{{{5, 60, 0}, scene.Tool(c.from)},
                        {{5, 60, 0}, scene.Tool(c.from)},
                        {{5, 70, 0}, scene.Tool(c.to)}};
    const double side = c.side * (scene.Tool(90.0).y > 0 ? 1 : -1);
    const Outcome outcome = PostHeld(scene, source, {0.01, 0.1});
    ASSERT_EQ(outcome.id, 0u);
    EXPECT_TRUE(outcome.report.IsHeld());
    ExpectSource(source, outcome.lines);
    EXPECT_GT(outcome.lines.size(), 60u);
    for (std::size_t k = 1; k < outcome.lines.size(); ++k)
      for (double t = 0; t <= 1; t += 0.125) {
        const Line &a = outcome.lines[k - 1], &b = outcome.lines[k];
        EXPECT_LE(std::fabs(b.degs[0] - a.degs[0]), scene.par.GetMaxAngleStep() + 1e-9);
        const rigid::Pose pose = Rules::Of(scene).PoseAt(Between(a, b, t, false));
        EXPECT_LE(OffLine(ToPoint(pose.tip), {5, 60, 0}, {5, 70, 0}), 0.01);
        EXPECT_NEAR(pose.axis[0], 0, 1e-12);
        EXPECT_GE(pose.axis[1] * side, -2e-5);
      }
  }
}

// Turn upon turn in a range of one and a bit: rewound, and still within the tolerance.
TEST(FourAxisTolerance, RewoundPathsAreHeld) {
  FourAxisScene scene = Table();
  scene.machine.range = {-200, 200};
  scene.par.SetLimitsCheck(zvKDRParam::checkAllAxes);
  Source source;
  for (int i = 0; i < 200; ++i)
    source.push_back({{i * 0.1, 80, 30}, scene.Tool(i * 11.0), 500, false, -1});
  const Outcome outcome = PostHeld(scene, source, {0.02, 0.1});
  ASSERT_EQ(outcome.id, 0u);
  EXPECT_GT(outcome.counts.rewindings, 3u);
  EXPECT_TRUE(outcome.report.IsHeld());
  ExpectWithinRanges(Rules::Of(scene), outcome.lines);
  ExpectFollows(Rules::Of(scene), source, outcome.lines, {0.1, 0.02});
}

TEST(FourAxisTolerance, WhatNumbersDoNotHoldIsRefusedWithTheSmallest) {
  struct Case {
    double tip, axis, far, smallest;
  };
  for (const Case& c : {Case{0.9e-8, 1, 0, 1e-8}, Case{1e-7, 1.9e-3, 0, 2e-3},
                        Case{1e-7, 1, 1e6, 1000200e-12}, Case{1, 1, 1e200, 1e188}}) {
    const Source source{{{}, {0, 0, 1}}, {{c.far, 0, 0}, {0, 0, 1}}};
    EXPECT_NEAR(SmallestNamed(Table(), source, {c.tip, c.axis}) / c.smallest, 1, 1e-9);
  }
}

// The tool turns on a great circle about an axis on which the tip runs: nothing else divides it.
TEST(FourAxisTolerance, NoBlockTurnsFar) {
  FourAxisScene scene;
  scene.machine.axis = {1, 0, 0};
  scene.par.SetMaxAngleStep(0);
  const Source source{{{}, scene.Tool(0)}, {{10, 0, 0}, scene.Tool(110)}};
  const Lines lines = PostHeld(scene, source, {0.01, 0.1}).lines;
  EXPECT_EQ(lines.size(), 4u);
  for (std::size_t k = 1; k < lines.size(); ++k) EXPECT_LE(Turn(lines[k - 1], lines[k]), 45);
}

// interpolationDistance is an upper bound however small it is beside the tolerance.
TEST(FourAxisTolerance, NoBlockIsLongerThanTheDistance) {
  FourAxisScene scene = Table();
  DivideByDistance(scene.par, 0.05);
  const Source source{{{10, 0, 0}, scene.Tool(0)}, {{60, 9, 0}, scene.Tool(1)}};
  const Lines lines = PostHeld(scene, source, {1, 0.1}).lines;
  EXPECT_GT(lines.size(), 1000u);
  for (std::size_t k = 1; k < lines.size(); ++k)
    ASSERT_LE((lines[k].part - lines[k - 1].part).Length(), 0.05 + 1e-9) << k;
}

}  // namespace
}  // namespace tests
