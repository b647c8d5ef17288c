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
    Link* block = stock.first;
    stock.first = block->next;
    --stock.count;
    return block;
  }

  static void Delete(void* memory) noexcept {
    Link* block = static_cast<Link*>(memory);
    if (t_isGone) [[unlikely]] {
      block->next = nullptr;
      GiveBack(block, 1);
      return;
    }
    Stock& stock = t_stock;
    block->next = stock.first;
    stock.first = block;
    if (++stock.count == kLargestStock) stock.Shrink();
  }

 private:
  struct Link {
    Link* next;
  };
  static_assert(Size >= sizeof(Link));

  static constexpr std::size_t kFill = 128;
  static constexpr std::size_t kLargestStock = 4096;

  struct Stock {
    Link* first = nullptr;
    std::size_t count = 0;

    // Of an empty stock; afterwards there is a first block.
    void Fill() {
      do first = ::new (Depot().Alloc(Size)) Link{first};
      while (++count < kFill);
    }
    // The older half goes back, so that a thread that only deletes doesn't hoard.
    void Shrink() noexcept {
      Link* last = first;
      for (std::size_t i = 1; i < kLargestStock / 2; ++i) last = last->next;
      GiveBack(std::exchange(last->next, nullptr), count - kLargestStock / 2);
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

  static void GiveBack(Link* first, std::size_t count) noexcept {
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
