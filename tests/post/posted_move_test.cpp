#include <gtest/gtest.h>
#include <kandrel/post/post_exception.h>
#include <kandrel/post/posted_move.h>
#include <tests/support/throws_id.h>

#include <cmath>
#include <functional>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

namespace post {
namespace {

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

// Lists and vectors of moves hand the block on only where moving can't fail.
static_assert(std::is_nothrow_move_constructible_v<zvPosted3axMove>);
static_assert(std::is_nothrow_move_constructible_v<zvPosted4axMove>);
static_assert(std::is_nothrow_move_constructible_v<zvPosted5axMove>);
static_assert(std::is_nothrow_move_constructible_v<zvPosted6axMove>);
static_assert(std::is_nothrow_move_assignable_v<zvPosted5axMove>);

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr const wchar_t* kNoBlock =
    L"param zvExtendedPostedMove is NULL. This can be because post-kernel creates a list of "
    L"smaller zvPostedMove.";

using Numbers = std::vector<double>;

Numbers BaseFields(const zvPostedMove& m) {
  Numbers n{static_cast<double>(m.GetType())};
  for (const Point* p : {&m.GetMachinePosition(), &m.GetPartPosition(), &m.GetOrientation()})
    n.insert(n.end(), {p->x, p->y, p->z});
  n.insert(n.end(),
           {static_cast<double>(m.IsRapid()), m.GetFeed(), m.GetReservedSingle(), m.GetMoveTime()});
  if (m.HasNoExtended()) return n;
  for (const Point* p : {&m.GetExtendedPoint(), &m.GetExtendedVector()})
    n.insert(n.end(), {p->x, p->y, p->z});
  n.insert(n.end(),
           {static_cast<double>(m.GetExtendedId()), static_cast<double>(m.GetSourceIndex()),
            static_cast<double>(m.HasExtendedData()), static_cast<double>(m.IsInserted())});
  return n;
}

Numbers Own(const zvPostedMove&) {
  return {};
}
Numbers Own(const zvPosted4axMove& m) {
  return {m.GetRotaryAngle()};
}
Numbers Own(const zvPosted5axMove& m) {
  return {m.GetAngle(0), m.GetAngle(1), static_cast<double>(m.GetPoleStatus())};
}
Numbers Own(const zvPosted6axMove& m) {
  return {m.GetAngle(0), m.GetAngle(1), m.GetAngle(2), static_cast<double>(m.GetPoleStatus())};
}

template <class M>
Numbers Fields(const M& m) {
  Numbers n = BaseFields(m);
  const Numbers own = Own(m);
  n.insert(n.end(), own.begin(), own.end());
  return n;
}

constexpr Point kMachine{1, 2, 3};
constexpr Point kPart{4, 5, 6};
constexpr Point kOrientation{7, 8, 9};
constexpr Point kExtendedPoint{10, 11, 12};
constexpr Point kExtendedVector{13, 14, 15};
constexpr double kFeed = 16;

// A small and an extended move of each class, made by the long constructors.
template <class M, class... Angles>
M Small(Angles... angles) {
  return M(kMachine, kPart, kOrientation, angles..., kFeed, true, zvPostedMove::link4);
}
template <class M, class... Angles>
M Extended(Angles... angles) {
  return M(kMachine, kPart, kOrientation, angles..., kFeed, true, zvPostedMove::link4,
           kExtendedPoint, kExtendedVector, 4000000000u, true, -17, true);
}
template <class M>
struct Maker;
template <>
struct Maker<zvPostedMove> {
  static zvPostedMove MakeSmall() { return Small<zvPostedMove>(); }
  static zvPostedMove MakeExtended() { return Extended<zvPostedMove>(); }
  static Numbers OwnExpected() { return {}; }
};
template <>
struct Maker<zvPosted3axMove> {
  static zvPosted3axMove MakeSmall() { return Small<zvPosted3axMove>(); }
  static zvPosted3axMove MakeExtended() { return Extended<zvPosted3axMove>(); }
  static Numbers OwnExpected() { return {}; }
};
template <>
struct Maker<zvPosted4axMove> {
  static zvPosted4axMove MakeSmall() { return Small<zvPosted4axMove>(21.0); }
  static zvPosted4axMove MakeExtended() { return Extended<zvPosted4axMove>(21.0); }
  static Numbers OwnExpected() { return {21}; }
};
template <>
struct Maker<zvPosted5axMove> {
  static zvPosted5axMove MakeSmall() { return Small<zvPosted5axMove>(21.0, 22.0, 2u); }
  static zvPosted5axMove MakeExtended() { return Extended<zvPosted5axMove>(21.0, 22.0, 2u); }
  static Numbers OwnExpected() { return {21, 22, 2}; }
};
template <>
struct Maker<zvPosted6axMove> {
  using Angles = zvPosted6axMove::Angles;
  static zvPosted6axMove MakeSmall() { return Small<zvPosted6axMove>(Angles{21, 22, 23}, 1u); }
  static zvPosted6axMove MakeExtended() {
    return Extended<zvPosted6axMove>(Angles{21, 22, 23}, 1u);
  }
  static Numbers OwnExpected() { return {21, 22, 23, 1}; }
};

Numbers Joined(Numbers a, const Numbers& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

template <class M>
class PostedMoveClasses : public testing::Test {};
using Classes = testing::Types<zvPostedMove, zvPosted3axMove, zvPosted4axMove, zvPosted5axMove,
                               zvPosted6axMove>;
TYPED_TEST_SUITE(PostedMoveClasses, Classes);

TYPED_TEST(PostedMoveClasses, ConstructorsPutEachArgumentInItsPlace) {
  using M = Maker<TypeParam>;
  const Numbers base{4, 1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 16, 0, 0};
  const Numbers block{10, 11, 12, 13, 14, 15, 4000000000.0, -17, 1, 1};
  EXPECT_EQ(Fields(M::MakeSmall()), Joined(base, M::OwnExpected()));
  EXPECT_EQ(Fields(M::MakeExtended()), Joined(Joined(base, block), M::OwnExpected()));

  const Numbers zeroBase{0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0};
  const Numbers zeroOwn(M::OwnExpected().size(), 0.0);
  EXPECT_EQ(Fields(TypeParam(true)), Joined(zeroBase, zeroOwn));
  EXPECT_EQ(Fields(TypeParam(false)), Joined(Joined(zeroBase, Numbers(10, 0.0)), zeroOwn));
  EXPECT_TRUE(TypeParam(true).HasNoExtended());
  EXPECT_FALSE(TypeParam(false).HasNoExtended());
}

TYPED_TEST(PostedMoveClasses, CopiesAndAssignmentsAreDeepInAllBlockCombinations) {
  using M = Maker<TypeParam>;
  for (const TypeParam& source : {M::MakeSmall(), M::MakeExtended()}) {
    const Numbers expected = Fields(source);
    for (bool smallTarget : {true, false}) {
      TypeParam target(smallTarget);
      target = source;
      TypeParam copy(source);
      for (TypeParam* other : {&target, &copy}) {
        EXPECT_EQ(Fields(*other), expected);
        EXPECT_TRUE(*other == source);
        if (!source.HasNoExtended()) {
          EXPECT_NE(&other->GetExtendedPoint(), &source.GetExtendedPoint());
          other->SetSourceIndex(99);
        } else {
          EXPECT_TRUE(ThrowsId<zvPostException>([&] { other->GetSourceIndex(); }, 5048, kNoBlock));
        }
        other->SetFeed(99);
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
  TypeParam source = Maker<TypeParam>::MakeExtended();
  const Numbers expected = Fields(source);
  const Point* block = &source.GetExtendedPoint();
  TypeParam moved(std::move(source));
  EXPECT_EQ(&moved.GetExtendedPoint(), block);
  TypeParam target(false);
  target = std::move(moved);
  EXPECT_EQ(&target.GetExtendedPoint(), block);
  EXPECT_EQ(Fields(target), expected);
  // A move that was moved from is small and can be used again.
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
      [&] { small.SetExtendedId(1); },         [&] { small.SetSourceIndex(1); },
      [&] { small.SetHasExtendedData(true); }, [&] { small.SetInserted(true); },
  };
  for (const auto& access : accessors)
    EXPECT_TRUE(ThrowsId<zvPostException>(access, 5048, kNoBlock)) << &access - accessors;
  small.SetExtended(true);
  for (const auto& access : accessors) EXPECT_NO_THROW(access());
}

TEST(PostedMove, BlockComesAndGoesWithSetExtended) {
  zvPostedMove move(true);
  move.SetExtended(false);
  EXPECT_TRUE(move.HasNoExtended());
  move.SetExtended(true);
  move.SetSourceIndex(5);
  move.SetExtended(true);
  EXPECT_EQ(move.GetSourceIndex(), 5) << "an existing block is kept";
  move.SetExtended(false);
  move.SetExtended(true);
  EXPECT_EQ(move.GetSourceIndex(), 0);
}

TEST(PostedMove, OnlyTheExtendedPointMarksTheData) {
  zvPostedMove move(false);
  move.SetExtendedVector({1, 2, 3});
  move.SetExtendedId(4);
  move.SetSourceIndex(5);
  move.SetInserted(true);
  EXPECT_FALSE(move.HasExtendedData());
  move.SetExtendedPoint({0, 0, 0});
  EXPECT_TRUE(move.HasExtendedData());
  move.SetHasExtendedData(false);
  EXPECT_FALSE(move.HasExtendedData());
}

TEST(PostedMove, SettersReachTheirOwnFieldAndTakeItsAddress) {
  zvPostedMove move(true);
  move.SetType(static_cast<zvPostedMove::Types>(77));
  move.SetMachinePosition(kMachine);
  move.SetPartPosition(kPart);
  move.SetOrientation(kOrientation);
  move.SetRapid(true);
  move.SetFeed(16);
  move.SetReservedSingle(0.5f);
  move.SetMoveTime(17);
  const Numbers expected{77, 1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 16, 0.5, 17};
  EXPECT_EQ(Fields(move), expected);
  move.SetMachinePosition(move.GetMachinePosition());
  move.SetPartPosition(move.GetPartPosition());
  move.SetOrientation(move.GetOrientation());
  EXPECT_EQ(Fields(move), expected);
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
      {"block point by length",
       [](auto& m) {
         m.SetExtendedPoint({0.8e-12, 0.8e-12, 0});
       },
       false},
      {"block vector by length",
       [](auto& m) {
         m.SetExtendedVector({0, 0.8e-12, 0.8e-12});
       },
       false},
      {"position by component",
       [](auto& m) {
         m.SetMachinePosition({0.8e-12, 0.8e-12, -0.8e-12});
       },
       true},
      {"half the tolerance everywhere",
       [](auto& m) {
         const Point half{0.5e-12, -0.5e-12, 0.5e-12};
         m.SetMachinePosition(half);
         m.SetPartPosition(half);
         m.SetOrientation(half);
         m.SetFeed(0.5e-12);
         m.SetMoveTime(-0.5e-12);
         m.SetExtendedPoint(half);
         m.SetExtendedVector(half);
         for (std::int16_t i = 0; i < 3; ++i) m.SetAngle(0.5e-12, i);
       },
       true},
  };
  using Set = std::function<void(zvPosted6axMove&, double)>;
  const std::pair<const char*, Set> numbers[] = {
      {"machine x",
       [](auto& m, double v) {
         m.SetMachinePosition({v, 0, 0});
       }},
      {"machine y",
       [](auto& m, double v) {
         m.SetMachinePosition({0, v, 0});
       }},
      {"machine z",
       [](auto& m, double v) {
         m.SetMachinePosition({0, 0, v});
       }},
      {"part x",
       [](auto& m, double v) {
         m.SetPartPosition({v, 0, 0});
       }},
      {"part y",
       [](auto& m, double v) {
         m.SetPartPosition({0, v, 0});
       }},
      {"part z",
       [](auto& m, double v) {
         m.SetPartPosition({0, 0, v});
       }},
      {"orientation x",
       [](auto& m, double v) {
         m.SetOrientation({v, 0, 0});
       }},
      {"orientation y",
       [](auto& m, double v) {
         m.SetOrientation({0, v, 0});
       }},
      {"orientation z",
       [](auto& m, double v) {
         m.SetOrientation({0, 0, v});
       }},
      {"feed", [](auto& m, double v) { m.SetFeed(v); }},
      {"move time", [](auto& m, double v) { m.SetMoveTime(v); }},
      {"angle 0", [](auto& m, double v) { m.SetAngle(v, 0); }},
      {"angle 1", [](auto& m, double v) { m.SetAngle(v, 1); }},
      {"angle 2", [](auto& m, double v) { m.SetAngle(v, 2); }},
      {"extended point x",
       [](auto& m, double v) {
         m.SetExtendedPoint({v, 0, 0});
       }},
      {"extended vector z",
       [](auto& m, double v) {
         m.SetExtendedVector({0, 0, v});
       }},
  };
  for (const auto& [name, set] : numbers) {
    // The tolerance itself counts as equal.
    for (double v : {1e-12, -1e-12})
      cases.push_back({name, [set = set, v](auto& m) { set(m, v); }, true});
    for (double v : {std::nextafter(1e-12, 1), -std::nextafter(1e-12, 1), 1.0, kNan, kInfinity})
      cases.push_back({name, [set = set, v](auto& m) { set(m, v); }, false});
  }
  return cases;
}

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
}

TEST(PostedMove, ANanEqualsItselfByAddressOnly) {
  zvPosted5axMove move(true);
  move.SetAngle(kNan, 1);
  const zvPosted5axMove copy = move;
  EXPECT_TRUE(move == move);
  EXPECT_FALSE(move == copy);
}

TEST(PostedMove, AnglesAndPoleStatusCountInEveryClass) {
  zvPosted4axMove four(true);
  four.SetRotaryAngle(std::nextafter(1e-12, 1));
  EXPECT_FALSE(four == zvPosted4axMove(true));
  four.SetRotaryAngle(1e-12);
  EXPECT_TRUE(four == zvPosted4axMove(true));
  for (std::int16_t i : {std::int16_t{0}, std::int16_t{1}}) {
    zvPosted5axMove five(true);
    five.SetAngle(std::nextafter(1e-12, 1), i);
    EXPECT_FALSE(five == zvPosted5axMove(true));
    five.SetAngle(-1e-12, i);
    EXPECT_TRUE(five == zvPosted5axMove(true));
    five.SetPoleStatus(2);
    EXPECT_FALSE(five == zvPosted5axMove(true));
  }
}

TEST(ExtendedPostedMove, WithoutDataOnlyOriginCounts) {
  const zvExtendedPostedMove plain({1, 2, 3}, {4, 5, 6}, 7, false, 8, false);
  EXPECT_TRUE(plain == zvExtendedPostedMove({0, 0, 0}, {0, kNan, 0}, 0, false, 8, false));
  EXPECT_FALSE(plain == zvExtendedPostedMove({1, 2, 3}, {4, 5, 6}, 7, false, 9, false));
  EXPECT_FALSE(plain == zvExtendedPostedMove({1, 2, 3}, {4, 5, 6}, 7, false, 8, true));
  EXPECT_FALSE(plain == zvExtendedPostedMove({1, 2, 3}, {4, 5, 6}, 7, true, 8, false));
}

constexpr std::int16_t kOddIndices[] = {-32768, -2, -1, 2, 3, 4, 5, 256, 257, 32767};

TEST(PostedMove, OddIndicesReadTheFirstAngleAndStoreNothing) {
  for (std::int16_t index : kOddIndices) {
    zvPosted5axMove five = Maker<zvPosted5axMove>::MakeSmall();
    EXPECT_EQ(&five.GetAngle(index), &five.GetAngle(0)) << index;
    five.SetAngle(99, index);
    EXPECT_EQ(Own(five), (Numbers{21, 22, 2})) << index;
    if (index == 2) continue;  // the third angle of six axes
    zvPosted6axMove six = Maker<zvPosted6axMove>::MakeSmall();
    EXPECT_EQ(&six.GetAngle(index), &six.GetAngle(0)) << index;
    six.SetAngle(99, index);
    EXPECT_EQ(Own(six), (Numbers{21, 22, 23, 1})) << index;
  }
  zvPosted5axMove five(true);
  five.SetAngle(31, 0);
  five.SetAngle(32, 1);
  EXPECT_EQ(Own(five), (Numbers{31, 32, 0}));
  zvPosted6axMove six(true);
  six.SetAngle(31, 0);
  six.SetAngle(32, 1);
  six.SetAngle(33, 2);
  EXPECT_EQ(Own(six), (Numbers{31, 32, 33, 0}));
}

TEST(PostedMove, WindsAddWholeTurnsToTheirAxis) {
  struct {
    double angle;
    std::int64_t turns;
    double expected;
  } const cases[] = {{10, -2, -710},
                     {10, 0, 10},
                     {-710, 2, 10},
                     {0, 1, 360},
                     {0, 10000000, 3.6e9},  // past 32 bits
                     {0, std::numeric_limits<std::int64_t>::max(), 0x1p63 * 360},
                     {0, std::numeric_limits<std::int64_t>::min(), -0x1p63 * 360}};
  for (const auto& c : cases) {
    zvPosted4axMove four(true);
    four.SetRotaryAngle(c.angle);
    four.AddWinds(c.turns);
    EXPECT_EQ(four.GetRotaryAngle(), c.expected);
    zvPosted6axMove six = Maker<zvPosted6axMove>::MakeSmall();
    six.SetAngle(c.angle, 0);
    six.AddFirstWinds(c.turns);
    EXPECT_EQ(Own(six), (Numbers{c.expected, 22, 23, 1}));
    six = Maker<zvPosted6axMove>::MakeSmall();
    six.SetAngle(c.angle, 1);
    six.AddSecondWinds(c.turns);
    EXPECT_EQ(Own(six), (Numbers{21, c.expected, 23, 1}));
    six = Maker<zvPosted6axMove>::MakeSmall();
    six.SetAngle(c.angle, 2);
    six.AddThirdWinds(c.turns);
    EXPECT_EQ(Own(six), (Numbers{21, 22, c.expected, 1}));
    zvPosted5axMove five = Maker<zvPosted5axMove>::MakeSmall();
    five.SetAngle(c.angle, 0);
    five.AddFirstWinds(c.turns);
    EXPECT_EQ(Own(five), (Numbers{c.expected, 22, 2}));
    five = Maker<zvPosted5axMove>::MakeSmall();
    five.SetAngle(c.angle, 1);
    five.AddSecondWinds(c.turns);
    EXPECT_EQ(Own(five), (Numbers{21, c.expected, 2}));
  }
}

TEST(PostedMove, AngleDistanceIsTheLargestCircularOne) {
  struct {
    double a, b, distance;
  } const cases[] = {{350, 10, 20},  {0, 180, 180},  {-10, 370, 20},  {0, 360, 0},
                     {0, 0, 0},      {725, -5, 10},  {-180, 180, 0},  {181, 0, 179},
                     {90, 300, 150}, {-1e-17, 0, 0}, {3600, -3600, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.a << " to " << c.b);
    const auto check = [&](auto a, auto b, auto set, double least) {
      set(a, c.a);
      set(b, c.b);
      EXPECT_DOUBLE_EQ(a.AngleDistance(b), std::max(c.distance, least));
      EXPECT_DOUBLE_EQ(b.AngleDistance(a), std::max(c.distance, least));
    };
    const zvPosted4axMove four(true);
    check(
        four, four, [](auto& m, double v) { m.SetRotaryAngle(v); }, 0);
    for (std::int16_t axis = 0; axis < 3; ++axis) {
      // Another axis stands 15 degrees apart.
      zvPosted6axMove six(true), sixApart(true);
      sixApart.SetAngle(-15, axis == 2 ? 0 : static_cast<std::int16_t>(axis + 1));
      check(
          six, sixApart, [axis](auto& m, double v) { m.SetAngle(v, axis); }, 15);
      if (axis == 2) continue;
      zvPosted5axMove five(true), fiveApart(true);
      fiveApart.SetAngle(345, axis == 1 ? 0 : 1);
      check(
          five, fiveApart, [axis](auto& m, double v) { m.SetAngle(v, axis); }, 15);
    }
  }
}

TEST(PostedMove, AnUnusableAngleHasNoDistance) {
  for (double bad : {kNan, kInfinity, -kInfinity}) {
    for (std::int16_t axis = 0; axis < 3; ++axis) {
      zvPosted6axMove good(true), broken(true);
      good.SetAngle(5, 0);
      good.SetAngle(6, 1);
      good.SetAngle(7, 2);
      broken.SetAngle(bad, axis);
      EXPECT_TRUE(std::isnan(good.AngleDistance(broken))) << axis;
      EXPECT_TRUE(std::isnan(broken.AngleDistance(good))) << axis;
    }
  }
}

}  // namespace
}  // namespace post
