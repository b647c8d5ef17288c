#include <kandrel/misc/memory_pool.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/platform.h>
#include <kandrel/misc/private_heap.h>
#include <kandrel/misc/small_array.h>
#include <tests/support/seeded.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

#include <cstring>
#include <fstream>
#include <thread>

// NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer's, null without one
extern "C" int __attribute__((weak)) __asan_address_is_poisoned(const volatile void* address);

namespace misc {
namespace {

template <class Action>
testing::AssertionResult Fails(Action&& action, const std::wstring& text) {
  return tests::ThrowsId<zvException>(action, 0, text);
}

// A pool beside the nodes that are held, each filled with its mark.
struct WatchedPool {
  void Take(void* node) {
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(node) % std::min<std::size_t>(size & -size, 16), 0u);
    held.emplace_back(static_cast<unsigned char*>(node), ++mark);
    std::memset(node, mark, size);
  }
  std::size_t TakeChain(std::size_t wanted) {
    std::size_t count = wanted;
    const std::size_t before = held.size();
    for (void *node = pool.AllocChain(count), *next = nullptr; node != nullptr; node = next) {
      std::memcpy(&next, node, sizeof next);
      Take(node);
    }
    EXPECT_EQ(held.size() - before, count);
    EXPECT_LE(count, wanted);
    return count;
  }
  void* Give() {
    std::swap(held[static_cast<std::size_t>(random.Integer(0, 1 << 30)) % held.size()],
              held.back());
    const auto [node, filled] = held.back();
    EXPECT_TRUE(node[0] == filled && std::memcmp(node, node + 1, size - 1) == 0);
    held.pop_back();
    return node;
  }
  void GiveChain(std::size_t count) {
    void* first = nullptr;
    for (std::size_t i = 0; i < count; ++i) {
      void* node = Give();
      std::memcpy(node, &first, sizeof first);
      first = node;
    }
    pool.FreeChain(first, count);
  }

  const std::uint32_t size;
  zvMemoryPool pool;
  tests::Seeded random{};
  std::vector<std::pair<unsigned char*, unsigned char>> held{};
  unsigned char mark = 0;
};

using SizeAndArena = std::pair<std::uint32_t, std::uint32_t>;

class MemoryPoolCases : public testing::TestWithParam<SizeAndArena> {};

TEST_P(MemoryPoolCases, NodesAreAlignedDistinctAndReusable) {
  const auto& [size, arenaBytes] = GetParam();
  WatchedPool w{size, zvMemoryPool(size, arenaBytes)};
  const std::size_t perArena = w.pool.GetNodesPerArena();
  ASSERT_GT(perArena, 0u);
  EXPECT_EQ(w.TakeChain(0) + w.pool.GetArenaCount(), 0u);
  // A pool that only grows fills its arenas one after the other, and chains end with theirs.
  while (w.held.size() < 4 * perArena + 3 && !HasFatalFailure()) {
    const std::size_t left = perArena - w.held.size() % perArena;
    const auto wanted = static_cast<std::size_t>(w.random.Integer(1, 40));
    if (w.random.Chance(0.5))
      w.Take(w.pool.Alloc(w.random.Chance(0.5) ? size : 1));
    else
      EXPECT_EQ(w.TakeChain(wanted), std::min(wanted, left));
    ASSERT_EQ(w.pool.GetArenaCount(), (w.held.size() + perArena - 1) / perArena);
  }
  for (int i = 0; i < 4000 && !HasFatalFailure(); ++i) {
    const std::size_t wanted = 1 + static_cast<std::size_t>(w.random.Integer(0, 9));
    const std::size_t count = w.held.size();
    // Half of the run gives back more than it takes.
    const bool takes = w.random.Chance(i < 2000 ? 0.3 : 0.7);
    if (takes)
      w.TakeChain(wanted);
    else if (w.random.Chance(0.5) && count > 0)
      w.pool.Free(w.Give());
    else
      w.GiveChain(std::min(count, wanted));
    ASSERT_GE(w.pool.GetArenaCount() * perArena, w.held.size());
  }
  w.GiveChain(w.held.size());
  EXPECT_EQ(w.pool.GetArenaCount(), 1u) << "the last one is kept";
  w.pool.Clear();
  EXPECT_EQ(w.pool.GetArenaCount(), 0u);
  EXPECT_NE(w.pool.Alloc(size), nullptr);
  EXPECT_TRUE(
      Fails([&, size = size] { w.pool.Alloc(size + 1); }, L"Allocation request size too big"));
}

// Node sizes that divide the arena and that don't, small and larger than a slab allows for.
INSTANTIATE_TEST_SUITE_P(Sizes, MemoryPoolCases,
                         testing::Values(SizeAndArena{8, 4096}, SizeAndArena{152, 0},
                                         SizeAndArena{168, 0}, SizeAndArena{5000, 0x10000},
                                         SizeAndArena{24, 5000}, SizeAndArena{100000, 0x200000},
                                         SizeAndArena{1, 0x20000}));

TEST(MemoryPool, RefusesWhatItCannotServeAndForeignPointers) {
  zvMemoryPool tooSmall(5000, 4096), hugeNode(0xFFFFFFF0u), largest(0xFFFFFFFFu, 0xFFFFFFFFu);
  for (zvMemoryPool* none : {&tooSmall, &hugeNode, &largest})
    EXPECT_TRUE(Fails([&] { none->Alloc(1); }, L"zvMemoryPool::Alloc: Node allocation failed"));

  zvMemoryPool pool(64, 4096), other(64, 4096), empty(64);
  char* mine = static_cast<char*>(pool.Alloc(64));
  int local = 0;
  const std::pair<zvMemoryPool*, void*> cases[] = {
      {&pool, other.Alloc(64)}, {&pool, &local}, {&pool, mine + 8},
      {&pool, mine + 64},       {&empty, mine},  {&empty, reinterpret_cast<void*>(64)}};
  for (const auto& [from, bad] : cases)
    EXPECT_TRUE(Fails([from = from, bad = bad] { from->Free(bad); },
                      L"zvMemoryPool::Free: Node not allocated by one of our arenas"));
  pool.Free(nullptr);
  pool.Free(mine);
  EXPECT_EQ(pool.Alloc(64), mine) << "nothing has changed";
}

std::size_t ResidentBytes() {
  std::size_t total = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * 0x1000;
}

TEST(MemoryPoolProvider, GivesEachThreadItsOwnPoolForEachSizeAndKeepsLittle) {
  zvMemoryPoolProvider provider;
  const auto pool = provider.GetPool(168);
  EXPECT_EQ(provider.GetPool(168), pool);
  EXPECT_NE(provider.GetPool(169), pool);
  EXPECT_EQ(pool->GetNodesPerArena(), (0x40000u - 64u) / 168u);
  EXPECT_NE(zvMemoryPoolProvider(provider).GetPool(168), pool);
  const std::size_t before = ResidentBytes();
  std::vector<std::thread> threads;
  for (int i = 0; i < 32; ++i)
    threads.emplace_back([&] {
      const auto mine = provider.GetPool(168);
      EXPECT_NE(mine, pool);
      std::vector<void*> nodes(20000);  // a list long enough for large pages
      for (void*& node : nodes) node = mine->Alloc(168);
      for (void* node : nodes) mine->Free(node);
      EXPECT_EQ(mine->GetArenaCount(), 1u);
      mine->Free(mine->Alloc(168));
    });
  for (std::thread& thread : threads) thread.join();
  if (!platform::IsAddressSanitized()) {  // whose own books grow
    EXPECT_LT(ResidentBytes(), before + 32 * 0x80000u);
  }
}

TEST(MemoryPool, FreeNodesArePoisonedForAnAddressSanitizer) {
  if (!platform::IsAddressSanitized()) GTEST_SKIP() << "none watches";
  zvMemoryPool pool(64, 4096);
  char* node = static_cast<char*>(pool.Alloc(64));
  const auto isPoisoned = [&] { return __asan_address_is_poisoned(node + 8) != 0; };
  EXPECT_FALSE(isPoisoned());
  pool.Free(node);
  EXPECT_TRUE(isPoisoned());
  EXPECT_EQ(pool.Alloc(64), node);
  EXPECT_FALSE(isPoisoned());
  zvMemoryPoolProvider provider;
  zvMemoryPoolList<std::array<int, 8>> list(provider);
  node = static_cast<char*>(static_cast<void*>(&list.EmplaceBack()));
  EXPECT_FALSE(isPoisoned());
  list.Erase(list.begin());
  EXPECT_TRUE(isPoisoned());
}

TEST(MemoryPool, NodesMayBeFreedOnAnotherThread) {
  zvMemoryPool pool(48);
  std::vector<void*> nodes(50000), more(50000);
  for (void*& node : nodes) node = pool.Alloc(48);
  std::thread freeing([&] {
    for (std::size_t i = 0; i < nodes.size(); i += 2) pool.Free(nodes[i]);
  });
  for (void*& node : more) node = pool.Alloc(48);
  freeing.join();
  for (std::size_t i = 1; i < nodes.size(); i += 2) pool.Free(nodes[i]);
  for (void* node : more) pool.Free(node);
  EXPECT_EQ(pool.GetArenaCount(), 1u);
}

// Counts its living objects; throws from its copy constructor on demand.
struct Counted {
  explicit Counted(int v) : value(v) { ++living; }
  Counted(const Counted& other) : value(other.value) {
    if (value < 0) throw std::runtime_error("copy");
    ++living;
  }
  ~Counted() { --living; }
  int value;
  static inline int living = 0;
};

// Lists on one pool, which outlive its provider, each beside a plain one.
TEST(MemoryPoolList, IsAPlainListWhoseElementsDieOnce) {
  using List = zvMemoryPoolList<Counted>;
  tests::Seeded random;
  auto provider = std::make_unique<zvMemoryPoolProvider>();
  std::array lists{std::make_unique<List>(*provider), std::make_unique<List>(*provider)};
  std::array<std::vector<int>, 2> plain;
  provider.reset();
  for (int i = 0; i < 6000 && !HasFatalFailure(); ++i) {
    const bool second = random.Chance(0.5);
    List& list = *lists[second];
    std::vector<int>& values = plain[second];
    const int at = random.Integer(0, static_cast<int>(values.size()));
    const auto place = std::next(list.begin(), at);
    if (i % 1500 == 1499) {
      list.Clear();
      values.clear();
    } else if (random.Chance(i % 400 < 200 ? 0.7 : 0.4)) {
      const auto inserted = i % 2 == 0 ? list.Insert(place, Counted(i)) : list.Emplace(place, i);
      ASSERT_TRUE(inserted->value == i && std::next(inserted) == place);
      values.insert(values.begin() + at, i);
    } else if (place != list.end()) {
      const auto after = std::next(place);
      ASSERT_TRUE(list.Erase(place) == after);
      values.erase(values.begin() + at);
    } else {
      EXPECT_THROW(list.PushBack(Counted(-1)), std::runtime_error);
      values.push_back(list.EmplaceBack(i).value);
    }
    ASSERT_EQ(static_cast<std::size_t>(Counted::living), plain[0].size() + plain[1].size());
    ASSERT_TRUE(list.GetCount() == values.size() && list.IsEmpty() == values.empty());
    const auto same = [](const Counted& c, int value) { return c.value == value; };
    ASSERT_TRUE(std::equal(list.begin(), list.end(), values.begin(), values.end(), same));
    ASSERT_TRUE(std::equal(std::reverse_iterator(list.end()), std::reverse_iterator(list.begin()),
                           values.rbegin(), values.rend(), same));
    if (values.empty()) continue;
    ASSERT_TRUE(same(list.Front(), values.front()) && same(list.Back(), values.back()));
  }
  for (int i = 0; i < 30000; ++i) lists[0]->EmplaceBack(i);  // more than an arena's
  lists[0].reset();
  EXPECT_EQ(static_cast<std::size_t>(Counted::living), plain[1].size());
  lists[1].reset();
  EXPECT_EQ(Counted::living, 0);
}

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
