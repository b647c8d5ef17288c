#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/exception.h>

#include <memory>
#include <mutex>
#include <vector>

namespace misc::detail {

namespace {

// A free slot of the pool holds the link to the next one.
union Slot {
  zvReferenceBlock block;
  Slot* next;
};

constexpr std::size_t kSlotsPerChunk = 1024;
constexpr std::size_t kCachedSlots = 4 * kSlotsPerChunk;

// The slots that no thread holds. It is never destroyed: pointers with static lifetime may be
// released after everything else.
struct Depot {
  std::mutex mutex;
  Slot* free = nullptr;
  std::vector<std::unique_ptr<Slot[]>> chunks;

  static Depot& Instance() {
    static Depot& depot = *new Depot;
    return depot;
  }
};

struct Chain {
  Slot* first = nullptr;
  Slot* last = nullptr;
};

// Takes up to one chunk's worth of slots, from the free ones or from a new chunk.
Chain TakeChain() {
  Depot& depot = Depot::Instance();
  const std::lock_guard lock(depot.mutex);
  if (depot.free == nullptr) {
    depot.chunks.push_back(std::make_unique_for_overwrite<Slot[]>(kSlotsPerChunk));
    Slot* slots = depot.chunks.back().get();
    for (std::size_t i = 0; i + 1 < kSlotsPerChunk; ++i) slots[i].next = &slots[i + 1];
    slots[kSlotsPerChunk - 1].next = nullptr;
    depot.free = slots;
  }
  Chain chain{depot.free, depot.free};
  for (std::size_t n = 1; n < kSlotsPerChunk && chain.last->next != nullptr; ++n)
    chain.last = chain.last->next;
  depot.free = std::exchange(chain.last->next, nullptr);
  return chain;
}

void GiveChain(const Chain& chain) noexcept {
  Depot& depot = Depot::Instance();
  const std::lock_guard lock(depot.mutex);
  chain.last->next = depot.free;
  depot.free = chain.first;
}

// Blocks are made and freed by the million while a toolpath is built or dropped, almost always on
// one thread, so each thread keeps a stock that needs no lock.
struct ThreadStock {
  Slot* free = nullptr;
  std::size_t count = 0;

  ~ThreadStock();
};

thread_local bool t_stockIsGone = false;
thread_local ThreadStock t_stock;

ThreadStock::~ThreadStock() {
  t_stockIsGone = true;
  if (free == nullptr) return;
  Chain chain{free, free};
  while (chain.last->next != nullptr) chain.last = chain.last->next;
  GiveChain(chain);
}

}  // namespace

zvReferenceBlock* NewReferenceBlock() {
  Slot* slot;
  if (t_stockIsGone) [[unlikely]] {
    const Chain chain = TakeChain();
    slot = chain.first;
    if (slot->next != nullptr) GiveChain({slot->next, chain.last});
  } else {
    ThreadStock& stock = t_stock;
    if (stock.free == nullptr) {
      stock.free = TakeChain().first;
      stock.count = 0;
    }
    slot = stock.free;
    stock.free = slot->next;
    if (stock.count != 0) --stock.count;
  }
  slot->block = {1, true};
  return &slot->block;
}

void DeleteReferenceBlock(zvReferenceBlock* block) noexcept {
  Slot* slot = reinterpret_cast<Slot*>(block);
  if (t_stockIsGone) [[unlikely]] {
    GiveChain({slot, slot});
    return;
  }
  ThreadStock& stock = t_stock;
  slot->next = stock.free;
  stock.free = slot;
  if (++stock.count < kCachedSlots) return;
  // Half of a full stock goes back, so that a thread that only frees doesn't hoard.
  Chain chain{stock.free, stock.free};
  for (std::size_t n = 1; n < kCachedSlots / 2; ++n) chain.last = chain.last->next;
  stock.free = std::exchange(chain.last->next, nullptr);
  stock.count -= kCachedSlots / 2;
  GiveChain(chain);
}

void ThrowNullPointer() {
  throw zvException(0, L"Accessing NULL pointer");
}

}  // namespace misc::detail
