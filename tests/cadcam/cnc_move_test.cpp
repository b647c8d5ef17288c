#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/cnc_move.h>
#include <tests/support/number_cases.h>
#include <tests/support/numbers.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace cadcam {
namespace {

using tests::Numbers;
using tests::Point;

const Point kP1{1, 2, 3};
const Point kP2{-7, 11, 0.5};
const Point kZ{0, 0, 1};

// All that a move says of itself.
Numbers Fields(const zvCNCMove& m) {
  return tests::Flat(m.GetPosition(), m.GetOrientation(), m.GetFeed(), m.IsRapid(), m.GetTag(),
                     m.GetStamp());
}
Numbers Block(const zv5axMove& m) {
  return tests::Flat(m.GetExtendedPoint(), m.GetExtendedVector(), m.GetExtendedId(),
                     m.HasExtendedData());
}

template <class Move>
Move Make(const Point& position, const Point& orientation, double feed, bool rapid,
          std::uint32_t tag, double stamp) {
  if constexpr (std::is_same_v<Move, zv5axMove>)
    return {position, orientation, kP1, kP2, 10, true, feed, rapid, tag, stamp};
  else
    return {position, orientation, feed, rapid, tag, stamp};
}

// Which slot was called, that of a setter as a negative number.
struct Slots : zvCNCMoveVisitor, zvCNCMoveVisitorSetter {
  void Visit(const zvCNCMove&) override { slot = 0; }
  void Visit(const zv3axMove&) override { slot = 3; }
  void Visit(const zv5axMove&) override { slot = 5; }
  void Visit(zvCNCMove&) override { slot = -1; }
  void Visit(zv3axMove&) override { slot = -3; }
  void Visit(zv5axMove&) override { slot = -5; }
  int slot = 1;
};

template <class Move>
void CheckClass(int slot, int setterSlot) {
  EXPECT_EQ(Fields(Move()), (Numbers{0, 0, 0, 0, 0, 1, 0, 0, 0, 0})) << "at the origin along Z";
  // Nothing forces a unit vector.
  const Numbers fields{1, 2, 3, -7, 11, 0.5, 5, 1, 4e9, -1.5};
  const Move move = Make<Move>(kP1, kP2, 5, true, 4000000000u, -1.5);
  Move set;
  set.SetPosition(kP1);
  set.SetOrientation(kP2);
  set.SetFeed(5);
  set.SetRapid(true);
  set.SetTag(4000000000u);
  set.SetStamp(-1.5);
  Move assigned;
  assigned = move;
  for (const Move& each : {move, set, assigned}) EXPECT_EQ(Fields(each), fields);

  zvCNCMove& base = set;
  Slots slots;
  base.AcceptVisitor(static_cast<zvCNCMoveVisitor&>(slots));
  EXPECT_EQ(slots.slot, slot);
  base.AcceptVisitor(static_cast<zvCNCMoveVisitorSetter&>(slots));
  EXPECT_EQ(slots.slot, setterSlot);

  zvCNCMoveScaleVisitor scale(25.4);
  base.AcceptVisitor(scale);
  EXPECT_EQ(Fields(base), (Numbers{1 * 25.4, 2 * 25.4, 3 * 25.4, -7, 11, 0.5, 5, 1, 4e9, -1.5}));
}

TEST(CncMove, KeepsItsFieldsMeetsItsSlotAndScalesItsPosition) {
  CheckClass<zvCNCMove>(0, -1);
  CheckClass<zv3axMove>(3, -3);
  CheckClass<zv5axMove>(5, -5);
}

TEST(CncMove, OnlyTheExtendedPointSetsTheMarkAndScalesWithIt) {
  const zv5axMove made(Make<zv3axMove>(kP1, kP2, 5, true, 6, 7), {4, 5, 6}, {7, 8, 9}, 10, true);
  zv5axMove move;
  EXPECT_EQ(Block(move), Numbers(8)) << "the zero vector; (0, 0, 1) in a blend without data";
  move = made;
  EXPECT_EQ(Fields(move), (Numbers{1, 2, 3, -7, 11, 0.5, 5, 1, 6, 7}));
  EXPECT_EQ(Block(move), (Numbers{4, 5, 6, 7, 8, 9, 10, 1}));
  zvCNCMoveScaleVisitor scale(25.4);
  move = {kP1, kP2, kP1, kP2, 8, false, 5, true};
  move.AcceptVisitor(scale);
  EXPECT_EQ(Block(move), (Numbers{1, 2, 3, -7, 11, 0.5, 8, 0}));
  move.SetExtendedVector(kP1);
  move.SetExtendedId(3);
  EXPECT_EQ(Block(move), (Numbers{1, 2, 3, 1, 2, 3, 3, 0}));
  move.SetExtendedPoint(kP2);
  EXPECT_EQ(Block(move), (Numbers{-7, 11, 0.5, 1, 2, 3, 3, 1}));
  move.SetExtendedVector(kP2);
  move.AcceptVisitor(scale);
  EXPECT_EQ(Block(move), (Numbers{-7 * 25.4, 11 * 25.4, 0.5 * 25.4, -7, 11, 0.5, 3, 1}));
}

template <class Move>
void CheckBlends() {
  for (const tests::NumberCase& c : tests::NumberCases("../cadcam/data/blends.txt")) {
    const double w1 = c[0].at(0), rapid1 = c[0].at(1), w2 = c[1].at(0), rapid2 = c[1].at(1);
    const double feed = c[2].at(0), rapid = c[2].at(1);
    const Move m1 = Make<Move>(kP1, {0, 0, 2}, 100, rapid1 == 1, 1, 8);
    const Move m2 = Make<Move>(kP2, {0, 4, 0}, 900, rapid2 == 1, 2, -4);
    const Move blend = Interpolate(w1, m1, w2, m2);
    // Raw orientations are blended, then the sum is divided by its length.
    const double y = w2 * 4, z = w1 * 2, length = std::hypot(y, z);
    const Point& o = blend.GetOrientation();
    EXPECT_NEAR((o - Point(0, y / length, z / length)).Length(), 0, 1e-15);
    EXPECT_EQ(Fields(blend), tests::Flat(w1 * kP1 + w2 * kP2, o, feed, rapid, 2, w1 * 8 + w2 * -4))
        << c.line;
  }
  const auto blend = [](double w1, const Point& o1, double w2, const Point& o2) {
    return Interpolate(w1, Make<Move>(kP1, o1, 0, false, 0, 0), w2,
                       Make<Move>(kP1, o2, 0, false, 0, 0))
        .GetOrientation();
  };
  for (const auto& [w1, o1, w2, o2] :
       {std::tuple{0.5, kZ, 0.5, -kZ}, {0, kZ, 0, {1, 0, 0}}, {1, {}, 0, kZ}})
    EXPECT_TRUE(tests::ThrowsId<zvcadcamException>(
        [&, a = w1, p = o1, b = w2, q = o2] { blend(a, p, b, q); }, 2189));
  // Almost opposite: unreliable, but a unit vector.
  EXPECT_NEAR(blend(0.5, kZ, 0.5, {1e-12, 0, -1}).Length(), 1, 1e-15);
  EXPECT_NEAR(blend(1, {0, 1e-200, 0}, 1, {}).Length(), 1, 1e-15);
  EXPECT_NEAR(blend(1, {0, 1e200, 0}, 1, kZ).Length(), 1, 1e-15);
  EXPECT_FALSE(IsFinite(blend(tests::kNaN, kZ, 1, kZ))) << "NaN is not taken for null";
}

TEST(CncMoveBlending, FollowsTheRulesAndFailsOnlyOnAnExactlyNullOrientation) {
  CheckBlends<zv3axMove>();
  CheckBlends<zv5axMove>();
}

TEST(CncMoveBlending, TheExtendedBlockNeedsBothMoves) {
  for (const tests::NumberCase& c : tests::NumberCases("../cadcam/data/block_blends.txt")) {
    const auto move = [&](std::size_t i, const Point& point) {
      const Numbers& n = c[i];
      return zv5axMove(kP1, kZ, point, {0, 0, n.at(3)}, static_cast<std::uint32_t>(n.at(2)),
                       n.at(1) == 1, 0, false);
    };
    const auto blend =
        Interpolate(c[0].at(0), move(0, {2, 4, 6}), c[1].at(0), move(1, {10, 20, 30}));
    EXPECT_EQ(Block(blend), c[2]) << c.line;
  }
}

}  // namespace
}  // namespace cadcam
