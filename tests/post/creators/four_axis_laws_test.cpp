// What must hold for every posted line of every 4-axis machine and path, judged by a model of rigid
// bodies that shares nothing with the library.
#include <gtest/gtest.h>
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/misc/angles.h>
#include <kandrel/post/creators/four_axis_creator.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/four_axis_scenes.h>
#include <tests/support/source_path.h>
#include <tests/support/throws_id.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace {

using post::zv5axControlDef;
using post::zvKDRParam;
using post::zvPosted4axMove;
using post::zvPosted5axMove;
using post::zvPostException;
using tests::Build;
using tests::Distance;
using tests::FiveAxisScene;
using tests::FourAxisScene;
using tests::PathBuilder;
using tests::Point;
using tests::Seeded;
using tests::Source;
using tests::SourceMove;
using tests::ToPoint;
using tests::ToVector;

constexpr int kPostings = 1200;
constexpr double kRadians = 3.14159265358979323846 / 180;
// The arc cosine snaps what is nearer to 0 or 180 degrees.
constexpr double kSnap = 1.5e-5;

enum PathSort { kSweep, kScrew, kJumps, kConstant, kRepeats, kPathSorts };

// With nine decimals, as files have it.
Point Rounded(const Point& p) {
  const auto round = [](double x) { return std::round(x * 1e9) / 1e9; };
  return {round(p.x), round(p.y), round(p.z)};
}

// Orientations come from angles on the model, so that the machine reaches them; but for rounding in
// some paths.
Source RandomPath(Seeded& random, const FourAxisScene& scene, int sort) {
  const int count = random.Integer(2, 25);
  double deg = random.Chance(0.2) ? 0 : random.Real(-180, 180);
  const double step = random.Real(-12, 12);
  const double screwSense = random.Chance(0.5) ? 1 : -1;
  const double screwStep = random.Real(5, 100) * screwSense;
  Point tip = random.Vector(200);
  Source source;
  bool onLink = false;
  const bool isRounded = random.Chance(0.3);
  for (int i = 0; i < count; ++i) {
    if (sort == kScrew) deg += screwStep;
    if (sort == kJumps) deg = random.Real(-180, 180);
    if (sort == kSweep || sort == kRepeats) deg += step * random.Real(0.5, 1.5);
    const bool repeats = sort == kRepeats && random.Chance(0.4) && !source.empty();
    if (!repeats) tip += random.Vector(8);
    if (random.Chance(0.15)) onLink = !onLink;
    const double length = random.Real(0.9, 1.1);
    SourceMove move{tip, scene.DirectionAt(deg) * length, random.Real(100, 5000)};
    if (isRounded) move.orientation = Rounded(move.orientation);
    if (repeats && random.Chance(0.5)) move.orientation = source.back().orientation;
    if (onLink) {
      move.link = random.Integer(0, 5);
      move.rapid = random.Chance(0.7);
    }
    source.push_back(move);
  }
  return source;
}

// A random scene whose limits let a path be posted but make work for the checks.
FourAxisScene RandomPostingScene(Seeded& random) {
  FourAxisScene scene = tests::RandomFourAxisScene(random);
  zvKDRParam& par = scene.par;
  par.SetInterpolateByDistance(random.Chance(0.3));
  par.SetInterpolationDistance(random.Real(0.7, 6));
  par.SetInterpolateRapidMoves(random.Chance(0.4));
  par.SetMaxAngleStep(random.Chance(0.2) ? 0 : random.Real(1, 8));
  par.SetMaxAngleJump(random.Real(20, 179));
  par.SetRetractDistance(random.Real(1, 50));
  par.SetRetractToLimits(random.Chance(0.2));
  if (random.Chance(0.2)) par.SetPoleAngleTolerance(random.Real(0.001, 0.5));
  if (random.Chance(0.4)) {
    par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(random.Integer(1, 3)));
    const double reach = random.Real(185, 700);
    scene.machine.range = random.Chance(0.5) ? std::pair{-reach, reach} : std::pair{0.0, 2 * reach};
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

std::string Describe(const FourAxisScene& scene, int i, std::size_t line) {
  const auto& m = scene.machine;
  std::ostringstream out;
  out.precision(17);
  out << "posting " << i << " line " << line << (m.onTable ? " table" : " head") << " A "
      << m.axis.x << ' ' << m.axis.y << ' ' << m.axis.z << " S " << m.spindle.x << ' '
      << m.spindle.y << ' ' << m.spindle.z << " check " << scene.par.GetLimitsCheck() << " range "
      << m.range.first << ' ' << m.range.second << " step " << scene.par.GetMaxAngleStep()
      << " jump " << scene.par.GetMaxAngleJump();
  return out.str();
}

// A path may be refused for what no machine of its limits can do, and for nothing else.
bool IsHonestRefusal(const FourAxisScene& scene, const zvPostException& e) {
  const bool isLimit = e.GetId() >= 5010 && e.GetId() <= 5018;
  if (e.GetId() == 5008) return scene.par.GetRetractToLimits();
  return isLimit && scene.par.GetLimitsCheck() != zvKDRParam::checkNothing;
}

using Lines = std::vector<zvPosted4axMove>;

Lines PostLines(const FourAxisScene& scene, const cadcam::zvToolPath& path, bool small = false) {
  zvPosted4axTPCreator creator = scene.Creator();
  const auto list = creator.Post(path, small);
  return {list->begin(), list->end()};
}

class FourAxisLaws : public testing::TestWithParam<int> {
 protected:
  Seeded m_random;

  // Calls `check(scene, source, lines, i)` for postings of the path sort that is not refused.
  template <class Check>
  void ForEachPosting(int count, const Check& check) {
    int refused = 0;
    for (int i = 0; i < count; ++i) {
      const FourAxisScene scene = RandomPostingScene(m_random);
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
    EXPECT_LT(refused, count / 4);
  }
};

std::string NameOfPath(const testing::TestParamInfo<int>& path) {
  static const std::array<const char*, kPathSorts> kNames{"Sweep", "Screw", "Jumps", "Constant",
                                                          "Repeats"};
  return kNames.at(static_cast<std::size_t>(path.param));
}

INSTANTIATE_TEST_SUITE_P(Paths, FourAxisLaws, testing::Range(0, int{kPathSorts}), NameOfPath);

TEST_P(FourAxisLaws, EveryLinePutsTipAndToolWhereItSays) {
  ForEachPosting(
      kPostings, [](const FourAxisScene& scene, const Source& source, const Lines& lines, int i) {
        const auto model = scene.Model();
        const double cone = scene.par.GetPoleAngleTolerance() * kRadians;
        const double opening =
            tests::rigid::Cosine(ToVector(scene.machine.spindle), ToVector(scene.machine.axis));
        for (std::size_t k = 0; k < lines.size(); ++k) {
          const zvPosted4axMove& line = lines[k];
          const auto pose = model.At(ToVector(line.GetMachinePosition()), line.GetRotaryAngle());
          const double size =
              scene.Size() + line.GetPartPosition().Length() + line.GetMachinePosition().Length();
          ASSERT_LE(Distance(ToPoint(pose.tip), line.GetPartPosition()), 1e-9 * size)
              << Describe(scene, i, k);
          const Point unit = line.GetOrientation().Normalized();
          const double off = Distance(ToPoint(pose.axis), unit);
          const double fromSpindle =
              std::fabs(tests::rigid::Cosine(ToVector(unit), ToVector(scene.machine.spindle)));
          const bool isSnapped = fromSpindle >= std::cos(cone) - 1e-15;
          ASSERT_LE(off, isSnapped ? cone + kSnap : kSnap) << Describe(scene, i, k);
          // Orientations between two others are on the cone as well, whatever its opening; those of
          // the path as near to it as they were given.
          const bool isGiven = std::any_of(source.begin(), source.end(), [&](const SourceMove& s) {
            return s.orientation == line.GetOrientation();
          });
          ASSERT_NEAR(tests::rigid::Cosine(ToVector(unit), ToVector(scene.machine.axis)), opening,
                      isGiven ? 2e-9 : 2e-12)
              << Describe(scene, i, k);
        }
      });
}

TEST_P(FourAxisLaws, EverySourceMoveStandsInOrderAsItWas) {
  ForEachPosting(kPostings / 4, [](const FourAxisScene& scene, const Source& source,
                                   const Lines& lines, int i) {
    std::size_t next = 0;
    for (const zvPosted4axMove& line : lines) {
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

TEST_P(FourAxisLaws, AnglesRunOnWithinTheirLimitsAndTimesFit) {
  ForEachPosting(kPostings / 4, [](const FourAxisScene& scene, const Source&, const Lines& lines,
                                   int i) {
    const zv5axControlDef::angleLimit wrap = scene.control.GetFirstAxisLimit();
    const zvKDRParam::LimitsCheck check = scene.par.GetLimitsCheck();
    for (std::size_t k = 1; k < lines.size(); ++k) {
      const double way = Distance(lines[k].GetPartPosition(), lines[k - 1].GetPartPosition());
      ASSERT_NEAR(lines[k].GetMoveTime(), 60 * way / lines[k].GetFeed(), 1e-12 * (1 + way));
      // A rewinding without steps turns back at once.
      const bool isRewound = check == zvKDRParam::checkAllAxes && lines[k].IsInserted() &&
                             !(scene.par.GetMaxAngleStep() > 0);
      if (wrap != zv5axControlDef::angleLimitNone || isRewound) continue;
      ASSERT_LE(std::fabs(lines[k].GetRotaryAngle() - lines[k - 1].GetRotaryAngle()), 180 + 1e-9)
          << Describe(scene, i, k);
    }
    for (const zvPosted4axMove& line : lines) {
      const double deg = line.GetRotaryAngle();
      if (wrap == zv5axControlDef::angleLimit360) {
        ASSERT_TRUE(0 <= deg && deg < 360);
      } else if (wrap == zv5axControlDef::angleLimit180) {
        ASSERT_TRUE(-180 < deg && deg <= 180);
      } else if (check >= zvKDRParam::checkRotaryAxes) {
        const auto [min, max] = scene.machine.range;
        ASSERT_TRUE(min - 1e-4 <= deg && deg <= max + 1e-4) << deg << ' ' << Describe(scene, i, 0);
      }
      // Rewinding comes after the linear check.
      const Point& p = line.GetMachinePosition();
      if (check == zvKDRParam::checkLinearAxes) {
        ASSERT_LE(std::max({std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)}), 3000 + 1e-12);
      }
    }
  });
}

// Between two lines the machine moves its axes evenly. Where no step is too large the tip then
// keeps near the line that the two tips make.
TEST_P(FourAxisLaws, FeedStepsAreSmall) {
  int steps = 0;
  ForEachPosting(
      kPostings / 4, [&](const FourAxisScene& scene, const Source&, const Lines& lines, int i) {
        if (scene.par.GetLimitsCheck() != zvKDRParam::checkNothing) return;
        const auto model = scene.Model();
        const double step = scene.par.GetMaxAngleStep() > 0 ? scene.par.GetMaxAngleStep() : 360;
        const double opening =
            tests::rigid::Cosine(ToVector(scene.machine.spindle), ToVector(scene.machine.axis));
        const double polesTurn =
            1.01 * scene.par.GetPoleAngleTolerance() / std::sqrt(1 - opening * opening);
        for (std::size_t k = 1; k < lines.size(); ++k) {
          const zvPosted4axMove& a = lines[k - 1];
          const zvPosted4axMove& b = lines[k];
          // What leads to a rapid move of the path is sized by distance alone.
          std::size_t end = k;
          while (end + 1 < lines.size() && lines[end].IsInserted()) ++end;
          if (b.IsRapid() || lines[end].IsRapid()) continue;
          ++steps;
          const double turn = a.AngleDistance(b);
          // The pole's tolerance is told of directions: on a narrow cone it is a larger turn.
          const bool isAtSpindle = a.GetRotaryAngle() == 0 || b.GetRotaryAngle() == 0;
          ASSERT_LE(turn, isAtSpindle ? std::max(step + 1e-9, polesTurn) : step + 1e-9)
              << Describe(scene, i, k);
          const double way = Distance(a.GetPartPosition(), b.GetPartPosition());
          const bool isFromDrop = a.IsInserted() && a.IsRapid();
          if (scene.par.GetInterpolateByDistance() && !isFromDrop) {
            ASSERT_LE(way, scene.par.GetInterpolationDistance() + 1e-9) << Describe(scene, i, k);
          }
          if (step > 8) continue;
          const Point middle = (a.GetMachinePosition() + b.GetMachinePosition()) * 0.5;
          const double from = a.GetRotaryAngle();
          const double deg = from + misc::WrapTo180(b.GetRotaryAngle() - from) / 2;
          const Point tip = ToPoint(model.At(ToVector(middle), deg).tip);
          const Point want = (a.GetPartPosition() + b.GetPartPosition()) * 0.5;
          const double radius = scene.Size() + middle.Length() * 2 + want.Length();
          const double rad = turn * kRadians;
          ASSERT_LE(Distance(tip, want), radius * rad * rad / 8 + rad * way + 1e-9 * radius)
              << turn << ' ' << Describe(scene, i, k);
        }
      });
  EXPECT_GT(steps, 500);
}

void ExpectSameLines(const Lines& a, const Lines& b, const std::string& what) {
  ASSERT_EQ(a.size(), b.size()) << what;
  for (std::size_t k = 0; k < a.size(); ++k) {
    ASSERT_EQ(a[k].GetMachinePosition(), b[k].GetMachinePosition()) << what << ' ' << k;
    ASSERT_EQ(a[k].GetPartPosition(), b[k].GetPartPosition()) << what;
    ASSERT_EQ(a[k].GetOrientation(), b[k].GetOrientation()) << what;
    ASSERT_EQ(a[k].GetRotaryAngle(), b[k].GetRotaryAngle()) << what;
    ASSERT_EQ(a[k].GetFeed(), b[k].GetFeed()) << what;
    ASSERT_EQ(a[k].GetMoveTime(), b[k].GetMoveTime()) << what;
    ASSERT_EQ(a[k].GetType(), b[k].GetType()) << what;
    ASSERT_EQ(a[k].IsRapid(), b[k].IsRapid()) << what;
  }
}

TEST_P(FourAxisLaws, SmallMovesAndASecondPostingGiveTheSame) {
  ForEachPosting(kPostings / 10,
                 [](const FourAxisScene& scene, const Source& source, const Lines& lines, int i) {
                   const PathBuilder path = Build(source);
                   const std::string what = Describe(scene, i, 0);
                   ExpectSameLines(lines, PostLines(scene, path, true), what + " small");
                   zvPosted4axTPCreator creator = scene.Creator();
                   creator.Post(path, false);
                   const auto again = creator.Post(path, false);
                   ExpectSameLines(lines, {again->begin(), again->end()}, what + " again");
                 });
}

TEST_P(FourAxisLaws, InchesGiveTheSameAnglesAndScaledLengths) {
  ForEachPosting(kPostings / 10, [](const FourAxisScene& scene, const Source& source,
                                    const Lines& lines, int i) {
    // The lift to the limits probes by 1000 in either unit, and its noise with it.
    if (scene.par.GetRetractToLimits()) return;
    constexpr double kInch = 1 / 25.4;
    FourAxisScene inch = scene;
    inch.machine.units = tests::kInch;
    for (Point* p : {&inch.machine.pivot, &inch.machine.low, &inch.machine.high, &inch.origin})
      *p = *p * kInch;
    inch.toolLength *= kInch;
    inch.par.SetInterpolationDistance(scene.par.GetInterpolationDistance() * kInch);
    inch.par.SetRetractDistance(scene.par.GetRetractDistance() * kInch);
    const Lines scaled = PostLines(inch, Build(source, kInch, true));
    ASSERT_EQ(scaled.size(), lines.size()) << Describe(scene, i, 0);
    for (std::size_t k = 0; k < lines.size(); ++k) {
      ASSERT_NEAR(scaled[k].GetRotaryAngle(), lines[k].GetRotaryAngle(), 1e-7)
          << Describe(scene, i, k);
      ASSERT_LE(Distance(scaled[k].GetMachinePosition() * 25.4, lines[k].GetMachinePosition()),
                1e-8 * scene.Size());
      ASSERT_LE(Distance(scaled[k].GetPartPosition() * 25.4, lines[k].GetPartPosition()),
                1e-8 * scene.Size());
    }
  });
}

// A 5-axis machine whose other axis stands still: its second table, or its table beneath the head.
FiveAxisScene WithAnIdleAxis(const FourAxisScene& scene) {
  FiveAxisScene five;
  five.par = scene.par;
  five.par.SetFirstMoveRule(scene.machine.onTable ? zvKDRParam::bySecondAxis
                                                  : zvKDRParam::byFirstAxis);
  five.par.SetFirstMovePreferredAngle(0);
  five.origin = scene.origin;
  five.toolLength = scene.toolLength;
  five.machine.axes = scene.machine.axes;
  five.machine.spindle = scene.machine.spindle;
  const Point idle = Cross(scene.machine.axis, scene.machine.spindle);
  five.machine.kind = scene.machine.onTable ? 3 : 2;
  (scene.machine.onTable ? five.machine.first : five.machine.second) = scene.machine.axis;
  (scene.machine.onTable ? five.machine.second : five.machine.first) = idle;
  if (scene.machine.onTable) five.machine.firstPivot = scene.machine.pivot;
  return five;
}

TEST(FourAxisPaths, AgreeWithAFiveAxisMachineWhoseOtherAxisStands) {
  Seeded random;
  int compared = 0;
  for (int i = 0; i < 400; ++i) {
    FourAxisScene scene = tests::RandomFourAxisScene(random);
    const double cosine =
        tests::rigid::Cosine(ToVector(scene.machine.spindle), ToVector(scene.machine.axis));
    // Between two orientations both follow one way only where the cone is flat.
    const bool isFlat = std::fabs(cosine) < 1e-9;
    scene.par.SetMaxAngleStep(isFlat ? 3 : 0);
    const FiveAxisScene five = WithAnIdleAxis(scene);
    Source source;
    // Below 90 degrees, where the solutions of an idle table beneath a head meet.
    double deg = random.Real(5, 20);
    for (int k = 0; k < 10; ++k) {
      deg += random.Real(1, 6);
      source.push_back({random.Vector(200), scene.DirectionAt(deg)});
    }
    const Lines lines = PostLines(scene, Build(source));
    zvPosted5axTPCreator creator = five.Creator();
    const auto list = creator.Post(Build(source), false);
    ASSERT_EQ(list->GetCount(), lines.size()) << Describe(scene, i, 0);
    std::size_t k = 0;
    for (const zvPosted5axMove& move : *list) {
      const zvPosted4axMove& line = lines[k];
      const std::int16_t axis = scene.machine.onTable ? 0 : 1;
      ASSERT_NEAR(move.GetAngle(axis), line.GetRotaryAngle(), 1e-7) << Describe(scene, i, k);
      // The idle axis has the noise of a square root that is nearly 0.
      ASSERT_NEAR(move.GetAngle(axis == 0 ? 1 : 0), 0, 1e-5) << Describe(scene, i, k);
      // A head's pivot is an offset of its slides alone.
      Point p = line.GetMachinePosition();
      if (!scene.machine.onTable) {
        const Point offset = scene.machine.pivot;
        post::zv4axMachDef machDef = scene.machine.MachDef();
        p = p - (machDef.IsIdentityTransform() ? offset : *machDef.GetInverseAxisMatrix() * offset);
      }
      ASSERT_LE(Distance(move.GetMachinePosition(), p),
                1e-7 * (scene.Size() + line.GetMachinePosition().Length()))
          << Describe(scene, i, k);
      ++compared;
      ++k;
    }
  }
  EXPECT_GT(compared, 4000);
}

// A path is solved some moves at a time; each must come out to the bit as it does alone, whatever
// stands beside it.
TEST(FourAxisPaths, ArePostedAsTheirMovesAreAlone) {
  Seeded random;
  int alike = 0;
  for (int i = 0; i < 600; ++i) {
    FourAxisScene scene = tests::RandomFourAxisScene(random);
    scene.par.SetMaxAngleStep(0);
    scene.par.SetMaxAngleJump(1000);
    scene.par.SetPoleAngleTolerance(random.Chance(0.5) ? 0.1 : random.Real(1, 10));
    Source source;
    for (int k = random.Integer(2, 200); k > 0; --k) {
      constexpr std::array<double, 4> kApart{0, 1e-6, 5e-4, 1e-3};
      const double apart = kApart[static_cast<std::size_t>(random.Integer(0, 3))];
      const double deg = random.Chance(0.8)   ? random.Real(-180, 180)
                         : random.Chance(0.5) ? 180 - apart
                                              : -apart;
      constexpr std::array<double, 4> kLengths{1, 1.1, 1e-200, 1e200};
      const double length = kLengths[static_cast<std::size_t>(
          random.Chance(0.9) ? random.Integer(0, 1) : random.Integer(2, 3))];
      const bool isOnAxis = scene.machine.onTable && random.Chance(0.02);
      source.push_back({isOnAxis ? scene.machine.pivot - scene.origin : random.Vector(200),
                        scene.DirectionAt(deg) * length});
      if (length == 1 && random.Chance(0.05))
        source.back().orientation = Rounded(source.back().orientation);
      if (isOnAxis && random.Chance(0.5))  // hardly off it, far from the pivot
        source.back().tip += scene.machine.axis.Normalized() * 900 + random.Vector(1e-10);
    }
    const Lines lines = PostLines(scene, Build(source));
    ASSERT_EQ(lines.size(), source.size()) << Describe(scene, i, 0);
    const zvPosted4axTPCreator creator = scene.Creator();
    for (std::size_t k = 0; k < lines.size(); ++k) {
      const zvPosted4axMove alone = creator.PostMove(
          tests::Move5(source[k].tip, source[k].orientation, 1000, false), zvPosted4axMove::noLink);
      const double deg = lines[k].GetRotaryAngle();
      const double turns = std::round((deg - alone.GetRotaryAngle()) / 360);
      ASSERT_EQ(lines[k].GetMachinePosition(), alone.GetMachinePosition()) << Describe(scene, i, k);
      ASSERT_EQ(deg, alone.GetRotaryAngle() + 360 * turns) << Describe(scene, i, k);
      ASSERT_EQ(lines[k].GetSourceIndex(), static_cast<std::int32_t>(k));
      ++alike;
    }
  }
  EXPECT_GT(alike, 50000);
}

// A turn shows at any distance from the axis above 1e-12, and none below; alone and in a path.
TEST(FourAxisPaths, TurnPointsByTheirDistanceFromTheAxis) {
  FourAxisScene scene;
  scene.par.SetMaxAngleStep(0);
  scene.par.SetMaxAngleJump(1000);
  const double nearby[] = {1e-10, 1.1e-12, 0.9e-12};
  for (const double y : nearby) {
    const Source source(2, {{1000, y, 0}, scene.DirectionAt(120)});
    const double turned = y > 1e-12 ? -y / 2 : y;
    const auto alone = scene.Creator().PostMove(tests::Move5(source[0].tip, source[0].orientation),
                                                zvPosted4axMove::noLink);
    EXPECT_NEAR(alone.GetMachinePosition().y, turned, 1e-25);
    for (const zvPosted4axMove& line : PostLines(scene, Build(source)))
      EXPECT_EQ(line.GetMachinePosition(), alone.GetMachinePosition());
  }
}

// An orientation hardly off the cone, on either side of it, has the turn of the one on it and stays
// as it was given.
TEST(FourAxisPaths, SolveOrientationsNearTheConeAsOnIt) {
  Seeded random;
  FourAxisScene scene;
  scene.par.SetMaxAngleStep(0);
  scene.par.SetMaxAngleJump(1000);
  for (const double opening : {20.0, 45.0, 90.0, 120.0}) {
    scene.machine.spindle = tests::SpindleAt(scene.machine.axis, opening, random);
    for (const double deg : {-170.0, -60.0, 2.0, 80.0}) {
      const Point on = scene.DirectionAt(deg);
      for (const double off : {-0.99e-6, 1e-9, 0.99e-6}) {
        const Point across = Cross(Cross(on, scene.machine.axis), on).Normalized();
        const Source source(2, {{10, 20, 30}, on + off * across});
        for (const zvPosted4axMove& line : PostLines(scene, Build(source))) {
          EXPECT_NEAR(line.GetRotaryAngle(), deg, 1e-9) << opening << ' ' << off;
          EXPECT_EQ(line.GetOrientation(), source[0].orientation);
        }
      }
    }
  }
}

// Checks then follow the new machine and solutions the old one, whose cone says nothing about what
// lies between.
TEST(FourAxisPaths, AreBlendedAsTheyStandAfterAChangeOfTheMachine) {
  FourAxisScene scene;
  FourAxisScene other = scene;
  other.machine.axis = {0, 1, 0};
  zvPosted4axTPCreator creator = scene.Creator();
  creator.SetMachDef(other.machine.MachDef());
  const Source source{{{0, 0, 0}, other.DirectionAt(-20)}, {{9, 0, 0}, other.DirectionAt(-60)}};
  const auto list = creator.Post(Build(source), false);
  EXPECT_GT(list->GetCount(), 10u);
  double tilt = 0;
  for (const zvPosted4axMove& line : *list) {
    const Point& o = line.GetOrientation();
    EXPECT_NEAR(o.Length(), 1, 1e-12);
    EXPECT_NEAR(o.y, 0, 1e-12);
    EXPECT_GT(o.x, tilt);
    tilt = o.x;
  }
}

// Nor may a move that can't be posted hide beside one that can.
TEST(FourAxisPaths, AreRefusedWhereverTheFaultStands) {
  const double noNumber = std::nan("");
  const double infinite = std::numeric_limits<double>::infinity();
  struct Fault {
    std::uint32_t id;
    Point tip, orientation;
  };
  const Fault faults[] = {{5030, {}, {0.6, 0, 0.8}},
                          {5030, {}, {1.1e-6, 0, 1}},
                          {2189, {}, {0, 0, 0}},
                          {5039, {0, noNumber, 0}, {0, 0, 1}},
                          {5039, {infinite, 0, 0}, {0, 0.6, 0.8}},
                          {5039, {}, {0, noNumber, 1}},
                          {5039, {}, {0, infinite, 0}}};
  for (const bool onTable : {true, false})
    for (std::size_t place = 0; place < 70; ++place)
      for (const Fault& fault : faults) {
        FourAxisScene scene;
        scene.machine.onTable = onTable;
        scene.toolLength = 50;
        Source source;
        for (int k = 0; k < 70; ++k) source.push_back({{1.0 * k, 0, 0}, scene.DirectionAt(20 + k)});
        source[place] = {fault.tip, fault.orientation};
        zvPosted4axTPCreator creator = scene.Creator();
        const auto post = [&] { creator.Post(Build(source), true); };
        EXPECT_TRUE(fault.id == 2189 ? tests::ThrowsId<cadcam::zvcadcamException>(post, 2189)
                                     : tests::ThrowsId<zvPostException>(post, fault.id))
            << place << (onTable ? " table" : " head");
      }
}

}  // namespace
