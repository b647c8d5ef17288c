#include <kandrel/misc/memory_pool.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/misc/platform.h>
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

}  // namespace
}  // namespace misc
