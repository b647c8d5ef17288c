#include <gtest/gtest.h>
#include <kandrel/misc/memory_pool.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/platform.h>
#include <tests/support/throws_id.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <random>
#include <thread>
#include <vector>

// NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer's, null without one
extern "C" int __attribute__((weak)) __asan_address_is_poisoned(const volatile void* address);

namespace misc {
namespace {

using tests::ThrowsId;

struct PoolCase {
  std::uint32_t nodeSize;
  std::uint32_t arenaBytes;
};

class MemoryPoolCases : public testing::TestWithParam<PoolCase> {};

TEST_P(MemoryPoolCases, NodesAreAlignedDistinctAndReusable) {
  const auto [nodeSize, arenaBytes] = GetParam();
  zvMemoryPool pool(nodeSize, arenaBytes);
  ASSERT_GT(pool.GetNodesPerArena(), 0u);
  const std::size_t count = std::size_t{pool.GetNodesPerArena()} * 20 + 3;
  std::vector<char*> nodes;
  for (std::size_t i = 0; i < count; ++i) {
    nodes.push_back(static_cast<char*>(pool.Alloc(nodeSize)));
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(nodes.back()) %
                  std::min<std::size_t>(nodeSize & -nodeSize, 16),
              0u);
    std::memset(nodes.back(), static_cast<int>(i % 251), nodeSize);
  }
  EXPECT_EQ(pool.GetArenaCount(), 21u);
  for (std::size_t i = 0; i < count; ++i)
    for (std::uint32_t b = 0; b < nodeSize; ++b)
      ASSERT_EQ(static_cast<unsigned char>(nodes[i][b]), i % 251);

  std::mt19937 random(7);
  std::shuffle(nodes.begin(), nodes.end(), random);
  for (std::size_t i = 0; i < count / 2; ++i) pool.Free(nodes[i]);
  for (std::size_t i = 0; i < count / 2; ++i) nodes[i] = static_cast<char*>(pool.Alloc(1));
  std::sort(nodes.begin(), nodes.end());
  EXPECT_EQ(std::unique(nodes.begin(), nodes.end()), nodes.end());
  EXPECT_LE(pool.GetArenaCount(), 21u);
  for (char* node : nodes) pool.Free(node);
  EXPECT_EQ(pool.GetArenaCount(), 1u);
}

TEST_P(MemoryPoolCases, ChainsHoldNodesOfOneArenaEachOnce) {
  const auto [nodeSize, arenaBytes] = GetParam();
  zvMemoryPool pool(nodeSize, arenaBytes);
  const std::size_t perArena = pool.GetNodesPerArena();
  std::size_t none = 0;
  EXPECT_EQ(pool.AllocChain(none), nullptr);
  EXPECT_EQ(pool.GetArenaCount(), 0u);
  // A gap of two in the first arena, then a chain that fills it and one that needs another.
  std::vector<void*> nodes;
  for (std::size_t i = 0; i < perArena; ++i) nodes.push_back(pool.Alloc(nodeSize));
  const std::size_t gap = std::min<std::size_t>(2, perArena);
  for (std::size_t i = 0; i < gap; ++i) {
    pool.Free(nodes.back());
    nodes.pop_back();
  }
  for (const std::size_t expected : {gap, std::min<std::size_t>(3, perArena)}) {
    std::size_t count = 3;
    std::size_t walked = 0;
    for (void* node = pool.AllocChain(count); node != nullptr; ++walked) {
      nodes.push_back(node);
      node = *static_cast<void**>(node);
    }
    EXPECT_EQ(walked, expected);
    EXPECT_EQ(count, expected);
  }
  EXPECT_EQ(pool.GetArenaCount(), 2u);
  std::sort(nodes.begin(), nodes.end());
  EXPECT_EQ(std::unique(nodes.begin(), nodes.end()), nodes.end());
  for (void* node : nodes) pool.Free(node);
  EXPECT_EQ(pool.GetArenaCount(), 1u);
}

// Node sizes that divide the arena and that don't, small and larger than a slab allows for.
INSTANTIATE_TEST_SUITE_P(Sizes, MemoryPoolCases,
                         testing::Values(PoolCase{8, 4096}, PoolCase{152, 0}, PoolCase{168, 0},
                                         PoolCase{5000, 0x10000}, PoolCase{24, 5000},
                                         PoolCase{100000, 0x200000}, PoolCase{1, 0x20000}));

TEST(MemoryPool, KeepsItsLastArenaAndRefusesWhatItCannotServe) {
  zvMemoryPool pool(64, 4096);
  EXPECT_EQ(pool.GetArenaCount(), 0u);
  pool.Free(pool.Alloc(64));
  EXPECT_EQ(pool.GetArenaCount(), 1u);
  pool.Clear();
  EXPECT_EQ(pool.GetArenaCount(), 0u);
  EXPECT_NE(pool.Alloc(64), nullptr);
  EXPECT_TRUE(
      ThrowsId<zvException>([&] { pool.Alloc(65); }, 0, L"Allocation request size too big"));
  zvMemoryPool tooSmall(5000, 4096), hugeNode(0xFFFFFFF0u), largest(0xFFFFFFFFu, 0xFFFFFFFFu);
  for (zvMemoryPool* none : {&tooSmall, &hugeNode, &largest})
    EXPECT_TRUE(ThrowsId<zvException>([&] { none->Alloc(1); }, 0,
                                      L"zvMemoryPool::Alloc: Node allocation failed"));
}

TEST(MemoryPool, ForeignPointersAreRefusedAndChangeNothing) {
  zvMemoryPool pool(64, 4096);
  zvMemoryPool other(64, 4096);
  char* mine = static_cast<char*>(pool.Alloc(64));
  void* foreign = other.Alloc(64);
  int local = 0;
  const auto refuses = [](zvMemoryPool& from, void* bad) {
    return ThrowsId<zvException>([&] { from.Free(bad); }, 0,
                                 L"zvMemoryPool::Free: Node not allocated by one of our arenas");
  };
  for (void* bad : {foreign, static_cast<void*>(&local), static_cast<void*>(mine + 8),
                    static_cast<void*>(mine + 64)})
    EXPECT_TRUE(refuses(pool, bad));
  zvMemoryPool empty(64);
  EXPECT_TRUE(refuses(empty, reinterpret_cast<void*>(64)));
  pool.Free(nullptr);
  pool.Free(mine);
  EXPECT_EQ(pool.Alloc(64), mine);
}

TEST(MemoryPoolProvider, GivesEachThreadItsOwnPoolForEachSize) {
  zvMemoryPoolProvider provider;
  const auto pool = provider.GetPool(64);
  EXPECT_EQ(provider.GetPool(64), pool);
  EXPECT_NE(provider.GetPool(65), pool);
  EXPECT_EQ(pool->GetNodesPerArena(), (0x40000u - 64u) / 64u);
  std::shared_ptr<zvMemoryPool> theirs;
  std::thread([&] { theirs = provider.GetPool(64); }).join();
  EXPECT_NE(theirs, pool);
  zvMemoryPoolProvider copy(provider);
  EXPECT_NE(copy.GetPool(64), pool);
}

std::size_t ResidentBytes() {
  std::size_t total = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * 0x1000;
}

TEST(MemoryPoolProvider, ManyThreadsLeaveLittleBehind) {
  zvMemoryPoolProvider provider;
  const std::size_t before = ResidentBytes();
  std::vector<std::thread> threads;
  for (int i = 0; i < 32; ++i)
    threads.emplace_back([&] {
      const auto pool = provider.GetPool(168);
      std::vector<void*> nodes(20000);  // a list long enough for large pages
      for (void*& node : nodes) node = pool->Alloc(168);
      for (void* node : nodes) pool->Free(node);
      EXPECT_EQ(pool->GetArenaCount(), 1u);
      nodes[0] = pool->Alloc(168);
      pool->Free(nodes[0]);
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

TEST(MemoryPoolProvider, NodesMayBeFreedOnAnotherThread) {
  zvMemoryPoolProvider provider;
  const auto pool = provider.GetPool(48);
  std::vector<void*> nodes(50000), more(50000);
  for (void*& node : nodes) node = pool->Alloc(48);
  std::thread freeing([&] {
    for (std::size_t i = 0; i < nodes.size(); i += 2) pool->Free(nodes[i]);
  });
  for (void*& node : more) node = pool->Alloc(48);
  freeing.join();
  for (std::size_t i = 1; i < nodes.size(); i += 2) pool->Free(nodes[i]);
  for (void* node : more) pool->Free(node);
  EXPECT_EQ(pool->GetArenaCount(), 1u);
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

std::vector<int> Values(const zvMemoryPoolList<Counted>& list) {
  std::vector<int> values;
  for (const Counted& c : list) values.push_back(c.value);
  return values;
}

TEST(MemoryPoolList, InsertsErasesAndClearsAnywhere) {
  zvMemoryPoolProvider provider;
  {
    zvMemoryPoolList<Counted> list(provider);
    list.Clear();
    list.EmplaceBack(2);
    list.Insert(list.begin(), Counted(0));
    list.Emplace(std::next(list.begin()), 1);
    list.Emplace(list.end(), 3);
    EXPECT_EQ(Values(list), (std::vector{0, 1, 2, 3}));
    std::vector<int> backwards;
    for (auto it = list.end(); it != list.begin();) backwards.push_back((--it)->value);
    EXPECT_EQ(backwards, (std::vector{3, 2, 1, 0}));
    EXPECT_EQ(list.Erase(std::next(list.begin()))->value, 2);
    EXPECT_EQ(list.Erase(std::prev(list.end())), list.end());
    list.Erase(list.begin());
    EXPECT_EQ(Values(list), (std::vector{2}));
    EXPECT_EQ(&list.Front(), &list.Back());
    EXPECT_THROW(list.PushBack(Counted(-1)), std::runtime_error);
    EXPECT_EQ(Counted::living, 1);
    EXPECT_EQ(list.GetCount(), 1u);
    list.Clear();
    EXPECT_EQ(Counted::living, 0);
    EXPECT_TRUE(list.IsEmpty());
    list.EmplaceBack(9);
    EXPECT_EQ(Values(list), (std::vector{9}));
  }
  EXPECT_EQ(Counted::living, 0);
}

TEST(MemoryPoolList, OutlivesItsProviderAndSharesItsPoolWithOthers) {
  std::unique_ptr<zvMemoryPoolList<Counted>> survivor;
  {
    zvMemoryPoolProvider provider;
    survivor = std::make_unique<zvMemoryPoolList<Counted>>(provider);
    zvMemoryPoolList<Counted> other(provider);
    for (int i = 0; i < 30000; ++i) {
      survivor->EmplaceBack(i);
      other.EmplaceBack(-i);
    }
  }
  int expected = 0;
  for (const Counted& c : *survivor) ASSERT_EQ(c.value, expected++);
  EXPECT_EQ(expected, 30000);
  survivor.reset();
  EXPECT_EQ(Counted::living, 0);
}

}  // namespace
}  // namespace misc
