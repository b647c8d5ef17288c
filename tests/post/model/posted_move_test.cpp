#include <kandrel/post/model/mirror_angle.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posted_move.h>
#include <tests/post/model/fields.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

#include <map>
#include <thread>

namespace post {
namespace {

using namespace tests;

// A posting keeps millions of these, each in a pooled node.
#if defined(__x86_64__)
static_assert(sizeof(zvPosted3axMove) == 120);
static_assert(sizeof(zvPosted4axMove) == 128);
static_assert(sizeof(zvPosted5axMove) == 136);
static_assert(sizeof(zvPosted6axMove) == 144);
static_assert(sizeof(zvExtendedPostedMove) == 64);
#endif

// How a field counts when moves are compared: number by number within the tolerance, exactly, or
// as a vector whose length of difference is within the tolerance.
enum Compared { kNumbers, kExactly, kByLength };

// clang-format off
template <class M>
FieldTable<M> BlockFields() {
  return {TESTS_FIELD(M, ExtendedPoint, {0, 0, 0}, kByLength), TESTS_FIELD(M, ExtendedVector, {0, 0, 0}, kByLength),
          TESTS_FIELD(M, ExtendedId, {0}, kExactly), TESTS_FIELD(M, SourceIndex, {0}, kExactly),
          FieldOf<M>(&M::HasExtendedData, &M::SetHasExtendedData, {0}, kExactly),
          FieldOf<M>(&M::IsInserted, &M::SetInserted, {0}, kExactly)};
}

template <class M>
FieldTable<M> AngleFields() {
  FieldTable<M> table;
  if constexpr (requires(M m) { m.GetRotaryAngle(); })
    table.push_back(TESTS_FIELD(M, RotaryAngle, {0}));
  else if constexpr (requires(M m) { m.GetPoleStatus(); })
    for (std::int16_t i = 0; i < (std::is_same_v<M, zvPosted5axMove> ? 2 : 3); ++i)
      table.push_back(FieldOf<M>([i](const M& m) { return m.GetAngle(i); }, [i](M& m, double deg) { m.SetAngle(deg, i); }, {0}));
  return table;
}

template <class M>
FieldTable<M> AllFields(bool small) {
  FieldTable<M> all{TESTS_FIELD(M, Type, {0}, kExactly), TESTS_FIELD(M, MachinePosition, {0, 0, 0}),
               TESTS_FIELD(M, PartPosition, {0, 0, 0}), TESTS_FIELD(M, Orientation, {0, 0, 1}),
               FieldOf<M>(&M::IsRapid, &M::SetRapid, {0}, kExactly), TESTS_FIELD(M, Feed, {0}),
               TESTS_FIELD(M, ReservedSingle, {0}, kExactly), TESTS_FIELD(M, MoveTime, {0})};
  for (const FieldTable<M>& more : {small ? FieldTable<M>() : BlockFields<M>(), AngleFields<M>()})
    all.insert(all.end(), more.begin(), more.end());
  if constexpr (requires(M m) { m.GetPoleStatus(); })
    all.push_back(TESTS_FIELD(M, PoleStatus, {0}, kExactly));
  return all;
}
// clang-format on

template <class M>
Numbers Whole(const M& m) {
  return Values(AllFields<M>(m.HasNoExtended()), m);
}

// A small or an extended move, made by the long constructors.
template <class M>
M Sample(bool small) {
  const auto make = [small](auto... own) {
    const Point machine{1, 2, 3}, part{4, 5, 6}, orientation{7, 8, 9};
    if (small) return M(machine, part, orientation, own..., 16, true, zvPostedMove::link4);
    return M(machine, part, orientation, own..., 16, true, zvPostedMove::link4, {10, 11, 12},
             {13, 14, 15}, 4000000000u, true, -17, true);
  };
  if constexpr (std::is_same_v<M, zvPosted4axMove>) return make(21.0);
  if constexpr (std::is_same_v<M, zvPosted5axMove>) return make(21.0, 22.0, 2u);
  if constexpr (std::is_same_v<M, zvPosted6axMove>) return make(21.0, 22.0, 23.0, 2u);
  if constexpr (std::is_constructible_v<M, Point, Point, Point, int, bool, zvPostedMove::Types>)
    return make();
}

template <class M>
class PostedMoveClasses : public testing::Test {};
using Classes = testing::Types<zvPostedMove, zvPosted3axMove, zvPosted4axMove, zvPosted5axMove,
                               zvPosted6axMove>;
TYPED_TEST_SUITE(PostedMoveClasses, Classes);

TYPED_TEST(PostedMoveClasses, ConstructorsAndSettersReachTheirOwnField) {
  const Numbers owns[] = {{}, {21}, {21, 22, 2}, {21, 22, 23, 2}};
  const Numbers own = owns[AngleFields<TypeParam>().size()];
  const Numbers base{4, 1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 16, 0, 0};
  const Numbers block{10, 11, 12, 13, 14, 15, 4000000000.0, -17, 1, 1};
  EXPECT_EQ(Whole(Sample<TypeParam>(true)), Flat(base, own));
  EXPECT_EQ(Whole(Sample<TypeParam>(false)), Flat(base, block, own));
  for (const bool small : {true, false})
    ExpectFields(AllFields<TypeParam>(small), TypeParam(small), Sample<TypeParam>(small));
}

TYPED_TEST(PostedMoveClasses, CopiesAreDeepInAllBlockCombinationsAndMovesHandTheBlockOn) {
  // Lists and vectors of moves hand the block on only where moving can't fail.
  static_assert(std::is_nothrow_move_constructible_v<TypeParam>);
  static_assert(std::is_nothrow_move_assignable_v<TypeParam>);
  for (const auto& [small, smallTarget] :
       {std::pair(true, true), {true, false}, {false, true}, {false, false}}) {
    TypeParam source = Sample<TypeParam>(small), target(smallTarget);
    source.SetReservedSingle(0.5f);
    source.SetMoveTime(19);
    const Numbers expected = Whole(source);
    target = source;
    TypeParam copy(source);
    EXPECT_TRUE(copy == source && target == source);
    for (TypeParam* other : {&target, &copy}) {
      EXPECT_EQ(Whole(*other), expected);
      other->SetFeed(99);
      if (!small) other->SetSourceIndex(99);
      EXPECT_EQ(Whole(source), expected);
    }
    TypeParam& again = source;
    source = again;
    source = std::move(again);
    EXPECT_EQ(Whole(source), expected);
    const Point* block = small ? nullptr : &source.GetExtendedPoint();
    TypeParam moved(std::move(source));
    target = std::move(moved);
    EXPECT_EQ(Whole(target), expected);
    EXPECT_TRUE(small || &target.GetExtendedPoint() == block);
    // A move that was moved from is small and can be used again. NOLINTNEXTLINE(*move*,*Move)
    EXPECT_TRUE(moved.HasNoExtended());
    moved = target;
    EXPECT_EQ(Whole(moved), expected);
  }
}

TYPED_TEST(PostedMoveClasses, EachFieldAloneMakesUnequalOutsideTheTolerance) {
  TypeParam reference(false);
  reference.SetOrientation({0, 0, 0});  // zeros keep differences of 1e-12 exact
  reference.SetExtendedPoint({0, 0, 0});
  const auto isEqual = [&](const TypeParam& changed) {
    EXPECT_TRUE(changed == changed) << "a move equals itself, also with a NaN";
    EXPECT_EQ(changed == reference, reference == changed);
    return changed == reference;
  };
  const double beyond = std::nextafter(1e-12, 1);
  for (const auto& field : AllFields<TypeParam>(false)) {
    const Numbers value = field.get(reference);
    const auto isEqualWith = [&](const Numbers& n) {
      TypeParam changed(reference);
      field.set(changed, n);
      return isEqual(changed);
    };
    EXPECT_TRUE(isEqualWith(value));
    EXPECT_FALSE(isEqualWith(Numbers(value.size(), field.isFlag ? 1 - value[0] : 1)));
    for (std::size_t i = 0; field.role != kExactly && i < value.size(); ++i)
      for (const double v : {1e-12, -1e-12, beyond, -beyond, 1.0, kNaN, kInfinity}) {
        Numbers n = value;
        n[i] = v;
        EXPECT_EQ(isEqualWith(n), std::fabs(v) <= 1e-12) << testing::PrintToString(n);
      }
    if (value.size() == 3) {
      EXPECT_EQ(isEqualWith({0.8e-12, 0.8e-12, -0.8e-12}), field.role != kByLength);
    }
  }
  TypeParam changed(reference);
  changed.SetReservedSingle(1e-30f);
  EXPECT_FALSE(isEqual(changed));
  changed.SetReservedSingle(-0.0f);
  EXPECT_TRUE(isEqual(changed));
  changed.SetExtended(false);
  EXPECT_FALSE(isEqual(changed));
}

TYPED_TEST(PostedMoveClasses, TheFieldsOfABlockNeedOne) {
  TypeParam move(true);
  move.SetExtended(false);
  for (const auto& field : BlockFields<TypeParam>()) {
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { field.get(move); }, 5048));
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { field.set(move, {0, 0, 0}); }, 5048));
  }
  move.SetExtended(true);
  EXPECT_EQ(Whole(move), Whole(TypeParam(false)));
  move.SetSourceIndex(5);
  move.SetExtended(true);
  EXPECT_EQ(move.GetSourceIndex(), 5) << "an existing block is kept";
  // Only the point marks the data.
  move.SetExtendedVector({1, 2, 3});
  move.SetExtendedId(4);
  EXPECT_FALSE(move.HasExtendedData());
  move.SetExtendedPoint({0, 0, 0});
  EXPECT_TRUE(move.HasExtendedData());
}

// By their own id: two owners of one block would overwrite each other's numbers.
using Blocks = std::map<int, std::unique_ptr<zvExtendedPostedMove>>;

void Append(Blocks& blocks, int from, int count) {
  for (int i = from; i < from + count; ++i)
    blocks[i] = std::make_unique<zvExtendedPostedMove>(
        Point(i, i, i), Point(), static_cast<std::uint32_t>(i), true, -i, false);
}

// Dies after its thread's stock of blocks, because it is made before it.
struct LateOwner {
  Blocks blocks;
  ~LateOwner() {
    Append(blocks, 300, 10);
    blocks.clear();
  }
};

TEST(ExtendedPostedMove, BlocksMayDieOnOtherThreadsAndAfterTheirOwn) {
  // More than a thread keeps in stock, so that blocks go to the common pool and come back.
  constexpr int kMany = 20000;
  Blocks blocks;
  for (int round = 0; round < 4; ++round) {
    std::thread([&] {
      thread_local LateOwner owner;
      Append(owner.blocks, 0, 300);
      // Deletes half of what threads that are gone have made, and adds its own.
      std::erase_if(blocks, [](const auto& block) { return block.first % 2 == 0; });
      Append(blocks, round * kMany, kMany);
    }).join();
    for (const auto& [id, block] : blocks) {
      ASSERT_EQ(block->GetExtendedPoint(), Point(id, id, id));
      ASSERT_EQ(block->GetSourceIndex(), -id);
      ASSERT_EQ(reinterpret_cast<std::uintptr_t>(block.get()) % alignof(zvExtendedPostedMove), 0u);
    }
  }
}

TEST(ExtendedPostedMove, WithoutDataOnlyOriginCounts) {
  const zvExtendedPostedMove plain({1, 2, 3}, {4, 5, 6}, 7, false, 8, false);
  EXPECT_TRUE(plain == zvExtendedPostedMove({0, 0, 0}, {0, kNaN, 0}, 0, false, 8, false));
  EXPECT_FALSE(plain == zvExtendedPostedMove({1, 2, 3}, {4, 5, 6}, 7, false, 9, false));
  EXPECT_FALSE(plain == zvExtendedPostedMove({1, 2, 3}, {4, 5, 6}, 7, false, 8, true));
  EXPECT_FALSE(plain == zvExtendedPostedMove({1, 2, 3}, {4, 5, 6}, 7, true, 8, false));
}

template <class M>
class RotaryMoves : public testing::Test {};
using RotaryClasses = testing::Types<zvPosted4axMove, zvPosted5axMove, zvPosted6axMove>;
TYPED_TEST_SUITE(RotaryMoves, RotaryClasses);

TYPED_TEST(RotaryMoves, WindsAddWholeTurnsToTheirAxisAndNoOtherIndexStores) {
  using Limits = std::numeric_limits<std::int64_t>;
  const auto table = AngleFields<TypeParam>();
  const std::size_t axes = table.size();
  for (std::size_t axis = 0; axis < axes; ++axis)
    for (const std::int64_t turns : {std::int64_t{-2}, std::int64_t{1}, std::int64_t{10000000},
                                     Limits::max(), Limits::min()}) {
      auto move = Sample<TypeParam>(false);
      Numbers expected = Values(table, move);
      expected[axis] += static_cast<double>(turns) * 360;
      if constexpr (std::is_same_v<TypeParam, zvPosted4axMove>) {
        move.AddWinds(turns);
      } else {
        move.AddWinds(turns, static_cast<std::int16_t>(axis));
        for (const int other : {-32768, -2, -1, 3, 4, 256, 257, 32767, axes == 2 ? 2 : -1}) {
          const auto odd = static_cast<std::int16_t>(other);  // the index of no axis
          EXPECT_EQ(&move.GetAngle(odd), &move.GetAngle(0));
          move.SetAngle(99, odd);
          move.AddWinds(5, odd);
        }
      }
      EXPECT_EQ(Values(table, move), expected) << turns;
    }
}

TYPED_TEST(RotaryMoves, AngleDistanceIsTheLargestCircularOne) {
  constexpr double kCases[][3] = {
      {350, 10, 20}, {0, 180, 180}, {-10, 370, 20}, {725, -5, 10}, {3600, -3600, 0}};
  const auto table = AngleFields<TypeParam>();
  for (std::size_t axis = 0; axis < table.size(); ++axis) {
    TypeParam a(true), b(true);
    const std::size_t another = (axis + 1) % table.size();
    table[another].set(b, {-15});
    for (const auto& [from, to, distance] : kCases) {
      table[axis].set(a, {from});
      table[axis].set(b, {to});
      const double largest = another == axis ? distance : std::max(distance, 15.0);
      EXPECT_DOUBLE_EQ(a.AngleDistance(b), largest) << from << " to " << to;
    }
    for (const double bad : {kNaN, kInfinity, -kInfinity}) {
      table[axis].set(b, {bad});
      EXPECT_TRUE(std::isnan(a.AngleDistance(b)) && std::isnan(b.AngleDistance(a))) << axis;
    }
  }
}

TEST(PostedMove, OfFiveAxesMakesOneOfSixAndOneOfEachSolution) {
  const auto five = Sample<zvPosted5axMove>(false);
  EXPECT_EQ(Whole(zvPosted6axMove(five, 23)), Whole(Sample<zvPosted6axMove>(false)));
  const zvSolutionPair pair(five, zvMirrorAngle{31, 32, {33, 34, 35}});
  EXPECT_EQ(Whole(FirstSolutionMove(pair)), Whole(five));
  zvPosted5axMove expected = five;
  expected.SetMachinePosition({33, 34, 35});
  expected.SetAngle(31, 0);
  expected.SetAngle(32, 1);
  EXPECT_EQ(Whole(MirrorSolutionMove(pair)), Whole(expected)) << "all else stays";
  EXPECT_EQ(zvMirrorAngle(), (zvMirrorAngle{0, 0, {0, 0, 0}}));
}

}  // namespace
}  // namespace post
