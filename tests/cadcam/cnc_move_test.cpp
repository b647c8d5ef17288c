#include <gtest/gtest.h>
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/cnc_move.h>
#include <tests/support/throws_id.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>

namespace cadcam {
namespace {

using Point = zvTPoint3d<double>;

const Point kP1{1, 2, 3};
const Point kP2{-7, 11, 0.5};
const Point kZ{0, 0, 1};

// Compares all that a move tells of itself.
void ExpectSame(const zvCNCMove& a, const zvCNCMove& b) {
  EXPECT_EQ(a.GetPosition(), b.GetPosition());
  EXPECT_EQ(a.GetOrientation(), b.GetOrientation());
  EXPECT_EQ(a.GetFeed(), b.GetFeed());
  EXPECT_EQ(a.IsRapid(), b.IsRapid());
  EXPECT_EQ(a.GetTag(), b.GetTag());
  EXPECT_EQ(a.GetStamp(), b.GetStamp());
}

void ExpectSameBlock(const zv5axMove& a, const zv5axMove& b) {
  EXPECT_EQ(a.GetExtendedPoint(), b.GetExtendedPoint());
  EXPECT_EQ(a.GetExtendedVector(), b.GetExtendedVector());
  EXPECT_EQ(a.GetExtendedId(), b.GetExtendedId());
  EXPECT_EQ(a.HasExtendedData(), b.HasExtendedData());
}

TEST(CncMove, ADefaultMoveStandsAtTheOriginAlongZ) {
  const zvCNCMove expected({0, 0, 0}, {0, 0, 1}, 0, false, 0, 0);
  ExpectSame(zvCNCMove(), expected);
  ExpectSame(zv3axMove(), expected);
  ExpectSame(zv5axMove(), expected);
  // The zero vector here, (0, 0, 1) in a blended move without data.
  ExpectSameBlock(zv5axMove(), zv5axMove(zvCNCMove(), {0, 0, 0}, {0, 0, 0}, 0, false));
}

TEST(CncMove, ConstructorsAndCopiesKeepEveryField) {
  const zv3axMove three(kP1, kP2, 5, true, 4000000000u, -1.5);
  EXPECT_EQ(three.GetPosition(), kP1);
  EXPECT_EQ(three.GetOrientation(), kP2) << "nothing forces a unit vector";
  EXPECT_EQ(three.GetFeed(), 5);
  EXPECT_TRUE(three.IsRapid());
  EXPECT_EQ(three.GetTag(), 4000000000u);
  EXPECT_EQ(three.GetStamp(), -1.5);
  const zv3axMove copy = three;
  ExpectSame(copy, three);

  const zv5axMove five(kP1, kP2, {4, 5, 6}, {7, 8, 9}, 10, true, 5, true, 4000000000u, -1.5);
  ExpectSame(five, three);
  EXPECT_EQ(five.GetExtendedPoint(), Point(4, 5, 6));
  EXPECT_EQ(five.GetExtendedVector(), Point(7, 8, 9));
  EXPECT_EQ(five.GetExtendedId(), 10u);
  EXPECT_TRUE(five.HasExtendedData());
  zv5axMove assigned;
  assigned = five;
  ExpectSame(assigned, five);
  ExpectSameBlock(assigned, five);
  const zv5axMove fromBase(three, {4, 5, 6}, {7, 8, 9}, 10, true);
  ExpectSame(fromBase, five);
  ExpectSameBlock(fromBase, five);
}

TEST(CncMove, SettersReachTheirFieldAndNoOther) {
  zvCNCMove move;
  move.SetPosition(kP1);
  move.SetOrientation(kP2);
  move.SetFeed(3);
  move.SetRapid(true);
  move.SetTag(9);
  move.SetStamp(0.25);
  ExpectSame(move, zvCNCMove(kP1, kP2, 3, true, 9, 0.25));
  move.SetPosition(move.GetPosition());
  move.SetOrientation(move.GetOrientation());
  ExpectSame(move, zvCNCMove(kP1, kP2, 3, true, 9, 0.25));
}

TEST(CncMove, OnlyTheExtendedPointSetsTheMark) {
  zv5axMove move;
  move.SetExtendedVector(kP1);
  move.SetExtendedId(3);
  ExpectSameBlock(move, zv5axMove(zvCNCMove(), {}, kP1, 3, false));
  move.SetExtendedPoint(kP2);
  ExpectSameBlock(move, zv5axMove(zvCNCMove(), kP2, kP1, 3, true));
  move.SetExtendedVector(kP2);
  EXPECT_TRUE(move.HasExtendedData());
}

// Writes down which slot was called.
struct SlotOfConst : zvCNCMoveVisitor {
  void Visit(const zv5axMove&) override { slot = 1; }
  void Visit(const zv3axMove&) override { slot = 2; }
  void Visit(const zvCNCMove&) override { slot = 3; }
  int slot = 0;
};
struct SlotOfSetter : zvCNCMoveVisitorSetter {
  void Visit(zv5axMove&) override { slot = 1; }
  void Visit(zv3axMove&) override { slot = 2; }
  void Visit(zvCNCMove&) override { slot = 3; }
  int slot = 0;
};

TEST(CncMove, VisitorsMeetTheSlotOfTheMostDerivedClass) {
  zv5axMove five;
  zv3axMove three;
  zvCNCMove plain;
  const std::pair<zvCNCMove*, int> cases[] = {{&five, 1}, {&three, 2}, {&plain, 3}};
  for (const auto& [move, slot] : cases) {
    SlotOfConst reader;
    std::as_const(*move).AcceptVisitor(reader);
    EXPECT_EQ(reader.slot, slot);
    SlotOfSetter setter;
    move->AcceptVisitor(setter);
    EXPECT_EQ(setter.slot, slot);
  }
}

TEST(CncMove, DiesThroughItsBase) {
  const std::unique_ptr<zvCNCMove> move = std::make_unique<zv5axMove>();
  EXPECT_EQ(move->GetFeed(), 0);
}

struct BlendCase {
  const char* name;
  double w1;
  bool rapid1;
  double w2;
  bool rapid2;
  double feed;
  bool rapid;
};

// Feeds are 100 and 900.
const BlendCase kBlendCases[] = {
    {"two feed moves", 0.25, false, 0.75, false, 700, false},
    {"two rapid moves", 0.25, true, 0.75, true, 700, true},
    {"feed then rapid", 0.25, false, 0.75, true, 100, false},
    {"rapid then feed", 0.25, true, 0.75, false, 900, false},
    {"all of the first, a feed move, against a rapid one", 1, false, 0, true, 100, false},
    {"all of the first, a rapid move, against a feed one", 1, true, 0, false, 900, false},
    {"none of the feed move", 0, false, 1, true, 100, false},
    {"weights that don't sum to 1", 2, false, 3, false, 2900, false},
    {"negative weight", -1, false, 2, false, 1700, false},
};

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
  for (const BlendCase& c : kBlendCases) {
    SCOPED_TRACE(c.name);
    const Move m1 = Make<Move>(kP1, {0, 0, 2}, 100, c.rapid1, 1, 8);
    const Move m2 = Make<Move>(kP2, {0, 4, 0}, 900, c.rapid2, 2, -4);
    const Move result = Interpolate(c.w1, m1, c.w2, m2);
    const double y = c.w2 * 4, z = c.w1 * 2, length = std::hypot(y, z);
    EXPECT_EQ(result.GetPosition(),
              Point(c.w1 * 1 + c.w2 * -7, c.w1 * 2 + c.w2 * 11, c.w1 * 3 + c.w2 * 0.5));
    // Raw orientations are blended, then the sum is divided by its length.
    EXPECT_NEAR((result.GetOrientation() - Point(0, y / length, z / length)).Length(), 0, 1e-15);
    EXPECT_EQ(result.GetFeed(), c.feed);
    EXPECT_EQ(result.IsRapid(), c.rapid);
    EXPECT_EQ(result.GetTag(), 2u);
    EXPECT_EQ(result.GetStamp(), c.w1 * 8 + c.w2 * -4);
  }
}

TEST(CncMoveBlending, FollowsTheRulesOfFeedAndRapid) {
  CheckBlends<zv3axMove>();
  CheckBlends<zv5axMove>();
}

TEST(CncMoveBlending, OnlyAnExactlyNullOrientationFails) {
  const auto blend = [](double w1, const Point& o1, double w2, const Point& o2) {
    const Point five = Interpolate(w1, Make<zv5axMove>(kP1, o1, 0, false, 0, 0), w2,
                                   Make<zv5axMove>(kP1, o2, 0, false, 0, 0))
                           .GetOrientation();
    const Point three = Interpolate(w1, Make<zv3axMove>(kP1, o1, 0, false, 0, 0), w2,
                                    Make<zv3axMove>(kP1, o2, 0, false, 0, 0))
                            .GetOrientation();
    EXPECT_EQ(three, five);
    return three;
  };
  const auto fails = [&](double w1, const Point& o1, double w2, const Point& o2) {
    return tests::ThrowsId<zvcadcamException>([&] { blend(w1, o1, w2, o2); }, 2189,
                                              L"Can't normalize null vector.");
  };
  EXPECT_TRUE(fails(0.5, kZ, 0.5, -kZ));
  EXPECT_TRUE(fails(0, kZ, 0, {1, 0, 0}));
  EXPECT_TRUE(fails(1, {}, 0, kZ));
  // Almost opposite: unreliable, but a unit vector.
  EXPECT_NEAR(blend(0.5, kZ, 0.5, {1e-12, 0, -1}).Length(), 1, 1e-15);
  EXPECT_NEAR(blend(1, {0, 1e-200, 0}, 1, {}).Length(), 1, 1e-15);
  EXPECT_NEAR(blend(1, {0, 1e200, 0}, 1, kZ).Length(), 1, 1e-15);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const zv3axMove invalid = Interpolate(nan, zv3axMove(), 1, zv3axMove());
  EXPECT_FALSE(IsFinite(invalid.GetOrientation())) << "NaN is not taken for null";
}

TEST(CncMoveBlending, TheExtendedBlockNeedsBothMoves) {
  const auto make = [](bool has, std::uint32_t id, const Point& point, const Point& vector) {
    return zv5axMove(kP1, kZ, point, vector, id, has, 0, false);
  };
  const Point a{2, 4, 6}, b{10, 20, 30}, u{0, 0, 8}, v{0, 0, -8};
  const zv5axMove none(zvCNCMove(), {0, 0, 0}, {0, 0, 1}, 0, false);
  for (const auto& [has1, has2] : {std::pair(true, false), {false, true}, {false, false}})
    ExpectSameBlock(Interpolate(0.5, make(has1, 7, a, u), 0.5, make(has2, 7, b, v)), none);
  // Point and vector are sums; the vector is not normalised, and may well be null.
  ExpectSameBlock(Interpolate(0.5, make(true, 7, a, u), 0.25, make(true, 7, b, u)),
                  zv5axMove(zvCNCMove(), {3.5, 7, 10.5}, {0, 0, 6}, 7, true));
  ExpectSameBlock(Interpolate(0.5, make(true, 7, a, u), 0.5, make(true, 8, b, v)),
                  zv5axMove(zvCNCMove(), {6, 12, 18}, {0, 0, 0}, 0, true));
  ExpectSameBlock(Interpolate(1, make(true, 7, a, u), 0, make(true, 8, b, v)),
                  zv5axMove(zvCNCMove(), a, u, 0, true));
}

TEST(CncMoveScaling, TouchesPositionsAndMarkedPointsOnly) {
  zvCNCMoveScaleVisitor visitor(25.4);
  const Point scaled{1 * 25.4, 2 * 25.4, 3 * 25.4};

  zvCNCMove plain(kP1, kP2, 5, true, 6, 7);
  plain.AcceptVisitor(visitor);
  ExpectSame(plain, zvCNCMove(scaled, kP2, 5, true, 6, 7));

  zv3axMove three(kP1, kP2, 5, true, 6, 7);
  three.AcceptVisitor(visitor);
  ExpectSame(three, zvCNCMove(scaled, kP2, 5, true, 6, 7));

  for (const bool has : {false, true}) {
    zv5axMove five(kP1, kP2, kP1, kP2, 8, has, 5, true, 6, 7);
    five.AcceptVisitor(visitor);
    ExpectSame(five, zvCNCMove(scaled, kP2, 5, true, 6, 7));
    ExpectSameBlock(five, zv5axMove(zvCNCMove(), has ? scaled : kP1, kP2, 8, has));
  }
}

}  // namespace
}  // namespace cadcam
