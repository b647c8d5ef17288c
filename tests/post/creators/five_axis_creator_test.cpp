#include <gtest/gtest.h>
#include <kandrel/misc/exception.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/post_exception.h>
#include <tests/support/throws_id.h>
#include <tests/support/toolpath_builders.h>

#include <cmath>
#include <limits>

namespace {

using post::zv5axMachDef;
using post::zvKDRParam;
using post::zvPostException;
using tests::Move5;
using tests::PathBuilder;
using tests::Point;
using tests::ThrowsId;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr const wchar_t* kInvalidVector = L"Invalid vector was passed.";

struct Scene {
  zv5axMachDef machDef;
  post::zv5axControlDef control;
  zvKDRParam par{tests::kMetric};
  Point origin;
  double toolLength = 0;

  zvPosted5axTPCreator Creator() const { return {machDef, control, par, origin, toolLength}; }
};

Point Tilted(double turnDeg, double tiltDeg) {
  const double turn = turnDeg * 0.017453292519943295;
  const double tilt = tiltDeg * 0.017453292519943295;
  return {std::sin(tilt) * std::cos(turn), std::sin(tilt) * std::sin(turn), std::cos(tilt)};
}

// Around the part at a constant tilt, 5 degrees a move.
PathBuilder Screw(int moves) {
  PathBuilder::Moves screw;
  for (int i = 0; i < moves; ++i)
    screw.push_back(Move5(30.0 * Tilted(5.0 * i, 90) + Point{0, 0, 0.1 * i}, Tilted(5.0 * i, 30)));
  PathBuilder path;
  path.Contour(screw);
  return path;
}

TEST(FiveAxisCreator, AnUnknownLimitsCheckIsToldAfterThePosting) {
  Scene scene;
  scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(7));
  auto creator = scene.Creator();
  EXPECT_TRUE(ThrowsId<zvPostException>([&] { creator.Post(Screw(10), true); }, 5046,
                                        L"Unknown machine limits."));
  EXPECT_GE(creator.GetPostedList()->GetCount(), 10u);
  EXPECT_EQ(creator.Post(cadcam::zvToolPath(tests::kMetric), true)->GetCount(), 0u);
}

TEST(FiveAxisCreator, WhatIsNoNumberIsRefusedAndLeavesNoList) {
  for (const double bad : {kNaN, kInfinity, -kInfinity}) {
    Scene scene;
    auto creator = scene.Creator();
    for (const auto& move : {Move5({bad, 0, 0}, {0, 0, 1}), Move5({0, 0, 0}, {0, bad, 1})}) {
      const auto path = PathBuilder().Contour({Move5({0, 0, 0}, Tilted(0, 10)), move});
      EXPECT_TRUE(
          ThrowsId<zvPostException>([&] { creator.Post(path, true); }, 5039, kInvalidVector));
      EXPECT_EQ(creator.GetPostedList()->GetCount(), 0u);
    }
    scene.origin.y = bad;
    EXPECT_TRUE(
        ThrowsId<zvPostException>([&] { creator.Post(Screw(3), true); }, 5039, kInvalidVector));
  }
}

// Whatever the parameters and limits are, a posting ends: with a list, or with an error.
TEST(FiveAxisCreator, EndsOnAbsurdParametersAndLimits) {
  for (const double odd : {0.0, -1.0, 1e-300, 1e300, kNaN, kInfinity, -kInfinity})
    for (int field = 0; field < 12; ++field) {
      Scene scene;
      scene.par.SetInterpolateByDistance(field == 1);
      scene.par.SetLimitsCheck(field >= 4 ? zvKDRParam::checkAllAxes : zvKDRParam::checkNothing);
      switch (field) {
        case 0:
          scene.par.SetMaxAngleStep(odd);
          break;
        case 1:
          scene.par.SetInterpolationDistance(odd);
          break;
        case 2:
          scene.par.SetMaxAngleJump(odd);
          break;
        case 3:
          scene.par.SetRetractDistance(odd);
          break;
        case 4:
          scene.par.SetLimitTolerance(odd);
          break;
        case 5:
          scene.par.SetFirstMovePreferredAngle(odd);
          break;
        case 6:
          scene.machDef.SetMinFirstAngle(odd);
          break;
        case 7:
          scene.machDef.SetMaxFirstAngle(odd);
          break;
        case 8:
          scene.machDef.SetMinSecondAngle(odd);
          break;
        case 9:
          scene.machDef.SetMaxSecondAngle(odd);
          break;
        case 10:
          scene.machDef.SetMinLimits({odd, -500, -500});
          break;
        case 11:
          scene.machDef.SetMaxLimits({500, odd, 500});
          break;
      }
      auto creator = scene.Creator();
      try {
        EXPECT_LT(creator.Post(Screw(200), true)->GetCount(), 100000u) << odd << ' ' << field;
      } catch (const zvPostException& e) {
        EXPECT_TRUE(e.GetId() == 5039 || (e.GetId() >= 5010 && e.GetId() <= 5019))
            << e.GetId() << ' ' << odd << ' ' << field;
      }
    }
}

TEST(FiveAxisCreator, ANewMachineReachesChecksButNotSolutions) {
  Scene scene;
  scene.par.SetLimitsCheck(zvKDRParam::checkLinearAxes);
  auto creator = scene.Creator();
  const double before = creator.Post(Screw(5), true)->Back().GetMachinePosition().x;
  zv5axMachDef other = scene.machDef;
  other.SetFirstRotationPivot({100, 0, 0});
  creator.SetMachDef(other);
  EXPECT_EQ(creator.Post(Screw(5), true)->Back().GetMachinePosition().x, before);
  other.SetMinLimits({90000, -100000, -100000});
  creator.SetMachDef(other);
  EXPECT_THROW(creator.Post(Screw(5), true), zvPostException);
}

TEST(FiveAxisCreator, ARewindingThatFailsTurnsTheFirstSolutionRound) {
  Scene scene;
  scene.machDef.SetMinFirstAngle(0);
  scene.machDef.SetMaxFirstAngle(180);
  // Of one side only, so that the mirror solution can't help.
  scene.machDef.SetMinSecondAngle(1);
  scene.machDef.SetMaxSecondAngle(100);
  scene.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes);
  auto creator = scene.Creator();
  EXPECT_THROW(creator.Post(Screw(100), true), zvPostException);
  EXPECT_EQ(creator.GetPar().GetFirstMoveSolutionIndex(), zvKDRParam::mirrorSolution);
  EXPECT_EQ(scene.par.GetFirstMoveSolutionIndex(), zvKDRParam::firstSolution);
  const zvPosted5axTPCreator copy(creator);
  EXPECT_TRUE(copy.GetPostedList().IsNull());
  EXPECT_EQ(copy.GetPar().GetFirstMoveSolutionIndex(), zvKDRParam::mirrorSolution);
}

TEST(FiveAxisCreator, AScrewIsRewoundIntoItsRange) {
  Scene scene;
  scene.machDef.SetMinFirstAngle(-360);
  scene.machDef.SetMaxFirstAngle(360);
  scene.par.SetLimitsCheck(zvKDRParam::checkAllAxes);
  auto creator = scene.Creator();
  const auto list = creator.Post(Screw(1000), true);
  EXPECT_GT(creator.GetCounts().rewindings, 5u);
  for (const auto& move : *list) ASSERT_LE(std::fabs(move.GetAngle(0)), 360.0001);
}

}  // namespace
