#include <kandrel/post/geometry/move_grabber.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/numbers.h>
#include <tests/support/throws_id.h>

namespace post {
namespace {

using cadcam::zv3axMove;
using cadcam::zv5axMove;
using cadcam::zvCNCMove;
using Point = cadcam::zvTPoint3d<double>;

const Point kPosition{1, 2, 3};
const Point kOrientation{0, 0.6, 0.8};
const zv3axMove kThree(kPosition, kOrientation, 5, true, 6, 7);
const zv5axMove kFive(kThree, {4, 5, 6}, {7, 8, 9}, 10, true);

// What a grabber and a view read has to be the same.
void ExpectRead(const zvCNCMove& move, const zv5axMove& expected) {
  zv5axMove target(Point(9, 9, 9), {1, 0, 0}, {}, {}, 99, true, 99, false);
  zvCNCMoveGrabber grabber(target);
  move.AcceptVisitor(grabber);
  const zvMoveView view(move);
  EXPECT_EQ(target.GetTag(), expected.GetTag());
  EXPECT_EQ(target.GetStamp(), expected.GetStamp());
  const auto read = [](const auto& from) {
    return tests::Flat(from.GetPosition(), from.GetOrientation(), from.GetFeed(), from.IsRapid(),
                       from.GetExtendedPoint(), from.GetExtendedVector(), from.GetExtendedId(),
                       from.HasExtendedData());
  };
  EXPECT_EQ(read(target), read(expected));
  EXPECT_EQ(read(view), read(expected));
}

TEST(MoveGrabber, ReadsAMoveOfEitherClassAsOneWithABlock) {
  ExpectRead(kThree, zv5axMove(kThree, kPosition, kOrientation, 0, false));
  for (const bool isMarked : {false, true}) {
    const zv5axMove five(kThree, {4, 5, 6}, {7, 8, 9}, 10, isMarked);
    ExpectRead(five, five);
  }
}

TEST(MoveGrabber, RefusesAPlainMoveAndMayGrabItsOwnTargetAndOneAfterAnother) {
  const zvCNCMove plain;
  zv5axMove target = kFive;
  zvCNCMoveGrabber grabber(target);
  EXPECT_TRUE(tests::ThrowsId<zvPostException>([&] { plain.AcceptVisitor(grabber); }, 2503));
  EXPECT_EQ(target.GetExtendedId(), 10u) << "the target stays";
  EXPECT_TRUE(tests::ThrowsId<zvPostException>([&] { zvMoveView{plain}; }, 2503));
  target.AcceptVisitor(grabber);
  EXPECT_EQ(target.GetExtendedPoint(), Point(4, 5, 6));
  kThree.AcceptVisitor(grabber);
  EXPECT_FALSE(target.HasExtendedData());
  EXPECT_EQ(target.GetExtendedPoint(), kPosition);
}

}  // namespace
}  // namespace post
