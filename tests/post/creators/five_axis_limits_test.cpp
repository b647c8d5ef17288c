// How rotary limits are kept: by shifts, rewindings and further attempts. What is posted is judged
// by the rigid bodies, with the axes moving evenly from line to line.
#include <tests/post/creators/rows.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/outcome.h>

namespace tests {
namespace {

constexpr Range kUnlimited{-100000, 100000};

FiveAxisScene Trunnion(const Range& first, const Range& second) {
  FiveAxisScene scene;
  scene.machine.secondPivot = {0, 0, -50};
  scene.machine.firstRange = first;
  scene.machine.secondRange = second;
  scene.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes);
  return scene;
}

// A posted path is all there, true, within its limits, and no feed step leaves it.
void ExpectKept(const FiveAxisScene& scene, const Source& path, const Outcome& outcome,
                const Slack& slack) {
  const Rules rules = Rules::Of(scene);
  ASSERT_EQ(outcome.id, 0u);
  ExpectPoses(rules, outcome.lines);
  ExpectSource(path, outcome.lines);
  ExpectWithinRanges(rules, outcome.lines);
  ExpectFollows(rules, path, outcome.lines, slack);
  for (const Line& line : outcome.lines) EXPECT_EQ(line.poleStatus, 0u);
}

// Moves at even distances along X, by the angles of the tool.
struct Along {
  const FiveAxisScene& scene;
  double apart;
  Point start{};
  Source path{};

  void Add(double first, double second, double sense = 1) {
    path.push_back({start + Point{apart * static_cast<double>(path.size()), 0, 0},
                    scene.Tool(sense * first, second)});
  }
};

// The tilt runs past its end, where the machine changes to the mirror solution: the first axis
// leaps over its limit while it does.
TEST(FiveAxisLimits, ALeapBetweenTheSolutionsIsMadeInTheAir) {
  Seeded random;
  int rewound = 0;
  for (int run = 0; run < 800; ++run) {
    SCOPED_TRACE(run);
    const double low = random.Real(-400, 0);
    FiveAxisScene scene = Trunnion({low, low + random.Real(365, 500)}, {-30, 110});
    scene.machine.kind = random.Integer(1, 3);
    scene.par.SetRetractDistance(random.Real(5, 100));
    scene.par.SetMaxAngleStep(random.Real(1, 5));
    scene.par.SetInterpolateRapidMoves(random.Chance(0.3));
    Along along{scene, 0.7, {60, -20, 0}};
    double first = random.Real(-180, 180);
    double second = -25;
    const double turn = random.Real(-2, 2);
    for (int i = 0; i < 30; ++i) {
      first += turn;
      second += random.Chance(0.3) ? 0 : -std::copysign(random.Real(0, 3), second + 30);
      along.Add(first, second);
      along.path.back().rapid = random.Chance(0.5);
      along.path.back().link = along.path.back().rapid ? random.Integer(0, 5) : -1;
    }
    const Outcome outcome = Post(scene, along.path);
    rewound += outcome.counts.rewindings > 0;
    ExpectKept(scene, along.path, outcome, {0.05, 0.2});
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(rewound, 50);
}

// Across the pole the first axis turns by half a turn, through its limit, which poleHandling 0
// leaves in one step: what leads to the limit there is divided.
TEST(FiveAxisLimits, StepsOntoALimitOnThePoleAreSmall) {
  for (const double limit : {400.0, 440.0, 500.0})
    for (const double sense : {1.0, -1.0}) {
      FiveAxisScene scene = Trunnion(sense > 0 ? Range{-5, limit} : Range{-limit, 5}, {0, 110});
      scene.par.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(0));
      scene.par.SetMaxAngleJump(400);
      Along along{scene, 0.2, {30, 5, 0}};
      for (double deg = 0; deg <= 340; deg += 2) along.Add(deg, 8, sense);
      for (double tilt = 6; tilt >= 0; tilt -= 2) along.Add(340, tilt, sense);
      for (double tilt = 2; tilt <= 8; tilt += 2) along.Add(340 + 179.9, tilt, sense);
      for (double deg = 181; deg <= 400; deg += 2) along.Add(340 + deg, 8, sense);
      const Outcome outcome = Post(scene, along.path);
      ASSERT_EQ(outcome.id, 0u);
      EXPECT_GT(outcome.counts.rewindings, 0u);
      for (std::size_t k = 1; k < outcome.lines.size(); ++k) {
        const Line& line = outcome.lines[k];
        if (std::fabs(std::fabs(line.degs[0]) - limit) > 1e-9 || line.rapid) continue;
        EXPECT_LE(Turn(outcome.lines[k - 1], line), scene.par.GetMaxAngleStep() + 1e-9) << limit;
      }
    }
}

// A rapid step isn't divided: the part of it that leads to the limit would be fed along a curve.
TEST(FiveAxisLimits, ALimitOnARapidStepIsReachedRapidly) {
  for (const int mode : {0, 1}) {
    FiveAxisScene scene = Trunnion({-360, 360}, {-5, 110});
    scene.par.SetInterpolationMode(mode);
    Source path;
    for (int i = 0; i <= 30; ++i)
      path.push_back({{50, 0.5 * i, 0}, scene.Tool(35.0 * i, 30), 1000, true, 2});
    path[20].rapid = false;  // shifted by a turn it is the last before the limit
    path[20].link = -1;
    const Outcome outcome = Post(scene, path);
    ASSERT_EQ(outcome.id, 0u);
    EXPECT_EQ(outcome.counts.rewindings, 1u);
    for (const Line& line : outcome.lines)
      EXPECT_TRUE(line.rapid || std::fabs(std::fabs(line.degs[0]) - 360) > 1e-9);
  }
}

// Angles as near to 0 as some limits are to a turn are solved as 0.
//
// The tool comes up to the pole, where the path turns by some degrees, and goes down again; the
// axis meets its limit before, on and behind the pole.
TEST(FiveAxisLimits, ARewindingOnAPoleKeepsTheTool) {
  std::uint32_t rewindings = 0;
  for (const double limit : {270.0, 300.0, 359.9, 359.9993, 359.9999, 360.0, 360.0001, 360.0005})
    for (const double sense : {1.0, -1.0})
      for (const int handling : {0, 1, 2, 3})
        for (const double turned : {500.0, 540.0, 590.0, 610.0, 690.0, 800.0}) {
          SCOPED_TRACE(testing::Message()
                       << limit << ' ' << sense << ' ' << handling << ' ' << turned);
          FiveAxisScene scene = Trunnion({-limit, limit}, kUnlimited);
          scene.par.SetPoleAngleTolerance(0.01);
          scene.par.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(handling));
          Along along{scene, 1};
          for (double deg = 0; deg <= turned; deg += 5) along.Add(deg, 10, sense);
          for (int tilt = 9; tilt > 0; --tilt) along.Add(turned, tilt, sense);
          for (int i = 0; i < 10; ++i) along.Add(0, 0);
          for (int tilt = 1; tilt <= 10; ++tilt) along.Add(turned + 45, tilt, sense);
          for (double deg = 45; deg <= 105; deg += 5) along.Add(turned + deg, 10, sense);
          const Outcome outcome = Post(scene, along.path);
          rewindings += outcome.counts.rewindings;
          ExpectKept(scene, along.path, outcome, {0.5, 1e-6, false});
          if (HasFatalFailure()) return;
        }
  EXPECT_GT(rewindings, 200u);
}

// A path that winds down below its range while the second axis falls: the second's values hide the
// under-run of the first. And a second axis that stands at its limit, by rounding beyond it.
TEST(FiveAxisLimits, TheLastAttemptMeasuresEachAxisForItself) {
  for (const auto& [name, first, firstEnd, second, secondEnd, minSecond, isRounded, check, isPosted,
                    isRewound] : Rows<9>("last_attempts.txt"))
    for (const auto index : {zvKDRParam::firstSolution, zvKDRParam::mirrorSolution}) {
      SCOPED_TRACE(name);
      FiveAxisScene scene = Trunnion({-360, 360}, {minSecond, 20});
      scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(check));
      scene.par.SetFirstMoveSolutionIndex(index);
      Along along{scene, 0.1, {50, 0, 0}};
      for (double t = 0; t <= 1; t += 1.0 / 256)
        along.Add(first + t * (firstEnd - first), second + t * (secondEnd - second));
      if (isRounded != 0)
        for (SourceMove& move : along.path) move.orientation = Rounded(move.orientation);
      const Outcome outcome = Post(scene, along.path);
      // What succeeds from the posting's own first solution leaves the index as it was.
      EXPECT_EQ(outcome.index == index, isPosted != 0);
      if (isPosted == 0) {
        // That of the second attempt's list, which stays.
        EXPECT_EQ(outcome.id, outcome.lines.front().degs[1] < 0 ? 5014u : 5019u);
        continue;
      }
      EXPECT_EQ(outcome.counts.rewindings > 0, isRewound != 0);
      ExpectKept(scene, along.path, outcome, {});
    }
}

// Tested at angle 0, which it doesn't keep, the first move would be out.
TEST(FiveAxisLimits, AFirstMoveOnThePoleIsJudgedByTheAngleThatItGets) {
  FiveAxisScene scene = Trunnion({-360, 360}, {-120, 120});
  scene.par.SetLimitsCheck(zvKDRParam::checkAllAxes);
  scene.machine.low = {-500, -50, -500};
  scene.machine.high = {500, 50, 500};
  const auto idOf = [&](double firstDeg) {
    Along along{scene, 0, {0, 100, 50}};
    for (double tilt = 0; tilt <= 5; tilt += 0.5) along.Add(firstDeg, tilt);
    return Post(scene, along.path).id;
  };
  // Turned by a quarter the part lies along X.
  EXPECT_EQ(idOf(90), 0u);
  EXPECT_EQ(idOf(0), 5011u);
}

// The keeper of poles within limits looks round the circle from 60 degrees before an angle: at the
// first move from before the one that it finds from 0, then from before the move behind. A circle
// in the plane of X and Y is left at its foremost place instead.
TEST(FiveAxisLimits, OnAPoleTheAngleIsLookedForNearTheOneBefore) {
  FiveAxisScene scene = Trunnion({-720, 720}, kUnlimited);
  scene.par.SetPoleHandling(zvKDRParam::keepWithinLimits);
  scene.machine.secondPivot = {};
  scene.machine.high.y = 50;
  for (const Line& line : Post(scene, Source(3, {{0, 100, 0}, {0, 0, 1}})).lines)
    EXPECT_NEAR(line.machine.x, -100, 1e-9);
  scene.machine.spindle = scene.machine.first = {1, 0, 0};
  scene.machine.second = {0, 1, 0};
  scene.machine.high = {500, 500, -34};  // of a radius of 100: from 200 to 340 degrees
  const Outcome outcome = Post(scene, Source(3, {{0, 100, 0}, {1, 0, 0}}));
  std::vector<double> found;
  for (const Line& line : outcome.lines)
    if (!line.inserted) found.push_back(line.degs[0]);
  EXPECT_EQ(found, (std::vector<double>{240, 200, 200}));
}

// A step to the other side is too large to cut; a turn each way is too small for three. Near the
// ceiling a lift to the limits is shorter than the retract distance would be, and above it none.
TEST(FiveAxisLimits, RetractionsToLimitsStartWithinThem) {
  for (const bool rewinds : {false, true})
    for (const bool toLimits : {true, false})
      for (const double ceiling : {-5.0, 40.0, 700.0}) {
        SCOPED_TRACE(testing::Message() << rewinds << ' ' << toLimits << ' ' << ceiling);
        FiveAxisScene scene = Trunnion(rewinds ? Range{-360, 360} : kUnlimited, kUnlimited);
        scene.machine.secondPivot = {};
        scene.machine.high = {500, 500, ceiling};
        scene.machine.low = {-500, -500, -500};
        scene.par.SetRetractToLimits(toLimits);
        Along along{scene, 0, {10, 0, 0}};
        if (rewinds) {
          for (double deg = 0; deg <= 1080; deg += 2.5) along.Add(deg, 30);
        } else {
          scene.par.SetMaxAngleStep(0);
          scene.par.SetMaxAngleJump(50);
          for (const double deg : {0, 0, 150}) along.Add(deg, 30);
        }
        const Outcome outcome = Post(scene, along.path);
        if (toLimits && ceiling < 0) {
          EXPECT_EQ(outcome.id, 5008u);
          EXPECT_GE(outcome.lines.size(), along.path.size());
          continue;
        }
        ASSERT_EQ(outcome.id, 0u);
        EXPECT_EQ(outcome.counts.rewindings > 0, rewinds);
        const std::uint32_t lifts = outcome.counts.rewindings + 2 * outcome.counts.largeJumps;
        EXPECT_EQ(outcome.counts.shortLifts, toLimits && ceiling < 100 ? lifts : 0);
      }
}

// The tilt of this nutating table stops short of the way between the first two orientations, which
// only the other solution has: a turn of 81 degrees, which would be cut at feed and take the tool
// 11 degrees off its way.
TEST(FiveAxisLimits, AChangeOfSolutionIsMadeInTheAir) {
  FiveAxisScene scene = Trunnion({-360, 360}, {-110, 20});
  scene.machine.second = {0, 1, 1};
  scene.machine.secondPivot = {0, 0, 5};
  scene.toolLength = 42;
  const Source path{{{37, 51, -4}, {-0.129881332, -0.123585198, 0.983797509}},
                    {{26, 56, 6}, {0.604887827, -0.127483383, 0.786039887}}};
  const Outcome cut = Post(scene, path);
  ASSERT_EQ(cut.lines.size(), 4u);
  EXPECT_TRUE(cut.lines[1].rapid && cut.lines[2].rapid);
  EXPECT_LT(Turn(cut.lines[1], cut.lines[2]), 120);
  ExpectKept(scene, path, cut, {6, 0.1});
  scene.par.SetMaxAngleJump(180);  // switches such repairs off
  EXPECT_EQ(Post(scene, path).counts.largeJumps, 0u);

  // Out of a wide pole the free axis turns at once, and the tool by the pole's tolerance.
  FiveAxisScene pole = Trunnion({-360, 360}, {-110, 20});
  pole.par.SetMaxAngleStep(0.2);
  pole.par.SetPoleAngleTolerance(3);
  pole.par.SetPoleHandling(zvKDRParam::keepWithinLimits);
  Along along{pole, 10, {50, 0, 0}};
  along.Add(10, -5);
  along.Add(0, 0);
  along.Add(60, -5);
  const Outcome left = Post(pole, along.path);
  EXPECT_EQ(left.id, 0u);
  EXPECT_EQ(left.counts.largeJumps, 0u);
}

// Each step is a jump, lifted to the linear limits; where the head's first axis comes to its end in
// such a swing, the move there lies outside them.
TEST(FiveAxisLimits, ARewindingInASwingAtTheLinearLimitsIsPosted) {
  FiveAxisScene scene = Trunnion({0, 360}, {-110, 110});
  scene.machine.kind = 1;
  scene.machine.low = {-600, -600, -600};
  scene.machine.high = {600, 600, 600};
  scene.toolLength = 100;
  scene.par.SetMaxAngleJump(5);
  scene.par.SetMaxAngleStep(10);
  scene.par.SetRetractToLimits(true);
  Along along{scene, 1, {30, 5, 3}};
  for (int k = 0; k < 50; ++k) along.Add(90 + 8 * k, 20 + k % 2 * 2);
  const Outcome outcome = Post(scene, along.path);
  EXPECT_GE(outcome.counts.rewindings, 1u);
  EXPECT_EQ(outcome.counts.shortLifts, 0u);
  ExpectKept(scene, along.path, outcome, {20, 1});
}

}  // namespace
}  // namespace tests
