// Posting makes no call of the general heap per move; what remains goes with the arenas.
#include <gtest/gtest.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <tests/support/allocation_counter.h>
#include <tests/support/toolpath_builders.h>

namespace {

using tests::AllocationCount;
using tests::PathBuilder;

constexpr int kMoves = 200000;

PathBuilder LongPath(int moves, const tests::Point& orientation) {
  PathBuilder::Moves source;
  for (int i = 0; i < moves; ++i)
    source.push_back(tests::Move5({i * 0.1, i % 7 * 1.0, 0}, orientation));
  return PathBuilder().Contour(source);
}

// Allocations that posting `kMoves` moves needs beyond those for a tenth of them.
template <class Creator>
std::uint64_t ExtraAllocations(Creator& creator, const tests::Point& orientation, bool smallMoves) {
  const auto few = LongPath(kMoves / 10, orientation);
  const auto many = LongPath(kMoves, orientation);
  const auto count = [&](const cadcam::zvToolPath& path) {
    const std::uint64_t before = AllocationCount();
    creator.Post(path, smallMoves);
    const std::uint64_t calls = AllocationCount() - before;
    creator.ClearPostedList();
    return calls;
  };
  const std::uint64_t base = count(few);
  return count(many) - base;
}

TEST(Allocations, AThreeAxisPostingNeedsNonePerMove) {
  const post::zv3axMachDef machDef;
  const post::zv5axControlDef control;
  const tests::Point origin;
  for (const bool align : {false, true})
    for (const bool smallMoves : {false, true}) {
      post::zvKDRParam par(tests::kMetric);
      par.SetAlignToolpath(align);
      par.SetInterpolateByDistance(true);
      par.SetInterpolationDistance(1.01);
      zvPosted3axTPCreator creator(machDef, control, par, origin, 0);
      const tests::Point orientation = align ? tests::Point(0, 1, 0) : tests::Point(0, 0, 1);
      // Bookkeeping of arenas, which hold over a thousand moves each.
      EXPECT_LT(ExtraAllocations(creator, orientation, smallMoves), kMoves / 100u)
          << align << smallMoves;
    }
}

}  // namespace
