#include <fcntl.h>
#include <kandrel/misc/platform.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <utility>

// Null unless a sanitizer's run-time library is in the program.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" void __attribute__((weak))
__asan_poison_memory_region(const volatile void* memory, std::size_t bytes);
extern "C" void __attribute__((weak))
__asan_unpoison_memory_region(const volatile void* memory, std::size_t bytes);
// NOLINTEND(bugprone-reserved-identifier)

namespace misc::platform {

namespace {

FileKind KindOf(int failed, const struct stat& found) noexcept {
  if (failed != 0) {
    const bool isMissing = errno == ENOENT || errno == ENOTDIR;  // or what should be a folder isn't
    return isMissing ? FileKind::kMissing : FileKind::kOther;
  }
  return S_ISREG(found.st_mode) ? FileKind::kRegular : FileKind::kOther;
}

std::size_t RoundToPages(std::size_t bytes) {
  static const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return (bytes + page - 1) / page * page;
}

pthread_key_t s_threadEnds;
constinit std::atomic<bool> s_hasThreadEnds = false;

void RunThreadEnds(void* first) {
  auto* end = static_cast<ThreadEnd*>(first);
  while (end != nullptr) {
    ThreadEnd& due = *end;
    end = due.next;
    due.run(due);
  }
}

// Gone with the library, so that threads which end later call nothing that is no longer there.
struct ThreadEndKey {
  ThreadEndKey() { s_hasThreadEnds = pthread_key_create(&s_threadEnds, RunThreadEnds) == 0; }
  ThreadEndKey(const ThreadEndKey&) = delete;
  ThreadEndKey& operator=(const ThreadEndKey&) = delete;
  ~ThreadEndKey() {
    if (s_hasThreadEnds.exchange(false)) pthread_key_delete(s_threadEnds);
  }
} s_threadEndKey;

}  // namespace

void* AllocatePages(std::size_t bytes, std::size_t alignment, PageSize pages) noexcept {
  const std::size_t size = RoundToPages(bytes);
  // Reserve enough that an aligned block lies within, then cut off both ends.
  const std::size_t reserved = size + alignment;
  if (bytes == 0 || size < bytes || reserved < size) return nullptr;
  void* raw = mmap(nullptr, reserved, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (raw == MAP_FAILED) return nullptr;
  const auto start = reinterpret_cast<std::uintptr_t>(raw);
  const std::uintptr_t aligned = (start + alignment - 1) & ~(std::uintptr_t{alignment} - 1);
  const std::size_t front = aligned - start;
  const std::size_t back = reserved - front - size;
  if (front != 0) munmap(raw, front);
  void* block = static_cast<char*>(raw) + front;
  if (back != 0) munmap(static_cast<char*>(block) + size, back);
  if (pages == PageSize::kHuge) madvise(block, size, MADV_HUGEPAGE);
  return block;
}

bool FreePages(void* block, std::size_t bytes) noexcept {
  return munmap(block, RoundToPages(bytes)) == 0;
}

void DiscardPages(void* block, std::size_t bytes) noexcept {
  madvise(block, bytes, MADV_DONTNEED);
}

void PreferHugePages(void* block, std::size_t bytes) noexcept {
  constexpr std::uintptr_t kHugePage = std::uintptr_t{1} << 21;
  const auto begin = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t first = (begin + kHugePage - 1) / kHugePage * kHugePage;
  const std::uintptr_t last = (begin + bytes) / kHugePage * kHugePage;
  // As an offset of the block: the pointer stays one into it.
  if (first < last)
    madvise(static_cast<char*>(block) + (first - begin), last - first, MADV_HUGEPAGE);
}

FileKind KindOfFile(const char* path) noexcept {
  struct stat found = {};
  return KindOf(stat(path, &found), found);
}

FileKind KindOfFile(std::FILE* file) noexcept {
  struct stat found = {};
  return KindOf(fstat(fileno(file), &found), found);
}

bool IsWritable(const char* path) noexcept {
  return faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) == 0;
}

void TakeOwnerAndMode(std::FILE* file, const char* path) noexcept {
  struct stat found = {};
  if (stat(path, &found) != 0) return;
  const int number = fileno(file);
  constexpr uid_t kSameOwner = static_cast<uid_t>(-1);
  // One who isn't root may still pass a file on to another of his groups.
  const bool isOwned = fchown(number, found.st_uid, found.st_gid) == 0;
  const bool isOfGroup = isOwned || fchown(number, kSameOwner, found.st_gid) == 0;
  // The mode comes last, as a new owner takes parts of it away. A group that isn't the file's may
  // do what all others may.
  mode_t mode = found.st_mode & 07777u;
  if (!isOwned) mode &= ~mode_t{S_ISUID};
  if (!isOfGroup)
    mode = (mode & ~mode_t{S_ISGID | S_IRWXG}) | static_cast<mode_t>((mode & S_IRWXO) << 3);
  static_cast<void>(fchmod(number, mode));
}

std::uint64_t SizeOfFile(std::FILE* file) noexcept {
  struct stat found = {};
  return fstat(fileno(file), &found) == 0 ? static_cast<std::uint64_t>(found.st_size) : 0;
}

std::uint64_t ProcessNumber() noexcept {
  return static_cast<std::uint64_t>(getpid());
}

bool AtThreadEnd(ThreadEnd& end) noexcept {
  if (!s_hasThreadEnds) return false;
  ThreadEnd* former =
      std::exchange(end.next, static_cast<ThreadEnd*>(pthread_getspecific(s_threadEnds)));
  if (pthread_setspecific(s_threadEnds, &end) == 0) return true;
  end.next = former;
  return false;
}

bool IsAddressSanitized() noexcept {
  return __asan_poison_memory_region != nullptr;
}

void Poison(const void* memory, std::size_t bytes) noexcept {
  if (IsAddressSanitized()) __asan_poison_memory_region(memory, bytes);
}

void Unpoison(const void* memory, std::size_t bytes) noexcept {
  if (IsAddressSanitized()) __asan_unpoison_memory_region(memory, bytes);
}

}  // namespace misc::platform
