#include <gtest/gtest.h>
#include <kandrel/post/model/posted_move.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <set>
#include <thread>
#include <vector>

namespace post {
namespace {

using Blocks = std::vector<std::unique_ptr<zvExtendedPostedMove>>;

void Append(Blocks& blocks, int from, int count) {
  for (int i = from; i < from + count; ++i)
    blocks.push_back(std::make_unique<zvExtendedPostedMove>(
        zvExtendedPostedMove::Point(i, i, i), zvExtendedPostedMove::Point(),
        static_cast<std::uint32_t>(i), true, -i, false));
}

// Two owners of one block would overwrite each other's numbers.
void ExpectWholeAndDistinct(const Blocks& blocks) {
  std::set<const void*> addresses;
  for (const auto& block : blocks) {
    const auto i = static_cast<double>(block->GetExtendedId());
    ASSERT_EQ(block->GetExtendedPoint(), zvExtendedPostedMove::Point(i, i, i));
    ASSERT_EQ(block->GetSourceIndex(), -i);
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(block.get()) % alignof(zvExtendedPostedMove), 0u);
    addresses.insert(block.get());
  }
  EXPECT_EQ(addresses.size(), blocks.size());
}

// More than a thread keeps in stock, so that blocks go to the common pool and come back.
constexpr int kMany = 20000;

TEST(ExtendedPostedMoveStock, BlocksDieOnOtherThreadsThanTheirOwn) {
  Blocks here;
  Append(here, 0, kMany);
  for (int round = 0; round < 3; ++round) {
    Blocks there;
    std::thread([&] {
      for (std::size_t i = 0; i < here.size(); i += 2) here[i].reset();
      Append(there, kMany, kMany / 2);  // partly from what this thread has just deleted
    }).join();
    std::erase(here, nullptr);
    // The thread that made them is gone; its blocks are not.
    ExpectWholeAndDistinct(there);
    Append(here, 2 * kMany, kMany / 2);
    for (auto& block : there) here.push_back(std::move(block));
    ExpectWholeAndDistinct(here);
  }
}

TEST(ExtendedPostedMoveStock, ManyThreadsPassBlocksAround) {
  constexpr int kThreads = 4;
  std::vector<Blocks> made(kThreads);
  for (int round = 0; round < 4; ++round) {
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int t = 0; t < kThreads; ++t)
      threads.emplace_back([&, t] {
        // A new thread in each round deletes half of what an earlier one made, and adds its own.
        Blocks& blocks = made[static_cast<std::size_t>(t)];
        blocks.erase(blocks.begin(),
                     blocks.begin() + static_cast<std::ptrdiff_t>(blocks.size() / 2));
        Append(blocks, t * kMany, kMany / 2);
      });
    for (std::thread& thread : threads) thread.join();
    std::rotate(made.begin(), made.begin() + 1, made.end());
  }
  Blocks all;
  for (Blocks& blocks : made)
    for (auto& block : blocks) all.push_back(std::move(block));
  ExpectWholeAndDistinct(all);
}

// Dies after the thread's stock, because it is made before it.
struct LateOwner {
  Blocks blocks;
  ~LateOwner() {
    Append(blocks, 0, 10);
    blocks.clear();
  }
};

TEST(ExtendedPostedMoveStock, ServesWhatDiesAfterTheStockOfItsThread) {
  Blocks survivors;
  std::thread([&] {
    thread_local LateOwner owner;
    owner.blocks.clear();
    Append(owner.blocks, 0, 300);
    Append(survivors, 0, 300);
  }).join();
  ExpectWholeAndDistinct(survivors);
  Append(survivors, 300, 300);
  ExpectWholeAndDistinct(survivors);
}

}  // namespace
}  // namespace post
