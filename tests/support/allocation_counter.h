// Counts calls of the general heap in a test program that links allocation_counter.cpp.
#pragma once

#include <cstdint>

namespace tests {

/// Calls of operator new since the program started, on all threads.
std::uint64_t AllocationCount();

}  // namespace tests
