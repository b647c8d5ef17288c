// Posting makes no call of the general heap per move; what remains goes with the arenas.
#include <gtest/gtest.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/creators/four_axis_creator.h>
#include <kandrel/post/creators/six_axis_creator.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <tests/support/memory_watch.h>
#include <tests/support/toolpath_builders.h>

#include <cmath>

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

// Through poles and jumps, with interpolation: whatever a posting puts in comes from the pool.
PathBuilder ThroughPoles(int moves) {
  PathBuilder::Moves source;
  for (int i = 0; i < moves; ++i) {
    const double turn = i * 0.03;
    const double tilt = 0.3 * std::sin(i * 0.01);
    source.push_back(tests::Move5(
        {i * 0.1, 5 * std::sin(turn), 0},
        {std::sin(tilt) * std::cos(turn), std::sin(tilt) * std::sin(turn), std::cos(tilt)}));
  }
  return PathBuilder().Contour(source);
}

template <class Creator, class MachDef>
void ExpectNoneForEachMove(const MachDef& machDef) {
  const post::zv5axControlDef control;
  const tests::Point origin;
  const auto few = ThroughPoles(kMoves / 10);
  const auto many = ThroughPoles(kMoves);
  for (const auto check : {post::zvKDRParam::checkNothing, post::zvKDRParam::checkAllAxes}) {
    post::zvKDRParam par(tests::kMetric);
    par.SetLimitsCheck(check);
    Creator creator(machDef, control, par, origin, 100);
    const auto count = [&](const cadcam::zvToolPath& toolpath) {
      const std::uint64_t before = AllocationCount();
      creator.Post(toolpath, true);
      const std::uint64_t calls = AllocationCount() - before;
      EXPECT_GT(creator.GetPostedList()->GetCount(), toolpath.GetMoveCount()) << "interpolated";
      creator.ClearPostedList();
      return calls;
    };
    const std::uint64_t base = count(few);
    EXPECT_LT(count(many) - base, kMoves / 100u);
  }
}

TEST(Allocations, AFiveAxisPostingNeedsNonePerMove) {
  post::zv5axMachDef machDef;
  machDef.SetFiveAxisKind(3);
  machDef.SetFirstRotationDirection({0, 0, 1});
  machDef.SetSecondRotationDirection({1, 0, 0});
  ExpectNoneForEachMove<zvPosted5axTPCreator>(machDef);
}

TEST(Allocations, ASixAxisPostingNeedsNonePerMove) {
  post::zv6axMachDef machDef;
  machDef.SetFirstOnWorkpiece(1);
  machDef.SetFirstRotationDirection({0, 0, 1});
  machDef.SetSecondRotationDirection({1, 0, 0});
  machDef.SetThirdRotationDirection({0, 1, 0});
  ExpectNoneForEachMove<zvPosted6axTPCreator>(machDef);
}

// Round and round, with interpolation, windings and rewindings.
TEST(Allocations, AFourAxisPostingNeedsNonePerMove) {
  post::zv4axMachDef machDef;
  machDef.SetRotaryOnWorkpiece(1);
  machDef.SetRotationDirection({1, 0, 0});
  machDef.SetMinAngle(-720);
  machDef.SetMaxAngle(720);
  const post::zv5axControlDef control;
  const tests::Point origin;
  const auto path = [](int moves) {
    PathBuilder::Moves source;
    for (int i = 0; i < moves; ++i) {
      const double turn = i * 0.07;  // 4 degrees: one move between two
      source.push_back(tests::Move5({i * 0.1, 5, 0}, {0, std::sin(turn), std::cos(turn)}));
    }
    return PathBuilder().Contour(source);
  };
  const auto few = path(kMoves / 10);
  const auto many = path(kMoves);
  for (const auto check : {post::zvKDRParam::checkNothing, post::zvKDRParam::checkAllAxes})
    for (const bool smallMoves : {false, true}) {
      post::zvKDRParam par(tests::kMetric);
      par.SetLimitsCheck(check);
      zvPosted4axTPCreator creator(machDef, control, par, origin, 100);
      const auto count = [&](const cadcam::zvToolPath& toolpath) {
        const std::uint64_t before = AllocationCount();
        creator.Post(toolpath, smallMoves);
        const std::uint64_t calls = AllocationCount() - before;
        EXPECT_GE(creator.GetPostedList()->GetCount(), 2 * toolpath.GetMoveCount() - 1);
        EXPECT_EQ(creator.GetCounts().rewindings > 50, check == post::zvKDRParam::checkAllAxes);
        creator.ClearPostedList();
        return calls;
      };
      const std::uint64_t base = count(few);
      EXPECT_LT(count(many) - base, kMoves / 100u) << check << smallMoves;
    }
}

}  // namespace
