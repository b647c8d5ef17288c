#include <gtest/gtest.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/large_array.h>

#include <cstdint>
#include <stdexcept>
#include <utility>

namespace misc {
namespace {

constexpr std::uint64_t kChunk = 174762;
using Pointer = zvAutoPointer<int>;

TEST(RealArrayLarge, HasOneChunkMoreThanFullOnes) {
  const std::pair<std::uint64_t, std::uint64_t> cases[] = {
      {0, 0},          {1, 1},          {kChunk - 1, 1},    {kChunk, 2},
      {kChunk + 1, 2}, {2 * kChunk, 3}, {2 * kChunk + 5, 3}};
  for (const auto& [size, chunks] : cases) {
    for (const bool exact : {false, true}) {
      SCOPED_TRACE(testing::Message() << size << (exact ? " exact" : ""));
      zvRealArrayLarge<int> array(size, exact);
      EXPECT_EQ(array.GetSize(), size);
      EXPECT_EQ(array.GetChunkCount(), chunks);
      for (std::uint64_t i = 0; i < size; ++i) {
        ASSERT_EQ(array[i], 0);
        array[i] = static_cast<int>(i);
      }
      const zvRealArrayLarge<int>& read = array;
      for (std::uint64_t i = 0; i < size; ++i) ASSERT_EQ(read[i], static_cast<int>(i));
    }
  }
}

TEST(RealArrayLarge, CopiesCountTheirPointersAndMovesLeaveAnEmptyArray) {
  const Pointer shared = MakeAutoPointer<int>(7);
  zvRealArrayLarge<Pointer> a(kChunk + 3, true);
  a[0] = a[kChunk + 2] = shared;
  {
    zvRealArrayLarge<Pointer> b(2);
    b[1] = shared;
    b = a;
    EXPECT_EQ(b.GetSize(), kChunk + 3);
    EXPECT_EQ(b[kChunk + 2].Get(), shared.Get());
    const zvRealArrayLarge<Pointer> c(a);
    const auto& self = a;
    a = self;
    EXPECT_EQ(shared.UseCount(), 7u);
    b = zvRealArrayLarge<Pointer>(0);
    EXPECT_EQ(b.GetChunkCount(), 0u);
    b = std::move(a);
    EXPECT_EQ(a.GetSize(), 0u);
    EXPECT_EQ(zvRealArrayLarge<Pointer>(a).GetSize(), 0u);
    zvRealArrayLarge<Pointer> d(std::move(b));
    EXPECT_EQ(b.GetSize() + b.GetChunkCount(), 0u);
    a = std::move(d);
    EXPECT_EQ(a[0].Get(), shared.Get());
    EXPECT_EQ(shared.UseCount(), 5u);
  }
  EXPECT_EQ(shared.UseCount(), 3u);
}

struct Counted {
  Counted() {
    if (living == limit) throw std::runtime_error("full");
    ++living;
  }
  ~Counted() { --living; }
  static inline std::uint64_t living = 0;
  static inline std::uint64_t limit = 0;
};

TEST(RealArrayLarge, AFailureWhileAllocatingLeavesNothingBehind) {
  Counted::limit = kChunk + 10;
  EXPECT_THROW(zvRealArrayLarge<Counted>(3 * kChunk), std::runtime_error);
  EXPECT_EQ(Counted::living, 0u);
  {
    const zvRealArrayLarge<Counted> array(kChunk + 10, true);
    EXPECT_EQ(Counted::living, kChunk + 10);
  }
  EXPECT_EQ(Counted::living, 0u);
}

}  // namespace
}  // namespace misc
