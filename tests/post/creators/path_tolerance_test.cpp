// Postings held to a path tolerance: how many lines they take, poles, what can't be held, refusals.
// That it is held for random machines and paths stands in laws_test.cpp.
#include <kandrel/misc/range_exception.h>
#include <kandrel/post/creators/posting_facade.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/laws.h>
#include <tests/support/outcome.h>

#include <cmath>
#include <limits>

namespace tests {

namespace {

using post::zvPathTolerance;
using post::zvToleranceReport;

constexpr double kRad = 0.017453292519943295;

Point Direction(double tilt, double azimuth) {
  return {std::sin(tilt * kRad) * std::cos(azimuth * kRad),
          std::sin(tilt * kRad) * std::sin(azimuth * kRad), std::cos(tilt * kRad)};
}

FiveAxisScene Trunnion(std::int32_t kind = 3) {
  FiveAxisScene scene;
  scene.machine.kind = kind;
  scene.machine.firstPivot = {3, -4, 50};
  scene.machine.secondPivot = {-2, 7, 20};
  scene.origin = {10, 20, 30};
  scene.toolLength = 120;
  return scene;
}

struct Held {
  Outcome outcome;
  zvToleranceReport report;
};
Held PostHeld(const FiveAxisScene& scene, const Source& source, const zvPathTolerance& tolerance) {
  auto creator = scene.Creator();
  creator.SetPathTolerance(tolerance);
  Held held{PostBy(creator, Build(source)), {}};
  held.report = creator.GetToleranceReport();
  return held;
}

Source Spiral(double step) {
  Source source;
  for (int i = 0; i < 60; ++i)
    source.push_back({{80 * std::cos(i * step * kRad), 80 * std::sin(i * step * kRad), -0.01 * i},
                      Direction(20 + 10 * std::sin(0.05 * i), i * step)});
  return source;
}

// The fewest lines, found by trying: from line to line the longest block that keeps to the path and
// to the largest step, looked for by halving and looked at in many places.
class LongestBlocks {
 public:
  LongestBlocks(const FiveAxisScene& scene, double tip, double axis)
      : m_rules(Rules::Of(scene)), m_solver(scene.Solver()), m_tip(tip), m_axis(axis) {}

  std::size_t Count(const Source& source) {
    m_last = Solve(source.front().tip, source.front().orientation, {}, true);
    std::size_t count = 1;
    for (std::size_t k = 1; k < source.size(); ++k)
      for (double at = 0; at < 1; ++count) at = GoOn(source[k - 1], source[k], at);
    return count;
  }

 private:
  Line Solve(const Point& tip, const Point& dir, const Line& last, bool isFirst) const {
    const auto solutions = m_solver.SolveAngles(tip, dir, m_solver.MakePoleCone(), 0);
    const auto lineOf = [&](const post::zvRotarySolution& s) {
      Line line{s.position, tip, dir, {s.firstAngle, s.secondAngle}};
      for (std::size_t i = 0; i < 2 && !isFirst; ++i)
        line.degs[i] = last.degs[i] + std::remainder(line.degs[i] - last.degs[i], 360);
      return line;
    };
    const Line first = lineOf(solutions.first), mirror = lineOf(solutions.mirror);
    return isFirst || Turn(last, first) <= Turn(last, mirror) ? first : mirror;
  }
  Line At(const SourceMove& from, const SourceMove& to, double t) const {
    const double whole = DegBetween(from.orientation, to.orientation) * kRad;
    return Solve(from.tip * (1 - t) + to.tip * t,
                 from.orientation * (std::sin((1 - t) * whole) / std::sin(whole)) +
                     to.orientation * (std::sin(t * whole) / std::sin(whole)),
                 m_last, false);
  }
  bool Holds(const Line& to) const {
    if (!(Turn(m_last, to) <= m_rules.par.GetMaxAngleStep())) return false;
    const Point across = Cross(m_last.orientation, to.orientation).Normalized();
    for (int part = 1; part < 16; ++part) {
      const rigid::Pose pose = m_rules.PoseAt(Between(m_last, to, part / 16.0, false));
      if (OffLine(ToPoint(pose.tip), m_last.part, to.part) > m_tip) return false;
      if (std::fabs(std::asin(Dot(ToPoint(pose.axis), across))) > m_axis * kRad) return false;
    }
    return true;
  }
  double GoOn(const SourceMove& from, const SourceMove& to, double at) {
    double low = at, high = 1;
    if (Holds(At(from, to, 1))) low = 1;
    for (int i = 0; i < 25 && low < 1; ++i) {
      const double middle = (low + high) / 2;
      (Holds(At(from, to, middle)) ? low : high) = middle;
    }
    m_last = At(from, to, low);
    return low;
  }

  Rules m_rules;
  post::zv5axMoveSolver m_solver;
  double m_tip;
  double m_axis;
  Line m_last;
};

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
    const Held held = PostHeld(scene, source, {tip, axis});
    EXPECT_TRUE(held.report.IsHeld());
    ExpectFollows(Rules::Of(scene), source, held.outcome.lines, {axis, tip});
    const std::size_t fewest = LongestBlocks(scene, tip, axis).Count(source);
    EXPECT_GT(fewest, source.size());
    EXPECT_GE(held.outcome.lines.size(), fewest);
    EXPECT_LE(static_cast<double>(held.outcome.lines.size()), 1.1 * static_cast<double>(fewest));
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
        FiveAxisScene scene = Trunnion(kind);
        if (c.poleTolerance > 0) scene.par.SetPoleAngleTolerance(c.poleTolerance);
        scene.par.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(handling));
        const Source source = OverPole(c.run, c.azimuth, c.aside);
        const Held held = PostHeld(scene, source, {0.01, 0.1});
        ASSERT_EQ(held.outcome.id, 0u);
        EXPECT_TRUE(held.report.IsHeld());
        const Rules rules = Rules::Of(scene);
        ExpectFollows(rules, source, held.outcome.lines, {0.1, 0.01});
        ExpectSource(source, held.outcome.lines);
        EXPECT_EQ(held.outcome.counts.largeJumps, c.jumps);
        EXPECT_EQ(held.outcome.counts.blendedPoles, handling >= 2 ? c.blended : 0);
        for (std::size_t k = 1; k < held.outcome.lines.size(); ++k)
          ASSERT_LE(Turn(held.outcome.lines[k - 1], held.outcome.lines[k]), 3 + 1e-8) << k;
      }
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
    FiveAxisScene scene = Trunnion();
    scene.par.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(handling));
    const Held held = PostHeld(scene, source, {0.01, 0.1});
    const Rules rules = Rules::Of(scene);
    ASSERT_GT(held.outcome.lines.size(), 20u);
    ExpectFollows(rules, source, held.outcome.lines, {0.1, 0.01});
    for (const Line& line : held.outcome.lines)
      ASSERT_LE(DegBetween(ToPoint(rules.PoseAt(line).axis), line.orientation), 0.0113) << handling;
  }
}

// Out of a wide cone the tool leaps to its tilt within the tolerance: lines of that say so.
TEST(PathTolerance, LinesBesideAWideConeStandAsTheMachineDoes) {
  const Source source{{{47, -34, 6}, Direction(0.09, 96)}, {{51, -34, 6}, Direction(2.1, 116)}};
  for (const std::int32_t kind : {1, 2, 3}) {
    FiveAxisScene scene = Trunnion(kind);
    scene.par.SetPoleAngleTolerance(1);
    scene.par.SetMaxAngleStep(0.5);
    const Held held = PostHeld(scene, source, {0.17, 1.036});
    const Rules rules = Rules::Of(scene);
    for (const Line& line : held.outcome.lines) {
      const Point axis = ToPoint(rules.PoseAt(line).axis);
      if (DegBetween(axis, {0, 0, 1}) < 1e-3) continue;
      ASSERT_LE(DegBetween(axis, line.orientation), 3e-3) << kind;
    }
  }
}

// A run on one end of the axis ends where the tool goes over to the other.
TEST(PathTolerance, NoTurnIsSpreadFromOneEndOfTheAxisToTheOther) {
  const Source source{{{0, 5, 0}, Direction(10, 180)}, {{5, 5, 0}, {0, 0, 1}},
                      {{15, 5, 0}, {0, 0, 1}},         {{25, 5, 0}, {0, 0, -1}},
                      {{35, 5, 0}, {0, 0, -1}},        {{40, 5, 0}, Direction(170, 50)}};
  for (const int handling : {2, 3}) {
    FiveAxisScene scene = Trunnion();
    scene.par.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(handling));
    const Held held = PostHeld(scene, source, {0.01, 0.1});
    const Rules rules = Rules::Of(scene);
    ASSERT_EQ(held.outcome.id, 0u);
    ExpectSource(source, held.outcome.lines);
    for (const Line& line : held.outcome.lines)
      ASSERT_LE(DegBetween(ToPoint(rules.PoseAt(line).axis), line.orientation), 1e-3) << handling;
  }
}

// Over a run the free axis turns in proportion to the way; on the cubic slowly at its ends.
TEST(PathTolerance, ATurnIsSpreadOverTheRun) {
  for (const int handling : {2, 3}) {
    FiveAxisScene scene = Trunnion();
    scene.par.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(handling));
    const Held held = PostHeld(scene, OverPole(4, 50, 0), {0.01, 0.1});
    double turned = 0;
    int seen = 0;
    const double start = held.outcome.lines.front().degs[0];
    const double whole = held.outcome.lines.back().degs[0] - start;
    EXPECT_NEAR(std::fabs(whole), 50, 1e-9);
    for (const Line& line : held.outcome.lines) {
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
    FiveAxisScene scene = Trunnion();
    scene.par.SetMaxAngleJump(jump);
    scene.machine.firstRange = first;
    scene.machine.secondRange = {lowest, 170};
    scene.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes);
    scene.par.SetPoleHandling(zvKDRParam::PoleHandling{0});
    const Held held = PostHeld(scene, source, {0.01, 0.1});
    ASSERT_EQ(held.outcome.id, 0u);
    EXPECT_EQ(held.outcome.counts.largeJumps, jumps);
    EXPECT_EQ(held.report.IsHeld(), isHeld);
    // Small blocks of a leap, plain by themselves, are off the path all the same.
    EXPECT_EQ(PostHeld(scene, source, {1, 0.1}).report.IsHeld(), isHeld);
    if (isHeld) continue;
    const auto& worst = held.report.lines[0];
    ASSERT_GT(held.report.GetLineCount(), 0u);
    EXPECT_GT(std::max(worst.axis / 0.1, worst.tip / 0.01), 1);
    EXPECT_EQ(worst.source, held.outcome.lines[worst.index].source);
    EXPECT_GE(held.report.largestAxis, worst.axis);
  }
}

TEST(PathTolerance, RefusesWhatNumbersDontHold) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  using Refusal = misc::zvRangeException<double>;
  for (const auto& [tip, axis] : {std::pair(0.0, 0.1), std::pair(0.1, 0.0), std::pair(-1.0, 0.1),
                                  std::pair(0.1, -1.0), std::pair(kNan, 0.1), std::pair(0.1, kNan)})
    EXPECT_THROW(zvPathTolerance(tip, axis), Refusal) << tip << " " << axis;

  struct Case {
    double tip, axis, far;
    double smallest;  // which the error names; 0 for none
  };
  for (const auto& [tip, axis, far, smallest] :
       {Case{1e-8, 0.002, 0, 0}, Case{0.9e-8, 0.002, 0, 1e-8}, Case{0.01, 0.0019, 0, 0.002},
        Case{1e-6, 0.1, 9e5, 0}, Case{1e-6, 0.1, 2e6, 2e-6}}) {
    SCOPED_TRACE(testing::Message() << tip << " " << axis << " " << far);
    const Source source{{{0, 0, 0}, {0, 0, 1}}, {{far, 0, 0}, {0, 1e-5, 1}}};
    const FiveAxisScene scene = Trunnion();
    auto creator = scene.Creator();
    creator.SetPathTolerance({tip, axis});
    try {
      creator.Post(Build(source), true);
      EXPECT_EQ(smallest, 0);
    } catch (const Refusal& refusal) {
      EXPECT_NEAR(*refusal.GetMinimum(), smallest, 1e-3 * smallest);
      EXPECT_EQ(refusal.GetCauses().at(0).second,
                axis < 0.002 ? post::kAxisTolerance : post::kTipTolerance);
    }
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
    const Held held = PostHeld(scene, source, {0.001, 0.05});
    ASSERT_EQ(held.outcome.id, 0u);
    EXPECT_TRUE(held.report.IsHeld());
    EXPECT_GT(held.outcome.lines.size(), source.size());
    ExpectFollows(Rules::Of(scene), source, held.outcome.lines, {0.05, 0.001});
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
  const Held held = PostHeld(scene, source, {0.1, 10});
  ASSERT_EQ(held.outcome.lines.front().degs[0], 0);
  ASSERT_EQ(held.outcome.lines.front().machine, Point());
  ExpectFollows(Rules::Of(scene), source, held.outcome.lines, {10, 0.1});
}

// interpolationDistance is an upper bound however small it is beside the tolerance.
TEST(PathTolerance, NoBlockIsLongerThanTheDistance) {
  for (const auto& [tip, distance, id] :
       {std::tuple(1.0, 0.05, 0u), std::tuple(0.01, 0.05, 0u), std::tuple(1.0, 1e-8, 5039u)}) {
    FiveAxisScene scene = Trunnion();
    scene.par.SetInterpolateByDistance(true);
    scene.par.SetInterpolationDistance(distance);
    scene.par.SetMaxAngleJump(190);
    // On an arc and between opposite orientations, which have none.
    for (const Point& end : {Direction(6, 20), Direction(174, 180)}) {
      const Source source{{{10, 0, 0}, Direction(6, 0)}, {{110, 9, 0}, end}};
      const Held held = PostHeld(scene, source, {tip, 0.1});
      EXPECT_EQ(held.outcome.id, id);
      const Lines& lines = held.outcome.lines;
      EXPECT_EQ(static_cast<double>(lines.size()) > 100 / distance, id == 0);
      for (std::size_t k = 1; id == 0 && k < lines.size(); ++k)
        ASSERT_LE((lines[k].part - lines[k - 1].part).Length(), distance + 1e-9) << k;
    }
  }
}

TEST(PathTolerance, OffIsAsIfNeverSetAndTheFacadePassesItOn) {
  const FiveAxisScene scene = Trunnion();
  const Source source = Spiral(20);
  const PathBuilder path = Build(source);
  auto creator = scene.Creator();
  const Lines plain = PostBy(creator, path).lines;
  creator.SetPathTolerance({0.01, 0.1});
  const Lines held = PostBy(creator, path).lines;
  EXPECT_NE(plain, held);
  const auto copy = creator;
  EXPECT_EQ(copy.GetPathTolerance().GetTip(), 0.01);

  const auto machDef = scene.machine.MachDef();
  zvKDR5AxBase facade(machDef, scene.control, scene.par, scene.origin, scene.toolLength);
  facade.SetPathTolerance({0.01, 0.1});
  EXPECT_EQ(facade.Post(path).GetCount(), held.size());
  EXPECT_TRUE(facade.GetToleranceReport().IsHeld());
  facade.SetPathTolerance({});
  EXPECT_EQ(facade.Post(path).GetCount(), plain.size());
  creator.SetPathTolerance({});
  EXPECT_EQ(PostBy(creator, path).lines, plain);
}

}  // namespace

}  // namespace tests
