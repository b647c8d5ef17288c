#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/polled_end.h>
#include <kandrel/misc/polled_streams.h>
#include <kandrel/misc/progress.h>
#include <tests/support/memory_streams.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace tests {

namespace {

using misc::zvPolling;
using misc::zvProgress;
using Call = std::pair<zvProgress::Stage, double>;

struct Hook final : zvProgress {
  bool Report(Stage stage, double fraction) override {
    calls.emplace_back(stage, fraction);
    return calls.size() < most;
  }

  std::vector<Call> calls;
  std::size_t most = 1u << 20;
};

template <class Action>
testing::AssertionResult IsCancelled(const Action& action) {
  return ThrowsId<misc::zvCancelled>(action, misc::zvmiscException::kCancelled,
                                     L"The operation was cancelled.");
}

TEST(Progress, EachStageHasAName) {
  std::set<std::string> names;
  for (int stage = zvProgress::kReading; stage <= zvProgress::kWriting; ++stage)
    names.insert(NameOf(static_cast<zvProgress::Stage>(stage)));
  EXPECT_EQ(names.size(), zvProgress::kWriting + 1);
  EXPECT_STREQ(NameOf(static_cast<zvProgress::Stage>(200)), "working");
}

TEST(Polling, TellsTheSharesOfWalksAndClosesEachStage) {
  Hook hook;
  zvPolling polling(&hook);
  polling.Start();
  polling.Enter(zvProgress::kPoles, 2);
  polling.StartWalk(4096);
  polling.Advance(2048);
  polling.Touch(1000);
  polling.Touch(24);  // no part of the walk, but the time to ask has come
  polling.StartWalk(0);
  polling.Advance(5000);  // of what no total is known
  polling.StartWalk(1024);
  polling.Advance(1024);                                 // a walk too many
  EXPECT_TRUE(polling.Report(zvProgress::kTimes, 0.5));  // inner work
  polling.Enter(zvProgress::kControl);
  polling.Finish();
  polling.Finish();
  constexpr auto kPoles = zvProgress::kPoles, kControl = zvProgress::kControl;
  const std::vector<Call> calls{{kPoles, 0},
                                {kPoles, 0.25},
                                {kPoles, 0.25},
                                {kPoles, 0.25},
                                {kPoles, 0.25},
                                {kPoles, 1},
                                {zvProgress::kTimes, 0.5},
                                {kControl, 0},
                                {kControl, 1}};
  EXPECT_EQ(hook.calls, calls);
}

TEST(Polling, IsSilentOnceCancelledUntilItStartsAnew) {
  Hook hook;
  hook.most = 1;
  zvPolling polling(&hook);
  EXPECT_TRUE(IsCancelled([&] { polling.Enter(zvProgress::kSolving); }));
  EXPECT_TRUE(polling.HasStopped());
  polling.Touch(1u << 20);
  polling.Enter(zvProgress::kTimes);
  EXPECT_FALSE(polling.Report(zvProgress::kTimes, 0));
  EXPECT_EQ(hook.calls.size(), 1);
  hook.most = 9;
  polling.Start();
  polling.Enter(zvProgress::kTimes);
  EXPECT_EQ(hook.calls.size(), 2);
}

// Growth and walks ask every kEvery elements, whatever is put in on the way; a list that nobody
// polls is walked to its end as well.
TEST(PolledEnd, AsksOnGrowthAndOnWalks) {
  constexpr std::uint32_t kCount = 10 * zvPolling::kEvery + 7;
  for (const bool isAsked : {false, true}) {
    Hook hook;
    zvPolling polling(isAsked ? &hook : nullptr);
    misc::zvMemoryPoolProvider provider;
    misc::zvMemoryPoolList<std::uint32_t> list(provider);
    list.SetPolling(polling.Get());
    polling.Enter(zvProgress::kSolving);
    for (std::uint32_t i = 0; i < kCount; ++i) list.PushBack(i);
    EXPECT_EQ(hook.calls.size(), isAsked ? 11 : 0);
    polling.Enter(zvProgress::kTimes);
    const std::size_t before = hook.calls.size();
    std::uint32_t expected = 0;
    misc::zvPolledEnd end(list);
    for (auto i = list.begin(); end.IsBefore(i); ++i) {
      ASSERT_EQ(*i, expected++);
      if (*i % 100 == 0) list.Insert(i, 0);
    }
    EXPECT_EQ(expected, kCount);
    EXPECT_GE(hook.calls.size() - before, isAsked ? 10 : 0);
    if (isAsked) {
      EXPECT_GT(hook.calls.back().second, 0.9);  // the rest is told by the end of the stage
    }
    misc::zvPolledEnd none(list, list.end(), list.end());
    EXPECT_FALSE(none.IsBefore(list.end()));
  }
}

TEST(PolledStreams, HandOnAllBytesUntilTheyAreCancelled) {
  std::string bytes(10000, ' ');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7);
  const auto copy = [&](zvProgress* hook, MemoryOutput& to) {
    MemoryInput from(bytes);
    misc::zvPolledInput in(from, hook, bytes.size());
    misc::zvPolledOutput out(to, hook, bytes.size());
    for (misc::zvStreamSize size = 1; size != 0;) {
      char buffer[300];
      size = sizeof buffer;
      in.Read(buffer, size);
      out.Write(buffer, size);
    }
    in.Finish();
    out.Finish();
  };
  Hook hook;
  for (zvProgress* each : {static_cast<zvProgress*>(nullptr), static_cast<zvProgress*>(&hook)}) {
    MemoryOutput to;
    copy(each, to);
    EXPECT_EQ(to.GetBytes(), bytes);
  }
  const std::size_t calls = hook.calls.size();
  EXPECT_GE(calls, 2 * (10000 / 1200) + 4);
  for (std::size_t most = 1; most <= calls; ++most) {
    hook = {};
    hook.most = most;
    MemoryOutput to;
    EXPECT_TRUE(IsCancelled([&] { copy(&hook, to); }));
    EXPECT_EQ(to.GetBytes(), bytes.substr(0, to.GetBytes().size()));
  }
}

}  // namespace

}  // namespace tests
