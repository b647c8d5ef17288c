#include <gtest/gtest.h>
#include <kandrel/post/control_def.h>
#include <kandrel/post/limit_type.h>
#include <kandrel/post/post_exception.h>
#include <kandrel/post/posting_parameters.h>
#include <tests/support/throws_id.h>

#include <cmath>
#include <limits>
#include <vector>

namespace post {
namespace {

using Units = zvKDRParam::Units;

std::vector<double> Fields(const zvKDRParam& p) {
  return {static_cast<double>(p.GetFirstMoveByRule()),
          static_cast<double>(p.GetFirstMoveMirror()),
          static_cast<double>(p.GetParamUnits()),
          p.GetMaxAngleJump(),
          p.GetMaxAngleStep(),
          p.GetRetractDistance(),
          p.GetInterpolationDistance(),
          p.GetPoleAngleTolerance(),
          static_cast<double>(p.GetInterpolateByDistance()),
          static_cast<double>(p.GetLimitsCheck()),
          p.GetLimitTolerance(),
          static_cast<double>(p.GetFirstMoveRule()),
          static_cast<double>(p.GetFirstMoveSolutionIndex()),
          p.GetFirstMovePreferredAngle(),
          static_cast<double>(p.GetInterpolateRapidMoves()),
          static_cast<double>(p.GetPoleHandling()),
          static_cast<double>(p.GetAlignToolpath()),
          static_cast<double>(p.GetInterpolationMode()),
          static_cast<double>(p.GetRetractToLimits())};
}

TEST(PostingParameters, DefaultsDependOnTheUnits) {
  struct {
    int units;
    double retractDistance, interpolationDistance;
  } const cases[] = {{1, 100, 1}, {2, 4, 0.05}, {0, 4, 0.05}, {3, 4, 0.05}, {-1, 4, 0.05}};
  for (const auto& c : cases)
    EXPECT_EQ(
        Fields(zvKDRParam(static_cast<Units>(c.units))),
        (std::vector<double>{1, 0, static_cast<double>(c.units), 120, 3, c.retractDistance,
                             c.interpolationDistance, 0.01, 0, 0, 0.0001, 0, 0, 0, 0, 3, 0, 0, 0}))
        << c.units;
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
  const std::vector<double> expected{
      0, 1, 9, 11, -12, 13, 14, 0.57, 1, 7, 15, -2147483648.0, 2147483647, 16, 1, 0, 1, -17, 1};
  EXPECT_EQ(Fields(p), expected);
  const zvKDRParam copy = p;
  EXPECT_EQ(Fields(copy), expected);
}

TEST(PostingParameters, PoleAngleToleranceIsChecked) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  zvKDRParam p(measures::zvUnitsFactory::inch);
  for (double good : {0.001, 0.57, 10.0}) {
    p.SetPoleAngleTolerance(good);
    EXPECT_EQ(p.GetPoleAngleTolerance(), good);
  }
  p.SetPoleAngleTolerance(2);
  for (double bad : {0.0009, std::nextafter(0.001, 0), std::nextafter(10, 11), 10.0001, 0.0, -1.0,
                     std::nan(""), kInfinity, -kInfinity}) {
    EXPECT_TRUE(tests::ThrowsId<zvPostException>([&] { p.SetPoleAngleTolerance(bad); }, 5009,
                                                 L"Pole Angle Tolerance out of limits"))
        << bad;
    EXPECT_EQ(p.GetPoleAngleTolerance(), 2) << bad;
  }
}

TEST(ControlDef, DefaultsSettersAndUnknownValues) {
  zv5axControlDef control;
  EXPECT_EQ(control.GetFirstAxisLimit(), 0);
  EXPECT_EQ(control.GetSecondAxisLimit(), 0);
  control.SetFirstAxisLimit(zv5axControlDef::angleLimit180);
  control.SetSecondAxisLimit(static_cast<zv5axControlDef::angleLimit>(-5));
  const zv5axControlDef copy = control;
  EXPECT_EQ(copy.GetFirstAxisLimit(), 2);
  EXPECT_EQ(copy.GetSecondAxisLimit(), -5);
  EXPECT_EQ(zv5axControlDef::angleLimit360, 1);
}

TEST(LimitType, NamesOneOfFiveAxesOrNone) {
  const zvLimitType none;
  EXPECT_EQ(none.limitAxis, 5);
  EXPECT_EQ(none.limitSide, 2);
  for (std::int32_t axis : {-2147483647 - 1, -1, 5, 6, 2147483647})
    EXPECT_TRUE((zvLimitType{axis, zvLimitType::kMinimum}.IsNone())) << axis;
  for (std::int32_t axis = zvLimitType::kX; axis <= zvLimitType::kSecondRotary; ++axis)
    EXPECT_FALSE((zvLimitType{axis, zvLimitType::kMaximum}.IsNone())) << axis;
  EXPECT_NE((zvLimitType{1, 0}), (zvLimitType{1, 1}));
  EXPECT_NE((zvLimitType{1, 0}), (zvLimitType{2, 0}));
}

}  // namespace
}  // namespace post
