#include <kandrel/misc/exception.h>
#include <kandrel/misc/platform.h>
#include <kandrel/misc/private_heap.h>

#include <algorithm>
#include <cstdint>
#include <new>

namespace misc {

namespace {

constexpr std::size_t kAlignment = alignof(std::max_align_t);
// From here on a block has pages to itself, which go back to the system when it is freed.
constexpr std::size_t kOwnPages = zvPrivateHeap::kLargestPooled;
// Any alignment that the pool asks for divides a page.
constexpr std::size_t kPageAlignment = 0x1000;

// The pool of libstdc++ 12 doesn't align blocks whose size isn't a multiple of the alignment.
std::size_t Rounded(std::size_t bytes) {
  return (bytes + kAlignment - 1) / kAlignment * kAlignment;
}

[[noreturn]] void ThrowNoMemory() {
  throw zvException(0, L"Failed to allocate memory");
}

}  // namespace

zvPrivateHeap::PageSource::PageSource() {
  try {
    AddRegion();
  } catch (const std::bad_alloc&) {
    throw zvException(0, L"Failed to create private heap");
  }
}

zvPrivateHeap::PageSource::~PageSource() {
  for (void* region : m_regions) platform::FreePages(region, kRegionBytes);
}

void zvPrivateHeap::PageSource::AddRegion() {
  m_regions.push_back(nullptr);  // before the pages, which no failure may lose
  void* region = platform::AllocatePages(kRegionBytes, kPageAlignment, platform::PageSize::kSmall);
  if (region == nullptr) {
    m_regions.pop_back();
    throw std::bad_alloc();
  }
  m_regions.back() = region;
  m_next = static_cast<std::byte*>(region);
  m_left = kRegionBytes;
}

void* zvPrivateHeap::PageSource::do_allocate(std::size_t bytes, std::size_t alignment) {
  if (bytes >= kOwnPages || alignment > kPageAlignment) {
    void* block = platform::AllocatePages(bytes, std::max(alignment, kPageAlignment),
                                          platform::PageSize::kSmall);
    if (block == nullptr) throw std::bad_alloc();
    return block;
  }
  void* place = m_next;
  if (std::align(alignment, bytes, place, m_left) == nullptr) {
    AddRegion();
    place = m_next;
  }
  m_next = static_cast<std::byte*>(place) + bytes;
  m_left -= bytes;
  return place;
}

void zvPrivateHeap::PageSource::do_deallocate(void* block, std::size_t bytes,
                                              std::size_t alignment) {
  // The pool gives small pieces back only when it is dropped, and its own books as they grow.
  if (bytes >= kOwnPages || alignment > kPageAlignment) platform::FreePages(block, bytes);
}

bool zvPrivateHeap::PageSource::do_is_equal(const memory_resource& other) const noexcept {
  return this == &other;
}

zvPrivateHeap::zvPrivateHeap() : m_pool({0, kLargestPooled}, &m_pages) {}

zvPrivateHeap::~zvPrivateHeap() = default;

void* zvPrivateHeap::Alloc(std::size_t bytes) {
  if (bytes == 0) return nullptr;
  if (bytes > std::size_t{PTRDIFF_MAX}) ThrowNoMemory();  // the pool's rounding up would wrap
  const std::lock_guard lock(m_mutex);
  try {
    return m_pool.allocate(Rounded(bytes), kAlignment);
  } catch (const std::bad_alloc&) {
    ThrowNoMemory();
  }
}

void zvPrivateHeap::Free(void* block, std::size_t bytes) noexcept {
  if (block == nullptr) return;
  const std::lock_guard lock(m_mutex);
  m_pool.deallocate(block, Rounded(bytes), kAlignment);
}

std::shared_ptr<zvPrivateHeap> zvPrivateHeapProvider::GetHeap() {
  const std::lock_guard lock(m_mutex);
  std::shared_ptr<zvPrivateHeap>& heap = m_threadHeaps[std::this_thread::get_id()];
  if (heap == nullptr) heap = std::make_shared<zvPrivateHeap>();
  return heap;
}

std::size_t detail::ArrayBytes(std::size_t count, std::size_t elementBytes) {
  if (count > std::size_t{PTRDIFF_MAX} / elementBytes) ThrowNoMemory();
  return count * elementBytes;
}

void* detail::OrdinaryAlloc(std::size_t bytes) {
  void* block = ::operator new(bytes, std::nothrow);
  if (block == nullptr) ThrowNoMemory();
  return block;
}

}  // namespace misc
