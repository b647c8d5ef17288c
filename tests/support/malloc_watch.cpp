// Refuses what C libraries ask for, in a test program that links memory_watch.cpp too: zlib, bzip2
// and the C library itself ask malloc.
#include <tests/support/memory_watch.h>

#include <cerrno>
#include <cstdlib>

// The C library's own, under the names by which it exports them for this.
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier)
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
// NOLINTEND(bugprone-reserved-identifier)

[[gnu::visibility("default")]] void* malloc(std::size_t bytes) noexcept {
  if (!tests::watch::IsMallocRefused()) return __libc_malloc(bytes);
  errno = ENOMEM;
  return nullptr;
}
[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t bytes) noexcept {
  if (!tests::watch::IsMallocRefused()) return __libc_calloc(count, bytes);
  errno = ENOMEM;
  return nullptr;
}
[[gnu::visibility("default")]] void* realloc(void* block, std::size_t bytes) noexcept {
  if (!tests::watch::IsMallocRefused()) return __libc_realloc(block, bytes);
  errno = ENOMEM;
  return nullptr;
}
}  // extern "C"
