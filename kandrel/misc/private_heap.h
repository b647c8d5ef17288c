// zvPrivateHeap and its provider: a heap per thread for small arrays of varying length.
#pragma once

#include <kandrel/misc/export.h>

#include <cstddef>
#include <map>
#include <memory>
#include <memory_resource>
#include <mutex>
#include <thread>
#include <vector>

namespace misc {

/// Serves blocks of any size from pages of its own. Freed blocks are used again; small ones go
/// back to the system with the heap, those above kLargestPooled at once. Safe from any thread: one
/// lock of its own, which one thread at a time holds in normal use.
///
/// Failures are zvException with id 0 and the text named at the operation.
class KANDREL_API zvPrivateHeap {
 public:
  /// How many bytes a region has, and the largest block that counts as small.
  static constexpr std::size_t kRegionBytes = 0x20000;
  static constexpr std::size_t kLargestPooled = 0x4000;

  /// Takes a first region of kRegionBytes; "Failed to create private heap" when there is none.
  zvPrivateHeap();
  zvPrivateHeap(const zvPrivateHeap&) = delete;
  zvPrivateHeap& operator=(const zvPrivateHeap&) = delete;
  /// All blocks become invalid.
  ~zvPrivateHeap();

  /// Returns a block aligned for any type, uninitialised; null for 0 bytes. "Failed to allocate
  /// memory" when the system has no more.
  void* Alloc(std::size_t bytes);
  /// Gives back what Alloc gave for the same number of bytes; null is ignored.
  void Free(void* block, std::size_t bytes) noexcept;

 private:
  /// Cuts what the pool asks for from regions of whole pages.
  class PageSource : public std::pmr::memory_resource {
   public:
    PageSource();
    PageSource(const PageSource&) = delete;
    PageSource& operator=(const PageSource&) = delete;
    ~PageSource() override;

   private:
    void* do_allocate(std::size_t bytes, std::size_t alignment) override;
    void do_deallocate(void* block, std::size_t bytes, std::size_t alignment) override;
    bool do_is_equal(const memory_resource& other) const noexcept override;
    void AddRegion();

    std::vector<void*> m_regions;
    std::byte* m_next = nullptr;  // the uncut rest of the last region
    std::size_t m_left = 0;
  };

  std::mutex m_mutex;
  PageSource m_pages;
  std::pmr::unsynchronized_pool_resource m_pool;
};

/// Gives each thread its own heap, made on first use. What is handed out shares the ownership, so
/// that an array may outlive the provider.
class KANDREL_API zvPrivateHeapProvider {
 public:
  /// Makes no heap yet.
  zvPrivateHeapProvider() = default;
  /// A copy starts with no heaps of its own.
  zvPrivateHeapProvider(const zvPrivateHeapProvider&) {}
  zvPrivateHeapProvider& operator=(const zvPrivateHeapProvider&) = delete;

  /// Returns the calling thread's heap. Throws as the constructor of zvPrivateHeap.
  std::shared_ptr<zvPrivateHeap> GetHeap();

 private:
  std::mutex m_mutex;
  std::map<std::thread::id, std::shared_ptr<zvPrivateHeap>> m_threadHeaps;
};

namespace detail {
/// Bytes of `count` elements, and a block from the ordinary heap; both throw zvException with id 0,
/// "Failed to allocate memory".
KANDREL_API std::size_t ArrayBytes(std::size_t count, std::size_t elementBytes);
KANDREL_API void* OrdinaryAlloc(std::size_t bytes);
}  // namespace detail

}  // namespace misc
