#include <dlfcn.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <tests/support/memory_watch.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <new>

using namespace tests::watch;

// Those of arrays call these.
void* operator new(std::size_t size) {
  g_count.fetch_add(1, std::memory_order_relaxed);
  void* memory = nullptr;
  if (!IsRefused()) {
    g_isInNew = true;
    memory = std::malloc(size != 0 ? size : 1);
    g_isInNew = false;
  }
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

// In place of the C library's, for all calls that don't come from it itself.
extern "C" {

[[gnu::visibility("default")]] void* mmap(void* address, std::size_t bytes, int protection,
                                          int flags, int file, off_t offset) noexcept {
  if (IsRefused()) {
    errno = ENOMEM;
    return MAP_FAILED;
  }
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  void* block =
      reinterpret_cast<void*>(syscall(SYS_mmap, address, bytes, protection, flags, file, offset));
  if (block != MAP_FAILED) {
    const std::size_t now = g_mapped += bytes;
    if (now > g_peak) g_peak = now;
  }
  return block;
}

[[gnu::visibility("default")]] int munmap(void* block, std::size_t bytes) noexcept {
  if (g_releaseHook != nullptr && !(*g_releaseHook)()) {
    errno = ENOMEM;
    return -1;
  }
  g_mapped -= bytes;
  return static_cast<int>(syscall(SYS_munmap, block, bytes));
}

[[gnu::visibility("default")]] int pthread_setspecific(pthread_key_t key,
                                                       const void* value) noexcept {
  static const auto original = reinterpret_cast<int (*)(pthread_key_t, const void*)>(
      dlsym(RTLD_NEXT, "pthread_setspecific"));
  return value != nullptr && IsRefused() ? ENOMEM : original(key, value);
}

}  // extern "C"
