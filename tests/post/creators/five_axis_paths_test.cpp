// The ways that 5-axis paths are followed: beside, out of and through poles, from solution to
// solution.
#include <tests/post/creators/rows.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/outcome.h>

namespace tests {
namespace {

using Angles = std::vector<std::pair<double, double>>;

// A table of default settings that begins on the solution of the first angles.
Source AlongY(FiveAxisScene& scene, const Angles& angles, double radius, double apart) {
  Source source;
  for (const auto& [first, second] : angles)
    source.push_back(
        {{radius, apart * static_cast<double>(source.size()), 0}, scene.Tool(first, second)});
  scene.par.SetFirstMoveRule(zvKDRParam::bySecondAxis);
  scene.par.SetFirstMovePreferredAngle(angles.front().second);
  return source;
}

// Feed moves, measured against the line of the tips.
struct Way {
  Lines lines;
  double error = 0;
  double step = 0;     // on or off the pole
  double tilt = 0;     // of the second axis
  double offPole = 0;  // steps that neither leave the pole nor reach it
};

Way PostWay(const Angles& angles, double radius = 100, double apart = 3) {
  FiveAxisScene scene;
  const Source source = AlongY(scene, angles, radius, apart);
  const Rules rules = Rules::Of(scene);
  Way way{Post(scene, source).lines};
  for (std::size_t k = 1; k < way.lines.size(); ++k) {
    const Line &a = way.lines[k - 1], &b = way.lines[k];
    const double turn = Turn(a, b);
    if (a.rapid || b.rapid || turn > scene.par.GetMaxAngleJump()) continue;
    way.step = std::max(way.step, turn);
    way.tilt = std::max(way.tilt, std::fabs(a.degs[1] - b.degs[1]));
    const auto isOnPole = [&](const Line& line) {
      return std::fabs(line.degs[1]) <= scene.par.GetPoleAngleTolerance() + 1e-4;
    };
    if (turn > 3.5 && (isOnPole(a) || isOnPole(b))) continue;
    way.offPole = std::max(way.offPole, turn);
    for (double t = 0.05; t < 0.99; t += 0.05) {
      const Point tip = ToPoint(rules.PoseAt(Between(a, b, t, false)).tip);
      way.error = std::max(way.error, OffLine(tip, source.front().tip, source.back().tip));
    }
  }
  return way;
}

// The end may lie nearer on the other solution, which would be cut in one line across the path. Off
// a pole the free axis turns at once and the tilt is still divided. Beside a pole a step of the
// first subdivision can turn more than the whole, and the end can lie nearly as near on both
// solutions.
TEST(FiveAxisPaths, FollowsThePathToTheOtherSolutionAndBesideAndOutOfAPole) {
  for (const auto& c : NumberCases("creators/data/ways_beside_poles.txt")) {
    SCOPED_TRACE(c.line);
    Angles angles;
    for (std::size_t i = 1; i < c.groups.size(); ++i) angles.emplace_back(c[i].at(0), c[i].at(1));
    const double apart = c[0][1];
    const Way way = PostWay(angles, c[0][0], apart);
    EXPECT_LT(way.error, c[0][2]);
    EXPECT_LT(way.step, apart == 0 ? 3.001 : 3.5);
    EXPECT_LT(way.lines.size(), 120u);
    if (apart != 0) continue;
    EXPECT_EQ(way.lines.size(), c[0][3]);
    EXPECT_NEAR(way.lines.front().degs[0], 0, 1e-9);
    EXPECT_NEAR(way.lines.back().degs[0], angles.back().first, 1e-9);
    EXPECT_NEAR(way.lines.back().degs[1], angles.back().second, 1e-9);
  }
}

// How near the way between two orientations passes the pole, degrees; their angles are small.
double NearestToPole(const Angles& angles) {
  const auto place = [](const std::pair<double, double>& angle) {
    const double first = angle.first * (3.14159265358979323846 / 180);
    return Point{angle.second * std::sin(first), angle.second * std::cos(first), 0};
  };
  return OffLine({}, place(angles.front()), place(angles.back()));
}

// Closer than a twentieth of a degree the depth of the subdivision ends before steps are small.
TEST(FiveAxisPaths, KeepsToThePathBesideAndOutOfPoles) {
  Seeded random;
  int checked = 0;
  for (int i = 0; i < 900; ++i) {
    SCOPED_TRACE(i);
    const int sort = i % 3;
    const double first = random.Real(-170, 170);
    const double tilt = random.Real(-12, 12);
    const double sense = random.Chance(0.5) ? 1 : -1;
    const double u = random.Real(0, 1);
    const double v = random.Real(0, 1);
    Angles angles{{first, tilt}};
    if (sort == 0) {  // past a pole
      angles.emplace_back(first - 90 + 180 * u, -12 + 24 * v);
    } else if (sort == 1) {  // through a pole
      angles.emplace_back(0, 0);
      angles.emplace_back(first + sense * (5 + 110 * u), 5 + 35 * v);
    } else {  // to the neighbourhood of a pole
      angles.emplace_back(-180 + 360 * u, sense * (0.1 + 2 * v));
    }
    if (sort != 1 && NearestToPole(angles) < 0.05) continue;
    ++checked;
    const Way way = PostWay(angles);
    EXPECT_LT(way.error, 0.2);
    EXPECT_LT(way.tilt, 3.5);
    // The depth shows a little here too.
    EXPECT_LT(way.offPole, 6);
  }
  EXPECT_GT(checked, 850);
}

// A distance rule without a distance is no rule: it must not hide that the angles got no smaller.
TEST(FiveAxisPaths, ADistanceRuleWithoutADistanceChangesNothing) {
  FiveAxisScene scene;
  const Source source = AlongY(scene, {{0, 5}, {95, 5}}, 200, 5);
  const Lines plain = Post(scene, source).lines;
  scene.par.SetInterpolateByDistance(true);
  for (const double distance : {0.0, -1.0, kNaN}) {
    scene.par.SetInterpolationDistance(distance);
    EXPECT_TRUE(Post(scene, source).lines == plain) << distance;
  }
}

// An orientation needs no unit length, not even one whose square can be formed.
TEST(FiveAxisPaths, PolesAreBlendedWhateverTheLengthOfTheOrientation) {
  FiveAxisScene scene;
  for (const double length : {1.0, 1e200}) {
    Source source;
    for (const auto& [first, second] : {std::pair{0, 5.0}, {0, 0.0}, {0, 0.0}, {61, 5.2}})
      source.push_back(
          {{10.0 * static_cast<double>(source.size()), 0, 0}, scene.Tool(first, second) * length});
    const Outcome outcome = Post(scene, source);
    EXPECT_EQ(outcome.counts.blendedPoles, 1u) << length;
    EXPECT_GT(outcome.lines.size(), 20u) << length;
  }
}

// A reversal of the tool has no way that the path gives: it is a large jump.
TEST(FiveAxisPaths, OppositeOrientationsAreAJumpAndNotABlend) {
  for (const double off : {0.0, 1e-7}) {
    const Outcome outcome =
        Post(FiveAxisScene(), {{{0, 0, 0}, {0.6, off, 0.8}}, {{5, 0, 0}, {-0.6, off, -0.8}}});
    EXPECT_EQ(outcome.counts.largeJumps, 1u);
    ASSERT_EQ(outcome.lines.size(), 4u);
    EXPECT_TRUE(outcome.lines[1].rapid);
  }
}

// A host that posts by itself: what the solver offers for one move after another is what a posting
// of both does.
TEST(FiveAxisPaths, TheSolverOffersWhatAPostingDoes) {
  Seeded random;
  int mirrors = 0, compared = 0;
  FiveAxisScene scene;
  scene.machine.secondPivot = {3, 5, -50};
  scene.par.SetMaxAngleStep(5);
  scene.par.SetMaxAngleJump(1000);
  auto creator = scene.Creator();
  const post::zv5axMoveSolver solver = scene.Solver();
  for (int run = 0; run < 200; ++run) {
    SCOPED_TRACE(run);
    const Source source{{random.Vector(10), random.UnitVector()},
                        {random.Vector(10), random.UnitVector()}};
    const auto solve = [&](const SourceMove& move) {
      return solver.Solve(Move5(move.tip, move.orientation), post::zvPostedMove::noLink, 0, false,
                          misc::kNoValue, true, 0);
    };
    std::vector moves{creator.SelectPostedMoveFirstTime(solve(source[0]))};
    const auto pair = solve(source[1]);
    const auto next = solver.SelectNextSolution(moves[0], pair);
    mirrors += !(next == post::FirstSolutionMove(pair));
    const auto between = solver.InterpolateMoves(moves[0], next, true, false, 0, misc::kNoValue);
    if (between) moves.insert(moves.end(), between->begin(), between->end());
    moves.push_back(solver.SelectNextSolution(moves.back(), pair));
    const auto halfway = solver.InterpolateMoves(moves[0], next, true, true, 0, misc::kNoValue);
    ASSERT_TRUE(halfway.has_value() && halfway->size() == 1u);
    EXPECT_LT(Distance(halfway->front().GetPartPosition(), 0.5 * (source[0].tip + source[1].tip)),
              1e-9);
    EXPECT_FALSE(solver.InterpolateMoves(moves[0], next, true, true, 4, 1e308).has_value());
    const Lines lines = PostBy(creator, Build(source), true).lines;
    // A last step that is chosen again may get more.
    if (lines.size() != moves.size()) continue;
    ++compared;
    for (std::size_t k = 0; k < lines.size(); ++k)
      EXPECT_LT(Turn(LineOf(moves[k]), lines[k]), 1e-9) << k;
  }
  EXPECT_GT(mirrors, 10);
  EXPECT_GT(compared, 80);
}

}  // namespace
}  // namespace tests
