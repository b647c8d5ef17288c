// What must hold for every posted line of every machine and path, judged by a model of rigid bodies
// that shares nothing with the library.
#include <gtest/gtest.h>
#include <kandrel/misc/angles.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/post_exception.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/toolpath_builders.h>

#include <cmath>
#include <sstream>
#include <vector>

namespace {

using post::zv5axControlDef;
using post::zvKDRParam;
using post::zvPosted5axMove;
using post::zvPostException;
using tests::FiveAxisScene;
using tests::PathBuilder;
using tests::Point;
using tests::Seeded;
using tests::ToPoint;
using tests::ToVector;

constexpr int kPostings = 1200;
constexpr double kRadians = 3.14159265358979323846 / 180;

double Distance(const Point& a, const Point& b) {
  return (a - b).Length();
}

struct SourceMove {
  Point tip;
  Point orientation;
  double feed = 1000;
  bool rapid = false;
  int link = -1;  // the type of its link, or -1 on a contour
};
using Source = std::vector<SourceMove>;

PathBuilder Build(const Source& source, double scale = 1, bool isInch = false) {
  PathBuilder builder(isInch ? tests::kInch : tests::kMetric);
  for (std::size_t i = 0; i < source.size();) {
    const int link = source[i].link;
    PathBuilder::Moves moves;
    for (; i < source.size() && source[i].link == link; ++i) {
      const SourceMove& m = source[i];
      moves.push_back(tests::Move5(m.tip * scale, m.orientation, m.feed * scale, m.rapid));
    }
    if (link < 0)
      builder.Contour(moves);
    else
      builder.Link(static_cast<std::uint32_t>(link), moves);
  }
  return builder;
}

enum PathSort { kSweep, kThroughPole, kScrew, kJumps, kConstant, kRepeats, kPathSorts };

// Orientations come from angles on the model, so that the machine reaches them.
Source RandomPath(Seeded& random, const FiveAxisScene& scene, int sort) {
  const auto model = scene.Model();
  const int count = random.Integer(2, 25);
  double first = random.Real(-170, 170);
  double second = random.Real(-170, 170);
  const double firstStep = random.Real(-12, 12);
  const double secondStep = random.Real(-6, 6);
  const double screwStep = random.Real(5, 60) * (random.Chance(0.5) ? 1 : -1);
  const Point pole = scene.machine.first.Normalized() * (random.Chance(0.5) ? 1.0 : -1.0);
  const Point across = tests::Across(pole, random);
  const bool isExact = random.Chance(0.5);
  const Point aside = Cross(pole, across) * (isExact ? 0.0 : random.Real(-0.02, 0.02));
  Point tip = random.Vector(200);
  Source source;
  bool onLink = false;
  for (int i = 0; i < count; ++i) {
    Point t;
    switch (sort) {
      case kThroughPole:
        t = pole + aside + across * (0.03 * (i - count / 2));
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

// Degrees between the tool and the nearer end of the first axis.
double ToFirstPole(const FiveAxisScene& scene, const zvPosted5axMove& move) {
  const auto axis = scene.Model()
                        .At(ToVector(move.GetMachinePosition()), move.GetAngle(0), move.GetAngle(1))
                        .axis;
  const double cosine = std::fabs(tests::rigid::Cosine(axis, ToVector(scene.machine.first)));
  return std::acos(std::min(cosine, 1.0)) / kRadians;
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

INSTANTIATE_TEST_SUITE_P(Paths, FiveAxisLaws, testing::Range(0, int{kPathSorts}),
                         [](const auto& info) {
                           constexpr const char* kNames[] = {"Sweep", "ThroughPole", "Screw",
                                                             "Jumps", "Constant",    "Repeats"};
                           return kNames[info.param];
                         });

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

}  // namespace
