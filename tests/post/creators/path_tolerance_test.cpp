// Postings held to a path tolerance: how many lines they take, poles, what can't be held, refusals.
// That it is held for random machines and paths stands in laws_test.cpp.
#include <tests/post/creators/held_postings.h>
#include <tests/support/five_axis_scenes.h>

namespace tests {
namespace {

using post::zvPathTolerance;

Point Direction(double tilt, double azimuth) {
  return {std::sin(tilt * kRad) * std::cos(azimuth * kRad),
          std::sin(tilt * kRad) * std::sin(azimuth * kRad), std::cos(tilt * kRad)};
}

FiveAxisScene Trunnion(std::int32_t kind = 3, int handling = zvKDRParam::spreadOnCubic) {
  FiveAxisScene scene;
  scene.par.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(handling));
  scene.machine.kind = kind;
  scene.machine.firstPivot = {3, -4, 50};
  scene.machine.secondPivot = {-2, 7, 20};
  scene.origin = {10, 20, 30};
  scene.toolLength = 120;
  return scene;
}

Source Spiral(double step) {
  Source source;
  for (int i = 0; i < 60; ++i)
    source.push_back({{80 * std::cos(i * step * kRad), 80 * std::sin(i * step * kRad), -0.01 * i},
                      Direction(20 + 10 * std::sin(0.05 * i), i * step)});
  return source;
}

// The line behind another for a tip and a tool, by the solution that is nearer to it.
Line Solved(const post::zv5axMoveSolver& solver, const Point& tip, const Point& dir,
            const Line& last) {
  const auto solutions = solver.SolveAngles(tip, dir, solver.MakePoleCone(), 0);
  const auto lineOf = [&](const post::zvRotarySolution& s) {
    Line line{s.position, tip, dir, {s.firstAngle, s.secondAngle}};
    for (std::size_t i = 0; i < last.degs.size(); ++i)
      line.degs[i] = last.degs[i] + std::remainder(line.degs[i] - last.degs[i], 360);
    return line;
  };
  const Line first = lineOf(solutions.first), mirror = lineOf(solutions.mirror);
  return Turn(last, first) <= Turn(last, mirror) ? first : mirror;
}

TEST(PathTolerance, TakesFewMoreLinesThanTheLongestBlocks) {
  struct Case {
    std::int32_t kind;
    double tip, axis, step;
  };
  for (const auto& [kind, tip, axis, step] :
       {Case{3, 0.01, 0.1, 7}, Case{3, 0.0005, 0.1, 2}, Case{1, 0.01, 0.1, 25},
        Case{2, 1, 0.004, 12}, Case{0, 0.002, 0.01, 40}, Case{3, 1, 1, 31}}) {
    SCOPED_TRACE(testing::Message() << kind << " " << tip << " " << axis << " " << step);
    const FiveAxisScene scene = Trunnion(kind);
    const Source source = Spiral(step);
    const Outcome held = PostHeld(scene, source, {tip, axis});
    EXPECT_TRUE(held.report.IsHeld());
    ExpectFollows(Rules::Of(scene), source, held.lines, {axis, tip});
    const auto solver = scene.Solver();
    const auto at = [&](std::size_t k, double t, const Line& last) {
      const SourceMove &from = source[k - 1], &to = source[k];
      const double whole = DegBetween(from.orientation, to.orientation) * kRad;
      return Solved(solver, from.tip * (1 - t) + to.tip * t,
                    from.orientation * (std::sin((1 - t) * whole) / std::sin(whole)) +
                        to.orientation * (std::sin(t * whole) / std::sin(whole)),
                    last);
    };
    const Line first = Solved(solver, source[0].tip, source[0].orientation, {});
    const std::size_t fewest = FewestLines(Rules::Of(scene), {tip, axis}, first, source.size(), at);
    EXPECT_GT(fewest, source.size());
    EXPECT_GE(held.lines.size(), fewest);
    EXPECT_LE(static_cast<double>(held.lines.size()), 1.1 * static_cast<double>(fewest));
  }
}

// Down to a pole from one side, along a run on it, and away at an azimuth.
Source OverPole(int run, double azimuth, double aside) {
  Source source;
  for (int i = -5; i < 0; ++i) source.push_back({{i * 2.0, 5, 0}, Direction(-4.0 * i, 180)});
  for (int i = 0; i <= run; ++i) source.push_back({{i * 5.0, 5, 0}, Direction(aside, 90)});
  for (int i = 1; i < 6; ++i)
    source.push_back({{run * 5.0 + i * 2.0, 5, 0}, Direction(4 * i, azimuth)});
  return source;
}

TEST(PathTolerance, PolesKeepTheTiltOfThePath) {
  struct Case {
    double aside, poleTolerance, azimuth;
    int run;
    std::uint32_t blended, jumps;  // with a pole handling that spreads; without none is blended
  };
  // Straight through: nothing turns; round a corner the free axis does, over the run where there is
  // one; more than maxAngleJump at once is made in the air.
  for (const auto& c :
       {Case{0, 0, 0, 0, 0, 0}, Case{0, 0, 0, 4, 0, 0}, Case{1e-6, 0, 0, 4, 0, 0},
        Case{0, 0, 50, 0, 0, 0}, Case{0, 0, 50, 4, 1, 0}, Case{0.02, 0.5, 50, 4, 1, 0},
        Case{0, 0.5, 140, 2, 1, 0}, Case{2, 0, 0, 0, 0, 0}, Case{0.04, 0, 30, 0, 0, 0}})
    for (const std::int32_t kind : {1, 2, 3})
      for (const int handling : {0, 1, 2, 3}) {
        SCOPED_TRACE(testing::Message() << c.aside << " " << c.azimuth << " " << c.run << " kind "
                                        << kind << " handling " << handling);
        FiveAxisScene scene = Trunnion(kind, handling);
        if (c.poleTolerance > 0) scene.par.SetPoleAngleTolerance(c.poleTolerance);
        const Source source = OverPole(c.run, c.azimuth, c.aside);
        const Outcome held = PostHeld(scene, source, {0.01, 0.1});
        ASSERT_EQ(held.id, 0u);
        EXPECT_TRUE(held.report.IsHeld());
        const Rules rules = Rules::Of(scene);
        ExpectFollows(rules, source, held.lines, {0.1, 0.01});
        ExpectSource(source, held.lines);
        EXPECT_EQ(held.counts.largeJumps, c.jumps);
        EXPECT_EQ(held.counts.blendedPoles, handling >= 2 ? c.blended : 0);
        for (std::size_t k = 1; k < held.lines.size(); ++k)
          ASSERT_LE(Turn(held.lines[k - 1], held.lines[k]), 3 + 1e-8) << k;
      }
}

// Posts held to the path, and expects the tool where the lines say, but for those on a pole.
Outcome PostAsSaid(const FiveAxisScene& scene, const Source& source,
                   const zvPathTolerance& tolerance, double mostDeg, double poleDeg = 0) {
  Outcome held = PostHeld(scene, source, tolerance);
  EXPECT_EQ(held.id, 0u);
  ExpectSource(source, held.lines);
  for (const Line& line : held.lines) {
    const Point axis = ToPoint(Rules::Of(scene).PoseAt(line).axis);
    EXPECT_TRUE(DegBetween(axis, line.orientation) <= mostDeg ||
                DegBetween(axis, {0, 0, 1}) < poleDeg);
  }
  return held;
}

// On the edge of a pole's cone a tilt may be solved as one: the free axis must not swing the tool.
TEST(PathTolerance, TurnsOnAPolesEdgeLeaveTheTool) {
  const Point edge{-0.0004280844054116418, -8.443712025461356e-05, 2.4999999619228226};
  const Source source{{{13, 28, 0}, Direction(8e-5, 56)},
                      {{13, 15, 0}, Direction(8e-5, 236)},
                      {{13, 15, 0}, edge},
                      {{34, 14, 8}, Direction(10, -83.7)},
                      {{40, 14, 26}, Direction(10, -83.7)}};
  for (const int handling : {0, 2, 3}) {
    const FiveAxisScene scene = Trunnion(3, handling);
    const Lines lines = PostAsSaid(scene, source, {0.01, 0.1}, 0.0113).lines;
    ASSERT_GT(lines.size(), 20u);
    ExpectFollows(Rules::Of(scene), source, lines, {0.1, 0.01});
  }
}

// Out of a wide cone the tool leaps to its tilt within the tolerance: lines of that say so.
TEST(PathTolerance, LinesBesideAWideConeStandAsTheMachineDoes) {
  for (const std::int32_t kind : {1, 2, 3}) {
    FiveAxisScene scene = Trunnion(kind);
    scene.par.SetPoleAngleTolerance(1);
    scene.par.SetMaxAngleStep(0.5);
    PostAsSaid(scene, {{{47, -34, 6}, Direction(0.09, 96)}, {{51, -34, 6}, Direction(2.1, 116)}},
               {0.17, 1.036}, 3e-3, 1e-3);
  }
}

// A run on one end of the axis ends where the tool goes over to the other.
TEST(PathTolerance, NoTurnIsSpreadFromOneEndOfTheAxisToTheOther) {
  const Source source{{{0, 5, 0}, Direction(10, 180)}, {{5, 5, 0}, {0, 0, 1}},
                      {{15, 5, 0}, {0, 0, 1}},         {{25, 5, 0}, {0, 0, -1}},
                      {{35, 5, 0}, {0, 0, -1}},        {{40, 5, 0}, Direction(170, 50)}};
  for (const int handling : {2, 3}) PostAsSaid(Trunnion(3, handling), source, {0.01, 0.1}, 1e-3);
}

// Over a run the free axis turns in proportion to the way; on the cubic slowly at its ends.
TEST(PathTolerance, ATurnIsSpreadOverTheRun) {
  for (const int handling : {2, 3}) {
    const Outcome held = PostHeld(Trunnion(3, handling), OverPole(4, 50, 0), {0.01, 0.1});
    double turned = 0;
    int seen = 0;
    const double start = held.lines.front().degs[0];
    const double whole = held.lines.back().degs[0] - start;
    EXPECT_NEAR(std::fabs(whole), 50, 1e-9);
    for (const Line& line : held.lines) {
      const double x = line.part.x / 20;  // along the run
      if (!(x > 0 && x < 1)) continue;
      const double want = handling == 2 ? x : x * x * (3 - 2 * x);
      EXPECT_NEAR((line.degs[0] - start) / whole, want, handling == 2 ? 1e-9 : 0.02) << x;
      EXPECT_GE((line.degs[0] - start) / whole, turned);
      turned = (line.degs[0] - start) / whole;
      ++seen;
    }
    EXPECT_GT(seen, 15);
  }
}

TEST(PathTolerance, WhatCantBeHeldIsReported) {
  // A range of less than a turn: at its end the machine changes to its other solution.
  const Source around = Spiral(10);
  // Tilts of one sense alone: through the pole the free axis makes half a turn.
  const Source through = OverPole(0, 0, 0);
  struct Case {
    const Source& source;
    double maxAngleJump;
    Range first;
    double lowestTilt;
    bool isHeld;
    std::uint32_t jumps;
  };
  constexpr Range kAny{-1000, 1000};
  for (const auto& [source, jump, first, lowest, isHeld, jumps] :
       {Case{around, 190, {-100, 100}, -170, false, 0},
        Case{around, 120, {-100, 100}, -170, true, 3}, Case{through, 190, kAny, -170, true, 0},
        Case{through, 120, kAny, -0.5, true, 1}, Case{through, 190, kAny, -0.5, true, 0}}) {
    FiveAxisScene scene = Trunnion(3, 0);
    scene.par.SetMaxAngleJump(jump);
    scene.machine.firstRange = first;
    scene.machine.secondRange = {lowest, 170};
    scene.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes);
    const Outcome held = PostHeld(scene, source, {0.01, 0.1});
    ASSERT_EQ(held.id, 0u);
    EXPECT_EQ(held.counts.largeJumps, jumps);
    EXPECT_EQ(held.report.IsHeld(), isHeld);
    // Small blocks of a leap, plain by themselves, are off the path all the same.
    EXPECT_EQ(PostHeld(scene, source, {1, 0.1}).report.IsHeld(), isHeld);
    if (isHeld) continue;
    const auto& worst = held.report.lines[0];
    ASSERT_GT(held.report.GetLineCount(), 0u);
    EXPECT_GT(std::max(worst.axis / 0.1, worst.tip / 0.01), 1);
    EXPECT_EQ(worst.source, held.lines[worst.index].source);
    EXPECT_GE(held.report.largestAxis, worst.axis);
  }
}

TEST(PathTolerance, RefusesWhatNumbersDontHold) {
  struct Case {
    double tip, axis, far;
    double smallest;  // which the error names; 0 for none
  };
  for (const auto& [tip, axis, far, smallest] :
       {Case{1e-8, 0.002, 0, 0}, Case{0.9e-8, 0.002, 0, 1e-8}, Case{0.01, 0.0019, 0, 0.002},
        Case{1e-6, 0.1, 9e5, 0}, Case{1e-6, 0.1, 2e6, 2e-6}}) {
    const Source source{{{0, 0, 0}, {0, 0, 1}}, {{far, 0, 0}, {0, 1e-5, 1}}};
    EXPECT_NEAR(SmallestNamed(Trunnion(), source, {tip, axis}), smallest, 1e-3 * smallest)
        << tip << " " << axis << " " << far;
  }
}

// Equal moves, turns on the spot and orientations of any length are paths like any other.
TEST(PathTolerance, OddPathsAreHeld) {
  const Point tilted = Direction(30, 20), turned = Direction(50, 100);
  for (const Source& source :
       {Source{{{1, 2, 3}, tilted}, {{1, 2, 3}, tilted}, {{4, 2, 3}, turned}},
        Source{{{1, 2, 3}, tilted}, {{1, 2, 3}, turned}, {{1, 2, 3}, tilted}},
        Source{{{1, 2, 3}, tilted * 1e-3}, {{9, 2, 3}, turned * 1e6}, {{4, 2, 3}, tilted * 2}},
        Source{{{1, 2, 3}, {0, 0.5, 1}}, {{4, 2, 3}, {0, -0.5, -1}}, {{4, 2, 9}, {0, 0, -1}}},
        Source{{{1, 2, 3}, {0, 0, 1}}, {{9, 2, 3}, {0, 0, 1}}, {{4, 2, 3}, tilted}}}) {
    const FiveAxisScene scene = Trunnion();
    const Outcome held = PostHeld(scene, source, {0.001, 0.05});
    ASSERT_EQ(held.id, 0u);
    EXPECT_TRUE(held.report.IsHeld());
    EXPECT_GT(held.lines.size(), source.size());
    ExpectFollows(Rules::Of(scene), source, held.lines, {0.05, 0.001});
  }
}

// A first line with all axes at 0 is a line like any other.
TEST(PathTolerance, ABlockFromTheZeroOfAllAxesIsHeld) {
  FiveAxisScene scene;
  scene.machine.kind = 2;
  scene.machine.first = {1, 0, 0};
  scene.machine.second = {0, 1, 0};
  scene.machine.firstPivot = {0, 100, 0};
  scene.machine.firstRange = {-360, 360};
  scene.machine.secondRange = {-120, 120};
  scene.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes);
  scene.par.SetMaxAngleStep(30);
  const Source source{{{0, 0, 0}, {0, 0, 1}}, {{0, 100, 0}, Direction(4, 90)}};
  const Outcome held = PostHeld(scene, source, {0.1, 10});
  ASSERT_EQ(held.lines.front().degs[0], 0);
  ASSERT_EQ(held.lines.front().machine, Point());
  ExpectFollows(Rules::Of(scene), source, held.lines, {10, 0.1});
}

// interpolationDistance is an upper bound however small it is beside the tolerance.
TEST(PathTolerance, NoBlockIsLongerThanTheDistance) {
  for (const auto& [tip, distance, id] :
       {std::tuple(1.0, 0.05, 0u), std::tuple(0.01, 0.05, 0u), std::tuple(1.0, 1e-8, 5039u)}) {
    FiveAxisScene scene = Trunnion();
    DivideByDistance(scene.par, distance);
    scene.par.SetMaxAngleJump(190);
    // On an arc, on next to none, and between opposite orientations, which have none.
    for (const Point& end : {Direction(6, 20), Direction(6, 0.01), Direction(174, 180)}) {
      const Source source{{{10, 0, 0}, Direction(6, 0)}, {{110, 9, 0}, end}};
      const Outcome held = PostHeld(scene, source, {tip, 0.1});
      EXPECT_EQ(held.id, id);
      const Lines& lines = held.lines;
      EXPECT_EQ(static_cast<double>(lines.size()) > 100 / distance, id == 0);
      for (std::size_t k = 1; id == 0 && k < lines.size(); ++k) {
        ASSERT_LE((lines[k].part - lines[k - 1].part).Length(), distance + 1e-9) << k;
        ASSERT_EQ(lines[k].source, lines[k].inserted ? 0 : 1) << k;
      }
    }
  }
}

// By a line on the pole few are needed on either side of it.
TEST(PathTolerance, AWayOverThePoleTakesFewLines) {
  FiveAxisScene scene = Trunnion(2);
  scene.par.SetMaxAngleJump(190);
  const Source source{{{10, 0, 0}, Direction(1, 0)}, {{110, 3, 0}, Direction(1, 180.2)}};
  const Outcome held = PostHeld(scene, source, {0.01, 0.5});
  EXPECT_TRUE(held.report.IsHeld());
  EXPECT_LE(held.lines.size(), 6u);
}

// The tool turns on a great circle about an axis on which the tip runs: nothing else divides it.
TEST(PathTolerance, NoBlockTurnsFar) {
  FiveAxisScene scene;
  scene.par.SetMaxAngleStep(100);
  const Source source{{{}, Direction(90, 0)}, {{0, 0, 10}, Direction(90, 110)}};
  const Outcome held = PostHeld(scene, source, {0.01, 0.1});
  EXPECT_TRUE(held.report.IsHeld());
  EXPECT_EQ(held.lines.size(), 4u);
  for (std::size_t k = 1; k < held.lines.size(); ++k)
    EXPECT_LE(Turn(held.lines[k - 1], held.lines[k]), 45);
}

}  // namespace
}  // namespace tests
