#include <gtest/gtest.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/limit_type.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posting_parameters.h>
#include <tests/support/throws_id.h>

#include <cmath>
#include <vector>

namespace post {
namespace {

using Units = zvKDRParam::Units;

using Numbers = std::vector<double>;

template <class... T>
Numbers Joined(T... values) {
  return {static_cast<double>(values)...};
}

Numbers Fields(const zvKDRParam& p) {
  return Joined(p.GetFirstMoveByRule(), p.GetFirstMoveMirror(), p.GetParamUnits(),
                p.GetMaxAngleJump(), p.GetMaxAngleStep(), p.GetRetractDistance(),
                p.GetInterpolationDistance(), p.GetPoleAngleTolerance(),
                p.GetInterpolateByDistance(), p.GetLimitsCheck(), p.GetLimitTolerance(),
                p.GetFirstMoveRule(), p.GetFirstMoveSolutionIndex(), p.GetFirstMovePreferredAngle(),
                p.GetInterpolateRapidMoves(), p.GetPoleHandling(), p.GetAlignToolpath(),
                p.GetInterpolationMode(), p.GetRetractToLimits());
}

TEST(PostingParameters, DefaultsDependOnTheUnits) {
  for (const int units : {1, 2, 0, 3, -1}) {
    const bool metric = units == 1;
    EXPECT_EQ(Fields(zvKDRParam(static_cast<Units>(units))),
              Joined(1, 0, units, 120, 3, metric ? 100 : 4, metric ? 1 : 0.05, 0.01, 0, 0, 0.0001,
                     0, 0, 0, 0, 3, 0, 0, 0));
  }
}

TEST(PostingParameters, SettersReachTheirOwnFieldAndHoldUnknownValues) {
  zvKDRParam p(measures::zvUnitsFactory::metric);
  p.SetFirstMoveByRule(false);
  p.SetFirstMoveMirror(true);
  p.SetParamUnits(static_cast<Units>(9));
  p.SetMaxAngleJump(11);
  p.SetMaxAngleStep(-12);
  p.SetRetractDistance(13);
  p.SetInterpolationDistance(14);
  p.SetPoleAngleTolerance(0.57);
  p.SetInterpolateByDistance(true);
  p.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(7));
  p.SetLimitTolerance(15);
  p.SetFirstMoveRule(static_cast<zvKDRParam::FirstMoveRule>(-2147483647 - 1));
  p.SetFirstMoveSolutionIndex(static_cast<zvKDRParam::SolutionIndex>(2147483647));
  p.SetFirstMovePreferredAngle(16);
  p.SetInterpolateRapidMoves(true);
  p.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(0));
  p.SetAlignToolpath(true);
  p.SetInterpolationMode(-17);
  p.SetRetractToLimits(true);
  EXPECT_EQ(Fields(p), (Numbers{0, 1, 9, 11, -12, 13, 14, 0.57, 1, 7, 15, -2147483648.0, 2147483647,
                                16, 1, 0, 1, -17, 1}));
}

TEST(PostingParameters, PoleAngleToleranceIsChecked) {
  zvKDRParam p(measures::zvUnitsFactory::inch);
  for (double good : {0.001, 0.57, 10.0}) {
    p.SetPoleAngleTolerance(good);
    EXPECT_EQ(p.GetPoleAngleTolerance(), good);
  }
  p.SetPoleAngleTolerance(2);
  for (double bad : {0.0009, std::nextafter(0.001, 0), std::nextafter(10, 11), 10.0001, 0.0, -1.0,
                     std::nan(""), HUGE_VAL, -HUGE_VAL}) {
    EXPECT_TRUE(tests::ThrowsId<zvPostException>([&] { p.SetPoleAngleTolerance(bad); }, 5009));
    EXPECT_EQ(p.GetPoleAngleTolerance(), 2) << bad;
  }
}

TEST(ControlDef, HoldsUnknownValues) {
  zv5axControlDef control;
  EXPECT_EQ(control.GetFirstAxisLimit(), zv5axControlDef::angleLimitNone);
  EXPECT_EQ(control.GetSecondAxisLimit(), zv5axControlDef::angleLimitNone);
  control.SetFirstAxisLimit(zv5axControlDef::angleLimit180);
  control.SetSecondAxisLimit(static_cast<zv5axControlDef::angleLimit>(-5));
  EXPECT_EQ(control.GetFirstAxisLimit(), 2);
  EXPECT_EQ(control.GetSecondAxisLimit(), -5);
}

TEST(LimitType, NamesOneOfFiveAxesOrNone) {
  EXPECT_EQ(zvLimitType(), (zvLimitType{5, 2}));
  for (std::int32_t axis : {-2147483647 - 1, -1, 5, 6, 2147483647})
    EXPECT_TRUE((zvLimitType{axis, zvLimitType::kMinimum}.IsNone())) << axis;
  for (std::int32_t axis = zvLimitType::kX; axis <= zvLimitType::kSecondRotary; ++axis)
    EXPECT_FALSE((zvLimitType{axis, zvLimitType::kMaximum}.IsNone())) << axis;
  EXPECT_NE((zvLimitType{1, 0}), (zvLimitType{1, 1}));
  EXPECT_NE((zvLimitType{1, 0}), (zvLimitType{2, 0}));
}

}  // namespace
}  // namespace post
