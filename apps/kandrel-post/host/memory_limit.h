// Keeps a job that asks for too much from taking the whole system with it.
#pragma once

#include <cstdint>

namespace kandrel_post {

/// Bytes of memory that this process may sensibly use: the system's, or what its group of processes
/// is allowed. Never 0.
std::uint64_t UsableMemory();

/// Makes allocations beyond UsableMemory fail, so that they end in an error message. Does nothing
/// in builds with an address sanitizer, which reserves far more than it uses.
void LimitMemory();

}  // namespace kandrel_post
