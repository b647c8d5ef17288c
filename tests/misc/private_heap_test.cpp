#include <gtest/gtest.h>
#include <kandrel/misc/private_heap.h>
#include <kandrel/misc/small_array.h>
#include <tests/support/throws_id.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <random>
#include <thread>
#include <vector>

namespace misc {
namespace {

template <class Action>
testing::AssertionResult HasNoMemory(Action&& action) {
  return tests::ThrowsId<zvException>(action, 0, L"Failed to allocate memory");
}

struct Block {
  unsigned char* place;
  std::size_t bytes;
  unsigned char mark;
};

TEST(PrivateHeap, BlocksOfAllSizesAreAlignedAndDistinct) {
  zvPrivateHeap heap;
  std::mt19937 random(5);
  std::vector<Block> blocks;
  const auto check = [](const Block& b) {
    return std::all_of(b.place, b.place + b.bytes, [&](auto byte) { return byte == b.mark; });
  };
  for (int i = 0; i < 6000; ++i) {
    if (!blocks.empty() && random() % 3 == 0) {
      std::swap(blocks[random() % blocks.size()], blocks.back());
      ASSERT_TRUE(check(blocks.back()));
      heap.Free(blocks.back().place, blocks.back().bytes);
      blocks.pop_back();
      continue;
    }
    // Mostly small, with some about the size where a block gets pages of its own, and above.
    const std::size_t bytes = i % 50 == 0   ? zvPrivateHeap::kLargestPooled - 2 + random() % 5
                              : i % 77 == 0 ? 1 + random() % 300000
                                            : 1 + random() % (i % 2 == 0 ? 100 : 16000);
    Block block{static_cast<unsigned char*>(heap.Alloc(bytes)), bytes,
                static_cast<unsigned char>(random())};
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(block.place) % alignof(std::max_align_t), 0u);
    std::memset(block.place, block.mark, bytes);
    blocks.push_back(block);
  }
  for (const Block& block : blocks) {
    ASSERT_TRUE(check(block));
    heap.Free(block.place, block.bytes);
  }
}

TEST(PrivateHeap, RefusesWhatNoSystemHas) {
  zvPrivateHeap heap;
  EXPECT_EQ(heap.Alloc(0), nullptr);
  heap.Free(nullptr, 0);
  for (const std::size_t bytes : {SIZE_MAX, SIZE_MAX - 7, SIZE_MAX / 2, SIZE_MAX / 4})
    EXPECT_TRUE(HasNoMemory([&] { heap.Alloc(bytes); })) << bytes;
  EXPECT_NE(heap.Alloc(8), nullptr);
}

TEST(PrivateHeap, EachThreadHasItsOwn) {
  zvPrivateHeapProvider provider;
  const auto mine = provider.GetHeap();
  EXPECT_EQ(provider.GetHeap(), mine);
  std::shared_ptr<zvPrivateHeap> theirs;
  std::thread([&] { theirs = provider.GetHeap(); }).join();
  EXPECT_NE(theirs, mine);
  zvPrivateHeapProvider copy(provider);
  EXPECT_NE(copy.GetHeap(), mine);
}

TEST(PrivateHeap, BlocksMayBeFreedOnAnotherThread) {
  zvPrivateHeap heap;
  std::vector<void*> blocks(20000);
  for (void*& block : blocks) block = heap.Alloc(40);
  std::thread freeing([&] {
    for (void* block : blocks) heap.Free(block, 40);
  });
  for (int i = 0; i < 20000; ++i) heap.Free(heap.Alloc(40), 40);
  freeing.join();
}

TEST(SmallArray, IsZeroedCopiedAndOutlivesTheProvider) {
  for (const bool onHeap : {true, false}) {
    auto provider = std::make_optional<zvPrivateHeapProvider>();
    zvSmallArray<double> array(5, onHeap ? provider->GetHeap() : nullptr);
    provider.reset();
    for (const double value : array) EXPECT_EQ(value, 0);
    for (std::size_t i = 0; i < 5; ++i) array[i] = static_cast<double>(i);
    zvSmallArray<double> copy(array);
    array[4] = 9;
    EXPECT_EQ(copy[4], 4);
    copy = array;
    EXPECT_EQ(copy[4], 9);
    copy = std::move(array);
    EXPECT_EQ(copy.GetSize(), 5u);
    EXPECT_EQ(copy[3], 3);
  }
}

TEST(SmallArray, OfNoLengthIsNullAndOfTooGreatOneRefused) {
  zvPrivateHeapProvider provider;
  for (const auto& heap : {std::shared_ptr<zvPrivateHeap>(), provider.GetHeap()}) {
    const zvSmallArray<int> empty(0, heap);
    EXPECT_EQ(empty.GetData(), nullptr);
    EXPECT_EQ(zvSmallArray<int>(empty).GetData(), nullptr);
    // With no heap a size that the system might grant is not asked for.
    for (const std::size_t size : {SIZE_MAX, SIZE_MAX / 4 + 2})
      EXPECT_TRUE(HasNoMemory([&] { zvSmallArray<int> unused(size, heap); }));
  }
  EXPECT_TRUE(HasNoMemory([&] { zvSmallArray<int>(SIZE_MAX / 8 - 1, provider.GetHeap()); }));
  EXPECT_EQ(zvSmallArray<int>().GetData(), nullptr);
}

}  // namespace
}  // namespace misc
