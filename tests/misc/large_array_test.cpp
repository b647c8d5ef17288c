#include <kandrel/misc/large_array.h>
#include <tests/support/testing.h>

#include <stdexcept>

namespace misc {
namespace {

// Counts its living objects, of which there may be so many.
struct Counted {
  Counted() {
    if (living == limit) throw std::runtime_error("full");
    ++living;
  }
  Counted(const Counted& other) = delete;
  Counted& operator=(const Counted&) = default;
  ~Counted() { --living; }
  std::uint64_t value = 0;
  static inline std::uint64_t living = 0, limit = UINT64_MAX;
};

using Array = zvRealArrayLarge<Counted>;
constexpr std::uint64_t kChunk = 174762;

TEST(RealArrayLarge, HasOneChunkMoreThanFullOnesAndCopiesAndMovesThem) {
  const std::pair<std::uint64_t, std::uint64_t> cases[] = {
      {0, 0},          {1, 1},          {kChunk - 1, 1},    {kChunk, 2},
      {kChunk + 1, 2}, {2 * kChunk, 3}, {2 * kChunk + 5, 3}};
  for (const auto& [size, chunks] : cases) {
    for (const bool exact : {false, true}) {
      SCOPED_TRACE(testing::Message() << size << (exact ? " exact" : ""));
      Array array(size, exact);
      EXPECT_EQ(Counted::living, exact ? size : chunks * kChunk);
      for (std::uint64_t i = 0; i < size; ++i) {
        ASSERT_EQ(array[i].value, 0u);
        array[i].value = i + 1;
      }
      Array copy(array), assigned(2), moved(3);
      const auto& self = assigned = array;
      assigned = self;
      moved = std::move(array);
      EXPECT_EQ(array.GetSize() + array.GetChunkCount() + Array(array).GetSize(), 0u);
      array = Array(std::move(copy));
      for (const Array* each : {&array, &assigned, &moved}) {
        EXPECT_EQ(each->GetSize(), size);
        EXPECT_EQ(each->GetChunkCount(), chunks);
        for (std::uint64_t i = 0; i < size; ++i) ASSERT_EQ((*each)[i].value, i + 1);
      }
    }
    EXPECT_EQ(Counted::living, 0u);
  }
}

TEST(RealArrayLarge, AFailureWhileAllocatingLeavesNothingBehind) {
  Counted::limit = kChunk + 10;
  EXPECT_THROW(Array(3 * kChunk), std::runtime_error);
  EXPECT_EQ(Counted::living, 0u);
  EXPECT_EQ(Array(kChunk + 10, true).GetChunkCount(), 2u);
  EXPECT_EQ(Counted::living, 0u);
}

}  // namespace
}  // namespace misc
