#include <kandrel/post/passes/winding.h>
#include <tests/post/passes/pass_machine.h>

namespace {

template <class Move>
struct Winding : testing::Test {
  static std::vector<double> Wound(const std::vector<double>& degs, int axis = 0) {
    tests::PassList<Move> moves;
    for (const double deg : degs)
      post::zvMoveTraits<Move>::SetAngle(moves.list.PushBack(Move(true)), axis, deg);
    post::CalcWindedAngles(moves.list);
    return moves.Angles(axis);
  }
};

using Classes = testing::Types<post::zvPosted4axMove, post::zvPosted5axMove>;
TYPED_TEST_SUITE(Winding, Classes);

// Whole turns are added, and no step is more than half a turn.
TYPED_TEST(Winding, IsTheNearestOfEachAndRefusesAbsurdAngles) {
  tests::Seeded random;
  for (int run = 0; run < 2000; ++run) {
    std::vector<double> degs;
    const double size = random.Chance(0.5) ? 180 : 2000;
    for (int i = random.Integer(0, 60); i > 0; --i)
      degs.push_back(random.Chance(0.3) ? 90.0 * random.Integer(-20, 20)
                                        : random.Real(-size, size));
    const int axis = random.Integer(0, post::zvMoveTraits<TypeParam>::kAxes - 1);
    const std::vector<double> wound = this->Wound(degs, axis);
    ASSERT_EQ(wound.size(), degs.size());
    for (std::size_t i = 0; i < degs.size(); ++i) {
      ASSERT_NEAR(std::remainder(wound[i] - degs[i], 360), 0, 1e-8);
      ASSERT_LE(std::fabs(wound[i] - wound[i == 0 ? 0 : i - 1]), 180 + 1e-8);
    }
    ASSERT_EQ(this->Wound(wound, axis), wound) << "what is wound stays";
  }
  // Half a turn stays; one that turns are taken from ends on the other side.
  using Degs = std::vector<double>;
  EXPECT_EQ(this->Wound({725, 905, 725, 545, 725}), (Degs{725, 905, 725, 545, 725}));
  EXPECT_EQ(this->Wound({0, 540, 0, -900}), (Degs{0, -180, 0, 180}));
  EXPECT_EQ(this->Wound({170, -170, -150}), (Degs{170, 190, 210}));
  // Absurd angles are refused, and what is no number passes.
  for (const double deg : {tests::kInfinity, -tests::kInfinity, 1e300, -1e13})
    EXPECT_TRUE(tests::ThrowsId<post::zvPostException>([&] { this->Wound({0, deg, 5}); }, 5039));
  const Degs wound = this->Wound({170, -170, tests::kNaN, 5});
  EXPECT_EQ(wound[1], 190);
  EXPECT_TRUE(std::isnan(wound[2]));
  EXPECT_EQ(wound[3], 365);
}

}  // namespace
