// How rotary limits are kept: by shifts, rewindings and further attempts. What is posted is judged
// by the rigid bodies, with the axes moving evenly from line to line.
#include <gtest/gtest.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/source_path.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

using post::zv5axControlDef;
using post::zvKDRParam;
using post::zvPosted5axMove;
using post::zvPostedMove;
using tests::Build;
using tests::FiveAxisScene;
using tests::Move5;
using tests::Point;
using tests::Source;
using tests::ToPoint;
using tests::ToVector;

using Lines = std::vector<zvPosted5axMove>;

struct Outcome {
  std::uint32_t id = 0;  // 0 for a posting without error
  Lines lines;
  std::uint32_t rewindings = 0;
  std::uint32_t shortLifts = 0;
  zvKDRParam::SolutionIndex index = zvKDRParam::firstSolution;  // as it stays
};

Outcome Post(const FiveAxisScene& scene, const Source& source) {
  zvPosted5axTPCreator creator = scene.Creator();
  Outcome outcome;
  try {
    creator.Post(Build(source), false);
  } catch (const misc::zvException& e) {
    outcome.id = static_cast<std::uint32_t>(e.GetId());
  }
  const auto& list = *creator.GetPostedList();
  outcome.lines.assign(list.begin(), list.end());
  outcome.rewindings = creator.GetCounts().rewindings;
  outcome.shortLifts = creator.GetCounts().shortLifts;
  outcome.index = creator.GetPar().GetFirstMoveSolutionIndex();
  return outcome;
}

double DegBetween(const Point& a, const Point& b) {
  return std::atan2(Cross(a, b).Length(), Dot(a, b)) * 57.29577951308232;
}

// How far a direction lies from the shorter way between two others, degrees.
double DegOffWay(const Point& dir, const Point& from, const Point& to) {
  const double nearest = std::min(DegBetween(dir, from), DegBetween(dir, to));
  const Point n = Cross(from, to);
  if (n.Length() < 1e-9) return nearest;
  const Point across = n.Normalized();
  const Point onWay = (dir - across * Dot(dir, across)).Normalized();
  const bool isBetween =
      DegBetween(from, onWay) + DegBetween(onWay, to) < DegBetween(from, to) + 1e-6;
  return isBetween ? DegBetween(dir, onWay) : nearest;
}

double OffLine(const Point& p, const Point& from, const Point& to) {
  const Point way = to - from;
  const double squared = way.SquaredLength();
  const double t = squared > 0 ? std::clamp(Dot(p - from, way) / squared, 0.0, 1.0) : 0.0;
  return (p - (from + way * t)).Length();
}

// Each move of the path stands in the list, all angles within their ranges, and no feed step takes
// tool or tip off the path; out of the air the tip comes down along the tool.
void ExpectFollows(const FiveAxisScene& scene, const Source& path, const Lines& lines,
                   double mostDeg, double mostLength) {
  const auto model = scene.Model();
  std::size_t passed = 0;
  for (const zvPosted5axMove& line : lines) {
    passed += line.IsInserted() ? 0 : 1;
    ASSERT_GE(line.GetAngle(0), scene.machine.firstRange.first - 1e-4);
    ASSERT_LE(line.GetAngle(0), scene.machine.firstRange.second + 1e-4);
    ASSERT_GE(line.GetAngle(1), scene.machine.secondRange.first - 1.01e-4);
    ASSERT_LE(line.GetAngle(1), scene.machine.secondRange.second + 1.01e-4);
  }
  ASSERT_EQ(passed, path.size());
  for (std::size_t k = 1; k < lines.size(); ++k) {
    const zvPosted5axMove& a = lines[k - 1];
    const zvPosted5axMove& b = lines[k];
    if (b.IsRapid()) continue;
    const bool comesDown = a.IsRapid() && a.IsInserted() && a.AngleDistance(b) < 1e-9;
    const auto source = static_cast<std::size_t>(a.GetSourceIndex());
    const auto& from = path[comesDown ? static_cast<std::size_t>(b.GetSourceIndex()) : source];
    const auto& to = path[std::min(
        path.size() - 1, static_cast<std::size_t>(b.GetSourceIndex()) + (b.IsInserted() ? 1 : 0))];
    for (double t = 0; t <= 1; t += 0.125) {
      const auto blend = [t](double x, double y) { return (1 - t) * x + t * y; };
      const Point slides = (1 - t) * a.GetMachinePosition() + t * b.GetMachinePosition();
      const auto pose = model.At(ToVector(slides), blend(a.GetAngle(0), b.GetAngle(0)),
                                 blend(a.GetAngle(1), b.GetAngle(1)));
      ASSERT_LT(DegOffWay(ToPoint(pose.axis), from.orientation, to.orientation), mostDeg) << k;
      if (!comesDown) {
        ASSERT_LT(OffLine(ToPoint(pose.tip), from.tip, to.tip), mostLength) << k;
      }
    }
  }
}

FiveAxisScene Trunnion(double minFirst, double maxFirst, double minSecond, double maxSecond) {
  FiveAxisScene scene;
  scene.machine.secondPivot = {0, 0, -50};
  scene.machine.firstRange = {minFirst, maxFirst};
  scene.machine.secondRange = {minSecond, maxSecond};
  scene.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes);
  return scene;
}

// The tilt runs past its end, where the machine changes to the mirror solution: the first axis
// leaps over its limit while it does.
TEST(FiveAxisLimits, ALeapBetweenTheSolutionsIsMadeInTheAir) {
  tests::Seeded random;
  int rewound = 0;
  for (int run = 0; run < 800; ++run) {
    SCOPED_TRACE(run);
    const double low = random.Real(-400, 0);
    FiveAxisScene scene = Trunnion(low, low + random.Real(365, 500), -30, 110);
    scene.machine.kind = random.Integer(1, 3);
    scene.par.SetRetractDistance(random.Real(5, 100));
    scene.par.SetMaxAngleStep(random.Real(1, 5));
    scene.par.SetInterpolateRapidMoves(random.Chance(0.3));
    Source path;
    double first = random.Real(-180, 180);
    double second = -25;
    const double turn = random.Real(-2, 2);
    for (int i = 0; i < 30; ++i) {
      first += turn;
      second += random.Chance(0.3) ? 0 : -std::copysign(random.Real(0, 3), second + 30);
      path.push_back({{60.0 + 0.7 * i, -20, 0}, scene.Tool(first, second), 1000});
      path.back().rapid = random.Chance(0.5);
      path.back().link = path.back().rapid ? random.Integer(0, 5) : -1;
    }
    const Outcome outcome = Post(scene, path);
    ASSERT_EQ(outcome.id, 0u);
    rewound += outcome.rewindings > 0;
    ExpectFollows(scene, path, outcome.lines, 0.05, 0.2);
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(rewound, 50);
}

// Across the pole the first axis turns by half a turn, through its limit, which poleHandling 0
// leaves in one step: what leads to the limit there is divided.
TEST(FiveAxisLimits, StepsOntoALimitOnThePoleAreSmall) {
  for (const double limit : {400.0, 440.0, 500.0})
    for (const double sense : {1.0, -1.0}) {
      FiveAxisScene scene = Trunnion(sense > 0 ? -5 : -limit, sense > 0 ? limit : 5, 0, 110);
      scene.par.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(0));
      scene.par.SetMaxAngleJump(400);
      Source path;
      const auto add = [&](double first, double second) {
        path.push_back({{30 + 0.2 * static_cast<double>(path.size()), 5, 0},
                        scene.Tool(sense * first, second),
                        1000});
      };
      for (double deg = 0; deg <= 340; deg += 2) add(deg, 8);
      for (double tilt = 6; tilt >= 0; tilt -= 2) add(340, tilt);
      for (double tilt = 2; tilt <= 8; tilt += 2) add(340 + 179.9, tilt);
      for (double deg = 181; deg <= 400; deg += 2) add(340 + deg, 8);
      const Outcome outcome = Post(scene, path);
      ASSERT_EQ(outcome.id, 0u);
      EXPECT_GT(outcome.rewindings, 0u);
      for (std::size_t k = 1; k < outcome.lines.size(); ++k) {
        const zvPosted5axMove& a = outcome.lines[k - 1];
        const zvPosted5axMove& b = outcome.lines[k];
        if (std::fabs(std::fabs(b.GetAngle(0)) - limit) > 1e-9 || b.IsRapid()) continue;
        EXPECT_LE(a.AngleDistance(b), scene.par.GetMaxAngleStep() + 1e-9) << limit;
      }
    }
}

// A rapid step isn't divided: the part of it that leads to the limit would be fed along a curve.
TEST(FiveAxisLimits, ALimitOnARapidStepIsReachedRapidly) {
  for (const int mode : {0, 1}) {
    FiveAxisScene scene = Trunnion(-360, 360, -5, 110);
    scene.par.SetInterpolationMode(mode);
    Source path;
    for (int i = 0; i <= 30; ++i)
      path.push_back({{50, 0.5 * i, 0}, scene.Tool(35.0 * i, 30), 1000, true, 2});
    path[20].rapid = false;  // shifted by a turn it is the last before the limit
    path[20].link = -1;
    const Outcome outcome = Post(scene, path);
    ASSERT_EQ(outcome.id, 0u);
    EXPECT_EQ(outcome.rewindings, 1u);
    for (const zvPosted5axMove& line : outcome.lines)
      EXPECT_TRUE(line.IsRapid() || std::fabs(std::fabs(line.GetAngle(0)) - 360) > 1e-9);
  }
}

// A path that winds down below its range while the second axis falls: the second's values hide the
// under-run of the first. And a second axis that stands at its limit, by rounding beyond it.
TEST(FiveAxisLimits, TheLastAttemptMeasuresEachAxisForItself) {
  const auto rounded = [](double x) { return std::round(x * 1e9) / 1e9; };
  const struct {
    const char* name;
    double first, firstEnd, second, secondEnd, minSecond;
    bool isRounded;
    zvKDRParam::LimitsCheck check;
    bool isPosted, isRewound;
  } cases[] = {
      {"rises", 0, -470, -30, -25, -120, false, zvKDRParam::checkRotaryAxes, true, false},
      {"falls", 0, -470, -25, -30, -120, false, zvKDRParam::checkRotaryAxes, true, false},
      {"falls, all axes", 0, -470, -25, -30, -120, false, zvKDRParam::checkAllAxes, true, false},
      {"tilt at limit", 0, 900, -45, -45, -45, true, zvKDRParam::checkRotaryAxes, true, true},
      {"tilt beyond", 0, 900, -45.01, -45.01, -45, true, zvKDRParam::checkRotaryAxes, false, false},
  };
  for (const auto& c : cases)
    for (const auto index : {zvKDRParam::firstSolution, zvKDRParam::mirrorSolution}) {
      SCOPED_TRACE(c.name);
      FiveAxisScene scene = Trunnion(-360, 360, c.minSecond, 20);
      scene.par.SetLimitsCheck(c.check);
      scene.par.SetFirstMoveSolutionIndex(index);
      Source path;
      constexpr int kCount = 240;
      for (int i = 0; i <= kCount; ++i) {
        const double t = static_cast<double>(i) / kCount;
        Point tool = scene.Tool(c.first + t * (c.firstEnd - c.first),
                                c.second + t * (c.secondEnd - c.second));
        if (c.isRounded) tool = {rounded(tool.x), rounded(tool.y), rounded(tool.z)};
        path.push_back({{50 + 0.1 * i, 0, 0}, tool, 1000});
      }
      const Outcome outcome = Post(scene, path);
      // What succeeds from the posting's own first solution leaves the index as it was.
      EXPECT_EQ(outcome.index == index, c.isPosted);
      if (!c.isPosted) {
        // That of the second attempt's list, which stays.
        EXPECT_EQ(outcome.id, outcome.lines.front().GetAngle(1) < 0 ? 5014u : 5019u);
        continue;
      }
      ASSERT_EQ(outcome.id, 0u);
      EXPECT_EQ(outcome.rewindings > 0, c.isRewound);
      ExpectFollows(scene, path, outcome.lines, 0.05, 0.1);
    }
}

// Tested at angle 0, which it doesn't keep, the first move would be out.
TEST(FiveAxisLimits, AFirstMoveOnThePoleIsJudgedByTheAngleThatItGets) {
  FiveAxisScene scene = Trunnion(-360, 360, -120, 120);
  scene.par.SetLimitsCheck(zvKDRParam::checkAllAxes);
  scene.machine.low = {-500, -50, -500};
  scene.machine.high = {500, 50, 500};
  const auto path = [&](double firstDeg) {
    Source source{{{0, 100, 50}, {0, 0, 1}}};
    for (double tilt = 0.5; tilt <= 5; tilt += 0.5)
      source.push_back({{0, 100, 50}, scene.Tool(firstDeg, tilt)});
    return source;
  };
  // Turned by a quarter the part lies along X.
  EXPECT_EQ(Post(scene, path(90)).id, 0u);
  EXPECT_EQ(Post(scene, path(0)).id, 5011u);
  zvPosted5axTPCreator creator = scene.Creator();
  EXPECT_NO_THROW(creator.SelectPostedMoveFirstTime(
      creator.PostMove2(Move5({0, 100, 50}, {0, 0, 1}), zvPostedMove::noLink)));
}

// What the control writes may be out of a range that the angle itself keeps, and the reverse.
TEST(FiveAxisLimits, AnglesFitAsTheyAreOrAsTheyAreWritten) {
  using Limit = zv5axControlDef::angleLimit;
  const struct {
    const char* name;
    double first, second;
    std::pair<double, double> firstRange, secondRange;
    Limit firstLimit, secondLimit;
    double firstWritten, secondWritten;
    std::uint32_t id;
  } cases[] = {
      {"first", -100, 20, {0, 360}, {-120, 120}, zv5axControlDef::angleLimit180, {}, -100, 20, 0},
      {"second",
       10,
       -30,
       {-360, 360},
       {-120, 120},
       zv5axControlDef::angleLimit360,
       zv5axControlDef::angleLimit360,
       10,
       330,
       0},
      {"as written",
       -100,
       20,
       {255, 265},
       {-120, 120},
       zv5axControlDef::angleLimit360,
       {},
       260,
       20,
       0},
      {"neither", -100, 20, {-60, 60}, {10, 120}, zv5axControlDef::angleLimit360, {}, 0, 0, 5018},
  };
  for (const auto& c : cases)
    for (const bool isPath : {true, false}) {
      SCOPED_TRACE(testing::Message() << c.name << ' ' << isPath);
      FiveAxisScene scene = Trunnion(c.firstRange.first, c.firstRange.second, c.secondRange.first,
                                     c.secondRange.second);
      scene.par.SetFirstMoveRule(zvKDRParam::bySecondAxis);
      scene.par.SetFirstMovePreferredAngle(c.second);
      scene.control.SetFirstAxisLimit(c.firstLimit);
      scene.control.SetSecondAxisLimit(c.secondLimit);
      const Point tool = scene.Tool(c.first, c.second);
      std::uint32_t id = 0;
      zvPosted5axMove written(true);
      zvPosted5axTPCreator creator = scene.Creator();
      try {
        if (isPath) {
          written = creator.Post(Build({{{0, 0, 0}, tool}, {{9, 0, 0}, tool}}), true)->Back();
        } else {
          const auto both = creator.PostMoveWithinMachLimits(Move5({}, tool), zvPostedMove::noLink);
          const bool isFirst = both.first && both.first->GetAngle(1) * c.secondWritten > 0 &&
                               std::fabs(both.first->GetAngle(1) - c.secondWritten) < 1;
          ASSERT_TRUE(isFirst || both.second);
          written = isFirst ? *both.first : *both.second;
        }
      } catch (const post::zvPostException& e) {
        id = e.GetId();
      }
      EXPECT_EQ(id, c.id);
      if (c.id != 0) continue;
      EXPECT_NEAR(written.GetAngle(0), c.firstWritten, 1e-9);
      EXPECT_NEAR(written.GetAngle(1), c.secondWritten, 1e-9);
    }
}

// A jump near the ceiling lifts less than the retract distance would.
TEST(FiveAxisLimits, ShortLiftsAreCounted) {
  for (const bool toLimits : {true, false})
    for (const double ceiling : {40.0, 400.0}) {
      FiveAxisScene scene = Trunnion(-360, 360, -5, 120);
      scene.par.SetRetractToLimits(toLimits);
      scene.par.SetMaxAngleStep(0);
      scene.par.SetMaxAngleJump(100);
      scene.machine.high.z = ceiling;
      const Outcome outcome =
          Post(scene, {{{5, 0, 0}, scene.Tool(0, 10)}, {{5, 0, 0}, scene.Tool(150, 10)}});
      EXPECT_EQ(outcome.id, 0u);
      EXPECT_EQ(outcome.shortLifts, toLimits && ceiling < 100 ? 2u : 0u);
    }
}

// The tilt of this nutating table stops short of the way between the first two orientations, which
// only the other solution has: a turn of 81 degrees, which would be cut at feed and take the tool
// 11 degrees off its way.
TEST(FiveAxisLimits, AChangeOfSolutionIsMadeInTheAir) {
  FiveAxisScene scene = Trunnion(-360, 360, -110, 20);
  scene.machine.second = {0, 1, 1};
  scene.machine.secondPivot = {0, 0, 5};
  scene.toolLength = 42;
  const Source path{{{37, 51, -4}, {-0.129881332, -0.123585198, 0.983797509}},
                    {{26, 56, 6}, {0.604887827, -0.127483383, 0.786039887}}};
  const Outcome cut = Post(scene, path);
  ASSERT_EQ(cut.id, 0u);
  ASSERT_EQ(cut.lines.size(), 4u);
  EXPECT_TRUE(cut.lines[1].IsRapid() && cut.lines[2].IsRapid());
  EXPECT_LT(cut.lines[1].AngleDistance(cut.lines[2]), 120);
  ExpectFollows(scene, path, cut.lines, 6, 0.1);
  scene.par.SetMaxAngleJump(180);  // switches such repairs off
  for (const zvPosted5axMove& line : Post(scene, path).lines) EXPECT_FALSE(line.IsRapid());

  // Out of a wide pole the free axis turns at once, and the tool by the pole's tolerance.
  FiveAxisScene pole = Trunnion(-360, 360, -110, 20);
  pole.par.SetMaxAngleStep(0.2);
  pole.par.SetPoleAngleTolerance(3);
  pole.par.SetPoleHandling(zvKDRParam::keepWithinLimits);
  const Outcome left = Post(
      pole,
      {{{50, 0, 0}, pole.Tool(10, -5)}, {{60, 0, 0}, {0, 0, 1}}, {{70, 0, 0}, pole.Tool(60, -5)}});
  EXPECT_EQ(left.id, 0u);
  for (const zvPosted5axMove& line : left.lines) EXPECT_FALSE(line.IsRapid());
}

// Each step is a jump, lifted to the linear limits; where the head's first axis comes to its end in
// such a swing, the move there lies outside them.
TEST(FiveAxisLimits, ARewindingInASwingAtTheLinearLimitsIsPosted) {
  FiveAxisScene scene = Trunnion(0, 360, -110, 110);
  scene.machine.kind = 1;
  scene.machine.low = {-600, -600, -600};
  scene.machine.high = {600, 600, 600};
  scene.toolLength = 100;
  scene.par.SetMaxAngleJump(5);
  scene.par.SetMaxAngleStep(10);
  scene.par.SetRetractToLimits(true);
  Source path;
  for (int k = 0; k < 50; ++k) {
    const double azimuth = 8 * k * 0.017453292519943295;
    const double tilt = (20 + k % 2 * 2) * 0.017453292519943295;
    path.push_back(
        {{30.0 + k, 5, 3},
         {std::sin(tilt) * std::cos(azimuth), std::sin(tilt) * std::sin(azimuth), std::cos(tilt)}});
  }
  const Outcome outcome = Post(scene, path);
  EXPECT_EQ(outcome.id, 0u);
  EXPECT_GE(outcome.rewindings, 1u);
  EXPECT_EQ(outcome.shortLifts, 0u);
  ExpectFollows(scene, path, outcome.lines, 20, 1);
}

}  // namespace
