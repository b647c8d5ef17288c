// BlockStock: small blocks of one size for objects that come and go by the million. Internal.
#pragma once

#include <kandrel/misc/memory_pool.h>

#include <cstddef>
#include <utility>

namespace misc::detail {

/// A stock of free blocks per thread, which needs no lock, over one pool for all threads, which
/// gives what empties back to the system. Any thread may delete a block. Use it from one source
/// file per size only.
template <std::size_t Size>
class BlockStock {
 public:
  static void* New() {
    if (t_isGone) [[unlikely]]
      return Depot().Alloc(Size);
    Stock& stock = t_stock;
    if (stock.first == nullptr) stock.Fill();
    void* block = stock.first;
    stock.first = NextOf(block);
    --stock.count;
    return block;
  }

  static void Delete(void* memory) noexcept {
    if (t_isGone) [[unlikely]] {
      GiveBack(memory, 1);
      return;
    }
    Stock& stock = t_stock;
    NextOf(memory) = stock.first;
    stock.first = memory;
    if (++stock.count == kLargestStock) stock.Shrink();
  }

 private:
  static_assert(Size >= sizeof(void*));

  static void*& NextOf(void* block) noexcept { return *static_cast<void**>(block); }

  static constexpr std::size_t kFill = 128;
  static constexpr std::size_t kLargestStock = 4096;

  struct Stock {
    void* first = nullptr;
    std::size_t count = 0;

    // Of an empty stock; afterwards there is a first block.
    void Fill() {
      std::size_t filled = kFill;
      first = Depot().AllocChain(filled);
      count = filled;
    }
    // The older half goes back, so that a thread that only deletes doesn't hoard.
    void Shrink() noexcept {
      void* last = first;
      for (std::size_t i = 1; i < kLargestStock / 2; ++i) last = NextOf(last);
      GiveBack(std::exchange(NextOf(last), nullptr), count - kLargestStock / 2);
      count = kLargestStock / 2;
    }
    ~Stock() {
      t_isGone = true;
      GiveBack(first, count);
    }
  };

  // Never destroyed: objects of static lifetime may die after everything else.
  static zvMemoryPool& Depot() {
    static zvMemoryPool& depot = *new zvMemoryPool(Size);
    return depot;
  }

  static void GiveBack(void* first, std::size_t count) noexcept {
    try {
      Depot().FreeChain(first, count);
    } catch (...) {
      // The system refused to take pages back: they stay mapped, which harms nobody.
    }
  }

  static inline thread_local bool t_isGone = false;
  static inline thread_local Stock t_stock;
};

}  // namespace misc::detail
