// What is left when the system has no more memory, at each request for it that a posting makes.
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/platform.h>
#include <tests/support/every_creator.h>
#include <tests/support/memory_watch.h>
#include <tests/support/numbers.h>
#include <tests/support/throws_id.h>

#include <chrono>
#include <future>
#include <new>
#include <thread>

namespace tests {
namespace {

// Where the machine stands for the move's tip and angles: a solved move stands there.
template <class C, class Move>
Point Solved(const Workshop<C>& shop, const Move& move) {
  const Point& tip = move.GetPartPosition();
  if constexpr (Workshop<C>::kAxes == 3)
    return post::zvPosted3axMoveMaker(shop.machDef, shop.origin, 100).MachinePosition(tip);
  else if constexpr (Workshop<C>::kAxes == 4)
    return post::zv4axKinematics(shop.machDef, shop.origin, 100)
        .MachinePosition(tip, post::zvTurn::OfDegrees(move.GetRotaryAngle()));
  else
    return post::zv5axKinematics(PlainMachine<zvPosted5axTPCreator>(), shop.origin, 100)
        .MachinePosition(tip, move.GetAngle(0), move.GetAngle(1));
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

template <class C>
struct OutOfMemory : testing::Test, Workshop<C> {
  OutOfMemory() {
    this->origin = {10, 20, 30};
    this->toolLength = 100;
    this->par.SetLimitsCheck(post::zvKDRParam::checkAllAxes);
  }
  void ExpectSolvedMovesOrNone(double stepDeg, bool keepsSolved);
};
TYPED_TEST_SUITE(OutOfMemory, EveryCreator);

// More than an arena holds.
template <class C>
void OutOfMemory<C>::ExpectSolvedMovesOrNone(double stepDeg, bool keepsSolved) {
  const auto path = this->Path(2000, stepDeg);
  C whole = this->Creator();
  const auto expected = whole.Post(path, false);
  ASSERT_GE(expected->GetCount(), 2000u);
  std::optional<C> creator;
  bool isPartlyFilled = false;
  const auto attempt = [&] {
    creator.reset();
    creator.emplace(this->machDef, this->control, this->par, this->origin, this->toolLength);
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
      const Point off = move.GetMachinePosition() - Solved(*this, move);
      ASSERT_LT(off.Length(), 1e-6) << move.GetSourceIndex();
    }
  };
  attempt();  // what stays for all postings is there from now on
  creator.reset();
  const std::size_t mapped = MappedBytes();
  FailEverywhere(attempt, look);
  EXPECT_EQ(isPartlyFilled, keepsSolved);
  creator.reset();
  EXPECT_LE(MappedBytes(), mapped + 0x100000) << "pages are lost";
}

TYPED_TEST(OutOfMemory, APostingLeavesSolvedMovesOrNone) {
  constexpr bool kKeepsSolved = TestFixture::kAxes == 3 || TestFixture::kAxes == 5;
  this->ExpectSolvedMovesOrNone(1.7, kKeepsSolved);
  if (TestFixture::kAxes == 5)
    this->ExpectSolvedMovesOrNone(0, kKeepsSolved);  // on axes that stand
}

// Whatever a posting puts in, by interpolation, windings and rewindings, comes from the pool: it
// makes no call of the general heap per move. What fails for another reason is looked at once more;
// that must not need what may be short.
TYPED_TEST(OutOfMemory, APostingNeedsNoHeapPerMoveAndAFailureNoMoreThanASuccess) {
  constexpr int kMoves = 100000;
  constexpr int kOwnAxes = TestFixture::kAxes;
  for (const bool smallMoves : {false, true}) {
    if constexpr (kOwnAxes == 4) this->SetRange(-720, 720);
    if constexpr (kOwnAxes == 3) {
      this->par.SetInterpolateByDistance(true);
      this->par.SetInterpolationDistance(0.06);
      this->par.SetAlignToolpath(true);
      if (smallMoves) this->machDef.SetSpindleDirection({0, 1, 0});
    }
    const auto peakOf = [&](double lastX, std::uint32_t id) {
      TypeParam creator = this->Creator();
      const auto path = this->Path(kMoves, 4, lastX);
      const std::size_t before = MappedBytes();
      const std::uint64_t calls = AllocationCount();
      ResetPeak();
      EXPECT_EQ(IdOf([&] { creator.Post(path, smallMoves); }), id);
      EXPECT_LT(AllocationCount() - calls, kMoves / 100u);
      if (id == 0) {
        EXPECT_GE(creator.GetPostedList()->GetCount(), 2u * kMoves - 1);
      }
      if constexpr (kOwnAxes == 4) {
        EXPECT_TRUE(id != 0 || creator.GetCounts().rewindings > 50);
      }
      return PeakMappedBytes() - before;
    };
    EXPECT_LE(peakOf(kNaN, 5039), peakOf(0, 0) + 0x100000);
  }
}

using Shop = Workshop<zvPosted5axTPCreator>;

TEST(OutOfMemoryOf, AToolpathIsBuiltOrNotAndScaledWhole) {
  std::optional<PathBuilder> path;
  FailEverywhere([&] { path.emplace(Shop::Path(5, 1.7)); }, [](bool) {});
  cadcam::zvToolPath built = *path;
  const Point last = (*--built.end())->GetPosition();
  {
    const MemoryFailure failure(0, true);
    built.SetUnits(kInch);
    EXPECT_FALSE(failure.HasStruck()) << "needs none";
  }
  EXPECT_EQ((*--built.end())->GetPosition(), last * 0.03937007874015748);
}

TEST(OutOfMemoryOf, AThreadWithoutRoomForItsEndHasItsPointers) {
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

// A long chain of nodes, as a list gives them back.
struct PoolOfChain : testing::Test {
  PoolOfChain() {
    for (void*& node : nodes) node = pool->Alloc(168);
    for (std::size_t i = 1; i < nodes.size(); ++i) *static_cast<void**>(nodes[i - 1]) = nodes[i];
  }
  misc::zvMemoryPoolProvider provider;
  decltype(provider.GetPool(168)) pool = provider.GetPool(168);
  std::vector<void*> nodes = std::vector<void*>(10000);
};

TEST_F(PoolOfChain, LosesNoMoreThanThePagesThatAreRefused) {
  int releases = 0;
  {
    const ReleaseHook refuseTheFirst([&] { return releases++ != 0; });
    EXPECT_TRUE(ThrowsId<misc::zvException>([&] { pool->FreeChain(nodes[0], nodes.size()); }, 0,
                                            L"Failed to free memory"));
  }
  EXPECT_GT(releases, 3);
  EXPECT_EQ(pool->GetArenaCount(), 1u);
  EXPECT_NE(pool->Alloc(168), nullptr);
}

// The release of pages takes most of the time that a long list takes to die.
TEST_F(PoolOfChain, LetsOtherThreadsAppendWhileItDies) {
  std::vector<std::future<void*>> others;
  {
    const ReleaseHook hook([&] {
      if (others.size() == 3) return true;
      others.push_back(std::async(std::launch::async, [&] { return pool->Alloc(168); }));
      EXPECT_EQ(others.back().wait_for(std::chrono::seconds(30)), std::future_status::ready)
          << "the lock is held";
      return true;
    });
    pool->FreeChain(nodes[0], nodes.size());
  }
  EXPECT_EQ(others.size(), 3u);
  for (auto& other : others) EXPECT_NE(other.get(), nullptr);
}

}  // namespace
}  // namespace tests
