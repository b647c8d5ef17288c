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
TYPED_TEST(Winding, BringsEachWithinHalfATurnOfTheOneBefore) {
  tests::Seeded random;
  for (int run = 0; run < 1000; ++run) {
    std::vector<double> degs(static_cast<std::size_t>(random.Integer(0, 60)));
    for (double& deg : degs)
      deg = random.Chance(0.3) ? 90.0 * random.Integer(-20, 20) : random.Real(-2000, 2000);
    const int axis = random.Integer(0, post::zvMoveTraits<TypeParam>::kAxes - 1);
    const std::vector<double> wound = this->Wound(degs, axis);
    ASSERT_EQ(wound.size(), degs.size());
    for (std::size_t i = 0; i < degs.size(); ++i) {
      ASSERT_NEAR(std::remainder(wound[i] - degs[i], 360), 0, 1e-8);
      ASSERT_LE(std::fabs(wound[i] - wound[i == 0 ? 0 : i - 1]), 180 + 1e-8);
    }
    ASSERT_EQ(this->Wound(wound, axis), wound) << "what is wound stays";
  }
}

// Half a turn stays; one that turns are taken from ends on the other side. Absurd angles are
// refused, and what is no number passes.
TYPED_TEST(Winding, IsTheNearestOfEachAndRefusesAbsurdAngles) {
  using Degs = std::vector<double>;
  for (int axis = 0; axis < post::zvMoveTraits<TypeParam>::kAxes; ++axis) {
    const auto wound = [&](const Degs& degs) { return this->Wound(degs, axis); };
    EXPECT_EQ(wound({}), Degs{});
    EXPECT_EQ(wound({725, 905, 725, 545, 725}), (Degs{725, 905, 725, 545, 725}));
    EXPECT_EQ(wound({0, 540, 0, -900}), (Degs{0, -180, 0, 180}));
    EXPECT_EQ(wound({170, -170, -150, -1690}), (Degs{170, 190, 210, 110}));
    EXPECT_EQ(wound({10, 1000, 1300, 1000}), (Degs{10, -80, -140, -80}));
    for (const double deg : {tests::kInfinity, -tests::kInfinity, 1e300, -1e13})
      EXPECT_TRUE(tests::ThrowsId<post::zvPostException>([&] { wound({0, deg, 5}); }, 5039));
    const Degs odd = wound({170, -170, tests::kNaN, 5});
    EXPECT_EQ(odd[1], 190);
    EXPECT_TRUE(std::isnan(odd[2]));
    EXPECT_EQ(odd[3], 365);
  }
}

}  // namespace
