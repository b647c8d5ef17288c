#include <kandrel/misc/platform.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace misc::platform {

namespace {

std::size_t RoundToPages(std::size_t bytes) {
  static const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return (bytes + page - 1) / page * page;
}

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

}  // namespace misc::platform
