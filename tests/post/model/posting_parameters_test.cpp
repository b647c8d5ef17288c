#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/limit_type.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posting_parameters.h>
#include <tests/post/model/fields.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace post {
namespace {

using P = zvKDRParam;
using C = zv5axControlDef;

// clang-format off
TEST(PostingParameters, HoldWhatIsPutInAndDependOnTheUnitsBefore) {
  for (const int units : {1, 2, 0, 3, -1}) {
    const bool metric = units == 1;
    const P fresh(static_cast<P::Units>(units));
    tests::ExpectFields({
        TESTS_FIELD(P, FirstMoveByRule, {1}), TESTS_FIELD(P, FirstMoveMirror, {0}),
        TESTS_FIELD(P, ParamUnits, {double(units)}),
        TESTS_FIELD(P, MaxAngleJump, {120}), TESTS_FIELD(P, MaxAngleStep, {3}),
        TESTS_FIELD(P, RetractDistance, {metric ? 100. : 4.}),
        TESTS_FIELD(P, InterpolationDistance, {metric ? 1 : 0.05}),
        TESTS_FIELD(P, PoleAngleTolerance, {0.01}), TESTS_FIELD(P, InterpolateByDistance, {0}),
        TESTS_FIELD(P, LimitsCheck, {0}), TESTS_FIELD(P, LimitTolerance, {0.0001}),
        TESTS_FIELD(P, FirstMoveRule, {0}), TESTS_FIELD(P, FirstMoveSolutionIndex, {0}),
        TESTS_FIELD(P, FirstMovePreferredAngle, {0}), TESTS_FIELD(P, InterpolateRapidMoves, {0}),
        TESTS_FIELD(P, PoleHandling, {3}), TESTS_FIELD(P, AlignToolpath, {0}),
        TESTS_FIELD(P, InterpolationMode, {0}), TESTS_FIELD(P, RetractToLimits, {0})}, fresh, fresh);
  }
}
// clang-format on

TEST(PostingParameters, PoleAngleToleranceIsChecked) {
  P p(measures::zvUnitsFactory::inch);
  for (double good : {0.001, 0.57, 10.0}) {
    p.SetPoleAngleTolerance(good);
    EXPECT_EQ(p.GetPoleAngleTolerance(), good);
  }
  for (double bad : {std::nextafter(0.001, 0), std::nextafter(10, 11), -1.0, std::nan(""), HUGE_VAL,
                     -HUGE_VAL}) {
    EXPECT_TRUE(tests::ThrowsId<zvPostException>([&] { p.SetPoleAngleTolerance(bad); }, 5009));
    EXPECT_EQ(p.GetPoleAngleTolerance(), 10) << bad;
  }
}

TEST(ControlDef, HoldsUnknownValues) {
  C odd;
  odd.SetFirstAxisLimit(C::angleLimit180);
  odd.SetSecondAxisLimit(static_cast<C::angleLimit>(-5));
  tests::ExpectFields({TESTS_FIELD(C, FirstAxisLimit, {0}), TESTS_FIELD(C, SecondAxisLimit, {0})},
                      C(), odd);
}

TEST(LimitType, NamesOneOfFiveAxesOrNone) {
  EXPECT_EQ(zvLimitType(), (zvLimitType{5, 2}));
  for (std::int32_t axis : {-2147483647 - 1, -1, 0, 1, 2, 3, 4, 5, 6, 2147483647})
    EXPECT_EQ((zvLimitType{axis, zvLimitType::kMinimum}.IsNone()), axis < 0 || axis > 4) << axis;
  EXPECT_NE((zvLimitType{1, 0}), (zvLimitType{1, 1}));
  EXPECT_NE((zvLimitType{1, 0}), (zvLimitType{2, 0}));
}

}  // namespace
}  // namespace post
