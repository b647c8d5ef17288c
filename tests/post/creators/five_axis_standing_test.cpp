// Toolpaths of one orientation, which are posted with the rotary axes standing.
#include <gtest/gtest.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/throws_id.h>
#include <tests/support/toolpath_builders.h>

#include <functional>
#include <utility>
#include <vector>

namespace {

using post::zv5axControlDef;
using post::zvKDRParam;
using post::zvPosted5axMove;
using post::zvPostException;
using tests::Distance;
using tests::FiveAxisScene;
using tests::Move5;
using tests::PathBuilder;
using tests::Point;
using tests::ToPoint;
using tests::ToVector;

using Lines = std::vector<zvPosted5axMove>;
using Change = std::function<void(FiveAxisScene&)>;

Lines Post(const FiveAxisScene& scene, const cadcam::zvToolPath& path) {
  zvPosted5axTPCreator creator = scene.Creator();
  const auto list = creator.Post(path, false);
  return {list->begin(), list->end()};
}

PathBuilder Along(const Point& orientation) {
  PathBuilder path;
  path.Contour({Move5({10, 20, 30}, orientation), Move5({50, 20, 30}, orientation),
                Move5({50, -60, 35}, orientation)});
  return path;
}

FiveAxisScene Trunnion() {
  FiveAxisScene scene;
  scene.machine.firstPivot = {5, -7, 0};
  scene.machine.secondPivot = {0, 3, -50};
  scene.origin = {1, 2, 3};
  scene.toolLength = 80;
  return scene;
}

void Wrap(FiveAxisScene& scene, zv5axControlDef::angleLimit first,
          zv5axControlDef::angleLimit second) {
  scene.control.SetFirstAxisLimit(first);
  scene.control.SetSecondAxisLimit(second);
}

void Prefer(FiveAxisScene& scene, zvKDRParam::FirstMoveRule rule, double deg) {
  scene.par.SetFirstMoveRule(rule);
  scene.par.SetFirstMovePreferredAngle(deg);
}

// The spindle lies so near the second axis that its angle is never determined.
void StandOnSecondAxis(FiveAxisScene& scene) {
  scene.machine.first = {1, 0, 0};
  scene.machine.second = {1e-7, 0, 1};
}

TEST(FiveAxisStanding, AxesStandWhereRulesRangesAndControlPutThem) {
  constexpr auto kNone = zv5axControlDef::angleLimitNone;
  constexpr auto k360 = zv5axControlDef::angleLimit360;
  constexpr auto k180 = zv5axControlDef::angleLimit180;
  const struct {
    const char* name;
    double toolFirst, toolSecond;
    Change change;
    double first, second;
  } cases[] = {
      {"solved", 40, 30, [](FiveAxisScene&) {}, 40, 30},
      {"mirror", 40, 30,
       [](FiveAxisScene& s) { s.par.SetFirstMoveSolutionIndex(zvKDRParam::mirrorSolution); }, -140,
       -30},
      {"pole", 0, 0, [](FiveAxisScene&) {}, 0, 0},
      {"pole by the first axis", 0, 0,
       [](FiveAxisScene& s) { Prefer(s, zvKDRParam::byFirstAxis, 65); }, 65, 0},
      {"pole by the other axis", 0, 0,
       [](FiveAxisScene& s) { Prefer(s, zvKDRParam::bySecondAxis, 65); }, 0, 0},
      {"preferred angles are no angles of determined axes", 40, 30,
       [](FiveAxisScene& s) { Prefer(s, zvKDRParam::byFirstAxis, 41); }, 40, 30},
      {"second pole", 70, 0,
       [](FiveAxisScene& s) {
         StandOnSecondAxis(s);
         Prefer(s, zvKDRParam::bySecondAxis, -25);
       },
       70, -25},
      {"second pole by the other axis", 70, 0,
       [](FiveAxisScene& s) {
         StandOnSecondAxis(s);
         Prefer(s, zvKDRParam::byFirstAxis, -25);
       },
       70, 0},
      {"into the ranges", 40, 30,
       [](FiveAxisScene& s) {
         s.machine.firstRange = {300, 500};
         s.machine.secondRange = {-400, -300};
       },
       400, -330},
      {"preferred into the range", 0, 0,
       [](FiveAxisScene& s) {
         Prefer(s, zvKDRParam::byFirstAxis, 770);
         s.machine.firstRange = {-360, -100};
       },
       -310, 0},
      {"control first", -40, 30, [=](FiveAxisScene& s) { Wrap(s, k360, kNone); }, 320, 30},
      // By the limit of the first axis, both.
      {"control both", -40, -30,
       [=](FiveAxisScene& s) {
         s.par.SetFirstMoveRule(zvKDRParam::bySecondAxis);
         s.par.SetFirstMovePreferredAngle(-30);
         Wrap(s, k360, k180);
       },
       320, 330},
      {"control second", -40, -30,
       [=](FiveAxisScene& s) {
         Prefer(s, zvKDRParam::bySecondAxis, -30);
         Wrap(s, kNone, k360);
       },
       -40, -30},
      {"control after ranges", 40, 30,
       [=](FiveAxisScene& s) {
         s.machine.firstRange = {300, 500};
         Wrap(s, k180, kNone);
       },
       40, 30},
      {"moves of linear axes", 40, 30, [](FiveAxisScene& s) { s.par.SetInterpolationMode(1); }, 40,
       30},
  };
  for (const auto& c : cases)
    for (const std::int32_t kind : {1, 2, 3}) {
      SCOPED_TRACE(testing::Message() << c.name << ", kind " << kind);
      FiveAxisScene scene = Trunnion();
      c.change(scene);
      const Point tool = scene.Tool(c.toolFirst, c.toolSecond);
      // Directions turned round where a table became a head: the same angles.
      if (kind == 1) scene.machine.first = -scene.machine.first;
      if (kind != 3) scene.machine.second = -scene.machine.second;
      scene.machine.kind = kind;
      const auto model = scene.Model();
      for (const zvPosted5axMove& line : Post(scene, Along(tool))) {
        EXPECT_NEAR(line.GetAngle(0), c.first, 1e-9);
        EXPECT_NEAR(line.GetAngle(1), c.second, 1e-9);
        EXPECT_EQ(line.GetPoleStatus(), 0u);
        const auto pose =
            model.At(ToVector(line.GetMachinePosition()), line.GetAngle(0), line.GetAngle(1));
        EXPECT_LT(Distance(ToPoint(pose.tip), line.GetPartPosition()), 1e-9);
        EXPECT_LT(Distance(ToPoint(pose.axis), tool), 1e-6);
      }
    }
}

// The slack is that of poles, not that of limits; axes at zero are not checked at all.
TEST(FiveAxisStanding, RotaryLimitsAreCheckedOnceAndNotAtZero) {
  const struct {
    double tilt, max, tolerance;
    zvKDRParam::LimitsCheck check;
    std::uint32_t id;
  } cases[] = {
      {30, 29.5, 0.57, zvKDRParam::checkRotaryAxes, 0},
      {30, 29.4, 0.57, zvKDRParam::checkRotaryAxes, 5019},
      {30, 29.4, 0.57, zvKDRParam::checkAllAxes, 5019},
      {30, 29.4, 0.7, zvKDRParam::checkAllAxes, 0},
      {30, 29.4, 0.57, zvKDRParam::checkLinearAxes, 0},
      {30, 29.4, 0.57, zvKDRParam::checkNothing, 0},
      {0, -10, 0.57, zvKDRParam::checkAllAxes, 0},
      {0.005, -10, 0.57, zvKDRParam::checkAllAxes, 0},
      {0.6, -10, 0.57, zvKDRParam::checkAllAxes, 5019},
  };
  for (const auto& c : cases) {
    FiveAxisScene scene = Trunnion();
    scene.machine.secondRange = {-20, c.max};
    scene.machine.firstRange = {-90, 90};
    scene.par.SetLimitsCheck(c.check);
    scene.par.SetLimitTolerance(5);
    scene.par.SetPoleAngleTolerance(c.tolerance);
    Prefer(scene, zvKDRParam::bySecondAxis, c.tilt);
    std::uint32_t id = 0;
    try {
      Post(scene, Along(scene.Tool(40, c.tilt)));
    } catch (const zvPostException& e) {
      id = e.GetId();
    }
    EXPECT_EQ(id, c.id) << c.tilt << ' ' << c.max << ' ' << c.tolerance << ' ' << c.check;
  }
}

// Told apart by the second axis, which the general way wraps by its own limit.
TEST(FiveAxisStanding, TakesTheGeneralWayWhereItMust) {
  const struct {
    const char* name;
    Point step;  // of the orientation at the last move
    double times;
    Change change;
    bool stands;
  } cases[] = {
      {"constant", {}, 1, [](FiveAxisScene&) {}, true},
      {"within rounding", {0, 9e-13, 0}, 1, [](FiveAxisScene&) {}, true},
      {"beyond it", {0, 2e-12, 0}, 1, [](FiveAxisScene&) {}, false},
      {"in x", {2e-12, 0, 0}, 1, [](FiveAxisScene&) {}, false},
      {"in z", {0, 0, -2e-12}, 1, [](FiveAxisScene&) {}, false},
      {"of another length", {}, 2, [](FiveAxisScene&) {}, false},
      {"poles kept in limits",
       {},
       1,
       [](FiveAxisScene& s) { s.par.SetPoleHandling(zvKDRParam::keepWithinLimits); },
       false},
      {"poles spread",
       {},
       1,
       [](FiveAxisScene& s) { s.par.SetPoleHandling(zvKDRParam::spreadEvenly); },
       true},
      {"skew slides",
       {},
       1,
       [](FiveAxisScene& s) {
         s.machine.axes[1] = {0.1, 1, 0};
       },
       false},
  };
  for (const auto& c : cases) {
    FiveAxisScene scene = Trunnion();
    c.change(scene);
    Wrap(scene, zv5axControlDef::angleLimit360, zv5axControlDef::angleLimit180);
    Prefer(scene, zvKDRParam::bySecondAxis, -30);
    const Point tool = scene.Tool(40, -30);
    const Lines lines =
        Post(scene, PathBuilder().Contour({Move5({}, tool), Move5({1, 0, 0}, tool),
                                           Move5({2, 0, 0}, (tool + c.step) * c.times)}));
    ASSERT_EQ(lines.size(), 3u) << c.name;
    for (const zvPosted5axMove& line : lines)
      EXPECT_NEAR(line.GetAngle(1), c.stands ? 330 : -30, 1e-9) << c.name;
  }
}

// The tool length is left to the control, but not where the axes stand at zero.
TEST(FiveAxisStanding, TipProgrammedMachinesAddTheToolLengthAtZeroAlone) {
  FiveAxisScene scene = Trunnion();
  scene.machine.kind = 0;
  const auto z = [&](const Point& tool) {
    return Post(scene, Along(tool)).front().GetMachinePosition().z;
  };
  EXPECT_EQ(z({0, 0, 1}), 30 + 3 + 80);
  const double standing = z(scene.Tool(0, 30));
  scene.toolLength = 0;
  EXPECT_EQ(z(scene.Tool(0, 30)), standing);
  scene.toolLength = 80;
  scene.par.SetPoleHandling(zvKDRParam::keepWithinLimits);
  EXPECT_EQ(z({0, 0, 1}), 30 + 3);
}

TEST(FiveAxisStanding, IsNotAlignedAgain) {
  for (const Point& tool : {Point{0, 0, 1}, Point{0, 0.6, 0.8}, Point{0, 0, -1}, Point{1, 0, 0}}) {
    FiveAxisScene scene = Trunnion();
    const Lines plain = Post(scene, Along(tool));
    scene.par.SetAlignToolpath(true);
    EXPECT_TRUE(Post(scene, Along(tool)) == plain) << tool.z;
  }
}

// Snapped to the pole, though not a path of a plain 3-axis machine.
TEST(FiveAxisStanding, ATinyTiltIsPostedAsIfItWereNone) {
  const FiveAxisScene scene = Trunnion();
  const Lines upright = Post(scene, Along({0, 0, 1}));
  const Lines tilted = Post(scene, Along({0, 8.7e-5, 1}));
  ASSERT_EQ(tilted.size(), upright.size());
  for (std::size_t i = 0; i < tilted.size(); ++i) {
    EXPECT_EQ(tilted[i].GetAngle(0), 0);
    EXPECT_EQ(tilted[i].GetAngle(1), 0);
    EXPECT_LT(Distance(tilted[i].GetMachinePosition(), upright[i].GetMachinePosition()), 1e-12);
  }
}

TEST(FiveAxisStanding, LinearLimitsAndDistancesAreThoseOfThreeAxes) {
  FiveAxisScene scene = Trunnion();
  const Point tool = scene.Tool(40, 30);
  scene.par.SetInterpolateByDistance(true);
  scene.par.SetInterpolationDistance(7);
  const Lines lines = Post(scene, Along(tool));
  const auto model = scene.Model();
  EXPECT_GT(lines.size(), 3u + 120 / 7);
  double lowest = 1e9;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const Point& p = lines[i].GetMachinePosition();
    lowest = std::min(lowest, p.y);
    EXPECT_LT(Distance(ToPoint(model.At(ToVector(p), 40, 30).tip), lines[i].GetPartPosition()),
              1e-9);
    const Point& before = lines[i == 0 ? 0 : i - 1].GetMachinePosition();
    EXPECT_LT(Distance(p, before), 7 + 1e-9);
  }
  scene.par.SetLimitsCheck(zvKDRParam::checkLinearAxes);
  scene.machine.low.y = lowest;
  EXPECT_EQ(Post(scene, Along(tool)).size(), lines.size());
  scene.machine.low.y = lowest + 1e-9;
  EXPECT_TRUE(tests::ThrowsId<zvPostException>(
      [&] { Post(scene, Along(tool)); }, 5011,
      L"The posted tool path exceeds one of the limits (The y axis exceeds the limit (The minimum "
      L"limit is reached))."));
}

TEST(FiveAxisStanding, AnEmptySectionPostsNothing) {
  for (const int check : {0, 1, 2, 3}) {
    FiveAxisScene scene = Trunnion();
    scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(check));
    EXPECT_TRUE(Post(scene, PathBuilder().Contour({})).empty());
  }
}

}  // namespace
