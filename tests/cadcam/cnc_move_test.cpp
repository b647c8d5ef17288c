#include <gtest/gtest.h>
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/cnc_move.h>
#include <tests/support/throws_id.h>

#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace cadcam {
namespace {

using Point = zvTPoint3d<double>;
using Numbers = std::vector<double>;

const Point kP1{1, 2, 3};
const Point kP2{-7, 11, 0.5};
const Point kZ{0, 0, 1};

// All that a move tells of itself: position, orientation, feed, rapid, tag, stamp.
Numbers Fields(const zvCNCMove& m) {
  const Point &p = m.GetPosition(), &o = m.GetOrientation();
  return {p.x,
          p.y,
          p.z,
          o.x,
          o.y,
          o.z,
          m.GetFeed(),
          m.IsRapid() ? 1.0 : 0.0,
          static_cast<double>(m.GetTag()),
          m.GetStamp()};
}
// The extended block: point, vector, id, mark.
Numbers Block(const zv5axMove& m) {
  const Point &p = m.GetExtendedPoint(), &v = m.GetExtendedVector();
  return {p.x,
          p.y,
          p.z,
          v.x,
          v.y,
          v.z,
          static_cast<double>(m.GetExtendedId()),
          m.HasExtendedData() ? 1.0 : 0.0};
}

TEST(CncMove, ADefaultMoveStandsAtTheOriginAlongZ) {
  const Numbers expected{0, 0, 0, 0, 0, 1, 0, 0, 0, 0};
  EXPECT_EQ(Fields(zvCNCMove()), expected);
  EXPECT_EQ(Fields(zv3axMove()), expected);
  EXPECT_EQ(Fields(zv5axMove()), expected);
  // The zero vector here, (0, 0, 1) in a blended move without data.
  EXPECT_EQ(Block(zv5axMove()), Numbers(8));
}

TEST(CncMove, ConstructorsSettersAndCopiesKeepEveryField) {
  // Nothing forces a unit vector.
  const Numbers fields{1, 2, 3, -7, 11, 0.5, 5, 1, 4e9, -1.5}, block{4, 5, 6, 7, 8, 9, 10, 1};
  const zv3axMove three(kP1, kP2, 5, true, 4000000000u, -1.5);
  EXPECT_EQ(Fields(three), fields);
  const zv5axMove five(kP1, kP2, {4, 5, 6}, {7, 8, 9}, 10, true, 5, true, 4000000000u, -1.5);
  zv5axMove assigned;
  assigned = five;
  for (const zv5axMove& move : {five, assigned, zv5axMove(three, {4, 5, 6}, {7, 8, 9}, 10, true)}) {
    EXPECT_EQ(Fields(move), fields);
    EXPECT_EQ(Block(move), block);
  }
  const std::unique_ptr<zvCNCMove> set = std::make_unique<zv5axMove>();
  set->SetPosition(kP1);
  set->SetOrientation(kP2);
  set->SetFeed(5);
  set->SetRapid(true);
  set->SetTag(4000000000u);
  set->SetStamp(-1.5);
  EXPECT_EQ(Fields(*set), fields);
}

TEST(CncMove, OnlyTheExtendedPointSetsTheMark) {
  zv5axMove move;
  move.SetExtendedVector(kP1);
  move.SetExtendedId(3);
  EXPECT_EQ(Block(move), (Numbers{0, 0, 0, 1, 2, 3, 3, 0}));
  move.SetExtendedPoint(kP2);
  EXPECT_EQ(Block(move), (Numbers{-7, 11, 0.5, 1, 2, 3, 3, 1}));
  move.SetExtendedVector(kP2);
  EXPECT_TRUE(move.HasExtendedData());
}

// Writes down which slot was called, that of a setter as a negative number.
struct Slots : zvCNCMoveVisitor, zvCNCMoveVisitorSetter {
  void Visit(const zv5axMove&) override { slot = 1; }
  void Visit(const zv3axMove&) override { slot = 2; }
  void Visit(const zvCNCMove&) override { slot = 3; }
  void Visit(zv5axMove&) override { slot = -1; }
  void Visit(zv3axMove&) override { slot = -2; }
  void Visit(zvCNCMove&) override { slot = -3; }
  int slot = 0;
};

TEST(CncMove, VisitorsMeetTheSlotOfTheMostDerivedClass) {
  zv5axMove five;
  zv3axMove three;
  zvCNCMove plain;
  const std::pair<zvCNCMove*, int> cases[] = {{&five, 1}, {&three, 2}, {&plain, 3}};
  for (const auto& [move, slot] : cases) {
    Slots slots;
    move->AcceptVisitor(static_cast<zvCNCMoveVisitor&>(slots));
    EXPECT_EQ(slots.slot, slot);
    move->AcceptVisitor(static_cast<zvCNCMoveVisitorSetter&>(slots));
    EXPECT_EQ(slots.slot, -slot);
  }
}

template <class Move>
Move Make(const Point& position, const Point& orientation, double feed, bool rapid,
          std::uint32_t tag, double stamp) {
  if constexpr (std::is_same_v<Move, zv3axMove>)
    return {position, orientation, feed, rapid, tag, stamp};
  else
    return {position, orientation, kP1, kP2, 1, true, feed, rapid, tag, stamp};
}

template <class Move>
void CheckBlends() {
  // Weight and rapid of both moves, whose feeds are 100 and 900, then feed and rapid between them.
  const double cases[][6] = {
      {0.25, 0, 0.75, 0, 700, 0}, {0.25, 1, 0.75, 1, 700, 1}, {0.25, 0, 0.75, 1, 100, 0},
      {0.25, 1, 0.75, 0, 900, 0}, {1, 0, 0, 1, 100, 0},       {1, 1, 0, 0, 900, 0},
      {0, 0, 1, 1, 100, 0},       {2, 0, 3, 0, 2900, 0},      {-1, 0, 2, 0, 1700, 0}};
  for (const auto& [w1, rapid1, w2, rapid2, feed, rapid] : cases) {
    const Move m1 = Make<Move>(kP1, {0, 0, 2}, 100, rapid1 == 1, 1, 8);
    const Move m2 = Make<Move>(kP2, {0, 4, 0}, 900, rapid2 == 1, 2, -4);
    const Move blend = Interpolate(w1, m1, w2, m2);
    // Raw orientations are blended, then the sum is divided by its length.
    const double y = w2 * 4, z = w1 * 2, length = std::hypot(y, z);
    EXPECT_NEAR((blend.GetOrientation() - Point(0, y / length, z / length)).Length(), 0, 1e-15);
    const Point& o = blend.GetOrientation();
    EXPECT_EQ(Fields(blend), (Numbers{w1 * 1 + w2 * -7, w1 * 2 + w2 * 11, w1 * 3 + w2 * 0.5, o.x,
                                      o.y, o.z, feed, rapid, 2, w1 * 8 + w2 * -4}))
        << w1 << ' ' << rapid1 << ' ' << w2 << ' ' << rapid2;
  }
}

TEST(CncMoveBlending, FollowsTheRulesOfFeedAndRapid) {
  CheckBlends<zv3axMove>();
  CheckBlends<zv5axMove>();
}

template <class Move>
void CheckNullOrientations() {
  const auto blend = [](double w1, const Point& o1, double w2, const Point& o2) {
    return Interpolate(w1, Make<Move>(kP1, o1, 0, false, 0, 0), w2,
                       Make<Move>(kP1, o2, 0, false, 0, 0))
        .GetOrientation();
  };
  const auto fails = [&](double w1, const Point& o1, double w2, const Point& o2) {
    return tests::ThrowsId<zvcadcamException>([&] { blend(w1, o1, w2, o2); }, 2189);
  };
  EXPECT_TRUE(fails(0.5, kZ, 0.5, -kZ));
  EXPECT_TRUE(fails(0, kZ, 0, {1, 0, 0}));
  EXPECT_TRUE(fails(1, {}, 0, kZ));
  // Almost opposite: unreliable, but a unit vector.
  EXPECT_NEAR(blend(0.5, kZ, 0.5, {1e-12, 0, -1}).Length(), 1, 1e-15);
  EXPECT_NEAR(blend(1, {0, 1e-200, 0}, 1, {}).Length(), 1, 1e-15);
  EXPECT_NEAR(blend(1, {0, 1e200, 0}, 1, kZ).Length(), 1, 1e-15);
  EXPECT_FALSE(IsFinite(blend(std::nan(""), kZ, 1, kZ))) << "NaN is not taken for null";
}

TEST(CncMoveBlending, OnlyAnExactlyNullOrientationFails) {
  CheckNullOrientations<zv3axMove>();
  CheckNullOrientations<zv5axMove>();
}

TEST(CncMoveBlending, TheExtendedBlockNeedsBothMoves) {
  const auto make = [](bool has, std::uint32_t id, const Point& point, double z) {
    return zv5axMove(kP1, kZ, point, {0, 0, z}, id, has, 0, false);
  };
  const Point a{2, 4, 6}, b{10, 20, 30};
  for (const auto& [has1, has2] : {std::pair(true, false), {false, true}, {false, false}})
    EXPECT_EQ(Block(Interpolate(0.5, make(has1, 7, a, 8), 0.5, make(has2, 7, b, -8))),
              (Numbers{0, 0, 0, 0, 0, 1, 0, 0}));
  // Point and vector are sums; the vector is not normalised, and may well be null.
  EXPECT_EQ(Block(Interpolate(0.5, make(true, 7, a, 8), 0.25, make(true, 7, b, 8))),
            (Numbers{3.5, 7, 10.5, 0, 0, 6, 7, 1}));
  EXPECT_EQ(Block(Interpolate(0.5, make(true, 7, a, 8), 0.5, make(true, 8, b, -8))),
            (Numbers{6, 12, 18, 0, 0, 0, 0, 1}));
  EXPECT_EQ(Block(Interpolate(1, make(true, 7, a, 8), 0, make(true, 8, b, -8))),
            (Numbers{2, 4, 6, 0, 0, 8, 0, 1}));
}

TEST(CncMoveScaling, TouchesPositionsAndMarkedPointsOnly) {
  zvCNCMoveScaleVisitor visitor(25.4);
  zvCNCMove plain(kP1, kP2, 5, true, 6, 7);
  zv3axMove three(kP1, kP2, 5, true, 6, 7);
  zv5axMove marked(kP1, kP2, kP1, kP2, 8, true, 5, true, 6, 7);
  zv5axMove unmarked(kP1, kP2, kP1, kP2, 8, false, 5, true, 6, 7);
  const Numbers block = Block(unmarked);
  for (zvCNCMove* move : std::initializer_list<zvCNCMove*>{&plain, &three, &marked, &unmarked}) {
    move->AcceptVisitor(visitor);
    EXPECT_EQ(Fields(*move), (Numbers{1 * 25.4, 2 * 25.4, 3 * 25.4, -7, 11, 0.5, 5, 1, 6, 7}));
  }
  EXPECT_EQ(Block(marked), (Numbers{1 * 25.4, 2 * 25.4, 3 * 25.4, -7, 11, 0.5, 8, 1}));
  EXPECT_EQ(Block(unmarked), block);
}

}  // namespace
}  // namespace cadcam
