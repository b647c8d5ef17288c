#include <gtest/gtest.h>
#include <kandrel/post/passes/winding.h>
#include <tests/post/passes/pass_machine.h>
#include <tests/support/plain_passes.h>
#include <tests/support/seeded.h>
#include <tests/support/throws_id.h>

#include <limits>

namespace {

using post::zvPosted4axMove;
using post::zvPosted5axMove;

template <class Move>
class Winding : public testing::Test {
 protected:
  static std::vector<double> Wound(const std::vector<double>& degs, int axis = 0) {
    tests::PassList<Move> moves;
    for (const double deg : degs) {
      Move move(true);
      post::zvMoveTraits<Move>::SetAngle(move, axis, deg);
      moves.list.PushBack(std::move(move));
    }
    post::CalcWindedAngles(moves.list);
    return moves.Angles(axis);
  }
};

using Classes = testing::Types<zvPosted4axMove, zvPosted5axMove>;
TYPED_TEST_SUITE(Winding, Classes);

TYPED_TEST(Winding, IsTheDoubleLoop) {
  std::vector<std::vector<double>> runs{
      {}, {725}, {0, 180, 0, -180, 0}, {170, -170, -150}, {0, 540.0}, {0, 700}};
  tests::Seeded random;
  for (int run = 0; run < 2000; ++run) {
    std::vector<double> degs;
    const double size = random.Chance(0.5) ? 180 : 2000;
    for (int i = random.Integer(0, 60); i > 0; --i)
      degs.push_back(random.Chance(0.3) ? 90.0 * random.Integer(-20, 20)
                                        : random.Real(-size, size));
    runs.push_back(degs);
  }
  for (const std::vector<double>& degs : runs) {
    std::vector<double> plain = degs;
    tests::plain::Wind(plain);
    const int axis = random.Integer(0, post::zvMoveTraits<TypeParam>::kAxes - 1);
    const std::vector<double> tuned = this->Wound(degs, axis);
    ASSERT_EQ(tuned.size(), plain.size());
    for (std::size_t i = 0; i < plain.size(); ++i) ASSERT_NEAR(tuned[i], plain[i], 1e-8);
    ASSERT_EQ(this->Wound(tuned, axis), tuned) << "what is wound stays";
  }
  EXPECT_EQ(this->Wound({170, -170, -150}), (std::vector<double>{170, 190, 210}));
}

TYPED_TEST(Winding, AbsurdAnglesAreRefusedAndNotANumberPasses) {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const double deg : {inf, -inf, 1e300, -1e13})
    EXPECT_TRUE(tests::ThrowsId<post::zvPostException>([&] { this->Wound({0, deg, 5}); }, 5039));
  const std::vector<double> wound = this->Wound({170, -170, nan, 5});
  EXPECT_EQ(wound[1], 190);
  EXPECT_TRUE(std::isnan(wound[2]));
  EXPECT_EQ(wound[3], 365);
}

}  // namespace
