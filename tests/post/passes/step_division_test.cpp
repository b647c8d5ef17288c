#include <kandrel/post/passes/step_division.h>
#include <tests/post/passes/pass_machine.h>
#include <tests/support/five_axis_scenes.h>

namespace {

using tests::Distance;
using tests::Point;
using Move = post::zvPosted5axMove;

TEST(StepDivision, DividesFeedStepsAboveTheStepAndUpToTheJump) {
  tests::FiveAxisScene scene;
  scene.origin = {3, -4, 5};
  for (const auto& c : tests::NumberCases("passes/data/step_division.txt")) {
    SCOPED_TRACE(c.line);
    const double first = c[0][0], second = c[0][1];
    const bool isFromRapid = c[1][0] == 1, isToRapid = c[1][1] == 1;
    scene.par.SetInterpolateRapidMoves(c[1][2] == 1);
    scene.par.SetMaxAngleStep(c[2][0]);
    const auto parts = static_cast<std::size_t>(c[3][0]);
    const auto kinematics = scene.Kinematics();
    const auto make = [&](const Point& p_part, double a, double b, bool rapid, int index) {
      return Move(kinematics.MachinePosition(p_part, a, b), p_part,
                  kinematics.OrientationFromAngles(a, b), a, b, 0, 100.0 * index, rapid,
                  post::zvPostedMove::link1, {1.0 * index, 0, 0}, {0, 1, 0}, 7, true, index, false);
    };
    const Point from{100, 0, 0}, to{100, 20, 0};
    tests::PassList<Move> moves(std::vector{make(from, 700, 20, isFromRapid, 1),
                                            make(to, 700 + first, 20 + second, isToRapid, 2)});
    const double turn = std::max(std::fabs(first), std::fabs(second));
    EXPECT_EQ(post::DivideLargeSteps(moves.list, turn, scene.par, c[2][1], kinematics),
              parts > 1 ? 1u : 0u);
    ASSERT_EQ(moves.list.GetCount(), parts + 1);
    auto move = moves.list.begin();
    for (std::size_t k = 1; k < parts; ++k) {
      ++move;
      const double t = static_cast<double>(k) / static_cast<double>(parts);
      EXPECT_NEAR(move->GetAngle(0), 700 + t * first, 1e-9);
      EXPECT_NEAR(move->GetAngle(1), 20 + t * second, 1e-9);
      EXPECT_LT(Distance(move->GetPartPosition(), from + t * (to - from)), 1e-9);
      const auto placed = scene.Model().At(tests::ToVector(move->GetMachinePosition()),
                                           move->GetAngle(0), move->GetAngle(1));
      EXPECT_LT(Distance(tests::ToPoint(placed.tip), move->GetPartPosition()), 1e-9);
      EXPECT_LT(Distance(tests::ToPoint(placed.axis), move->GetOrientation()), 1e-9);
      EXPECT_EQ(move->IsRapid(), isToRapid);
      EXPECT_NEAR(move->GetFeed(), isFromRapid == isToRapid ? 100 + 100 * t : 200, 1e-9);
      EXPECT_NEAR(move->GetExtendedPoint().x, 1 + t, 1e-12);
      EXPECT_TRUE(move->IsInserted());
      EXPECT_EQ(move->GetSourceIndex(), 1);
    }
  }
}

}  // namespace
