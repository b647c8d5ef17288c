// Threads that share what they may share: results are those of one thread, nothing counts what is
// not its own. Meant for a thread sanitizer; without one, counts that went wrong tell.
#include <gtest/gtest.h>
#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/creators/four_axis_creator.h>
#include <kandrel/post/creators/posting_facade.h>
#include <kandrel/post/creators/six_axis_creator.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <tests/support/toolpath_builders.h>

#include <cmath>
#include <functional>
#include <future>
#include <thread>
#include <utility>
#include <vector>

namespace {

using cadcam::zvMovePointer;
using misc::zvAutoPointer;
using tests::PathBuilder;
using tests::Point;
using Digest = std::vector<double>;

constexpr int kThreads = 4;
constexpr int kMoves = 600;

// `work(i)` on several threads at once.
void InThreads(const std::function<void(int)>& work) {
  std::promise<void> start;
  const auto started = start.get_future().share();
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i)
    threads.emplace_back([&work, started, i] {
      started.wait();
      work(i);
    });
  start.set_value();
  for (std::thread& thread : threads) thread.join();
}

template <class Move>
void Add(Digest& digest, const Move& move) {
  const Point& p = move.GetMachinePosition();
  digest.insert(digest.end(), {p.x, p.y, p.z, move.GetExtendedPoint().x});
}

template <class List>
Digest DigestOf(const List& list) {
  Digest digest;
  for (const auto& move : list) Add(digest, move);
  return digest;
}

// The shared machine, path and set-up of one machine class.
template <class Creator, class MachDef>
struct Shop {
  zvAutoPointer<post::zvMachDef> machDef;
  post::zv5axControlDef control;
  post::zvKDRParam par{tests::kMetric};
  Point origin{1, 2, 3};
  PathBuilder::Moves moves;
  cadcam::zvToolPath path{tests::kMetric};

  explicit Shop(const MachDef& definition) : machDef(definition.Clone()) {
    for (int i = 0; i < kMoves; ++i) {
      const double turn = i * 0.02;
      moves.push_back(tests::Move5({i * 0.1, 5, 0}, Orientation(turn)));
    }
    path = PathBuilder().Contour(moves).Path();
    par.SetLimitsCheck(post::zvKDRParam::checkAllAxes);
    par.SetPoleHandling(post::zvKDRParam::keepWithinLimits);
  }

  static Point Orientation(double turn) {
    if constexpr (std::is_same_v<Creator, zvPosted3axTPCreator>) return {0, 0, 1};
    return {0, std::sin(turn), std::cos(turn)};
  }

  Creator Make() const { return {machDef, control, par, origin, 50}; }

  // The same children with a link at the end that has no posted move type.
  cadcam::zvToolPath FailingPath() const {
    cadcam::zvToolPath failing = path;
    failing.push_back(misc::MakeAutoPointer<cadcam::zvTPPass>());
    failing.back()->push_back(misc::MakeAutoPointer<cadcam::zvTPSlice>());
    failing.back()->back()->push_back(misc::MakeAutoPointer<cadcam::zvTPLink>(9u));
    failing.AddMove(moves.front());
    return failing;
  }

  void ExpectCountsUntouched() const {
    EXPECT_EQ(machDef.UseCount(), 1u);
    for (std::size_t i = 1; i < moves.size(); ++i) ASSERT_EQ(moves[i].UseCount(), 2u);
  }
};

template <class Creator, class MachDef>
void PostsOnManyThreads(const MachDef& machDef) {
  const Shop<Creator, MachDef> shop(machDef);
  Creator alone = shop.Make();
  const Digest expected = DigestOf(*alone.Post(shop.path, false));
  const cadcam::zvToolPath sharing = shop.path;  // other tree, same children
  const cadcam::zvToolPath failing = shop.FailingPath();
  InThreads([&](int i) {
    for (int round = 0; round < 3; ++round) {
      Creator creator = shop.Make();
      EXPECT_EQ(DigestOf(*creator.Post(i % 2 == 0 ? shop.path : sharing, false)), expected);
      const Shop<Creator, MachDef> own(machDef);
      EXPECT_EQ(DigestOf(*own.Make().Post(own.path, false)), expected);
      try {
        creator.Post(failing, false);
        ADD_FAILURE() << "nothing thrown";
      } catch (const misc::zvException& e) {
        EXPECT_EQ(e.GetId(), 2637u);
      }
      // Copies of one creator, a limit keeper in some, share nothing.
      EXPECT_EQ(DigestOf(*Creator(std::as_const(alone)).Post(shop.path, false)), expected);
    }
  });
  shop.ExpectCountsUntouched();
}

template <class Creator, class MachDef>
void PostsSingleMovesOnManyThreads(const MachDef& machDef) {
  const Shop<Creator, MachDef> shop(machDef);
  const Creator creator = shop.Make();
  const zvKDR5AxBase facade(shop.machDef, shop.control, shop.par, shop.origin, 50);
  const auto type = post::zvPostedMove::noLink;
  const auto digest = [&] {
    Digest all;
    for (std::size_t i = 0; i < shop.moves.size(); i += 7) {
      const zvMovePointer& move = shop.moves[i];
      if constexpr (requires { creator.PostMove2(move, type); })
        Add(all, creator.PostMove2(move, type).first);
      else
        Add(all, creator.PostMove(move, type));
      Add(all, *creator.PostMoveWithinMachLimits(move, type).first);
      Add(all, *facade.PostMove(move, type).first);
      Add(all, *facade.PostMoveWithinMachLimits(move, type).first);
    }
    return all;
  };
  const Digest expected = digest();
  InThreads([&](int) { EXPECT_EQ(digest(), expected); });
  shop.ExpectCountsUntouched();
}

// Posts on one thread and lets lists die on another, while the next is posted.
template <class Creator, class MachDef>
void HandsListsOver(const MachDef& machDef) {
  const Shop<Creator, MachDef> shop(machDef);
  Creator creator = shop.Make();
  zvKDR5AxBase facade(shop.machDef, shop.control, shop.par, shop.origin, 50);
  creator.Post(shop.path, false);
  const Digest expected = DigestOf(*creator.GetPostedList());
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
      EXPECT_EQ(DigestOf(*list), expected);
      Digest moves;
      for (auto it = posted.Begin(); it != posted.End(); ++it) Add(moves, **it);
      EXPECT_EQ(moves, expected);
      if (posted.HasAlignMatrix()) {
        EXPECT_EQ(posted.GetAlignMatrix().UseCount(), 2u) << "its own, and the copy here";
      }
      list->PushBack(list->Front());
    });
  }
  reader.join();
}

template <class Creator, class MachDef>
void AllOf(const MachDef& machDef) {
  PostsOnManyThreads<Creator>(machDef);
  PostsSingleMovesOnManyThreads<Creator>(machDef);
  HandsListsOver<Creator>(machDef);
}

TEST(Threads, ThreeAxes) {
  AllOf<zvPosted3axTPCreator>(post::zv3axMachDef());
}

TEST(Threads, FourAxes) {
  post::zv4axMachDef machDef;
  machDef.SetRotaryOnWorkpiece(1);
  machDef.SetRotationDirection({1, 0, 0});
  AllOf<zvPosted4axTPCreator>(machDef);
}

TEST(Threads, FiveAxes) {
  post::zv5axMachDef machDef;
  machDef.SetFiveAxisKind(3);
  machDef.SetFirstRotationDirection({0, 0, 1});
  machDef.SetSecondRotationDirection({1, 0, 0});
  AllOf<zvPosted5axTPCreator>(machDef);
}

TEST(Threads, SixAxes) {
  post::zv6axMachDef machDef;
  machDef.SetFirstOnWorkpiece(1);
  machDef.SetFirstRotationDirection({0, 0, 1});
  machDef.SetSecondRotationDirection({1, 0, 0});
  machDef.SetThirdRotationDirection({0, 1, 0});
  AllOf<zvPosted6axTPCreator>(machDef);
}

// The matrix of an alignment is shared by the façade and its result, but not by what is taken.
TEST(Threads, WhatIsTakenHasAMatrixOfItsOwn) {
  const post::zv3axMachDef machDef;
  const post::zv5axControlDef control;
  post::zvKDRParam par(tests::kMetric);
  par.SetAlignToolpath(true);
  const Point origin;
  zvKDR5AxBase facade(machDef, control, par, origin, 0);
  const zvMovePointer move = tests::Move3({3, 4, 5}, 1000, false, {1, 0, 0});
  facade.Post(PathBuilder().Contour({move}));
  const std::uint32_t references = facade.GetAlignMatrix().UseCount();
  post::zvPostedTP taken = facade.TakePostedTP();
  ASSERT_TRUE(taken.HasAlignMatrix());
  EXPECT_EQ(*taken.GetAlignMatrix(), *facade.GetAlignMatrix());
  EXPECT_EQ(facade.GetAlignMatrix().UseCount(), references - 1);
  const zvKDR5AxBase& shared = facade;
  const Point expected =
      shared.PostMove(move, post::zvPostedMove::noLink).first->GetMachinePosition();
  InThreads([&](int) {
    for (int i = 0; i < 1000; ++i)
      EXPECT_EQ(shared.PostMove(move, post::zvPostedMove::noLink).first->GetMachinePosition(),
                expected);
  });
}

// A temporary bound to a reference would be gone at the first use.
template <class T, class MachDef, class Par, class Control, class Origin>
constexpr bool kTakes = std::is_constructible_v<T, const MachDef&, Control, Par, Origin, double>;
template <class T, class MachDef>
constexpr bool kRefusesTemporaries = [] {
  using Control = post::zv5axControlDef;
  using Par = post::zvKDRParam;
  return kTakes<T, MachDef, const Par&, const Control&, const Point&> &&
         kTakes<T, MachDef, Par&, Control&, Point&> &&
         !kTakes<T, MachDef, Par, const Control&, const Point&> &&
         !kTakes<T, MachDef, const Par&, Control, const Point&> &&
         !kTakes<T, MachDef, const Par&, const Control&, Point> &&
         !kTakes<T, MachDef, const Par&, const Control&, const Point>;
}();
using MachDefPointer = zvAutoPointer<post::zvMachDef>;
static_assert(kRefusesTemporaries<zvPosted3axTPCreator, post::zv3axMachDef>);
static_assert(kRefusesTemporaries<zvPosted4axTPCreator, post::zv4axMachDef>);
static_assert(kRefusesTemporaries<zvPosted5axTPCreator, post::zv5axMachDef>);
static_assert(kRefusesTemporaries<zvPosted6axTPCreator, post::zv6axMachDef>);
static_assert(kRefusesTemporaries<zvPosted3axTPCreator, MachDefPointer>);
static_assert(kRefusesTemporaries<zvPosted4axTPCreator, MachDefPointer>);
static_assert(kRefusesTemporaries<zvPosted5axTPCreator, MachDefPointer>);
static_assert(kRefusesTemporaries<zvPosted6axTPCreator, MachDefPointer>);
static_assert(kRefusesTemporaries<zvKDR5AxBase, post::zvMachDef>);
static_assert(kRefusesTemporaries<zvKDR5AxBase, MachDefPointer>);

template <class T, class MachDef>
constexpr bool kMakerRefuses =
    std::is_constructible_v<T, const MachDef&, post::zvKDRParam&, Point&, double> &&
    !std::is_constructible_v<T, const MachDef&, post::zvKDRParam, Point&, double> &&
    !std::is_constructible_v<T, const MachDef&, post::zvKDRParam&, Point, double>;
static_assert(kMakerRefuses<post::zvPosted4axMoveMaker, post::zv4axMachDef>);
static_assert(kMakerRefuses<post::zv5axMoveSolver, post::zv5axMachDef>);
static_assert(
    !std::is_constructible_v<post::zvPosted3axMoveMaker, const post::zv3axMachDef&, Point, double>);

}  // namespace
