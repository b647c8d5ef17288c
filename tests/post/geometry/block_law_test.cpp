#include <kandrel/misc/angles.h>
#include <kandrel/misc/range_exception.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/geometry/block_law.h>
#include <kandrel/post/geometry/pose_bound.h>
#include <kandrel/post/model/path_tolerance.h>
#include <tests/support/four_axis_scenes.h>
#include <tests/support/laws.h>
#include <tests/support/numbers.h>
#include <tests/support/six_axis_scenes.h>
#include <tests/support/three_axis_scenes.h>

namespace tests {
namespace {

using post::zvBlockDeviation;
using post::zvBlockLaw;

/// A machine as the law has it and as rigid bodies.
struct Machine {
  zvBlockLaw law;
  rigid::Machine model;
  std::size_t rotary;
  double thirdAngle;
  double size;

  template <class AnyScene>
  static Machine Of(const AnyScene& scene, std::size_t rotary) {
    Machine machine{{MachDefOf(scene), scene.origin, scene.toolLength},
                    Rules::Of(scene).model,
                    rotary,
                    0,
                    scene.Size()};
    if constexpr (requires { scene.thirdAngle; }) machine.thirdAngle = scene.thirdAngle;
    return machine;
  }
  static Machine Draw(Seeded& random) {
    const int sort = random.Integer(0, 7);
    if (sort == 0) return Of(RandomThreeAxisScene(random), 0);
    if (sort == 1) return Of(RandomSixAxisScene(random), 3);
    if (sort <= 3) return Of(RandomFourAxisScene(random), 1);
    return Of(RandomScene(random), 2);
  }

  zvBlockLaw::Pose At(const zvBlockLaw::Line& line) const {
    const std::vector<double> all{line.firstAngle, line.secondAngle, thirdAngle};
    std::vector<double> degs(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(rotary));
    const rigid::Pose pose = model.At(ToVector(line.p_mach), degs);
    return {ToPoint(pose.tip), ToPoint(pose.axis)};
  }
};

zvBlockLaw::Line Between(const zvBlockLaw::Line& a, const zvBlockLaw::Line& b, double s) {
  return {a.p_mach * (1 - s) + b.p_mach * s, a.firstAngle * (1 - s) + b.firstAngle * s,
          a.secondAngle * (1 - s) + b.secondAngle * s};
}

// Puts the linear axes where the tip stands there.
void PutTip(const Machine& machine, zvBlockLaw::Line& line, const Point& tip) {
  const auto shiftBy = [&](const Point& p) {
    return machine.At({line.p_mach + p, line.firstAngle, line.secondAngle}).tip -
           machine.At(line).tip;
  };
  for (int k = 0; k < 8; ++k) {
    const Point off = machine.At(line).tip - tip;
    const Point ex = shiftBy({1, 0, 0}), ey = shiftBy({0, 1, 0}), ez = shiftBy({0, 0, 1});
    const double det = Dot(Cross(ex, ey), ez);
    line.p_mach -=
        Point{Dot(Cross(ey, ez), off), Dot(Cross(ez, ex), off), Dot(Cross(ex, ey), off)} / det;
  }
}

// From the shorter arc between two unit vectors, worked out apart from the library.
double DegOffArc(const Point& t, const Point& from, const Point& to) {
  const double ends = std::min(DegBetween(t, from), DegBetween(t, to));
  const Point n = Cross(from, to - from);
  if (n.Length() < 1e-12) return ends;
  const Point normal = n / n.Length();
  const Point foot = t - normal * Dot(normal, t);
  const bool isBetween = Dot(Cross(from, foot), normal) >= 0 && Dot(Cross(foot, to), normal) >= 0;
  return isBetween ? DegBetween(t, foot) : ends;
}

zvBlockDeviation Sampled(const Machine& machine, const zvBlockLaw::Line& a,
                         const zvBlockLaw::Line& b, const zvBlockLaw::Way& way) {
  const double turn =
      std::fabs(a.firstAngle - b.firstAngle) + std::fabs(a.secondAngle - b.secondAngle);
  const int samples = 200 + static_cast<int>(turn * 4);
  zvBlockDeviation largest;
  for (int i = 0; i <= samples; ++i) {
    const zvBlockLaw::Pose pose = machine.At(Between(a, b, 1.0 * i / samples));
    largest.tip = std::max(largest.tip, OffLine(pose.tip, way.from.tip, way.to.tip));
    largest.axis = std::max(largest.axis, DegOffArc(pose.axis, way.from.axis, way.to.axis));
  }
  return largest;
}

TEST(BlockLaw, PutsTipAndToolWhereRigidBodiesDo) {
  Seeded random;
  for (int i = 0; i < 4000; ++i) {
    SCOPED_TRACE(i);
    const Machine machine = Machine::Draw(random);
    const zvBlockLaw::Line line{random.Vector(700), random.Real(-400, 400), random.Real(-400, 400)};
    const zvBlockLaw::Pose is = machine.law.PoseAt(line), want = machine.At(line);
    ASSERT_LE(Distance(is.tip, want.tip), 1e-12 * (machine.size + 2 * line.p_mach.Length()));
    ASSERT_LE(Distance(is.axis, want.axis), 1e-14);
  }
}

TEST(BlockLaw, BoundsWhatIsReachedAndHardlyMore) {
  Seeded random;
  double tightest = 0;
  int estimated = 0, sufficient = 0;
  for (int i = 0; i < 6000; ++i) {
    SCOPED_TRACE(i);
    const Machine machine = Machine::Draw(random);
    const double turn = std::pow(10.0, random.Real(-6, 2.86));
    const auto step = [&] { return random.Chance(0.2) ? 0 : turn * random.Real(-1, 1); };
    zvBlockLaw::Line a{random.Vector(500), random.Real(-400, 400), random.Real(-400, 400)};
    if (random.Chance(0.2)) a.secondAngle = 0;
    zvBlockLaw::Line b{a.p_mach, a.firstAngle + step(), a.secondAngle + step()};
    if (random.Chance(0.9)) b.p_mach += random.Vector(std::pow(10.0, random.Real(-4, 2)));
    // Mostly from tip to tip; in some draws the way is off the lines, a point or another one.
    zvBlockLaw::Way way{machine.At(a), machine.At(b)};
    if (random.Chance(0.5)) {
      // The linear axes are put where the tip goes on by a little only.
      const Point back = way.to.tip - way.from.tip - random.Vector(turn);
      PutTip(machine, b, way.to.tip - back);
      way.to = machine.At(b);
    }
    if (random.Chance(0.1)) way.to.tip = way.from.tip;
    if (random.Chance(0.1)) way.from.tip += random.Vector(1);
    if (random.Chance(0.05)) way.to.axis = random.UnitVector();
    if (random.Chance(0.05)) way.to.axis = way.from.axis;
    const zvBlockDeviation bound = machine.law.Bound(a, b, way);
    const zvBlockDeviation is = Sampled(machine, a, b, way);
    const double slack = 1e-12 * (machine.size + a.p_mach.Length() + b.p_mach.Length());
    ASSERT_GE(bound.tip, is.tip - slack);
    ASSERT_LE(bound.tip, 1.021 * is.tip + 1e-9 + slack);
    ASSERT_GE(bound.axis, is.axis - 1e-8) << is.axis;
    ASSERT_LE(bound.axis, 1.021 * is.axis + 1.1e-6);
    const bool holds =
        machine.law.Holds(a, b, way, {bound.tip * 1.03 + 1e-9, bound.axis * 1.03 + 1e-6});
    ASSERT_TRUE(holds);
    if (is.tip > 10 * slack) {
      ASSERT_FALSE(machine.law.Holds(a, b, way, {is.tip - 2 * slack, 180}));
    }
    if (is.axis > 1e-3 && is.axis < 179) {
      ASSERT_FALSE(machine.law.Holds(a, b, way, {1e9, is.axis * 0.999999 - 1e-9}));
    }
    const zvBlockLaw::Way own{machine.At(a), machine.At(b)};
    const zvBlockDeviation guess = machine.law.Guess(a, b), reached = Sampled(machine, a, b, own);
    ASSERT_GE(guess.tip, reached.tip - slack);
    if (reached.axis < 89) {
      ASSERT_GE(guess.axis, reached.axis - 1e-8);
    }
    const zvBlockLaw::Station from = machine.law.StationAt(a), to = machine.law.StationAt(b);
    const post::zvBlockEstimate estimate = machine.law.Estimate(from, to);
    ASSERT_GE(estimate.most[0], reached.tip - slack);
    ASSERT_LE(estimate.least[0], 1.0001 * reached.tip + slack);  // sampled near the middle
    if (reached.axis < 89) {
      ASSERT_GE(estimate.most[1], std::sin(reached.axis * misc::kRadiansPerDegree) - 1e-10);
      ASSERT_LE(estimate.least[1],
                1.0001 * std::sin(reached.axis * misc::kRadiansPerDegree) + 1e-10);
    }
    // Of small turns it is nearly always a bound by itself.
    if (turn < 3 && reached.tip > 1e-4) {
      ++estimated;
      sufficient += estimate.most[0] <= zvBlockLaw::kNear * estimate.least[0];
    }
    tightest = std::max(tightest, guess.tip > 1e-6 ? reached.tip / guess.tip : 0);
  }
  EXPECT_GT(estimated, 500);
  EXPECT_GT(sufficient, 0.9 * estimated);
  EXPECT_GT(tightest, 0.9) << "a guess of a plain turn is nearly what is reached";
}

// Poses say nearly as much, with tool axes that are known so well.
TEST(PoseBound, BoundsWhatTheTipReachesAndHardlyMore) {
  Seeded random;
  std::vector<double> ratios;
  for (int i = 0; i < 6000; ++i) {
    SCOPED_TRACE(i);
    const Machine machine = Machine::Draw(random);
    if (machine.rotary == 0) continue;
    const double turn = std::pow(10.0, random.Real(-4, 0.63));
    const auto step = [&] { return random.Chance(0.2) ? 0 : turn * random.Real(-1, 1); };
    const zvBlockLaw::Line a{random.Vector(500), random.Real(-400, 400), random.Real(-400, 400)};
    zvBlockLaw::Line b{a.p_mach, a.firstAngle + step(), a.secondAngle + step()};
    if (machine.rotary == 1) b.secondAngle = a.secondAngle;
    zvBlockLaw::Pose from = machine.At(a), to;
    if (random.Chance(0.7))
      PutTip(machine, b, from.tip + random.Vector(std::pow(10.0, random.Real(-3, 1))));
    to = machine.At(b);
    const double is = Sampled(machine, a, b, {from, to}).tip;
    const double off = random.Chance(0.5) ? 1e-9 : std::pow(10.0, random.Real(-6, -3));
    for (zvBlockLaw::Pose* pose : {&from, &to}) {
      const Point away = Cross(pose->axis, random.UnitVector());
      if (off > 1e-9 && away.Length() > 0.1)
        pose->axis = (pose->axis + away / away.Length() * off * 0.99).Normalized();
    }
    const double rad = std::acos(-1.0) / 180;
    const post::zvPoseBound bound(machine.law);
    const double first = (b.firstAngle - a.firstAngle) * rad;
    const double second = (b.secondAngle - a.secondAngle) * rad;
    const double turns = std::fabs(first) + std::fabs(second);
    const auto reach = [&](double enough) {
      return bound.TipOff(from, to, first, second, off, enough);
    };
    const double slack = 1e-12 * (machine.size + a.p_mach.Length() + b.p_mach.Length());
    const post::zvPoseBound::Range range = reach(0);
    ASSERT_GE(range.most, is - slack);
    ASSERT_LE(range.least, is * 1.0001 + slack);
    ASSERT_GE(reach(1e9).most, range.most);
    ASSERT_GE(bound.Roughly(from.tip, to.tip, turns), is - slack);
    if (off <= 1e-9 && is > 1e-5) ratios.push_back(range.most / is);
    // Far turns and what is no number have no bound.
    ASSERT_EQ(bound.Roughly(from.tip, to.tip, 0.2), kInfinity);
    ASSERT_EQ(bound.TipOff(from, to, 0.2, 0, off, 1e9).most, kInfinity);
    ASSERT_EQ(bound.TipOff(from, to, kNaN, 0, off, 1e9).most, kInfinity);
    to.tip.x = kNaN;
    ASSERT_FALSE(bound.TipOff(from, to, 0.1, 0.01, off, 1e9).most <= 1e9);
  }
  ASSERT_GT(ratios.size(), 1000U);
  std::sort(ratios.begin(), ratios.end());
  // Far more where the pivots of two axes lie across them, as in many of these machines.
  EXPECT_LT(ratios[ratios.size() / 4], 1.15);
}

// Of a table that turns about Z: a tip 10 off the axis runs on a circle while its way is the chord.
TEST(BlockLaw, KnowsTheSagOfACircle) {
  FourAxisScene scene;
  scene.machine.axis = {0, 0, 1};
  scene.machine.spindle = {1, 0, 0};
  const zvBlockLaw law(scene.machine.MachDef(), {}, 0);
  for (const double deg : {1e-3, 0.1, 3.0, 90.0, 170.0}) {
    const zvBlockLaw::Line a{{10, 0, 0}, 0, 0}, b{{10, 0, 0}, deg, 0};
    const zvBlockDeviation bound = law.Bound(a, b, {law.PoseAt(a), law.PoseAt(b)});
    const double sag = 10 * (1 - std::cos(deg / 2 * std::acos(-1.0) / 180));
    EXPECT_GE(bound.tip, sag);
    EXPECT_LE(bound.tip, 1.02 * sag + 1e-9);
    EXPECT_LE(bound.axis, 1e-6) << "the tool swings in the plane of its arc";
  }
}

// The tool turns by h to either side of Z; the way's ends lie off it sideways by d, and so its
// middle by more: atan(tan d / cos h).
TEST(BlockLaw, KnowsThatAnArcBesideTheTurnIsFurthestInItsMiddle) {
  post::zv5axMachDef machine;
  machine.SetFiveAxisKind(post::zv5axMachDef::kBothInHead);
  machine.SetFirstRotationDirection({1, 0, 0});
  machine.SetSecondRotationDirection({0, 1, 0});
  const zvBlockLaw law(machine, {0, 0, 0}, 0);
  for (const auto& [h, d] : {std::pair{5.7, 1.0}, {5.7, 5.0}, {14.0, 1.0}, {14.0, 5.0}}) {
    const zvBlockLaw::Line a{{0, 0, 0}, -h, 0};
    const zvBlockLaw::Line b{{0, 0, 0}, h, 0};
    const double off = d * misc::kRadiansPerDegree;
    const auto aside = [&](const zvBlockLaw::Pose& pose) {
      return zvBlockLaw::Pose{pose.tip,
                              pose.axis * std::cos(off) + zvBlockLaw::Point{std::sin(off), 0, 0}};
    };
    const zvBlockLaw::Way way{aside(law.PoseAt(a)), aside(law.PoseAt(b))};
    const double reached =
        std::atan(std::tan(off) / std::cos(h * misc::kRadiansPerDegree)) * misc::kDegreesPerRadian;
    EXPECT_FALSE(law.Holds(a, b, way, {1, reached * (1 - 1e-6)})) << h << ' ' << d;
    EXPECT_TRUE(law.Holds(a, b, way, {1, reached * 1.02})) << h << ' ' << d;
  }
}

TEST(BlockLaw, RefusesWhatCantBeJudged) {
  Seeded random;
  const FiveAxisScene scene = RandomScene(random);
  const zvBlockLaw law(scene.machine.MachDef(), scene.origin, scene.toolLength);
  const zvBlockLaw::Line good{{1, 2, 3}, 4, 5};
  const zvBlockLaw::Way way{law.PoseAt(good), law.PoseAt(good)};
  for (const double bad : {kNaN, kInfinity, -kInfinity, 1.7e308}) {
    for (const zvBlockLaw::Line& line :
         {zvBlockLaw::Line{{bad, 0, 0}, 0, 0}, zvBlockLaw::Line{{}, bad, 0},
          zvBlockLaw::Line{{}, 0, bad}}) {
      EXPECT_FALSE(law.Holds(good, line, way, {1e9, 179}));
      EXPECT_FALSE(law.Holds(line, good, way, {1e9, 179}));
      const zvBlockDeviation bound = law.Bound(good, line, way), guess = law.Guess(good, line);
      EXPECT_GT(bound.tip, 100);
      if (std::isfinite(bad)) continue;  // a long way of the linear axes turns nothing
      EXPECT_GE(bound.axis, 180);
      EXPECT_GE(guess.axis, 180);
    }
  }
  // A way without numbers, at either end, standing or turning.
  const zvBlockLaw::Line turned{{2, 2, 3}, 14, -5};
  for (const zvBlockLaw::Line& to : {good, turned})
    for (const int end : {0, 1, 2, 3}) {
      zvBlockLaw::Way bad = way;
      auto& pose = end % 2 == 0 ? bad.from : bad.to;
      (end < 2 ? pose.axis : pose.tip).y = kNaN;
      EXPECT_FALSE(law.Holds(good, to, bad, {1e9, 180})) << end;
      EXPECT_EQ(law.Bound(good, to, bad).axis, kInfinity) << end;
    }
  EXPECT_FALSE(law.Holds(good, good, way, {kNaN, kNaN}));
  EXPECT_TRUE(law.Holds(good, good, way, {1e-9, 1e-6}));
}

TEST(PathTolerance, IsOffOrAboveZero) {
  EXPECT_FALSE(post::zvPathTolerance().IsOn());
  const post::zvPathTolerance tolerance(0.01, 0.1);
  EXPECT_TRUE(tolerance.IsOn());
  EXPECT_EQ(tolerance.GetTip(), 0.01);
  EXPECT_EQ(tolerance.GetAxis(), 0.1);
  for (const double bad : {0.0, -0.0, -1.0, kNaN, kInfinity}) {
    EXPECT_THROW(post::zvPathTolerance(bad, 1), misc::zvRangeException<double>) << bad;
    EXPECT_THROW(post::zvPathTolerance(1, bad), misc::zvRangeException<double>) << bad;
  }
}

}  // namespace
}  // namespace tests
