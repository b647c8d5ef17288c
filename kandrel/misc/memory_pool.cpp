#include <kandrel/misc/detail/failures.h>
#include <kandrel/misc/memory_pool.h>
#include <kandrel/misc/platform.h>

#include <algorithm>
#include <bit>

namespace misc {

namespace {

constexpr std::size_t kSlabBytes = 0x200000;
// The first arenas come one by one, so that a short list costs little; a pool that grows on takes
// its arenas eight at a time from slabs of the size of a large page, which halves what an append
// costs, as most of that is the first touch of fresh memory.
constexpr std::size_t kArenasBeforeSlabs = 8;

std::size_t RoundUp(std::size_t value, std::size_t unit) {
  return (value + unit - 1) / unit * unit;
}

void*& LinkOf(void* node) {
  return *static_cast<void**>(node);
}

// All but the link.
void PoisonFree(void* node, std::size_t stride) noexcept {
  platform::Poison(static_cast<char*>(node) + sizeof(void*), stride - sizeof(void*));
}

}  // namespace

// The header stands at the start of the arena's own block. Blocks are aligned to a power of two of
// at least their size, so that masking a node's address finds its arena.
struct zvMemoryPool::Arena {
  std::uint32_t usedCount = 0;
  std::uint32_t freshCount = 0;  // nodes that were ever handed out, in address order
  void* freeHead = nullptr;      // nodes given back
  Arena* roomNext = nullptr;
  Arena* roomPrevious = nullptr;
  bool hasRoom = false;
  Slab* slab = nullptr;

  char* Nodes() { return reinterpret_cast<char*>(this) + kHeaderBytes; }

  static constexpr std::size_t kHeaderBytes = 64;
};

// A block of the size of a large page, cut into arenas.
struct zvMemoryPool::Slab {
  void* block = nullptr;
  std::uint32_t usedMask = 0;
  bool isTrimmed = false;  // no arena was taken since all memory but that of one page went back
  std::list<Slab>::iterator self;
};

// What is to go back to the system, if anything.
struct zvMemoryPool::Pages {
  void* block = nullptr;
  std::size_t bytes = 0;

  bool Free() const noexcept {
    if (block == nullptr) return true;
    platform::Unpoison(block, bytes);
    return platform::FreePages(block, bytes);
  }
};

zvMemoryPool::zvMemoryPool(std::uint32_t nodeSize, std::uint32_t arenaBytes)
    : m_nodeSize(nodeSize),
      m_arenaBytes(arenaBytes != 0 ? arenaBytes : kDefaultArenaBytes),
      m_isWatched(platform::IsAddressSanitized()) {
  static_assert(sizeof(Arena) <= Arena::kHeaderBytes);
  // Rounding up to the links' alignment suffices for any type: the size of a type is a multiple of
  // its alignment, so a node size that 16 doesn't divide holds no type that needs 16.
  m_stride = RoundUp(std::max<std::size_t>(nodeSize, sizeof(void*)), alignof(void*));
  const std::size_t room =
      m_arenaBytes > Arena::kHeaderBytes ? m_arenaBytes - Arena::kHeaderBytes : 0;
  m_nodesPerArena = static_cast<std::uint32_t>(room / m_stride);
  m_arenaAlignment = std::bit_ceil(std::size_t{m_arenaBytes});
}

zvMemoryPool::~zvMemoryPool() {
  ReleaseAll();
}

void* zvMemoryPool::Alloc(std::size_t size) {
  if (size > m_nodeSize) detail::ThrowFailure(L"Allocation request size too big");
  const std::lock_guard lock(m_mutex);
  return TakeNode(ArenaWithRoom());
}

// Of one arena only, so that nothing can fail after the first node.
void* zvMemoryPool::AllocChain(std::size_t& count) {
  if (count == 0) return nullptr;
  const std::lock_guard lock(m_mutex);
  Arena* arena = ArenaWithRoom();
  count = std::min<std::size_t>(count, m_nodesPerArena - arena->usedCount);
  void* first = nullptr;
  void** link = &first;
  std::size_t taken = 0;
  for (; taken < count && arena->freeHead != nullptr; ++taken) {
    *link = arena->freeHead;
    if (m_isWatched) platform::Unpoison(*link, m_stride);
    link = &LinkOf(*link);
    arena->freeHead = *link;
  }
  char* fresh = arena->Nodes() + arena->freshCount * m_stride;
  arena->freshCount += static_cast<std::uint32_t>(count - taken);
  if (m_isWatched) platform::Unpoison(fresh, (count - taken) * m_stride);
  for (; taken < count; ++taken, fresh += m_stride) {
    *link = fresh;
    link = &LinkOf(fresh);
  }
  *link = nullptr;
  arena->usedCount += static_cast<std::uint32_t>(count);
  if (arena->usedCount == m_nodesPerArena) TakeFromRoom(arena);
  return first;
}

void zvMemoryPool::Free(void* node) {
  FreeChain(node, 1);
}

void zvMemoryPool::FreeChain(void* first, std::size_t count) {
  if (first == nullptr || count == 0) return;
  bool isRefused = false;
  std::unique_lock lock(m_mutex);
  while (count != 0) {
    Arena* arena = FindArena(first);
    if (arena == nullptr) ThrowForeignNode();
    // The walk and the return of pages take most of the time. The arena stays: its nodes are ours.
    lock.unlock();
    void* last = first;
    std::uint32_t run = 1;
    while (run < count && ArenaOf(LinkOf(last)) == arena) {
      if (m_isWatched) PoisonFree(last, m_stride);
      last = LinkOf(last);
      ++run;
    }
    count -= run;
    void* next = count != 0 ? LinkOf(last) : nullptr;
    if (m_isWatched) PoisonFree(last, m_stride);
    lock.lock();
    const Pages emptied = GiveBack(arena, first, last, run);
    first = next;
    if (emptied.block == nullptr) continue;
    lock.unlock();
    isRefused |= !emptied.Free();
    lock.lock();
  }
  if (isRefused) detail::ThrowFailure(L"Failed to free memory");
}

void zvMemoryPool::Clear() {
  const std::lock_guard lock(m_mutex);
  ReleaseAll();
}

std::size_t zvMemoryPool::GetArenaCount() const {
  const std::lock_guard lock(m_mutex);
  return m_arenas.size();
}

zvMemoryPool::Arena* zvMemoryPool::ArenaWithRoom() {
  if (m_currentArena == nullptr || m_currentArena->usedCount == m_nodesPerArena)
    m_currentArena = m_roomFirst != nullptr ? m_roomFirst : NewArena();
  return m_currentArena;
}

// Of an arena that has room.
void* zvMemoryPool::TakeNode(Arena* arena) noexcept {
  void* node = arena->freeHead;
  if (node != nullptr) {
    arena->freeHead = LinkOf(node);
  } else {
    node = arena->Nodes() + arena->freshCount * m_stride;
    ++arena->freshCount;
  }
  if (m_isWatched) platform::Unpoison(node, m_stride);
  if (++arena->usedCount == m_nodesPerArena) TakeFromRoom(arena);
  return node;
}

zvMemoryPool::Arena* zvMemoryPool::ArenaOf(const void* node) const noexcept {
  return reinterpret_cast<Arena*>(reinterpret_cast<std::uintptr_t>(node) &
                                  ~(std::uintptr_t{m_arenaAlignment} - 1));
}

// Null unless the address is that of a node of ours: it is looked up before it is read.
zvMemoryPool::Arena* zvMemoryPool::FindArena(const void* node) const noexcept {
  Arena* arena = ArenaOf(node);
  if (arena == nullptr) return nullptr;  // no arena stands there, but m_currentArena may be null
  if (arena != m_currentArena && !m_arenas.contains(arena)) return nullptr;
  const char* nodes = arena->Nodes();
  if (static_cast<const char*>(node) < nodes) return nullptr;
  const auto offset = static_cast<std::size_t>(static_cast<const char*>(node) - nodes);
  const bool isNode = offset % m_stride == 0 && offset / m_stride < arena->freshCount;
  return isNode ? arena : nullptr;
}

zvMemoryPool::Arena* zvMemoryPool::NewArena() {
  if (m_nodesPerArena == 0) detail::ThrowFailure(L"zvMemoryPool::Alloc: Node allocation failed");
  Slab* slab = nullptr;
  Arena* arena = new (NewBlock(slab)) Arena;
  arena->slab = slab;
  try {
    m_arenas.insert(arena);
  } catch (...) {
    DetachBlock(arena).Free();
    throw;
  }
  platform::Poison(arena->Nodes(), m_nodesPerArena * m_stride);
  PutIntoRoom(arena);
  return arena;
}

// An arena's block, alone or out of a slab; `slab` is set in the latter case.
void* zvMemoryPool::NewBlock(Slab*& slab) {
  const std::size_t arenasPerSlab = kSlabBytes / m_arenaBytes;
  const bool fitsSlab =
      m_arenaAlignment == m_arenaBytes && arenasPerSlab >= 2 && arenasPerSlab <= 32;
  if (!fitsSlab || m_arenas.size() < kArenasBeforeSlabs) {
    void* block =
        platform::AllocatePages(m_arenaBytes, m_arenaAlignment, platform::PageSize::kSmall);
    if (block == nullptr) detail::ThrowOutOfMemory();
    return block;
  }
  if (m_openSlabs.empty()) {
    m_openSlabs.emplace_front();
    m_openSlabs.front().self = m_openSlabs.begin();
    m_openSlabs.front().block =
        platform::AllocatePages(kSlabBytes, kSlabBytes, platform::PageSize::kHuge);
    if (m_openSlabs.front().block == nullptr) {
      m_openSlabs.pop_front();
      detail::ThrowOutOfMemory();
    }
  }
  slab = &m_openSlabs.front();
  const auto place = static_cast<std::size_t>(std::countr_one(slab->usedMask));
  slab->usedMask |= 1u << place;
  slab->isTrimmed = false;
  if (static_cast<std::size_t>(std::popcount(slab->usedMask)) == arenasPerSlab)
    m_fullSlabs.splice(m_fullSlabs.begin(), m_openSlabs, slab->self);
  return static_cast<char*>(slab->block) + place * m_arenaBytes;
}

// Takes the arena's block out of the books; the arena is in no list any more. Gives what can go
// back to the system with it.
zvMemoryPool::Pages zvMemoryPool::DetachBlock(Arena* arena) noexcept {
  Slab* slab = arena->slab;
  if (slab == nullptr) return {arena, m_arenaBytes};
  const auto place =
      static_cast<std::size_t>(reinterpret_cast<char*>(arena) - static_cast<char*>(slab->block)) /
      m_arenaBytes;
  const bool wasFull =
      static_cast<std::size_t>(std::popcount(slab->usedMask)) == kSlabBytes / m_arenaBytes;
  slab->usedMask &= ~(1u << place);
  if (wasFull) m_openSlabs.splice(m_openSlabs.begin(), m_fullSlabs, slab->self);
  if (slab->usedMask != 0) return {};
  const Pages pages{slab->block, kSlabBytes};
  m_openSlabs.erase(slab->self);
  return pages;
}

// The last arena of a long list stands in a slab. Only the arena is kept for the next list, not the
// memory of a large page: hosts have many threads, each with its pool.
void zvMemoryPool::KeepLastArena(Arena* arena) noexcept {
  Slab* slab = arena->slab;
  if (slab == nullptr || slab->isTrimmed) return;
  slab->isTrimmed = true;
  arena->freeHead = nullptr;
  arena->freshCount = 0;
  constexpr std::size_t kPage = 0x1000;
  char* block = static_cast<char*>(slab->block);
  char* afterHeader = reinterpret_cast<char*>(arena) + kPage;
  platform::DiscardPages(block, static_cast<std::size_t>(reinterpret_cast<char*>(arena) - block));
  platform::DiscardPages(afterHeader, static_cast<std::size_t>(block + kSlabBytes - afterHeader));
}

zvMemoryPool::Pages zvMemoryPool::GiveBack(Arena* arena, void* first, void* last,
                                           std::uint32_t count) noexcept {
  LinkOf(last) = arena->freeHead;
  arena->freeHead = first;
  arena->usedCount -= count;
  if (!arena->hasRoom) PutIntoRoom(arena);
  m_currentArena = arena;
  if (arena->usedCount != 0) return {};
  if (m_arenas.size() == 1) {
    KeepLastArena(arena);
    return {};
  }
  m_currentArena = nullptr;
  TakeFromRoom(arena);
  m_arenas.erase(arena);
  return DetachBlock(arena);
}

void zvMemoryPool::PutIntoRoom(Arena* arena) noexcept {
  arena->hasRoom = true;
  arena->roomPrevious = nullptr;
  arena->roomNext = m_roomFirst;
  if (m_roomFirst != nullptr) m_roomFirst->roomPrevious = arena;
  m_roomFirst = arena;
}

void zvMemoryPool::TakeFromRoom(Arena* arena) noexcept {
  arena->hasRoom = false;
  (arena->roomPrevious != nullptr ? arena->roomPrevious->roomNext : m_roomFirst) = arena->roomNext;
  if (arena->roomNext != nullptr) arena->roomNext->roomPrevious = arena->roomPrevious;
}

void zvMemoryPool::ReleaseAll() noexcept {
  for (const Arena* arena : m_arenas)
    if (arena->slab == nullptr) Pages{const_cast<Arena*>(arena), m_arenaBytes}.Free();
  for (std::list<Slab>* slabs : {&m_openSlabs, &m_fullSlabs}) {
    for (const Slab& slab : *slabs) Pages{slab.block, kSlabBytes}.Free();
    slabs->clear();
  }
  m_arenas.clear();
  m_roomFirst = nullptr;
  m_currentArena = nullptr;
}

void zvMemoryPool::ThrowForeignNode() {
  detail::ThrowFailure(L"zvMemoryPool::Free: Node not allocated by one of our arenas");
}

std::shared_ptr<zvMemoryPool> zvMemoryPoolProvider::GetPool(std::uint32_t nodeSize) {
  const std::lock_guard lock(m_mutex);
  Table& table = m_threadTables[std::this_thread::get_id()];
  for (const std::shared_ptr<zvMemoryPool>& pool : table)
    if (pool->GetNodeSize() == nodeSize) return pool;
  table.push_back(std::make_shared<zvMemoryPool>(nodeSize, m_arenaBytes));
  return table.back();
}

}  // namespace misc
