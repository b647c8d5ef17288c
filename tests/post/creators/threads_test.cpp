// Threads that share what they may share: results are those of one thread, nothing counts what is
// not its own. Meant for a thread sanitizer; without one, counts that went wrong tell.
#include <kandrel/post/creators/posting_facade.h>
#include <tests/support/every_creator.h>
#include <tests/support/outcome.h>

#include <future>
#include <thread>

namespace {

using misc::zvAutoPointer;
using tests::LineOf;
using tests::Lines;
using tests::LinesOf;
using tests::PathBuilder;
using tests::Point;

// `work(i)` on several threads at once.
void InThreads(const std::function<void(int)>& work) {
  std::promise<void> start;
  const auto started = start.get_future().share();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&work, started, i] {
      started.wait();
      work(i);
    });
  start.set_value();
  for (std::thread& thread : threads) thread.join();
}

// The shared machine, path and set-up of one machine class.
template <class C>
struct Shop : tests::Workshop<C> {
  zvAutoPointer<post::zvMachDef> pointer = this->machDef.Clone();
  PathBuilder path = this->Path(600, 1.15);

  Shop() {
    this->toolLength = 50;
    this->par.SetLimitsCheck(post::zvKDRParam::checkAllAxes);
    this->par.SetPoleHandling(post::zvKDRParam::keepWithinLimits);
  }
  C Make() const { return {pointer, this->control, this->par, this->origin, this->toolLength}; }
  zvKDR5AxBase Facade() const {
    return {pointer, this->control, this->par, this->origin, this->toolLength};
  }
  // The same children with a link at the end that has no posted move type.
  cadcam::zvToolPath FailingPath() const {
    cadcam::zvToolPath failing = path;
    failing.push_back(PathBuilder().Link(9, {*failing.begin()}).Path().front());
    return failing;
  }
  void ExpectCountsUntouched() const {
    EXPECT_EQ(pointer.UseCount(), 1u);
    for (auto it = path.Path().begin(); it != path.Path().end(); ++it)
      ASSERT_EQ((*it).UseCount(), 1u);
  }
};

template <class C>
struct Threads : testing::Test {
  const Shop<C> m_shop;
};
TYPED_TEST_SUITE(Threads, tests::EveryCreator);

TYPED_TEST(Threads, PostWhatIsSharedAndWhatIsTheirOwn) {
  const auto& shop = this->m_shop;
  TypeParam alone = shop.Make();
  const Lines expected = LinesOf(*alone.Post(shop.path, false));
  const cadcam::zvToolPath sharing = shop.path;  // other tree, same children
  {
    const cadcam::zvToolPath failing = shop.FailingPath();
    InThreads([&](int i) {
      for (int round = 0; round < 3; ++round) {
        TypeParam creator = shop.Make();
        EXPECT_EQ(LinesOf(*creator.Post(i % 2 == 0 ? shop.path : sharing, false)), expected);
        const Shop<TypeParam> own;
        EXPECT_EQ(LinesOf(*own.Make().Post(own.path, false)), expected);
        EXPECT_EQ(tests::IdOf([&] { creator.Post(failing, false); }), 2637u);
        // Copies of one creator, a limit keeper in some, share nothing and outlive what they copy.
        TypeParam copy(*std::make_unique<TypeParam>(std::as_const(alone)));
        EXPECT_EQ(LinesOf(*copy.Post(shop.path, false)), expected);
      }
    });
  }
  shop.ExpectCountsUntouched();
}

TYPED_TEST(Threads, PostSingleMovesWithOneCreator) {
  const auto& shop = this->m_shop;
  const TypeParam creator = shop.Make();
  const zvKDR5AxBase facade = shop.Facade();
  const auto type = post::zvPostedMove::noLink;
  const auto digest = [&] {
    Lines all;
    for (const cadcam::zvMovePointer& move : shop.path.Path()) {
      if constexpr (tests::Workshop<TypeParam>::kAxes > 4)
        all.push_back(LineOf(creator.PostMove2(move, type).first));
      else
        all.push_back(LineOf(creator.PostMove(move, type)));
      all.push_back(LineOf(*creator.PostMoveWithinMachLimits(move, type).first));
      all.push_back(LineOf(*facade.PostMove(move, type).first));
      all.push_back(LineOf(*facade.PostMoveWithinMachLimits(move, type).first));
    }
    return all;
  };
  const Lines expected = digest();
  InThreads([&](int) { EXPECT_EQ(digest(), expected); });
  shop.ExpectCountsUntouched();
}

// Posts on one thread and lets lists die on another, while the next is posted.
TYPED_TEST(Threads, TakeListsOver) {
  const auto& shop = this->m_shop;
  TypeParam creator = shop.Make();
  zvKDR5AxBase facade = shop.Facade();
  const Lines expected = LinesOf(*creator.Post(shop.path, false));
  std::thread reader;
  for (int round = 0; round < 4; ++round) {
    creator.Post(shop.path, false);
    auto list = std::move(creator.GetPostedList());
    EXPECT_EQ(list.UseCount(), 1u);
    facade.Post(shop.path);
    post::zvPostedTP posted = facade.TakePostedTP();
    EXPECT_EQ(facade.GetPostedTP().GetCount(), 0u);
    if (reader.joinable()) reader.join();
    reader = std::thread([&expected, list = std::move(list), posted = std::move(posted)]() mutable {
      EXPECT_EQ(LinesOf(*list), expected);
      Lines moves;
      for (auto it = posted.Begin(); it != posted.End(); ++it)
        moves.push_back(LineOf(static_cast<const typename TypeParam::Move&>(**it)));
      EXPECT_EQ(moves, expected);
      list->PushBack(list->Front());
    });
  }
  reader.join();
}

// The matrix of an alignment is shared by the façade and its result, but not by what is taken.
TEST(ThreadsAndAlignments, WhatIsTakenHasAMatrixOfItsOwn) {
  tests::Workshop<zvPosted3axTPCreator> shop;
  shop.par.SetAlignToolpath(true);
  zvKDR5AxBase facade(shop.machDef, shop.control, shop.par, shop.origin, 0);
  const cadcam::zvMovePointer move = tests::Move3({3, 4, 5}, 1000, false, {1, 0, 0});
  facade.Post(PathBuilder().Contour({move}));
  const std::uint32_t references = facade.GetAlignMatrix().UseCount();
  post::zvPostedTP taken = facade.TakePostedTP();
  ASSERT_TRUE(taken.HasAlignMatrix());
  EXPECT_EQ(*taken.GetAlignMatrix(), *facade.GetAlignMatrix());
  EXPECT_EQ(facade.GetAlignMatrix().UseCount(), references - 1);
  const auto position = [&shared = std::as_const(facade), &move] {
    return shared.PostMove(move, post::zvPostedMove::noLink).first->GetMachinePosition();
  };
  const Point expected = position();
  InThreads([&](int) {
    for (int i = 0; i < 1000; ++i) EXPECT_EQ(position(), expected);
  });
}

}  // namespace
