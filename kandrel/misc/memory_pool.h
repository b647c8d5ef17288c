// zvMemoryPool and zvMemoryPoolProvider: nodes of one size, by the million, without the heap.
#pragma once

#include <kandrel/misc/export.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_set>
#include <vector>

namespace misc {

/// Serves nodes of one size from arenas that come from the system's page allocator.
///
/// 1. Alloc and Free take constant time; each is safe to call from any thread.
/// 2. An arena that empties goes back to the system, except the last one: a list that grows and
///    empties again doesn't ask the system over and over. What was taken for more than that one
///    goes back all the same.
/// 3. Nodes are aligned for any type of the node size.
/// 4. Under an address sanitizer free nodes are poisoned, all but their first word.
///
/// Failures are zvException with id 0 and the text named at the operation.
class KANDREL_API zvMemoryPool {
 public:
  /// Takes no memory yet. `arenaBytes` 0 means kDefaultArenaBytes.
  explicit zvMemoryPool(std::uint32_t nodeSize, std::uint32_t arenaBytes = 0);
  zvMemoryPool(const zvMemoryPool&) = delete;
  zvMemoryPool& operator=(const zvMemoryPool&) = delete;
  /// Releases every arena; all nodes become invalid.
  ~zvMemoryPool();

  /// What an arena takes by default, bytes.
  static constexpr std::uint32_t kDefaultArenaBytes = 0x40000;

  /// Returns a node, uninitialised. "Allocation request size too big" when `size` is above the node
  /// size; "Failed to allocate memory" (zvOutOfMemory) when the system has no more pages;
  /// "zvMemoryPool::Alloc: Node allocation failed" when not even one node fits into an arena.
  void* Alloc(std::size_t size);

  /// Returns at least one node and at most `count`, which becomes their number: a chain of which
  /// each one's first word points to the next, null in the last. Throws as Alloc. Costs one lock.
  void* AllocChain(std::size_t& count);

  /// Gives a node back; null is ignored. "zvMemoryPool::Free: Node not allocated by one of our
  /// arenas" for any other address, and nothing changes. "Failed to free memory" when the system
  /// refuses to take back what has emptied; the node is given back all the same.
  void Free(void* node);

  /// Gives back a chain of nodes of which each one's first word points to the next; the last one's
  /// first word is not looked at. Runs within one arena cost one step each, and the lock is free
  /// between them: other threads wait for one run at most. Throws as Free does, a refusal of the
  /// system after all nodes have been given back.
  void FreeChain(void* first, std::size_t count);

  /// Releases every arena at once; all nodes become invalid.
  void Clear();

  /// What was asked for, what follows from it, and how many arenas there are now.
  std::uint32_t GetNodeSize() const noexcept { return m_nodeSize; }
  std::uint32_t GetNodesPerArena() const noexcept { return m_nodesPerArena; }
  std::size_t GetArenaCount() const;

 private:
  struct Arena;
  struct Slab;

  Arena* ArenaWithRoom();
  void* TakeNode(Arena* arena) noexcept;
  Arena* ArenaOf(const void* node) const noexcept;
  Arena* FindArena(const void* node) const noexcept;
  Arena* NewArena();
  void* NewBlock(Slab*& slab);
  struct Pages;
  Pages DetachBlock(Arena* arena) noexcept;
  void KeepLastArena(Arena* arena) noexcept;
  void TakeFromRoom(Arena* arena) noexcept;
  void PutIntoRoom(Arena* arena) noexcept;
  Pages GiveBack(Arena* arena, void* first, void* last, std::uint32_t count) noexcept;
  void ReleaseAll() noexcept;
  [[noreturn]] static void ThrowForeignNode();

  std::uint32_t m_nodeSize;
  std::size_t m_stride;
  std::uint32_t m_arenaBytes;
  std::uint32_t m_nodesPerArena;
  std::size_t m_arenaAlignment;
  bool m_isWatched;  // by an address sanitizer
  mutable std::mutex m_mutex;
  Arena* m_currentArena = nullptr;
  Arena* m_roomFirst = nullptr;  // arenas with a free node, so that a miss needs no walk
  std::unordered_set<const Arena*> m_arenas;
  std::list<Slab> m_openSlabs;  // with room for another arena
  std::list<Slab> m_fullSlabs;
};

/// Gives each thread its own pool for each node size. A member of what makes lists; a list shares
/// the ownership of its pool, so that a list taken from a creator may outlive it.
class KANDREL_API zvMemoryPoolProvider {
 public:
  /// Makes no pool yet. `arenaBytes` 0 means zvMemoryPool::kDefaultArenaBytes.
  explicit zvMemoryPoolProvider(std::uint32_t arenaBytes = 0) : m_arenaBytes(arenaBytes) {}
  /// A copy starts with no pools of its own.
  zvMemoryPoolProvider(const zvMemoryPoolProvider& other) : m_arenaBytes(other.m_arenaBytes) {}
  zvMemoryPoolProvider& operator=(const zvMemoryPoolProvider&) = delete;

  /// Returns the calling thread's pool for nodes of `nodeSize` bytes. The count is atomic, unlike
  /// that of zvAutoPointer, because lists may be dropped on other threads than the provider.
  std::shared_ptr<zvMemoryPool> GetPool(std::uint32_t nodeSize);

 private:
  using Table = std::vector<std::shared_ptr<zvMemoryPool>>;

  std::uint32_t m_arenaBytes;
  std::mutex m_mutex;
  std::map<std::thread::id, Table> m_threadTables;
};

}  // namespace misc
