#include <gtest/gtest.h>
#include <kandrel/post/model/extended_posted_move.h>

#include <map>
#include <memory>
#include <thread>

namespace post {
namespace {

using Point = zvExtendedPostedMove::Point;
// By their own id: two owners of one block would overwrite each other's numbers.
using Blocks = std::map<int, std::unique_ptr<zvExtendedPostedMove>>;

void Append(Blocks& blocks, int from, int count) {
  for (int i = from; i < from + count; ++i)
    blocks[i] = std::make_unique<zvExtendedPostedMove>(
        Point(i, i, i), Point(), static_cast<std::uint32_t>(i), true, -i, false);
}

// Dies after its thread's stock of blocks, because it is made before it.
struct LateOwner {
  Blocks blocks;
  ~LateOwner() {
    Append(blocks, 300, 10);
    blocks.clear();
  }
};

TEST(ExtendedPostedMove, BlocksMayDieOnOtherThreadsAndAfterTheirOwn) {
  // More than a thread keeps in stock, so that blocks go to the common pool and come back.
  constexpr int kMany = 20000;
  Blocks blocks;
  for (int round = 0; round < 4; ++round) {
    std::thread([&] {
      thread_local LateOwner owner;
      Append(owner.blocks, 0, 300);
      // Deletes half of what threads that are gone have made, and adds its own.
      std::erase_if(blocks, [](const auto& block) { return block.first % 2 == 0; });
      Append(blocks, round * kMany, kMany);
    }).join();
    for (const auto& [id, block] : blocks) {
      ASSERT_EQ(block->GetExtendedPoint(), Point(id, id, id));
      ASSERT_EQ(block->GetSourceIndex(), -id);
      ASSERT_EQ(reinterpret_cast<std::uintptr_t>(block.get()) % alignof(zvExtendedPostedMove), 0u);
    }
  }
}

}  // namespace
}  // namespace post
