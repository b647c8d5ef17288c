#include <gtest/gtest.h>
#include <kandrel/post/passes/step_division.h>
#include <tests/post/passes/pass_machine.h>
#include <tests/support/five_axis_scenes.h>

#include <limits>
#include <vector>

namespace {

using tests::Distance;
using tests::Point;
using Move = post::zvPosted5axMove;

// One step between two moves, and the parts into which it is divided.
struct Step {
  double first = 0;  // what the axes turn by
  double second = 0;
  bool rapidStart = false;
  bool rapidEnd = false;
  bool interpolatesRapid = false;
  std::size_t parts = 1;
  double largest = 3;
  double jump = 120;
};

TEST(StepDivision, DividesFeedStepsAboveTheStepAndUpToTheJump) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  const Step steps[] = {
      {.first = 3, .second = -3},
      {.first = 3 + 5e-10},
      {.first = 3.01, .parts = 2},
      {.first = 0, .second = -3.01, .parts = 2},
      {.first = 9, .second = 2, .parts = 4},
      {.first = 5, .second = -119, .parts = 40},
      {.first = 120, .parts = 41},
      {.first = 121},
      {.first = 121, .parts = 41, .jump = 180},
      {.first = 30, .rapidEnd = true},
      {.first = 30, .rapidStart = true, .parts = 11},
      {.first = 30, .rapidEnd = true, .interpolatesRapid = true, .parts = 11},
      {.first = 30, .rapidStart = true, .rapidEnd = true, .interpolatesRapid = true, .parts = 11},
      {.first = 30, .largest = 0},
      {.first = 30, .largest = kNaN},
  };
  tests::FiveAxisScene scene;
  scene.origin = {3, -4, 5};
  for (const Step& step : steps) {
    SCOPED_TRACE(&step - steps);
    scene.par.SetMaxAngleStep(step.largest);
    scene.par.SetInterpolateRapidMoves(step.interpolatesRapid);
    const auto kinematics = scene.Kinematics();
    const auto make = [&](const Point& p_part, double first, double second, bool rapid, int index) {
      return Move(kinematics.MachinePosition(p_part, first, second), p_part,
                  kinematics.OrientationFromAngles(first, second), first, second, 0, 100.0 * index,
                  rapid, post::zvPostedMove::link1, {1.0 * index, 0, 0}, {0, 1, 0}, 7, true, index,
                  false);
    };
    const Point from{100, 0, 0};
    const Point to{100, 20, 0};
    tests::PassList<Move> moves(
        std::vector{make(from, 700, 20, step.rapidStart, 1),
                    make(to, 700 + step.first, 20 + step.second, step.rapidEnd, 2)});
    const double turn = std::max(std::fabs(step.first), std::fabs(step.second));
    EXPECT_EQ(post::DivideLargeSteps(moves.list, turn, scene.par, step.jump, kinematics),
              step.parts > 1 ? 1u : 0u);
    ASSERT_EQ(moves.list.GetCount(), step.parts + 1);
    auto move = moves.list.begin();
    for (std::size_t k = 1; k < step.parts; ++k) {
      ++move;
      const double t = static_cast<double>(k) / static_cast<double>(step.parts);
      EXPECT_NEAR(move->GetAngle(0), 700 + t * step.first, 1e-9);
      EXPECT_NEAR(move->GetAngle(1), 20 + t * step.second, 1e-9);
      EXPECT_LT(Distance(move->GetPartPosition(), from + t * (to - from)), 1e-9);
      const auto placed = scene.Model().At(tests::ToVector(move->GetMachinePosition()),
                                           move->GetAngle(0), move->GetAngle(1));
      EXPECT_LT(Distance(tests::ToPoint(placed.tip), move->GetPartPosition()), 1e-9);
      EXPECT_LT(Distance(tests::ToPoint(placed.axis), move->GetOrientation()), 1e-9);
      EXPECT_EQ(move->IsRapid(), step.rapidEnd);
      EXPECT_NEAR(move->GetFeed(), step.rapidStart == step.rapidEnd ? 100 + 100 * t : 200, 1e-9);
      EXPECT_NEAR(move->GetExtendedPoint().x, 1 + t, 1e-12);
      EXPECT_TRUE(move->IsInserted());
      EXPECT_EQ(move->GetSourceIndex(), 1);
    }
  }
}

}  // namespace
