// What a creator, the façade and the verifier tell a hook, and how they end when it cancels.
#include <kandrel/misc/progress.h>
#include <kandrel/post/creators/posting_facade.h>
#include <kandrel/post/verifier/posting_verifier.h>
#include <tests/support/every_creator.h>
#include <tests/support/outcome.h>

#include <stdexcept>

namespace tests {
namespace {

using misc::zvProgress;
using post::zvKDRParam;

constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

// Of the family that postings look at to try again, and of none.
struct OwnFailure : std::runtime_error {
  OwnFailure() : std::runtime_error("own") {}
};
struct OwnFamilyFailure : misc::zvException {
  OwnFamilyFailure() : zvException(5010, L"own") {}
};

class Hook final : public zvProgress {
 public:
  using Call = std::pair<Stage, double>;
  enum class End { kCancels, kThrows, kThrowsFamily };

  bool Report(Stage stage, double fraction) override {
    calls.emplace_back(stage, fraction);
    if (calls.size() - 1 < endsAt) return true;
    if (end == End::kThrows) throw OwnFailure();
    if (end == End::kThrowsFamily) throw OwnFamilyFailure();
    return false;
  }

  std::vector<Call> calls;
  std::size_t endsAt = kNever;
  End end = End::kCancels;
};

// Each stage goes from 0 to 1 and never back; the last one has ended.
void ExpectWholeStages(const std::vector<Hook::Call>& calls) {
  ASSERT_FALSE(calls.empty());
  double last = 1;
  zvProgress::Stage stage = calls.front().first;
  for (const auto& [next, fraction] : calls) {
    if (last == 1 && fraction == 0) stage = next;
    ASSERT_EQ(next, stage);
    ASSERT_TRUE(fraction >= last || (last == 1 && fraction == 0)) << last << ", " << fraction;
    ASSERT_TRUE(fraction >= 0 && fraction <= 1) << fraction;
    last = fraction;
  }
  EXPECT_EQ(last, 1);
}

// How `work` ends when the hook ends it as told: as a cancelling, or with what the hook throws.
template <class Work>
void ExpectEndedBy(Hook::End end, const Work& work) {
  switch (end) {
    case Hook::End::kCancels:
      EXPECT_TRUE(ThrowsId<misc::zvCancelled>(work, 9000, L"The operation was cancelled."));
      break;
    case Hook::End::kThrows:
      EXPECT_THROW(work(), OwnFailure);
      break;
    case Hook::End::kThrowsFamily:
      EXPECT_THROW(work(), OwnFamilyFailure);
      break;
  }
}

// What makes a posting go through all passes, and through those of its other attempts; and what
// that of five axes comes to: its id, and the fewest of lines, rewindings, poles and jumps.
struct Case {
  const char* name;
  int count;
  double stepDeg;
  double reach = 1e5;  // of the only or first rotary axis, to both sides
  bool hasTolerance = false;
  std::uint32_t id = 0;
  std::size_t lines = 0;
  std::uint32_t rewindings = 0, poles = 0, jumps = 0;
  void (*set)(zvKDRParam& par) = [](zvKDRParam&) {};
};

void MakeJumps(zvKDRParam& par) {
  par.SetMaxAngleJump(20);
  par.SetMaxAngleStep(170);
}

constexpr Case kCases[] = {
    {"plain", 3000, 0.5},
    {"tolerance", 1500, 1, 1e5, true, 0, 1501},
    {"rewindings", 1500, 3, 360, false, 0, 1500, 1},
    {"rewindings and tolerance", 600, 3, 360, true, 0, 600, 1},
    {"attempts that all fail", 400, 3, 40, false, 5018},
    {"aligned", 1500, 0.5, 1e5, false, 0, 1500, 0, 0, 0, [](auto& p) { p.SetAlignToolpath(true); }},
    {"poles", 300, 50, 1e5, false, 0, 300, 0, 1},
    {"large jumps", 300, 50, 1e5, false, 0, 300, 0, 0, 101, MakeJumps},
    {"one orientation", 3000, 0},
    {"long steps", 4, 20, 1e5, false, 0, 2001, 0, 0, 0, [](auto& p) { DivideByDistance(p, 2e-4); }},
};

template <class C>
struct Progress : testing::Test {
  using Shop = Workshop<C>;

  static Shop ShopOf(const Case& c) {
    Shop shop;
    shop.SetRange(-c.reach, c.reach);
    shop.machDef.SetMinLimits({-1e6, -1e6, -1e6});
    shop.machDef.SetMaxLimits({1e6, 1e6, 1e6});
    shop.par.SetLimitsCheck(zvKDRParam::checkAllAxes);
    c.set(shop.par);
    return shop;
  }
  static void Set(C& creator, const Case& c) {
    if (c.hasTolerance) creator.SetPathTolerance({0.01, 0.1});
  }
};
TYPED_TEST_SUITE(Progress, EveryCreator);

TYPED_TEST(Progress, CancelsAtEachPollAndPostsAgainTheSame) {
  using Fixture = Progress<TypeParam>;
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const auto shop = Fixture::ShopOf(c);
    const auto path = Fixture::Shop::Path(c.count, c.stepDeg);
    TypeParam plain = shop.Creator();
    Fixture::Set(plain, c);
    const auto expected = PostBy(plain, path);
    if constexpr (Fixture::Shop::kAxes == 5) {
      ASSERT_EQ(expected.id, c.id);
      ASSERT_GE(expected.lines.size(), c.lines);
      ASSERT_GE(expected.counts.rewindings, c.rewindings);
      ASSERT_GE(expected.counts.blendedPoles, c.poles);
      ASSERT_GE(expected.counts.largeJumps, c.jumps);
    }

    Hook hook;
    TypeParam asked = shop.Creator();
    Fixture::Set(asked, c);
    asked.SetProgress(&hook);
    ASSERT_EQ(PostBy(asked, path), expected);
    if (expected.id == 0) ExpectWholeStages(hook.calls);
    const std::size_t polls = hook.calls.size();
    for (std::size_t k = 0; k < polls; ++k) {
      hook = {};
      hook.endsAt = k;
      hook.end = static_cast<Hook::End>(k % 3);
      TypeParam creator = shop.Creator();
      Fixture::Set(creator, c);
      creator.SetProgress(&hook);
      ExpectEndedBy(hook.end, [&] { creator.Post(path, false); });
      ASSERT_EQ(hook.calls.size(), k + 1) << "asked after its end";
      ASSERT_TRUE(!creator.GetPostedList() || creator.GetPostedList()->IsEmpty()) << k;
      ASSERT_FALSE(creator.IsAlignMatrixValide()) << k;
      ASSERT_EQ(creator.GetPar().GetFirstMoveSolutionIndex(), shop.par.GetFirstMoveSolutionIndex())
          << k;
      hook.endsAt = kNever;
      ASSERT_EQ(PostBy(creator, path), expected) << "after poll " << k;
      if (testing::Test::HasFailure()) return;
    }
  }
}

// A list that was posted outlives the hook and the creator, and may be changed.
TYPED_TEST(Progress, LeavesNothingInTheList) {
  const auto shop = this->ShopOf(kCases[0]);
  typename TypeParam::ListPointer list;
  {
    Hook hook;
    TypeParam creator = shop.Creator();
    creator.SetProgress(&hook);
    creator.Post(this->ShopOf(kCases[0]).Path(100, 1), false);
    list = std::move(creator.GetPostedList());
  }
  EXPECT_EQ(list->GetPolling(), nullptr);
}

// In a pass over the list the fraction is that of the list's moves.
TYPED_TEST(Progress, IsAskedEvery4096MovesOfEachPass) {
  constexpr int kMoves = 100000;
  const auto shop = this->ShopOf(kCases[0]);
  Hook hook;
  TypeParam creator = shop.Creator();
  creator.SetProgress(&hook);
  const auto list = creator.Post(shop.Path(kMoves, 0.01), false);
  ASSERT_GE(list->GetCount(), kMoves);
  std::map<zvProgress::Stage, std::size_t> asked;
  for (const Hook::Call& call : hook.calls) ++asked[call.first];
  std::vector<zvProgress::Stage> stages = {zvProgress::kSolving, zvProgress::kLimits};
  if (shop.kAxes > 3) stages.insert(stages.end(), {zvProgress::kWinding, zvProgress::kTimes});
  for (const zvProgress::Stage stage : stages)
    EXPECT_GE(asked[stage], kMoves / 4096) << NameOf(stage);
  for (std::size_t i = 1; i < hook.calls.size(); ++i) {
    const auto& [stage, fraction] = hook.calls[i];
    if (stage != hook.calls[i - 1].first || fraction == 1) continue;
    EXPECT_LE((fraction - hook.calls[i - 1].second) * kMoves, 4096) << NameOf(stage);
  }
}

// What isn't a creator: work that is done anew for each poll.
template <class Work>
void ExpectCancelledAtEachPoll(const Work& work) {
  Hook hook;
  work(&hook);
  ExpectWholeStages(hook.calls);
  const std::size_t polls = hook.calls.size();
  ASSERT_GT(polls, 2);
  for (std::size_t k = 0; k < polls; ++k) {
    hook = {};
    hook.endsAt = k;
    hook.end = static_cast<Hook::End>(k % 3);
    ExpectEndedBy(hook.end, [&] { work(&hook); });
    ASSERT_EQ(hook.calls.size(), k + 1);
  }
}

TYPED_TEST(Progress, EndsTheFacadeAndTheVerifier) {
  const auto shop = this->ShopOf(kCases[0]);
  const auto path = this->ShopOf(kCases[0]).Path(3000, 0.5);
  zvKDR5AxBase facade(shop.machDef, shop.control, shop.par, shop.origin, shop.toolLength);
  const post::zvPostedTP expected = facade.Post(path);
  ExpectCancelledAtEachPoll([&](zvProgress* hook) {
    facade.SetProgress(hook);
    try {
      facade.Post(path);
    } catch (...) {
      EXPECT_EQ(facade.GetPostedTP().GetCount(), 0);
      throw;
    }
  });
  facade.SetProgress(nullptr);
  const post::zvPostedTP& again = facade.Post(path);
  ASSERT_EQ(again.GetCount(), expected.GetCount());
  using Move = typename TypeParam::Move;
  EXPECT_TRUE(
      std::equal(again.Begin(), again.End(), expected.Begin(), [](const auto& a, const auto& b) {
        return static_cast<const Move&>(*a) == static_cast<const Move&>(*b);
      }));

  post::zvPostingVerifier verifier(shop.machDef, shop.control, shop.origin, shop.toolLength);
  TypeParam creator = shop.Creator();
  const auto list = creator.Post(path, false);
  ExpectCancelledAtEachPoll([&](zvProgress* hook) {
    verifier.SetProgress(hook);
    EXPECT_TRUE(verifier.Verify(path, *list).IsClean());
    EXPECT_TRUE(verifier.Verify(path, again).IsClean());
  });
}

}  // namespace
}  // namespace tests
