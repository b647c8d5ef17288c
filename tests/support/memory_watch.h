// Counts and refuses memory in a test program that links memory_watch.cpp.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <utility>

namespace tests {

/// What memory_watch.cpp counts and asks.
namespace watch {
constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
inline std::atomic<std::uint64_t> g_count{0};
inline std::atomic<std::int64_t> g_left{kNever};  // requests that are still served
inline std::atomic<bool> g_lasts{false}, g_hasStruck{false};
inline std::atomic<std::size_t> g_mapped{0}, g_peak{0};
inline std::function<bool()>* g_releaseHook = nullptr;
inline thread_local bool g_isInNew = false;

/// Counts a request down, and says whether it is to fail.
inline bool IsRefused() {
  if (g_left.load(std::memory_order_relaxed) == kNever) return false;
  const std::int64_t left = g_left.fetch_sub(1);
  const bool isRefused = g_lasts ? left <= 0 : left == 0;
  if (isRefused) g_hasStruck = true;
  return isRefused;
}
/// The same, where operator new has not been asked already.
inline bool IsMallocRefused() {
  return !g_isInNew && IsRefused();
}
}  // namespace watch

/// Calls of operator new since the program started, on all threads.
inline std::uint64_t AllocationCount() {
  return watch::g_count.load(std::memory_order_relaxed);
}

/// Bytes of pages that the library has of the system now, and the most it had since ResetPeak.
inline std::size_t MappedBytes() {
  return watch::g_mapped;
}
inline std::size_t PeakMappedBytes() {
  return watch::g_peak;
}
inline void ResetPeak() {
  watch::g_peak = watch::g_mapped.load();
}

/// While it lives, requests for memory fail: operator new, pages of the system, the system's room
/// for something to do at a thread's end, and malloc where the program links malloc_watch.cpp. One
/// at a time.
class MemoryFailure {
 public:
  /// The request after `requests` others fails, and with `lasts` all that follow.
  MemoryFailure(std::uint64_t requests, bool lasts) {
    watch::g_hasStruck = false;
    watch::g_lasts = lasts;
    watch::g_left = static_cast<std::int64_t>(requests);
  }
  MemoryFailure(const MemoryFailure&) = delete;
  MemoryFailure& operator=(const MemoryFailure&) = delete;
  ~MemoryFailure() { watch::g_left = watch::kNever; }

  /// A request has failed.
  bool HasStruck() const { return watch::g_hasStruck; }
  /// The same; from now on none fails.
  bool Ends() {
    watch::g_left = watch::kNever;
    return HasStruck();
  }
};

/// While it lives, `hook` is asked whenever the library gives pages back; the system takes them
/// where it returns true.
class ReleaseHook {
 public:
  explicit ReleaseHook(std::function<bool()> hook) : m_hook(std::move(hook)) {
    watch::g_releaseHook = &m_hook;
  }
  ReleaseHook(const ReleaseHook&) = delete;
  ReleaseHook& operator=(const ReleaseHook&) = delete;
  ~ReleaseHook() { watch::g_releaseHook = nullptr; }

 private:
  std::function<bool()> m_hook;
};

}  // namespace tests
