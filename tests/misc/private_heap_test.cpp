#include <kandrel/misc/private_heap.h>
#include <kandrel/misc/small_array.h>
#include <tests/support/seeded.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

#include <cstring>
#include <thread>

namespace misc {
namespace {

template <class Action>
testing::AssertionResult HasNoMemory(Action&& action) {
  return tests::ThrowsId<zvException>(action, 0, L"Failed to allocate memory");
}

TEST(PrivateHeap, BlocksOfAllSizesAreAlignedAndDistinct) {
  zvPrivateHeap heap;
  tests::Seeded random;
  struct Block {
    unsigned char* place;
    std::size_t bytes;
    unsigned char mark;
  };
  std::vector<Block> blocks;
  const auto free = [&](const Block& b) {
    EXPECT_TRUE(std::all_of(b.place, b.place + b.bytes, [&](auto byte) { return byte == b.mark; }));
    heap.Free(b.place, b.bytes);
  };
  for (int i = 0; i < 6000; ++i) {
    if (!blocks.empty() && random.Chance(1.0 / 3)) {
      std::swap(blocks[static_cast<std::size_t>(random.Integer(0, i)) % blocks.size()],
                blocks.back());
      free(blocks.back());
      blocks.pop_back();
      continue;
    }
    // Mostly small, with some about the size where a block gets pages of its own, and above.
    const auto upTo = [&](int most) { return static_cast<std::size_t>(random.Integer(1, most)); };
    const std::size_t bytes = i % 50 == 0   ? zvPrivateHeap::kLargestPooled - 3 + upTo(5)
                              : i % 77 == 0 ? upTo(300000)
                                            : upTo(i % 2 == 0 ? 100 : 16000);
    const Block block{static_cast<unsigned char*>(heap.Alloc(bytes)), bytes,
                      static_cast<unsigned char>(i)};
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(block.place) % alignof(std::max_align_t), 0u);
    std::memset(block.place, block.mark, bytes);
    blocks.push_back(block);
  }
  std::for_each(blocks.begin(), blocks.end(), free);
}

TEST(PrivateHeap, RefusesWhatNoSystemHas) {
  zvPrivateHeap heap;
  EXPECT_EQ(heap.Alloc(0), nullptr);
  heap.Free(nullptr, 0);
  for (const std::size_t bytes : {SIZE_MAX, SIZE_MAX - 7, SIZE_MAX / 2, SIZE_MAX / 4})
    EXPECT_TRUE(HasNoMemory([&] { heap.Alloc(bytes); })) << bytes;
  EXPECT_NE(heap.Alloc(8), nullptr);
}

TEST(PrivateHeap, EachThreadHasItsOwnWhoseBlocksAnotherMayFree) {
  zvPrivateHeapProvider provider;
  const auto mine = provider.GetHeap();
  EXPECT_EQ(provider.GetHeap(), mine);
  EXPECT_NE(zvPrivateHeapProvider(provider).GetHeap(), mine);
  std::vector<void*> blocks(20000);
  for (void*& block : blocks) block = mine->Alloc(40);
  std::thread other([&] {
    EXPECT_NE(provider.GetHeap(), mine);
    for (void* block : blocks) mine->Free(block, 40);
  });
  for (int i = 0; i < 20000; ++i) mine->Free(mine->Alloc(40), 40);
  other.join();
}

// On the ordinary heap, and on one whose provider is gone.
TEST(SmallArray, IsZeroedCopiedAndRefusedWhereItIsTooLong) {
  auto provider = std::make_optional<zvPrivateHeapProvider>();
  std::vector<std::shared_ptr<zvPrivateHeap>> heaps{nullptr, provider->GetHeap()};
  provider.reset();
  for (const auto& heap : heaps) {
    zvSmallArray<double> array(5, heap);
    EXPECT_EQ(std::vector<double>(array.begin(), array.end()), std::vector<double>(5));
    std::iota(array.begin(), array.end(), 0);
    zvSmallArray<double> copy(array);
    array[4] = 9;
    EXPECT_EQ(copy[4], 4);
    copy = array;
    EXPECT_EQ(copy[4], 9);
    copy = std::move(array);
    EXPECT_EQ(copy.GetSize(), 5u);
    EXPECT_EQ(copy[3], 3);
    const zvSmallArray<int> empty(0, heap);
    EXPECT_EQ(empty.GetData(), nullptr);
    EXPECT_EQ(zvSmallArray<int>(empty).GetData(), nullptr);
    // With no heap a size that the system might grant is not asked for.
    for (const std::size_t size : {SIZE_MAX, SIZE_MAX / 4 + 2, heap ? SIZE_MAX / 8 - 1 : SIZE_MAX})
      EXPECT_TRUE(HasNoMemory([&] { zvSmallArray<int> unused(size, heap); }));
  }
  EXPECT_EQ(zvSmallArray<int>().GetData(), nullptr);
}

}  // namespace
}  // namespace misc
