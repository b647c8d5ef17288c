// What must hold for every posted line of every machine and path, judged by a model of rigid bodies
// that shares nothing with the library.
#include <gtest/gtest.h>
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/misc/angles.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/source_path.h>
#include <tests/support/throws_id.h>

#include <array>
#include <cmath>
#include <limits>
#include <sstream>
#include <tuple>
#include <vector>

namespace {

using post::zv5axControlDef;
using post::zvKDRParam;
using post::zvPosted5axMove;
using post::zvPostException;
using tests::Build;
using tests::Distance;
using tests::FiveAxisScene;
using tests::PathBuilder;
using tests::Point;
using tests::Seeded;
using tests::Source;
using tests::SourceMove;
using tests::ToPoint;
using tests::ToVector;

constexpr int kPostings = 1200;
constexpr std::array<std::int16_t, 2> kAxes{0, 1};
constexpr double kRadians = 3.14159265358979323846 / 180;

enum PathSort { kSweep, kThroughPole, kScrew, kJumps, kConstant, kRepeats, kPathSorts };

// Orientations come from angles on the model, so that the machine reaches them.
Source RandomPath(Seeded& random, const FiveAxisScene& scene, int sort) {
  const auto model = scene.Model();
  const int count = random.Integer(2, 25);
  double first = random.Real(-170, 170);
  double second = random.Real(-170, 170);
  const double firstStep = random.Real(-12, 12);
  const double secondStep = random.Real(-6, 6);
  const double screwSense = random.Chance(0.5) ? 1 : -1;
  const double screwStep = random.Real(5, 60) * screwSense;
  const Point pole = scene.machine.first.Normalized() * (random.Chance(0.5) ? 1.0 : -1.0);
  const Point across = tests::Across(pole, random);
  const bool isExact = random.Chance(0.5);
  const Point aside = Cross(pole, across) * (isExact ? 0.0 : random.Real(-0.02, 0.02));
  Point tip = random.Vector(200);
  Source source;
  bool onLink = false;
  const int middle = count / 2;
  for (int i = 0; i < count; ++i) {
    Point t;
    switch (sort) {
      case kThroughPole:
        t = pole + aside + across * (0.03 * (i - middle));
        break;
      case kScrew:
        first += screwStep;
        break;
      case kJumps:
        first = random.Real(-170, 170);
        second = random.Real(-170, 170);
        break;
      case kConstant:
        break;
      default:
        first += firstStep * random.Real(0.5, 1.5);
        second += secondStep * random.Real(0.5, 1.5);
    }
    if (sort != kThroughPole) t = ToPoint(model.At({}, first, second).axis);
    const bool repeats = sort == kRepeats && random.Chance(0.4) && !source.empty();
    if (!repeats) tip += random.Vector(8);
    if (random.Chance(0.15)) onLink = !onLink;
    SourceMove move{tip, t, random.Real(100, 5000)};
    if (repeats && random.Chance(0.5)) move.orientation = source.back().orientation;
    if (onLink) {
      move.link = random.Integer(0, 5);
      move.rapid = random.Chance(0.7);
    }
    source.push_back(move);
  }
  if (sort == kConstant)
    for (SourceMove& move : source) move.orientation = source.front().orientation;
  return source;
}

void RandomParameters(Seeded& random, zvKDRParam& par) {
  par.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(random.Integer(1, 3)));
  par.SetInterpolateByDistance(random.Chance(0.3));
  par.SetInterpolationDistance(random.Real(0.7, 6));
  par.SetInterpolationMode(random.Chance(0.25) ? 1 : 0);
  par.SetInterpolateRapidMoves(random.Chance(0.4));
  par.SetMaxAngleStep(random.Real(1, 8));
  par.SetMaxAngleJump(random.Real(20, 179));
  par.SetFirstMoveRule(static_cast<zvKDRParam::FirstMoveRule>(random.Integer(0, 2)));
  par.SetFirstMoveSolutionIndex(random.Chance(0.5) ? zvKDRParam::mirrorSolution
                                                   : zvKDRParam::firstSolution);
  par.SetFirstMovePreferredAngle(random.Real(-180, 180));
  par.SetRetractDistance(random.Real(1, 50));
  if (random.Chance(0.2)) par.SetPoleAngleTolerance(random.Real(0.001, 0.5));
}

// A random scene whose limits let a path be posted but make work for the checks.
FiveAxisScene RandomPostingScene(Seeded& random) {
  FiveAxisScene scene = tests::RandomScene(random);
  RandomParameters(random, scene.par);
  if (random.Chance(0.3)) {
    scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(random.Integer(1, 3)));
    const double reach = random.Real(185, 700);
    scene.machine.firstRange = {-reach, reach};
    scene.machine.secondRange = {-random.Real(100, 400), random.Real(100, 400)};
    scene.machine.low = {-3000, -3000, -3000};
    scene.machine.high = {3000, 3000, 3000};
  }
  if (random.Chance(0.2)) {
    scene.control.SetFirstAxisLimit(static_cast<zv5axControlDef::angleLimit>(random.Integer(0, 2)));
    scene.control.SetSecondAxisLimit(
        static_cast<zv5axControlDef::angleLimit>(random.Integer(0, 2)));
  }
  return scene;
}

std::string Describe(const FiveAxisScene& scene, int i, std::size_t line) {
  const auto& m = scene.machine;
  std::ostringstream out;
  out.precision(17);
  out << "posting " << i << " line " << line << " kind " << m.kind << " A1 " << m.first.x << ' '
      << m.first.y << ' ' << m.first.z << " A2 " << m.second.x << ' ' << m.second.y << ' '
      << m.second.z << " S " << m.spindle.x << ' ' << m.spindle.y << ' ' << m.spindle.z << " pole "
      << scene.par.GetPoleHandling() << " mode " << scene.par.GetInterpolationMode() << " check "
      << scene.par.GetLimitsCheck() << " step " << scene.par.GetMaxAngleStep() << " jump "
      << scene.par.GetMaxAngleJump();
  return out.str();
}

// A path may be refused for what no machine of its limits can do, and for nothing else.
bool IsHonestRefusal(const FiveAxisScene& scene, const zvPostException& e) {
  const bool isLimit = e.GetId() >= 5010 && e.GetId() <= 5019;
  return e.GetId() == 5000 || e.GetId() == 5051 ||
         (isLimit && scene.par.GetLimitsCheck() != zvKDRParam::checkNothing);
}

using Lines = std::vector<zvPosted5axMove>;

Lines PostLines(const FiveAxisScene& scene, const cadcam::zvToolPath& path, bool small = false) {
  zvPosted5axTPCreator creator = scene.Creator();
  const auto list = creator.Post(path, small);
  return {list->begin(), list->end()};
}

// Degrees between the nearer end of the first axis and the tool on its way from one line to the
// next.
double ToFirstPole(const FiveAxisScene& scene, const zvPosted5axMove& a, const zvPosted5axMove& b) {
  const auto model = scene.Model();
  const auto axisOf = [&](const zvPosted5axMove& move) {
    return ToPoint(
        model.At(ToVector(move.GetMachinePosition()), move.GetAngle(0), move.GetAngle(1)).axis);
  };
  const Point from = axisOf(a);
  const Point to = axisOf(b);
  double nearest = 90;
  for (int k = 0; k <= 20; ++k) {
    const Point axis = from * (1 - 0.05 * k) + to * (0.05 * k);
    const double cosine = tests::rigid::Cosine(ToVector(axis), ToVector(scene.machine.first));
    nearest = std::min(nearest, std::acos(std::min(std::fabs(cosine), 1.0)) / kRadians);
  }
  return nearest;
}

class FiveAxisLaws : public testing::TestWithParam<int> {
 protected:
  Seeded m_random;

  // Calls `check(scene, source, lines, i)` for postings of the path sort that is not refused.
  template <class Check>
  void ForEachPosting(int count, const Check& check) {
    int refused = 0;
    for (int i = 0; i < count; ++i) {
      const FiveAxisScene scene = RandomPostingScene(m_random);
      const Source source = RandomPath(m_random, scene, GetParam());
      Lines lines;
      try {
        lines = PostLines(scene, Build(source));
      } catch (const zvPostException& e) {
        ASSERT_TRUE(IsHonestRefusal(scene, e)) << e.GetId() << ' ' << Describe(scene, i, 0);
        ++refused;
        continue;
      }
      check(scene, source, lines, i);
      if (HasFatalFailure()) return;
    }
    EXPECT_LT(refused, count * 2 / 3);
  }
};

std::string NameOfPath(const testing::TestParamInfo<int>& path) {
  static const std::array<const char*, kPathSorts> kNames{"Sweep", "ThroughPole", "Screw",
                                                          "Jumps", "Constant",    "Repeats"};
  return kNames.at(static_cast<std::size_t>(path.param));
}

INSTANTIATE_TEST_SUITE_P(Paths, FiveAxisLaws, testing::Range(0, int{kPathSorts}), NameOfPath);

TEST_P(FiveAxisLaws, EveryLinePutsTheTipWhereItSays) {
  ForEachPosting(
      kPostings, [](const FiveAxisScene& scene, const Source&, const Lines& lines, int i) {
        const auto model = scene.Model();
        const double cone = scene.par.GetPoleAngleTolerance() * kRadians;
        for (std::size_t k = 0; k < lines.size(); ++k) {
          const zvPosted5axMove& line = lines[k];
          const auto pose =
              model.At(ToVector(line.GetMachinePosition()), line.GetAngle(0), line.GetAngle(1));
          const double size =
              scene.Size() + line.GetPartPosition().Length() + line.GetMachinePosition().Length();
          const bool is3axKind0 = GetParam() == kConstant && scene.machine.kind == 0;
          if (!is3axKind0) {
            ASSERT_LE(Distance(ToPoint(pose.tip), line.GetPartPosition()), 1e-9 * size)
                << Describe(scene, i, k);
          }
          // Moves of linear axes hold a marker.
          if (scene.par.GetInterpolationMode() != 0 && line.IsInserted()) continue;
          const Point unit = line.GetOrientation().Normalized();
          ASSERT_LE(Distance(ToPoint(pose.axis), unit), 2e-5 + cone) << Describe(scene, i, k);
        }
      });
}

TEST_P(FiveAxisLaws, EverySourceMoveStandsInOrderAsItWas) {
  ForEachPosting(kPostings / 4, [](const FiveAxisScene& scene, const Source& source,
                                   const Lines& lines, int i) {
    std::size_t next = 0;
    for (const zvPosted5axMove& line : lines) {
      if (line.IsInserted()) continue;
      ASSERT_LT(next, source.size()) << Describe(scene, i, next);
      ASSERT_EQ(line.GetSourceIndex(), static_cast<std::int32_t>(next)) << Describe(scene, i, next);
      const SourceMove& move = source[next++];
      ASSERT_EQ(line.GetPartPosition(), move.tip) << Describe(scene, i, next);
      ASSERT_EQ(line.GetOrientation(), move.orientation);
      ASSERT_EQ(line.GetFeed(), move.feed);
      ASSERT_EQ(line.IsRapid(), move.rapid);
      ASSERT_EQ(line.GetType(), move.link < 0 ? 6 : move.link);
    }
    ASSERT_EQ(next, source.size()) << Describe(scene, i, next);
  });
}

TEST_P(FiveAxisLaws, AnglesRunOnAndTimesFit) {
  ForEachPosting(kPostings / 4, [](const FiveAxisScene& scene, const Source&, const Lines& lines,
                                   int i) {
    const bool isWrapped = scene.control.GetFirstAxisLimit() != zv5axControlDef::angleLimitNone ||
                           scene.control.GetSecondAxisLimit() != zv5axControlDef::angleLimitNone;
    for (std::size_t k = 1; k < lines.size(); ++k) {
      const double way = Distance(lines[k].GetPartPosition(), lines[k - 1].GetPartPosition());
      ASSERT_NEAR(lines[k].GetMoveTime(), 60 * way / lines[k].GetFeed(), 1e-12 * (1 + way));
      if (isWrapped) continue;
      // A rewinding's move at the limit may lie on the other solution where a rapid step runs from
      // one to the other: then no number of turns is near both of its neighbours.
      const bool isRewound =
          scene.par.GetLimitsCheck() >= zvKDRParam::checkRotaryAxes && lines[k].IsRapid();
      const double most = isRewound ? 360 : 180;
      for (const std::int16_t axis : kAxes)
        ASSERT_LE(std::fabs(lines[k].GetAngle(axis) - lines[k - 1].GetAngle(axis)), most + 1e-9)
            << Describe(scene, i, k);
    }
    const auto& [control, machine] = std::tie(scene.control, scene.machine);
    const std::pair<double, double> ranges[] = {machine.firstRange, machine.secondRange};
    const zv5axControlDef::angleLimit wraps[] = {control.GetFirstAxisLimit(),
                                                 control.GetSecondAxisLimit()};
    const bool is3ax = GetParam() == kConstant;
    for (const zvPosted5axMove& line : lines) {
      for (const std::int16_t axis : kAxes) {
        const double deg = line.GetAngle(axis);
        if (is3ax) continue;
        const zv5axControlDef::angleLimit wrap = wraps[axis];
        if (wrap == zv5axControlDef::angleLimit360) {
          ASSERT_TRUE(0 <= deg && deg < 360);
        } else if (wrap == zv5axControlDef::angleLimit180) {
          ASSERT_TRUE(-180 < deg && deg <= 180);
        } else if (scene.par.GetLimitsCheck() >= zvKDRParam::checkRotaryAxes) {
          ASSERT_TRUE(ranges[axis].first - 1e-4 <= deg && deg <= ranges[axis].second + 1e-4)
              << deg << ' ' << Describe(scene, i, 0);
        }
      }
      if (scene.par.GetLimitsCheck() == zvKDRParam::checkLinearAxes) {
        const Point& p = line.GetMachinePosition();
        ASSERT_LE(std::max({std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)}), 3000 + 1e-12);
      }
    }
  });
}

// Between two lines the machine moves its axes evenly. Where no step is too large the tip then
// keeps near the line that the two tips make.
TEST_P(FiveAxisLaws, FeedStepsAreSmallButCloseToPoles) {
  int steps = 0;
  int large = 0;
  ForEachPosting(kPostings / 4, [&](const FiveAxisScene& scene, const Source&, const Lines& lines,
                                    int i) {
    if (scene.par.GetLimitsCheck() != zvKDRParam::checkNothing || scene.machine.kind == 0) return;
    const auto model = scene.Model();
    const double step = scene.par.GetMaxAngleStep();
    for (std::size_t k = 1; k < lines.size(); ++k) {
      const zvPosted5axMove& a = lines[k - 1];
      const zvPosted5axMove& b = lines[k];
      // What leads to a rapid move of the path is sized by distance alone.
      std::size_t end = k;
      while (end + 1 < lines.size() && lines[end].IsInserted()) ++end;
      if (b.IsRapid() || lines[end].IsRapid()) continue;
      ++steps;
      const double turn = a.AngleDistance(b);
      if (turn > step + 1e-9) {
        ++large;
        // A large jump is repaired off the part; its lines are all inserted but the last.
        if (turn > scene.par.GetMaxAngleJump()) {
          ASSERT_TRUE(a.IsInserted() && b.IsInserted()) << Describe(scene, i, k);
          continue;
        }
        // Off a pole the free axis turns as it must. Beside one the depth of the subdivision ends
        // before the step is small.
        const double nearPole = ToFirstPole(scene, a, b);
        const bool isOnPole = nearPole <= scene.par.GetPoleAngleTolerance() + 1e-3;
        ASSERT_TRUE(isOnPole || (nearPole < 2 && turn < 10 * step))
            << turn << " pole " << nearPole << ' ' << Describe(scene, i, k);
        continue;
      }
      const Point middle = (a.GetMachinePosition() + b.GetMachinePosition()) * 0.5;
      double angles[2];
      for (const std::int16_t axis : kAxes) {
        const double from = a.GetAngle(axis);
        angles[axis] = from + misc::WrapTo180(b.GetAngle(axis) - from) / 2;
      }
      const Point tip = ToPoint(model.At(ToVector(middle), angles[0], angles[1]).tip);
      const Point want = (a.GetPartPosition() + b.GetPartPosition()) * 0.5;
      const double radius = scene.Size() + middle.Length() + want.Length();
      // Two axes' sag, and the turn of the motion itself.
      const double sag = radius * std::pow(turn * kRadians, 2) +
                         turn * kRadians * Distance(a.GetPartPosition(), b.GetPartPosition());
      ASSERT_LE(Distance(tip, want), sag + 1e-9 * radius) << turn << ' ' << Describe(scene, i, k);
    }
  });
  EXPECT_LE(large, steps / 200);
}

void ExpectSameLines(const Lines& a, const Lines& b, const std::string& what) {
  ASSERT_EQ(a.size(), b.size()) << what;
  for (std::size_t k = 0; k < a.size(); ++k) {
    ASSERT_EQ(a[k].GetMachinePosition(), b[k].GetMachinePosition()) << what << ' ' << k;
    ASSERT_EQ(a[k].GetPartPosition(), b[k].GetPartPosition()) << what;
    ASSERT_EQ(a[k].GetOrientation(), b[k].GetOrientation()) << what;
    ASSERT_EQ(a[k].GetAngle(0), b[k].GetAngle(0)) << what;
    ASSERT_EQ(a[k].GetAngle(1), b[k].GetAngle(1)) << what;
    ASSERT_EQ(a[k].GetFeed(), b[k].GetFeed()) << what;
    ASSERT_EQ(a[k].GetMoveTime(), b[k].GetMoveTime()) << what;
    ASSERT_EQ(a[k].GetType(), b[k].GetType()) << what;
    ASSERT_EQ(a[k].IsRapid(), b[k].IsRapid()) << what;
    ASSERT_EQ(a[k].GetPoleStatus(), b[k].GetPoleStatus()) << what;
  }
}

TEST_P(FiveAxisLaws, SmallMovesAndASecondPostingGiveTheSame) {
  ForEachPosting(kPostings / 10,
                 [](const FiveAxisScene& scene, const Source& source, const Lines& lines, int i) {
                   const PathBuilder path = Build(source);
                   const std::string what = Describe(scene, i, 0);
                   ExpectSameLines(lines, PostLines(scene, path, true), what + " small");
                   zvPosted5axTPCreator creator = scene.Creator();
                   creator.Post(path, false);
                   const bool isFlipped = creator.GetPar().GetFirstMoveSolutionIndex() !=
                                          scene.par.GetFirstMoveSolutionIndex();
                   if (isFlipped) return;  // the other first solution stays for later postings
                   const auto again = creator.Post(path, false);
                   ExpectSameLines(lines, {again->begin(), again->end()}, what + " again");
                 });
}

TEST_P(FiveAxisLaws, InchesGiveTheSameAnglesAndScaledLengths) {
  ForEachPosting(kPostings / 10, [](const FiveAxisScene& scene, const Source& source,
                                    const Lines& lines, int i) {
    // Blending holds numbers that are lengths by themselves.
    if (scene.par.GetPoleHandling() != zvKDRParam::keepWithinLimits && GetParam() == kThroughPole)
      return;
    constexpr double kInch = 1 / 25.4;
    FiveAxisScene inch = scene;
    inch.machine.units = tests::kInch;
    for (Point* p : {&inch.machine.firstPivot, &inch.machine.secondPivot, &inch.machine.low,
                     &inch.machine.high, &inch.origin})
      *p = *p * kInch;
    inch.toolLength *= kInch;
    inch.par.SetInterpolationDistance(scene.par.GetInterpolationDistance() * kInch);
    inch.par.SetRetractDistance(scene.par.GetRetractDistance() * kInch);
    const Lines scaled = PostLines(inch, Build(source, kInch, true));
    ASSERT_EQ(scaled.size(), lines.size()) << Describe(scene, i, 0);
    for (std::size_t k = 0; k < lines.size(); ++k) {
      for (const std::int16_t axis : kAxes)
        ASSERT_NEAR(scaled[k].GetAngle(axis), lines[k].GetAngle(axis), 1e-7)
            << Describe(scene, i, k);
      ASSERT_LE(Distance(scaled[k].GetMachinePosition() * 25.4, lines[k].GetMachinePosition()),
                1e-8 * scene.Size());
      ASSERT_LE(Distance(scaled[k].GetPartPosition() * 25.4, lines[k].GetPartPosition()),
                1e-8 * scene.Size());
    }
  });
}

// Angles come from the directions alone: an axis in the head turned round is one of a table.
TEST_P(FiveAxisLaws, MachinesOfTheSameDirectionsTakeTheSameAngles) {
  ForEachPosting(kPostings / 10, [](const FiveAxisScene& scene, const Source& source,
                                    const Lines& lines, int i) {
    if (scene.par.GetLimitsCheck() != zvKDRParam::checkNothing ||
        scene.par.GetPoleHandling() == zvKDRParam::keepWithinLimits)
      return;
    const auto isInHead = [](std::int32_t kind, int axis) {
      return kind == 1 || (kind == 2 && axis == 1);
    };
    for (const std::int32_t kind : {0, 1, 2, 3}) {
      FiveAxisScene other = scene;
      other.machine.kind = kind;
      if (isInHead(kind, 0) != isInHead(scene.machine.kind, 0))
        other.machine.first = -other.machine.first;
      if (isInHead(kind, 1) != isInHead(scene.machine.kind, 1))
        other.machine.second = -other.machine.second;
      const Lines same = PostLines(other, Build(source));
      ASSERT_EQ(same.size(), lines.size()) << Describe(scene, i, 0);
      for (std::size_t k = 0; k < lines.size(); ++k)
        for (const std::int16_t axis : kAxes)
          ASSERT_EQ(same[k].GetAngle(axis), lines[k].GetAngle(axis)) << Describe(scene, i, k);
    }
  });
}

// The way of a toolpath of one orientation ends where the general way does.
TEST(FiveAxisPaths, OneOrientationComesOutAsWithSeveral) {
  Seeded random;
  int compared = 0;
  for (int i = 0; i < 500; ++i) {
    FiveAxisScene scene = tests::RandomScene(random, false);
    if (scene.machine.kind == 0) scene.machine.kind = 3;  // its tool length differs, deliberately
    const Source source = RandomPath(random, scene, kConstant);
    const Lines standing = PostLines(scene, Build(source));
    scene.par.SetPoleHandling(zvKDRParam::keepWithinLimits);  // posts by the general way
    const Lines general = PostLines(scene, Build(source));
    ASSERT_EQ(standing.size(), general.size());
    for (std::size_t k = 0; k < general.size(); ++k) {
      for (const std::int16_t axis : kAxes)
        ASSERT_EQ(standing[k].GetAngle(axis), general[k].GetAngle(axis)) << Describe(scene, i, k);
      ASSERT_LE(Distance(standing[k].GetMachinePosition(), general[k].GetMachinePosition()),
                1e-11 * (scene.Size() + general[k].GetMachinePosition().Length()))
          << Describe(scene, i, k);
      ++compared;
    }
  }
  EXPECT_GT(compared, 3000);
}

// Bad input ends in its error, and leaves nothing half done that the next posting would see.
TEST(FiveAxisPaths, RefusesWhatCannotBePosted) {
  constexpr double kBad[] = {std::numeric_limits<double>::quiet_NaN(),
                             std::numeric_limits<double>::infinity()};
  const auto idOf = [](const FiveAxisScene& scene, const Source& source) -> std::uint32_t {
    try {
      PostLines(scene, Build(source));
    } catch (const zvPostException& e) {
      return e.GetId();
    }
    return 0;
  };
  const Source good{{{0, 0, 0}, {0, 0, 1}}, {{10, 0, 0}, {0, 0.6, 0.8}}, {{20, 0, 0}, {0, 0, 1}}};
  FiveAxisScene scene;
  EXPECT_EQ(idOf(scene, good), 0u);
  for (const double bad : kBad)
    for (const std::size_t at : {0, 2}) {
      Source source = good;
      source[at].tip.y = bad;
      EXPECT_EQ(idOf(scene, source), 5039u);
      source = good;
      source[at].orientation.x = bad;
      EXPECT_EQ(idOf(scene, source), 5039u);
    }
  scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(7));
  EXPECT_EQ(idOf(scene, good), 5046u);
  scene.par.SetLimitsCheck(zvKDRParam::checkNothing);
  for (const double step : {0.0, -1.0, kBad[0]}) {
    scene.par.SetMaxAngleStep(step);
    EXPECT_EQ(PostLines(scene, Build(good)).size(), good.size()) << step;
  }
  scene.par.SetMaxAngleStep(1e-300);
  EXPECT_EQ(idOf(scene, good), 5039u);
}

// The end lies nearer on the other solution, which would be cut in one line across the path.
TEST(FiveAxisPaths, ChoosesTheEndAgainAfterFollowingOneSolution) {
  const struct {
    double tilt, turn, radius;
    double largestError;
    std::size_t lines;
  } cases[] = {{5, 95, 200, 0.07, 47}, {10, 100, 50, 0.016, 0}, {30, 130, 50, 0.025, 0}};
  for (const auto& c : cases) {
    FiveAxisScene scene;
    const auto model = scene.Model();
    const Point tip{c.radius, 0, 0};
    const Source source{{tip, ToPoint(model.At({}, 0, c.tilt).axis)},
                        {tip, ToPoint(model.At({}, c.turn, c.tilt).axis)}};
    scene.par.SetFirstMoveRule(zvKDRParam::bySecondAxis);
    scene.par.SetFirstMovePreferredAngle(c.tilt);
    const Lines lines = PostLines(scene, Build(source));
    if (c.lines != 0) {
      EXPECT_EQ(lines.size(), c.lines);
    }
    EXPECT_NEAR(lines.front().GetAngle(0), 0, 1e-9);
    EXPECT_NEAR(lines.back().GetAngle(0), c.turn, 1e-9);
    EXPECT_NEAR(lines.back().GetAngle(1), c.tilt, 1e-9);
    double largest = 0;
    for (std::size_t k = 1; k < lines.size(); ++k) {
      EXPECT_LE(lines[k].AngleDistance(lines[k - 1]), 3);
      for (int tenths = 1; tenths < 10; ++tenths) {
        const double t = 0.1 * tenths;
        const auto blend = [t](const auto& a, const auto& b) { return a * (1 - t) + b * t; };
        const Point p = blend(lines[k - 1].GetMachinePosition(), lines[k].GetMachinePosition());
        const auto pose =
            model.At(ToVector(p), blend(lines[k - 1].GetAngle(0), lines[k].GetAngle(0)),
                     blend(lines[k - 1].GetAngle(1), lines[k].GetAngle(1)));
        largest = std::max(largest, Distance(ToPoint(pose.tip), tip));
      }
    }
    EXPECT_LE(largest, c.largestError);
  }
}

// Posts tips 100 mm out on the table for orientations given as angles, at default settings, and
// measures feed moves against the line of the tips, which runs along Y.
struct PoleResult {
  Lines lines;
  double largestError = 0;
  double largestStep = 0;     // on or off the pole
  double largestTilt = 0;     // of the second axis
  double largestOffPole = 0;  // steps that neither leave the pole nor reach it
};

PoleResult PostBesidePole(const std::vector<std::pair<double, double>>& angles, bool small = true) {
  FiveAxisScene scene;
  const auto model = scene.Model();
  Source source;
  for (const auto& [first, second] : angles)
    source.push_back({{100, 3.0 * static_cast<double>(source.size()), 0},
                      ToPoint(model.At({}, first, second).axis)});
  scene.par.SetFirstMoveRule(zvKDRParam::bySecondAxis);
  scene.par.SetFirstMovePreferredAngle(angles.front().second);
  PoleResult result;
  result.lines = PostLines(scene, Build(source), small);
  const double length = source.back().tip.y;
  for (std::size_t k = 1; k < result.lines.size(); ++k) {
    const zvPosted5axMove& a = result.lines[k - 1];
    const zvPosted5axMove& b = result.lines[k];
    const double turn = a.AngleDistance(b);
    if (a.IsRapid() || b.IsRapid() || turn > scene.par.GetMaxAngleJump()) continue;
    result.largestStep = std::max(result.largestStep, turn);
    result.largestTilt = std::max(result.largestTilt, std::fabs(a.GetAngle(1) - b.GetAngle(1)));
    const auto isOnPole = [&](const zvPosted5axMove& move) {
      return std::fabs(move.GetAngle(1)) <= scene.par.GetPoleAngleTolerance() + 1e-4;
    };
    if (turn > 3.5 && (isOnPole(a) || isOnPole(b))) continue;
    result.largestOffPole = std::max(result.largestOffPole, turn);
    for (int part = 1; part < 20; ++part) {
      const double t = 0.05 * part;
      const auto blend = [t](const auto& from, const auto& to) { return from * (1 - t) + to * t; };
      const Point p = blend(a.GetMachinePosition(), b.GetMachinePosition());
      Point off = ToPoint(model
                              .At(ToVector(p), blend(a.GetAngle(0), b.GetAngle(0)),
                                  blend(a.GetAngle(1), b.GetAngle(1)))
                              .tip) -
                  Point{100, 0, 0};
      off.y -= std::clamp(off.y, 0.0, length);
      result.largestError = std::max(result.largestError, off.Length());
    }
  }
  return result;
}

// Off a pole the free axis turns at once and the tilt is still divided. Beside a pole a step of the
// first subdivision can turn more than the whole, and the end can lie nearly as near on both
// solutions.
TEST(FiveAxisPaths, FollowsThePathBesideAndOutOfAPole) {
  const std::vector<std::pair<double, double>> cases[] = {
      {{10, 15}, {0, 0}, {90, 30}},
      {{-60, 8}, {0, 0}, {50, 25}},
      {{0, 2}, {-30, -6}},
      {{0, 5.855}, {51.281, -0.207}},
      {{-38.525, -10.6222}, {12.253, 0.3515}},
      {{30, 6}, {0, 0}, {30.5, -9}, {0, 0}, {100, 12}},
  };
  for (const auto& angles : cases) {
    SCOPED_TRACE(&angles - cases);
    const PoleResult result = PostBesidePole(angles);
    EXPECT_LT(result.largestError, 0.1);
    EXPECT_LT(result.largestStep, 3.5);
    EXPECT_LT(result.lines.size(), 120u);
    const Lines extended = PostBesidePole(angles, false).lines;
    ASSERT_EQ(result.lines.size(), extended.size());
    for (std::size_t k = 0; k < extended.size(); ++k) {
      EXPECT_EQ(result.lines[k].GetMachinePosition(), extended[k].GetMachinePosition());
      EXPECT_EQ(result.lines[k].GetAngle(0), extended[k].GetAngle(0));
      EXPECT_EQ(result.lines[k].GetAngle(1), extended[k].GetAngle(1));
    }
  }
}

// Where nothing but the free axis needs a subdivision the step stays whole, and blending spreads
// the turn over it, whatever the rounding of the first move's angle.
TEST(FiveAxisPaths, SpreadsATurnOffAPoleWhereTheTiltIsSmall) {
  Seeded random;
  for (int i = 0; i < 200; ++i) {
    const double first = random.Real(-170, 170);
    const double size = random.Real(10, 80);
    const double turn = random.Chance(0.5) ? size : -size;
    const double tilt = random.Real(1, 2.9);
    const PoleResult result = PostBesidePole({{first, 2}, {0, 0}, {first + turn, tilt}});
    EXPECT_LT(result.largestError, 0.1);
    for (std::size_t k = 1; k + 1 < result.lines.size(); ++k)
      ASSERT_NEAR(result.lines[k].GetAngle(1), 0, 1e-12) << i << ' ' << k;
  }
}

// How near the way between two orientations passes the pole, degrees; their angles are small.
double NearestToPole(const std::pair<double, double>& from, const std::pair<double, double>& to) {
  const auto place = [](const std::pair<double, double>& angles) {
    const double first = angles.first * kRadians;
    return Point{angles.second * std::sin(first), angles.second * std::cos(first), 0};
  };
  const Point start = place(from);
  const Point way = place(to) - start;
  const double t = std::clamp(-Dot(start, way) / Dot(way, way), 0.0, 1.0);
  return (start + way * t).Length();
}

// Closer than a twentieth of a degree the depth of the subdivision ends before steps are small.
TEST(FiveAxisPaths, KeepsToThePathBesideAndOutOfPoles) {
  Seeded random;
  int checked = 0;
  for (int i = 0; i < 900; ++i) {
    const int sort = i % 3;
    const double first = random.Real(-170, 170);
    const double tilt = random.Real(-12, 12);
    const double sense = random.Chance(0.5) ? 1 : -1;
    const double u = random.Real(0, 1);
    const double v = random.Real(0, 1);
    std::vector<std::pair<double, double>> angles{{first, tilt}};
    if (sort == 0) {  // past a pole
      angles.emplace_back(first - 90 + 180 * u, -12 + 24 * v);
    } else if (sort == 1) {  // through a pole
      angles.emplace_back(0, 0);
      angles.emplace_back(first + sense * (5 + 110 * u), 5 + 35 * v);
    } else {  // to the neighbourhood of a pole
      angles.emplace_back(-180 + 360 * u, sense * (0.1 + 2 * v));
    }
    if (sort != 1 && NearestToPole(angles[0], angles[1]) < 0.05) continue;
    ++checked;
    std::ostringstream what;
    for (const auto& [c, a] : angles) what << c << ' ' << a << ' ';
    SCOPED_TRACE(what.str());
    const PoleResult result = PostBesidePole(angles);
    EXPECT_LT(result.largestError, 0.2);
    EXPECT_LT(result.largestTilt, 3.5);
    // The depth tells a little here too.
    EXPECT_LT(result.largestOffPole, 6);
  }
  EXPECT_GT(checked, 850);
}

// A distance rule without a distance is no rule: it must not hide that the angles got no smaller.
TEST(FiveAxisPaths, ADistanceRuleWithoutADistanceChangesNothing) {
  FiveAxisScene scene;
  const auto model = scene.Model();
  const Source source{{{200, 0, 0}, ToPoint(model.At({}, 0, 5).axis)},
                      {{200, 0, 5}, ToPoint(model.At({}, 95, 5).axis)}};
  scene.par.SetFirstMoveRule(zvKDRParam::bySecondAxis);
  scene.par.SetFirstMovePreferredAngle(5);
  const Lines plain = PostLines(scene, Build(source));
  EXPECT_GT(plain.size(), 40u);
  scene.par.SetInterpolateByDistance(true);
  for (const double distance : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
    scene.par.SetInterpolationDistance(distance);
    const Lines lines = PostLines(scene, Build(source));
    ASSERT_EQ(lines.size(), plain.size()) << distance;
    EXPECT_TRUE(lines == plain) << distance;
  }
}

// An orientation needs no unit length, not even one whose square can be told.
TEST(FiveAxisPaths, PolesAreBlendedWhateverTheLengthOfTheOrientation) {
  FiveAxisScene scene;
  const auto model = scene.Model();
  for (const double length : {1.0, 1e200}) {
    Source source;
    for (const auto& [first, second] : {std::pair{0.0, 5.0}, {0.0, 0.0}, {0.0, 0.0}, {61.0, 5.2}})
      source.push_back({{10.0 * static_cast<double>(source.size()), 0, 0},
                        ToPoint(model.At({}, first, second).axis) * length});
    zvPosted5axTPCreator creator = scene.Creator();
    const auto list = creator.Post(Build(source), false);
    EXPECT_EQ(creator.GetCounts().blendedPoles, 1u) << length;
    EXPECT_GT(list->GetCount(), 20u) << length;
  }
}

// What fails between two moves leaves the list as it stood before them. This machine reaches from
// 30 to 90 degrees off its first axis, and the blend passes along it.
TEST(FiveAxisPaths, AFailureBetweenTwoMovesLeavesNothingBehindTheFirst) {
  FiveAxisScene scene;
  scene.machine.first = {0, 1, 0};
  scene.machine.second = {0, 0.5, std::sqrt(0.75)};
  const Source source{
      {{0, 0, 0}, {0.6, 0.75, 0}}, {{5, 0, 0}, {0.6, 0.8, 0}}, {{10, 0, 0}, {-0.6, 0.8, 0}}};
  zvPosted5axTPCreator creator = scene.Creator();
  const PathBuilder builder = Build(source);
  EXPECT_TRUE(tests::ThrowsId<post::zvPostException>([&] { creator.Post(builder, false); }, 5000));
  ASSERT_GE(creator.GetPostedList()->GetCount(), 2u);
  EXPECT_EQ(creator.GetPostedList()->Back().GetSourceIndex(), 1);
  EXPECT_FALSE(creator.GetPostedList()->Back().IsInserted());
}

// A host that posts by itself: what the solver offers for one move after another is what a posting
// of both does.
TEST(FiveAxisPaths, TheSolverOffersWhatAPostingDoes) {
  tests::Seeded random;
  int mirrors = 0, compared = 0;
  for (int run = 0; run < 200; ++run) {
    FiveAxisScene scene = tests::RandomScene(random);
    scene.par.SetMaxAngleStep(5);
    scene.par.SetMaxAngleJump(1000);
    const Source source{{random.Vector(10), random.UnitVector()},
                        {random.Vector(10), random.UnitVector()}};
    const PathBuilder builder = Build(source);
    zvPosted5axTPCreator creator = scene.Creator();
    const post::zv5axMoveSolver solver = scene.Solver();
    std::vector<post::zvPosted5axMove> moves;
    try {
      const auto solve = [&](std::size_t i) {
        const cadcam::zvMovePointer move(new cadcam::zv5axMove(
            {source[i].tip, source[i].orientation, 0, false}, {}, {}, 0, false));
        return solver.Solve(move, post::zvPostedMove::noLink, 0, false, misc::kNoValue, true, 0);
      };
      moves.push_back(creator.SelectPostedMoveFirstTime(solve(0)));
      const auto pair = solve(1);
      const auto next = solver.SelectNextSolution(moves[0], pair);
      mirrors += !(next == post::FirstSolutionMove(pair));
      auto between = solver.InterpolateMoves(moves[0], next, true, false, 0, misc::kNoValue);
      if (between) moves.insert(moves.end(), between->begin(), between->end());
      moves.push_back(solver.SelectNextSolution(moves.back(), pair));
      const auto halfway = solver.InterpolateMoves(moves[0], next, true, true, 0, misc::kNoValue);
      ASSERT_TRUE(halfway.has_value() && halfway->size() == 1u);
      EXPECT_LT(Distance(halfway->front().GetPartPosition(), 0.5 * (source[0].tip + source[1].tip)),
                1e-9);
      EXPECT_FALSE(solver.InterpolateMoves(moves[0], next, true, true, 4, 1e308).has_value());
    } catch (const post::zvPostException&) {
      continue;
    }
    const auto list = creator.Post(builder, true);
    // A last step that is chosen again may get more.
    if (list->GetCount() != moves.size()) continue;
    ++compared;
    auto posted = list->begin();
    for (const auto& move : moves) {
      EXPECT_NEAR(std::remainder(move.GetAngle(0) - posted->GetAngle(0), 360.0), 0, 1e-9) << run;
      EXPECT_NEAR(std::remainder(move.GetAngle(1) - posted->GetAngle(1), 360.0), 0, 1e-9) << run;
      ++posted;
    }
  }
  EXPECT_GT(mirrors, 10);
  EXPECT_GT(compared, 80);
}

// A reversal of the tool has no way that the path tells: it is a large jump.
TEST(FiveAxisPaths, OppositeOrientationsAreAJumpAndNotABlend) {
  const FiveAxisScene scene;
  for (const double off : {0.0, 1e-7}) {
    const Source source{{{0, 0, 0}, {0.6, off, 0.8}}, {{5, 0, 0}, {-0.6, off, -0.8}}};
    zvPosted5axTPCreator creator = scene.Creator();
    const auto list = creator.Post(Build(source), false);
    EXPECT_EQ(creator.GetCounts().largeJumps, 1u);
    ASSERT_EQ(list->GetCount(), 4u);
    EXPECT_TRUE(std::next(list->begin())->IsRapid());
  }
}

}  // namespace
