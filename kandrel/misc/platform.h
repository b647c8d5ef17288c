// The calls that differ between systems, in one place. platform.cpp is for Linux; another system
// would bring its own source beside it.
#pragma once

#include <kandrel/misc/export.h>

#include <cstddef>

namespace misc::platform {

enum class PageSize {
  kSmall,  ///< pages of the ordinary size
  kHuge,   ///< large pages where the system has them: fewer first touches for big blocks
};

/// Zeroed, writable pages at an address that `alignment` (a power of two) divides; null when the
/// system gives nothing. `bytes` may be any number.
KANDREL_API void* AllocatePages(std::size_t bytes, std::size_t alignment, PageSize pages) noexcept;

/// Gives back what AllocatePages gave for the same number of bytes; false when the system refuses.
KANDREL_API bool FreePages(void* block, std::size_t bytes) noexcept;

}  // namespace misc::platform
