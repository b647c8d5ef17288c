// What is left when the system has no more memory, at each request for it that a posting makes.
#include <gtest/gtest.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/platform.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/creators/four_axis_creator.h>
#include <kandrel/post/creators/posting_facade.h>
#include <kandrel/post/creators/six_axis_creator.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <tests/support/memory_watch.h>
#include <tests/support/throws_id.h>
#include <tests/support/toolpath_builders.h>

#include <chrono>
#include <cmath>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <new>
#include <optional>
#include <thread>
#include <vector>

namespace {

using tests::MemoryFailure;
using tests::PathBuilder;
using tests::Point;

struct Scene {
  post::zv3axMachDef three;
  post::zv4axMachDef four;
  post::zv5axMachDef five;
  post::zv6axMachDef six;
  post::zv5axControlDef control;
  post::zvKDRParam par{tests::kMetric};
  Point origin{10, 20, 30};

  Scene() {
    four.SetRotaryOnWorkpiece(1);
    four.SetRotationDirection({1, 0, 0});
    five.SetFiveAxisKind(3);
    five.SetFirstRotationDirection({0, 0, 1});
    five.SetSecondRotationDirection({1, 0, 0});
    six.SetFirstOnWorkpiece(1);
    six.SetFirstRotationDirection({0, 0, 1});
    six.SetSecondRotationDirection({1, 0, 0});
    six.SetThirdRotationDirection({0, 1, 0});
    par.SetLimitsCheck(post::zvKDRParam::checkAllAxes);
  }
};

// More than an arena holds, as a 4-axis machine can follow it; one of constant orientation for 3.
PathBuilder Path(int moves, bool isFixed, double lastX = 0) {
  PathBuilder::Moves source;
  for (int i = 0; i < moves; ++i) {
    const double turn = isFixed ? 0 : i * 0.03;
    const double x = i + 1 == moves ? lastX : i * 0.1;
    source.push_back(tests::Move5({x, 5, 0}, {0, std::sin(turn), std::cos(turn)}));
  }
  return PathBuilder().Contour(source);
}

// Where the machine stands for the move's tip and angles: a solved move stands there.
Point Solved(const Scene& scene, const post::zvPosted3axMove& move) {
  return post::zvPosted3axMoveMaker(scene.three, scene.origin, 100)
      .MachinePosition(move.GetPartPosition());
}
Point Solved(const Scene& scene, const post::zvPosted4axMove& move) {
  return post::zv4axKinematics(scene.four, scene.origin, 100)
      .MachinePosition(move.GetPartPosition(), post::zvTurn::OfDegrees(move.GetRotaryAngle()));
}
Point Solved(const Scene& scene, const post::zvPosted5axMove& move) {
  return post::zv5axKinematics(scene.five, scene.origin, 100).MachinePosition(move);
}
Point Solved(const Scene& scene, const post::zvPosted6axMove& move) {
  return post::zv5axKinematics(scene.five, scene.origin, 100)
      .MachinePosition(move.GetPartPosition(), move.GetAngle(0), move.GetAngle(1));
}

// Lets each request fail that `attempt` makes, alone and with all that follow, until it needs no
// more; `look` is told how each attempt ended.
void FailEverywhere(const std::function<void()>& attempt, const std::function<void(bool)>& look) {
  for (const bool lasts : {false, true}) {
    int failures = 0;
    for (std::uint64_t requests = 0;; ++requests) {
      bool hasFailed = true;
      bool hasStruck = false;
      {
        const MemoryFailure failure(requests, lasts);
        try {
          attempt();
          hasFailed = false;
        } catch (const std::bad_alloc&) {
        } catch (const misc::zvException& e) {
          EXPECT_EQ(e.GetId(), 0u);
          EXPECT_EQ(e.GetMessage(), L"Failed to allocate memory");
        }
        hasStruck = failure.HasStruck();
      }
      look(hasFailed);
      if (!hasStruck) break;
      failures += hasFailed ? 1 : 0;
    }
    EXPECT_GT(failures, 5) << lasts;
  }
}

template <class Creator, class MachDef>
void ExpectSolvedMovesOrNone(const Scene& scene, const MachDef& machDef, bool isFixed,
                             bool keepsSolved) {
  const auto path = Path(2000, isFixed);
  Creator whole(machDef, scene.control, scene.par, scene.origin, 100);
  const auto expected = whole.Post(path, false);
  ASSERT_GE(expected->GetCount(), 2000u);
  std::optional<Creator> creator;
  bool isPartlyFilled = false;
  const auto attempt = [&] {
    creator.reset();
    creator.emplace(machDef, scene.control, scene.par, scene.origin, 100);
    creator->Post(path, false);
  };
  const auto look = [&](bool hasFailed) {
    if (!creator || !creator->GetPostedList()) return;
    const auto& list = *creator->GetPostedList();
    if (!hasFailed) {
      ASSERT_EQ(list.GetCount(), expected->GetCount());
    }
    isPartlyFilled = isPartlyFilled || (hasFailed && !list.IsEmpty());
    for (const auto& move : list) {
      const Point off = move.GetMachinePosition() - Solved(scene, move);
      ASSERT_LT(off.Length(), 1e-6) << move.GetSourceIndex();
    }
  };
  attempt();  // what stays for all postings is there from now on
  creator.reset();
  const std::size_t mapped = tests::MappedBytes();
  FailEverywhere(attempt, look);
  EXPECT_EQ(isPartlyFilled, keepsSolved);
  creator.reset();
  EXPECT_LE(tests::MappedBytes(), mapped + 0x100000) << "pages are lost";
}

TEST(OutOfMemory, APostingLeavesSolvedMovesOrNone) {
  const Scene scene;
  ExpectSolvedMovesOrNone<zvPosted3axTPCreator>(scene, scene.three, true, true);
  ExpectSolvedMovesOrNone<zvPosted4axTPCreator>(scene, scene.four, false, false);
  ExpectSolvedMovesOrNone<zvPosted5axTPCreator>(scene, scene.five, false, true);
  ExpectSolvedMovesOrNone<zvPosted5axTPCreator>(scene, scene.five, true, true);
  ExpectSolvedMovesOrNone<zvPosted6axTPCreator>(scene, scene.six, false, false);
}

TEST(OutOfMemory, TheFacadeHasAWholeResultOrNone) {
  const Scene scene;
  const auto path = Path(40, false);
  zvKDR5AxBase facade(scene.five, scene.control, scene.par, scene.origin, 100);
  const std::size_t expected = facade.Post(path).GetCount();
  FailEverywhere([&] { facade.Post(path); },
                 [&](bool hasFailed) {
                   EXPECT_EQ(facade.GetPostedTP().GetCount(), hasFailed ? 0 : expected);
                 });
}

TEST(OutOfMemory, AToolpathIsBuiltOrNotAndScaledWhole) {
  std::optional<PathBuilder> path;
  FailEverywhere([&] { path.emplace(Path(5, false)); }, [](bool) {});
  cadcam::zvToolPath built = *path;
  const Point last = (*--built.end())->GetPosition();
  {
    const MemoryFailure failure(0, true);
    built.SetUnits(tests::kInch);
    EXPECT_FALSE(failure.HasStruck()) << "needs none";
  }
  EXPECT_EQ((*--built.end())->GetPosition(), last * 0.03937007874015748);
}

// What fails for another reason is looked at once more; that must not need what may be short.
template <class Creator, class MachDef>
void ExpectNoMoreForAFailure(const Scene& scene, const MachDef& machDef, bool isFixed) {
  constexpr int kMoves = 100000;
  const auto peak = [&](double lastX) {
    Creator creator(machDef, scene.control, scene.par, scene.origin, 100);
    const auto path = Path(kMoves, isFixed, lastX);
    const std::size_t before = tests::MappedBytes();
    const std::uint64_t calls = tests::AllocationCount();
    tests::ResetPeak();
    try {
      creator.Post(path, true);
    } catch (const misc::zvException& e) {
      EXPECT_EQ(e.GetId(), 5039u);
      EXPECT_FALSE(std::isfinite(lastX));
    }
    EXPECT_LT(tests::AllocationCount() - calls, kMoves / 10u);
    return tests::PeakMappedBytes() - before;
  };
  EXPECT_LE(peak(NAN), peak(0) + 0x100000);
}

TEST(OutOfMemory, AFailureNeedsNoMoreThanASuccess) {
  const Scene scene;
  ExpectNoMoreForAFailure<zvPosted3axTPCreator>(scene, scene.three, true);
  ExpectNoMoreForAFailure<zvPosted4axTPCreator>(scene, scene.four, false);
  ExpectNoMoreForAFailure<zvPosted5axTPCreator>(scene, scene.five, false);
}

TEST(OutOfMemory, AThreadWithoutRoomForItsEndHasItsPointers) {
  if (misc::platform::IsAddressSanitized()) GTEST_SKIP() << "threads keep no blocks then";
  std::thread([] {
    misc::zvAutoPointer<int> kept;
    {
      const MemoryFailure failure(1, false);  // what follows the object's own
      kept = misc::MakeAutoPointer<int>(7);
      EXPECT_TRUE(failure.HasStruck());
    }
    EXPECT_EQ(*kept, 7);
  }).join();
}

TEST(RefusedRelease, LosesNoMoreThanItsPages) {
  misc::zvMemoryPoolProvider provider;
  const auto pool = provider.GetPool(168);
  std::vector<void*> nodes(10000);
  for (void*& node : nodes) node = pool->Alloc(168);
  for (std::size_t i = 0; i + 1 < nodes.size(); ++i) *static_cast<void**>(nodes[i]) = nodes[i + 1];
  int releases = 0;
  {
    const tests::ReleaseHook refuseTheFirst([&] { return releases++ != 0; });
    EXPECT_TRUE(tests::ThrowsId<misc::zvException>([&] { pool->FreeChain(nodes[0], nodes.size()); },
                                                   0, L"Failed to free memory"));
  }
  EXPECT_GT(releases, 3);
  EXPECT_EQ(pool->GetArenaCount(), 1u);
  EXPECT_NE(pool->Alloc(168), nullptr);
}

// The release of pages takes most of the time that a long list takes to die.
TEST(LongLists, LetOtherThreadsAppendWhileTheyDie) {
  misc::zvMemoryPoolProvider provider;
  const auto pool = provider.GetPool(168);
  std::vector<void*> nodes(10000);
  for (void*& node : nodes) node = pool->Alloc(168);
  for (std::size_t i = 0; i + 1 < nodes.size(); ++i) *static_cast<void**>(nodes[i]) = nodes[i + 1];
  std::mutex mutex;
  std::condition_variable changed;
  int asked = 0;
  int served = 0;
  std::thread other([&] {
    for (int i = 0; i < 3; ++i) {
      std::unique_lock lock(mutex);
      changed.wait(lock, [&] { return asked > i; });
      lock.unlock();
      EXPECT_NE(pool->Alloc(168), nullptr);
      lock.lock();
      ++served;
      changed.notify_all();
    }
  });
  {
    const tests::ReleaseHook hook([&] {
      std::unique_lock lock(mutex);
      if (asked == 3) return true;
      const int turn = ++asked;
      changed.notify_all();
      EXPECT_TRUE(changed.wait_for(lock, std::chrono::seconds(30), [&] { return served == turn; }))
          << "the lock is held";
      return true;
    });
    pool->FreeChain(nodes[0], nodes.size());
  }
  EXPECT_EQ(served, 3);
  other.join();
}

}  // namespace
