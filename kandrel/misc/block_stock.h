// BlockStock: small blocks of one size for objects that come and go by the million. Internal.
#pragma once

#include <kandrel/misc/memory_pool.h>
#include <kandrel/misc/platform.h>

#include <cstddef>
#include <utility>

namespace misc::detail {

/// A stock of free blocks per thread, which needs no lock, over one pool for all threads, which
/// gives what empties back to the system. Any thread may delete a block. Use it from one source
/// file per size only. Without a stock where a thread can't keep one, and under an address
/// sanitizer, so that a deleted block is poisoned at once.
template <std::size_t Size>
class BlockStock {
 public:
  /// Returns a block, uninitialised. Throws as zvMemoryPool::Alloc.
  static void* New() {
    Stock& stock = t_stock;
    if (stock.first == nullptr) [[unlikely]] {
      if (!Watch(stock)) return Depot().Alloc(Size);
      stock.Fill();
    }
    void* block = stock.first;
    stock.first = NextOf(block);
    --stock.count;
    return block;
  }

  /// Takes a block of New back.
  static void Delete(void* memory) noexcept {
    Stock& stock = t_stock;
    if (stock.state != State::kWatched) [[unlikely]] {
      if (!Watch(stock)) return GiveBack(memory, 1);
    }
    NextOf(memory) = stock.first;
    stock.first = memory;
    if (++stock.count == kLargestStock) stock.Shrink();
  }

 private:
  static_assert(Size >= sizeof(void*));

  static void*& NextOf(void* block) noexcept { return *static_cast<void**>(block); }

  static constexpr std::size_t kFill = 128;
  static constexpr std::size_t kLargestStock = 4096;

  enum class State { kNew, kWatched, kGone };

  // Without constructor and destructor, so that no access asks whether they are due.
  struct Stock {
    void* first = nullptr;
    std::size_t count = 0;
    State state = State::kNew;
    platform::ThreadEnd end;

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
  };

  // Empties the stock at the end of its thread.
  static void EmptyStock(platform::ThreadEnd&) noexcept {
    Stock& stock = t_stock;
    stock.state = State::kGone;
    GiveBack(std::exchange(stock.first, nullptr), std::exchange(stock.count, 0));
  }

  // False when there is to be no stock: nobody would empty it.
  static bool Watch(Stock& stock) noexcept {
    if (stock.state == State::kWatched) return true;
    if (stock.state == State::kGone || platform::IsAddressSanitized()) return false;
    stock.end.run = EmptyStock;
    if (!platform::AtThreadEnd(stock.end)) return false;
    stock.state = State::kWatched;
    return true;
  }

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

  // There from the thread's start: made on first use, it would cost a call each time, and end the
  // program without memory for it.
  [[gnu::tls_model("initial-exec")]] static inline constinit thread_local Stock t_stock{};
};

}  // namespace misc::detail
