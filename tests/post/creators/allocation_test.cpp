// Posting makes no call of the general heap per move; what remains goes with the arenas.
#include <tests/support/every_creator.h>
#include <tests/support/memory_watch.h>

namespace {

using post::zvKDRParam;

constexpr int kMoves = 200000;

template <class C>
struct Allocations : testing::Test {};
TYPED_TEST_SUITE(Allocations, tests::EveryCreator);

// Round and round and through poles, with interpolation, windings and rewindings: whatever a
// posting puts in comes from the pool.
TYPED_TEST(Allocations, APostingNeedsNonePerMove) {
  using Shop = tests::Workshop<TypeParam>;
  const auto few = Shop::Path(kMoves / 10, 4);
  const auto many = Shop::Path(kMoves, 4);
  for (const auto check : {zvKDRParam::checkNothing, zvKDRParam::checkAllAxes})
    for (const bool smallMoves : {false, true}) {
      Shop shop;
      if constexpr (Shop::kAxes == 4) shop.SetRange(-720, 720);
      shop.par.SetLimitsCheck(check);
      if constexpr (Shop::kAxes == 3) {
        shop.par.SetInterpolateByDistance(true);
        shop.par.SetInterpolationDistance(0.06);
        shop.par.SetAlignToolpath(true);
        if (smallMoves) shop.machDef.SetSpindleDirection({0, 1, 0});
      }
      TypeParam creator = shop.Creator();
      const auto count = [&](const cadcam::zvToolPath& toolpath) {
        const std::uint64_t before = tests::AllocationCount();
        creator.Post(toolpath, smallMoves);
        const std::uint64_t calls = tests::AllocationCount() - before;
        EXPECT_GE(creator.GetPostedList()->GetCount(), 2 * toolpath.GetMoveCount() - 1);
        if constexpr (Shop::kAxes == 4) {
          EXPECT_EQ(creator.GetCounts().rewindings > 50, check == zvKDRParam::checkAllAxes);
        }
        creator.ClearPostedList();
        return calls;
      };
      const std::uint64_t base = count(few);
      EXPECT_LT(count(many) - base, kMoves / 100u) << check << smallMoves;
    }
}

}  // namespace
