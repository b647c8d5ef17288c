// The calls that differ between systems, in one place. platform.cpp is for Linux; another system
// would bring its own source beside it.
#pragma once

#include <kandrel/misc/export.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace misc::platform {

/// Which pages a block is made of.
enum class PageSize {
  kSmall,  ///< pages of the ordinary size
  kHuge,   ///< large pages where the system has them: fewer first touches for big blocks
};

/// Returns zeroed, writable pages at an address that `alignment` (a power of two) divides; null
/// when the system gives nothing. `bytes` may be any number.
KANDREL_API void* AllocatePages(std::size_t bytes, std::size_t alignment, PageSize pages) noexcept;

/// Gives back what AllocatePages gave for the same number of bytes; false when the system refuses.
KANDREL_API bool FreePages(void* block, std::size_t bytes) noexcept;

/// Gives back the memory behind whole pages, which stay in use and read as zero from now on.
KANDREL_API void DiscardPages(void* block, std::size_t bytes) noexcept;

/// Asks for large pages behind a block from the general heap where it is large: what is written
/// once from end to end then costs less to touch. Nothing else changes.
KANDREL_API void PreferHugePages(void* block, std::size_t bytes) noexcept;

/// What can stand at a path.
enum class FileKind {
  kMissing,  ///< nothing is there
  kRegular,  ///< a file with bytes of its own
  kOther,    ///< a folder, a device, or what can't be looked at
};

/// What stands at a path, links followed.
KANDREL_API FileKind KindOfFile(const char* path) noexcept;
/// The same of an open file.
KANDREL_API FileKind KindOfFile(std::FILE* file) noexcept;

/// Whether this process may write what stands at a path.
KANDREL_API bool IsWritable(const char* path) noexcept;

/// Gives an open file the mode of what stands at `path`, and its owner and group as far as this
/// process may; does nothing where nothing is there.
KANDREL_API void TakeOwnerAndMode(std::FILE* file, const char* path) noexcept;

/// How many bytes an open file has; 0 where that can't be told.
KANDREL_API std::uint64_t SizeOfFile(std::FILE* file) noexcept;

/// The number of this process, which no other running one has.
KANDREL_API std::uint64_t ProcessNumber() noexcept;

/// Something to do when the thread ends, a member of whatever lives as long as the thread.
struct ThreadEnd {
  /// Called with this object when the thread ends; it must not throw.
  void (*run)(ThreadEnd& end) noexcept = nullptr;
  /// The next of the same thread, for the list that they form.
  ThreadEnd* next = nullptr;
};

/// Lets `end.run` be called when the calling thread ends, after the destructors of its thread-local
/// objects; not for the thread that ends the program. False, and nothing happens, when the system
/// has no room for it: a thread-local object with a destructor would end the program then.
KANDREL_API bool AtThreadEnd(ThreadEnd& end) noexcept;

/// Whether an address sanitizer watches the program, be it built into this library or only into the
/// program around it. Where none does, the two below do nothing.
KANDREL_API bool IsAddressSanitized() noexcept;
/// Poison makes any access to the memory an error that the sanitizer reports; Unpoison takes that
/// back. `bytes` is a multiple of 8.
KANDREL_API void Poison(const void* memory, std::size_t bytes) noexcept;
KANDREL_API void Unpoison(const void* memory, std::size_t bytes) noexcept;

}  // namespace misc::platform
