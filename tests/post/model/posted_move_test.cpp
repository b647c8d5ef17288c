#include <gtest/gtest.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posted_move.h>
#include <tests/support/numbers.h>
#include <tests/support/throws_id.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

namespace post {
namespace {

using tests::Flat;
using tests::Numbers;
using tests::ThrowsId;
using Point = zvPostedMove::Point;

// A posting keeps millions of these, each in a pooled node.
#if defined(__x86_64__)
static_assert(sizeof(zvPosted3axMove) == 120);
static_assert(sizeof(zvPosted4axMove) == 128);
static_assert(sizeof(zvPosted5axMove) == 136);
static_assert(sizeof(zvPosted6axMove) == 144);
static_assert(sizeof(zvExtendedPostedMove) == 64);
#endif

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

template <class M>
Numbers Own(const M& m) {
  if constexpr (std::is_same_v<M, zvPosted4axMove>)
    return {m.GetRotaryAngle()};
  else if constexpr (std::is_same_v<M, zvPosted5axMove>)
    return Flat(m.GetAngle(0), m.GetAngle(1), m.GetPoleStatus());
  else if constexpr (std::is_same_v<M, zvPosted6axMove>)
    return Flat(m.GetAngle(0), m.GetAngle(1), m.GetAngle(2), m.GetPoleStatus());
  else
    return {};
}

template <class M>
Numbers Fields(const M& m) {
  const Numbers base =
      Flat(m.GetType(), m.GetMachinePosition(), m.GetPartPosition(), m.GetOrientation(),
           m.IsRapid(), m.GetFeed(), m.GetReservedSingle(), m.GetMoveTime());
  if (m.HasNoExtended()) return Flat(base, Own(m));
  return Flat(base, m.GetExtendedPoint(), m.GetExtendedVector(), m.GetExtendedId(),
              m.GetSourceIndex(), m.HasExtendedData(), m.IsInserted(), Own(m));
}

// A small or an extended move, made by the long constructors.
template <class M, class... Angles>
M Make(bool small, Angles... own) {
  const Point machine{1, 2, 3}, part{4, 5, 6}, orientation{7, 8, 9};
  if (small) return M(machine, part, orientation, own..., 16, true, zvPostedMove::link4);
  return M(machine, part, orientation, own..., 16, true, zvPostedMove::link4, {10, 11, 12},
           {13, 14, 15}, 4000000000u, true, -17, true);
}
template <class M>
M Sample(bool small = true) {
  if constexpr (std::is_same_v<M, zvPosted4axMove>)
    return Make<M>(small, 21.0);
  else if constexpr (std::is_same_v<M, zvPosted5axMove>)
    return Make<M>(small, 21.0, 22.0, 2u);
  else if constexpr (std::is_same_v<M, zvPosted6axMove>)
    return Make<M>(small, 21.0, 22.0, 23.0, 1u);
  else
    return Make<M>(small);
}

template <class M>
class PostedMoveClasses : public testing::Test {};
using Classes = testing::Types<zvPostedMove, zvPosted3axMove, zvPosted4axMove, zvPosted5axMove,
                               zvPosted6axMove>;
TYPED_TEST_SUITE(PostedMoveClasses, Classes);

TYPED_TEST(PostedMoveClasses, ConstructorsPutEachArgumentInItsPlace) {
  const Numbers owns[] = {{}, {21}, {}, {21, 22, 2}, {21, 22, 23, 1}};
  const Numbers own = owns[Own(TypeParam(true)).size()];
  const Numbers base{4, 1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 16, 0, 0};
  const Numbers block{10, 11, 12, 13, 14, 15, 4000000000.0, -17, 1, 1};
  EXPECT_EQ(Fields(Sample<TypeParam>()), Flat(base, own));
  EXPECT_EQ(Fields(Sample<TypeParam>(false)), Flat(base, block, own));

  const Numbers zeroBase{0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0};
  EXPECT_EQ(Fields(TypeParam(true)), Flat(zeroBase, Numbers(own.size(), 0.0)));
  EXPECT_EQ(Fields(TypeParam(false)), Flat(zeroBase, Numbers(10 + own.size(), 0.0)));
}

TYPED_TEST(PostedMoveClasses, CopiesAndAssignmentsAreDeepInAllBlockCombinations) {
  for (const TypeParam& source : {Sample<TypeParam>(true), Sample<TypeParam>(false)}) {
    const Numbers expected = Fields(source);
    for (bool smallTarget : {true, false}) {
      TypeParam target(smallTarget), copy(source);
      target = source;
      for (TypeParam* other : {&target, &copy}) {
        EXPECT_EQ(Fields(*other), expected);
        EXPECT_TRUE(*other == source);
        other->SetFeed(99);
        if (!source.HasNoExtended()) other->SetSourceIndex(99);
        EXPECT_EQ(Fields(source), expected);
      }
    }
    TypeParam self(source);
    TypeParam& again = self;
    self = again;
    EXPECT_EQ(Fields(self), expected);
    self = std::move(again);
    EXPECT_EQ(Fields(self), expected);
  }
}

TYPED_TEST(PostedMoveClasses, MovesHandTheBlockOn) {
  // Lists and vectors of moves hand the block on only where moving can't fail.
  static_assert(std::is_nothrow_move_constructible_v<TypeParam>);
  static_assert(std::is_nothrow_move_assignable_v<TypeParam>);
  TypeParam source = Sample<TypeParam>(false);
  const Numbers expected = Fields(source);
  const Point* block = &source.GetExtendedPoint();
  TypeParam moved(std::move(source));
  EXPECT_EQ(&moved.GetExtendedPoint(), block);
  TypeParam target(false);
  target = std::move(moved);
  EXPECT_EQ(&target.GetExtendedPoint(), block);
  EXPECT_EQ(Fields(target), expected);
  // A move that was moved from is small and can be used again. NOLINTNEXTLINE(*move*,*Move)
  EXPECT_TRUE(moved.HasNoExtended());
  moved = target;
  EXPECT_EQ(Fields(moved), expected);
}

TEST(PostedMove, BlockAccessorsNeedABlock) {
  zvPostedMove small(true);
  const std::function<void()> accessors[] = {
      [&] { small.GetExtendedPoint(); },       [&] { small.GetExtendedVector(); },
      [&] { small.GetExtendedId(); },          [&] { small.GetSourceIndex(); },
      [&] { small.HasExtendedData(); },        [&] { small.IsInserted(); },
      [&] { small.SetExtendedPoint({}); },     [&] { small.SetExtendedVector({}); },
      [&] { small.SetExtendedId(1); },         [&] { small.SetSourceIndex(5); },
      [&] { small.SetHasExtendedData(true); }, [&] { small.SetInserted(true); },
  };
  small.SetExtended(false);
  for (const auto& access : accessors)
    EXPECT_TRUE(ThrowsId<zvPostException>(access, 5048)) << &access - accessors;
  small.SetExtended(true);
  for (const auto& access : accessors) EXPECT_NO_THROW(access());
  small.SetExtended(true);
  EXPECT_EQ(small.GetSourceIndex(), 5) << "an existing block is kept";
  small.SetExtended(false);
  small.SetExtended(true);
  EXPECT_EQ(small.GetSourceIndex(), 0);
  // Only the point marks the data.
  small.SetExtendedVector({1, 2, 3});
  small.SetExtendedId(4);
  EXPECT_FALSE(small.HasExtendedData());
  small.SetExtendedPoint({0, 0, 0});
  EXPECT_TRUE(small.HasExtendedData());
}

// One change each to a 6-axis move with a block and data; `equal` tells what it does to equality.
struct ChangeCase {
  const char* name;
  std::function<void(zvPosted6axMove&)> change;
  bool equal;
};

zvPosted6axMove Reference() {
  // Zeros keep differences of 1e-12 exact.
  zvPosted6axMove move(false);
  move.SetOrientation({0, 0, 0});
  move.SetExtendedPoint({0, 0, 0});
  return move;
}

// clang-format off
std::vector<ChangeCase> ChangeCases() {
  std::vector<ChangeCase> cases{
      {"type", [](auto& m) { m.SetType(zvPostedMove::link1); }, false},
      {"rapid", [](auto& m) { m.SetRapid(true); }, false},
      {"reserved single", [](auto& m) { m.SetReservedSingle(1e-30f); }, false},
      {"minus zero single", [](auto& m) { m.SetReservedSingle(-0.0f); }, true},
      {"pole status", [](auto& m) { m.SetPoleStatus(1); }, false},
      {"no block", [](auto& m) { m.SetExtended(false); }, false},
      {"default block", [](auto& m) { m.SetExtended(false), m.SetExtended(true); }, false},
      {"extended id", [](auto& m) { m.SetExtendedId(1); }, false},
      {"source index", [](auto& m) { m.SetSourceIndex(1); }, false},
      {"no data", [](auto& m) { m.SetHasExtendedData(false); }, false},
      {"inserted", [](auto& m) { m.SetInserted(true); }, false},
      // Block vectors differ by length, unlike the vectors of the move itself.
      {"block point by length", [](auto& m) { m.SetExtendedPoint({0.8e-12, 0.8e-12, 0}); }, false},
      {"block vector by length", [](auto& m) { m.SetExtendedVector({0, 0.8e-12, 0.8e-12}); }, false},
      {"by component", [](auto& m) { m.SetMachinePosition({0.8e-12, 0.8e-12, -0.8e-12}); }, true},
  };
  const std::pair<const char*, void (*)(zvPosted6axMove&, double)> numbers[] = {
      {"machine x", [](auto& m, double v) { m.SetMachinePosition({v, 0, 0}); }},
      {"machine y", [](auto& m, double v) { m.SetMachinePosition({0, v, 0}); }},
      {"machine z", [](auto& m, double v) { m.SetMachinePosition({0, 0, v}); }},
      {"part", [](auto& m, double v) { m.SetPartPosition({0, v, 0}); }},
      {"orientation", [](auto& m, double v) { m.SetOrientation({0, 0, v}); }},
      {"feed", [](auto& m, double v) { m.SetFeed(v); }},
      {"move time", [](auto& m, double v) { m.SetMoveTime(v); }},
      {"angle 0", [](auto& m, double v) { m.SetAngle(v, 0); }},
      {"angle 1", [](auto& m, double v) { m.SetAngle(v, 1); }},
      {"angle 2", [](auto& m, double v) { m.SetAngle(v, 2); }},
      {"extended point", [](auto& m, double v) { m.SetExtendedPoint({v, 0, 0}); }},
      {"extended vector", [](auto& m, double v) { m.SetExtendedVector({0, 0, v}); }},
  };
  for (const auto& [name, set] : numbers)  // the tolerance itself counts as equal
    for (double v : {1e-12, -1e-12, std::nextafter(1e-12, 1), -std::nextafter(1e-12, 1), 1.0, kNan, kInfinity})
      cases.push_back({name, [set = set, v](auto& m) { set(m, v); }, std::fabs(v) <= 1e-12});
  return cases;
}
// clang-format on

TEST(PostedMove, EachFieldAloneMakesUnequalOutsideTheTolerance) {
  const zvPosted6axMove reference = Reference();
  ASSERT_TRUE(reference == Reference());
  for (const ChangeCase& c : ChangeCases()) {
    zvPosted6axMove changed = Reference();
    c.change(changed);
    EXPECT_EQ(reference == changed, c.equal) << c.name;
    EXPECT_EQ(changed == reference, c.equal) << c.name;
    EXPECT_EQ(changed != reference, !c.equal) << c.name;
    EXPECT_TRUE(changed == changed) << c.name << ": a move equals itself, also with a NaN";
  }
  for (const double v : {1e-12, std::nextafter(1e-12, 1)}) {
    zvPosted4axMove four(true);
    four.SetRotaryAngle(v);
    EXPECT_EQ(four == zvPosted4axMove(true), v == 1e-12);
    for (std::int16_t i : {std::int16_t{0}, std::int16_t{1}}) {
      zvPosted5axMove five(true);
      five.SetAngle(-v, i);
      EXPECT_EQ(five == zvPosted5axMove(true), v == 1e-12);
    }
  }
  zvPosted5axMove five(true);
  five.SetPoleStatus(2);
  EXPECT_FALSE(five == zvPosted5axMove(true));
  five.SetAngle(kNan, 1);
  const zvPosted5axMove copy = five;
  EXPECT_TRUE(five == five);
  EXPECT_FALSE(five == copy);
}

TEST(ExtendedPostedMove, WithoutDataOnlyOriginCounts) {
  const zvExtendedPostedMove plain({1, 2, 3}, {4, 5, 6}, 7, false, 8, false);
  EXPECT_TRUE(plain == zvExtendedPostedMove({0, 0, 0}, {0, kNan, 0}, 0, false, 8, false));
  EXPECT_FALSE(plain == zvExtendedPostedMove({1, 2, 3}, {4, 5, 6}, 7, false, 9, false));
  EXPECT_FALSE(plain == zvExtendedPostedMove({1, 2, 3}, {4, 5, 6}, 7, false, 8, true));
  EXPECT_FALSE(plain == zvExtendedPostedMove({1, 2, 3}, {4, 5, 6}, 7, true, 8, false));
}

TEST(PostedMove, OddIndicesReadTheFirstAngleAndStoreNothing) {
  const auto check = [](auto move, std::int16_t index) {
    const Numbers before = Own(move);
    EXPECT_EQ(&move.GetAngle(index), &move.GetAngle(0)) << index;
    move.SetAngle(99, index);
    EXPECT_EQ(Own(move), before) << index;
  };
  constexpr std::int16_t kIndices[] = {-32768, -2, -1, 2, 3, 4, 5, 256, 257, 32767};
  for (const std::int16_t index : kIndices) {
    check(Sample<zvPosted5axMove>(), index);
    if (index != 2) check(Sample<zvPosted6axMove>(), index);  // the third angle of six axes
  }
}

TEST(PostedMove, WindsAddWholeTurnsToTheirAxis) {
  const auto check = [](auto move, std::int16_t axis) {
    const struct {
      double angle;
      std::int64_t turns;
      double expected;
    } cases[] = {{10, -2, -710},
                 {-710, 2, 10},
                 {0, 1, 360},
                 {0, 10000000, 3.6e9},  // past 32 bits
                 {0, std::numeric_limits<std::int64_t>::max(), 0x1p63 * 360},
                 {0, std::numeric_limits<std::int64_t>::min(), -0x1p63 * 360}};
    for (const auto& c : cases) {
      Numbers expected = Own(move);
      expected[static_cast<std::size_t>(axis)] = c.expected;
      move.SetAngle(c.angle, axis);
      move.AddWinds(c.turns, axis);
      move.AddWinds(5, -1);  // neither of these is an axis
      move.AddWinds(5, 3);
      EXPECT_EQ(Own(move), expected) << c.turns;
    }
  };
  for (std::int16_t axis = 0; axis < 2; ++axis) check(Sample<zvPosted5axMove>(), axis);
  for (std::int16_t axis = 0; axis < 3; ++axis) check(Sample<zvPosted6axMove>(), axis);
  zvPosted4axMove four(true);
  four.SetRotaryAngle(10);
  four.AddWinds(-2);
  EXPECT_EQ(four.GetRotaryAngle(), -710);
}

TEST(PostedMove, AngleDistanceIsTheLargestCircularOne) {
  constexpr struct {
    double a, b, distance;
  } kCases[] = {{350, 10, 20}, {0, 180, 180}, {-10, 370, 20}, {725, -5, 10}, {3600, -3600, 0}};
  // Another axis stands 15 degrees apart.
  const auto check = [&](auto a, auto b, std::int16_t axis) {
    b.SetAngle(-15, axis == 0 ? 1 : 0);
    for (const auto& c : kCases) {
      a.SetAngle(c.a, axis);
      b.SetAngle(c.b, axis);
      EXPECT_DOUBLE_EQ(a.AngleDistance(b), std::max(c.distance, 15.0)) << c.a << " to " << c.b;
      EXPECT_DOUBLE_EQ(b.AngleDistance(a), std::max(c.distance, 15.0)) << c.a << " to " << c.b;
    }
    for (double bad : {kNan, kInfinity, -kInfinity}) {
      b.SetAngle(bad, axis);
      EXPECT_TRUE(std::isnan(a.AngleDistance(b)) && std::isnan(b.AngleDistance(a))) << axis;
    }
  };
  for (std::int16_t axis = 0; axis < 3; ++axis) {
    check(zvPosted6axMove(true), zvPosted6axMove(true), axis);
    if (axis < 2) check(zvPosted5axMove(true), zvPosted5axMove(true), axis);
  }
  for (const auto& c : kCases) {
    zvPosted4axMove a(true), b(true);
    a.SetRotaryAngle(c.a);
    b.SetRotaryAngle(c.b);
    EXPECT_DOUBLE_EQ(a.AngleDistance(b), c.distance) << c.a << " to " << c.b;
  }
}

}  // namespace
}  // namespace post
