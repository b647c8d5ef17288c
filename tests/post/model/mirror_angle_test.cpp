#include <gtest/gtest.h>
#include <kandrel/post/model/mirror_angle.h>

namespace post {
namespace {

TEST(MirrorAngle, HelpersTakeOneOfTheTwoSolutions) {
  const zvMirrorAngle zero;
  EXPECT_EQ(zero, (zvMirrorAngle{0, 0, {0, 0, 0}}));

  zvPosted5axMove first({1, 2, 3}, {4, 5, 6}, {7, 8, 9}, 21, 22, 2, 16, true, zvPostedMove::link3,
                        {10, 11, 12}, {13, 14, 15}, 17, true, 18, true);
  first.SetReservedSingle(0.5f);
  first.SetMoveTime(19);
  const zvSolutionPair pair(first, zvMirrorAngle{31, 32, {33, 34, 35}});
  EXPECT_TRUE(FirstSolutionMove(pair) == first);

  zvPosted5axMove expected = first;
  expected.SetMachinePosition({33, 34, 35});
  expected.SetAngle(31, 0);
  expected.SetAngle(32, 1);
  EXPECT_TRUE(MirrorSolutionMove(pair) == expected) << "pole status and all else stay";
  EXPECT_TRUE(pair.first == first);
}

}  // namespace
}  // namespace post
