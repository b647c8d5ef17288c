// Counts and refuses memory in a test program that links memory_watch.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace tests {

/// Calls of operator new since the program started, on all threads.
std::uint64_t AllocationCount();

/// Bytes of pages that the library has of the system now, and the most it had since ResetPeak.
std::size_t MappedBytes();
std::size_t PeakMappedBytes();
void ResetPeak();

/// While it lives, requests for memory fail: operator new, pages of the system, and the system's
/// room for something to do at a thread's end. One at a time.
class MemoryFailure {
 public:
  /// The request after `requests` others fails, and with `lasts` all that follow.
  MemoryFailure(std::uint64_t requests, bool lasts);
  MemoryFailure(const MemoryFailure&) = delete;
  MemoryFailure& operator=(const MemoryFailure&) = delete;
  ~MemoryFailure();

  /// A request has failed.
  bool HasStruck() const;
};

/// While it lives, `hook` is asked whenever the library gives pages back; the system takes them
/// where it returns true.
class ReleaseHook {
 public:
  explicit ReleaseHook(std::function<bool()> hook);
  ReleaseHook(const ReleaseHook&) = delete;
  ReleaseHook& operator=(const ReleaseHook&) = delete;
  ~ReleaseHook();
};

}  // namespace tests
