// zvRealArrayLarge: an array in chunks, for more elements than one block of memory should hold.
#pragma once

#include <kandrel/misc/platform.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace misc {

/// An array of value-initialised T whose size stays. Access is not checked and takes constant time.
template <class T>
class zvRealArrayLarge {
 public:
  /// How many elements one chunk holds.
  static constexpr std::uint64_t kChunkSize = 174762;

  /// With `exactLastChunk` the last chunk holds only the remainder, which may be nothing; without,
  /// it has the size of the others.
  explicit zvRealArrayLarge(std::uint64_t size, bool exactLastChunk = false)
      : m_exactLastChunk(exactLastChunk) {
    Allocate(size);
  }
  /// Copies element by element.
  zvRealArrayLarge(const zvRealArrayLarge& other) : m_exactLastChunk(other.m_exactLastChunk) {
    Allocate(other.m_size);
    CopyElements(other);
  }
  /// What was moved from has size 0.
  zvRealArrayLarge(zvRealArrayLarge&& other) noexcept
      : m_chunks(std::move(other.m_chunks)),
        m_size(std::exchange(other.m_size, 0)),
        m_exactLastChunk(other.m_exactLastChunk) {}
  zvRealArrayLarge& operator=(const zvRealArrayLarge& other) {
    if (this != &other) {
      zvRealArrayLarge copy(other);
      *this = std::move(copy);
    }
    return *this;
  }
  zvRealArrayLarge& operator=(zvRealArrayLarge&& other) noexcept {
    zvRealArrayLarge moved(std::move(other));
    m_chunks.swap(moved.m_chunks);
    std::swap(m_size, moved.m_size);
    m_exactLastChunk = moved.m_exactLastChunk;
    return *this;
  }
  ~zvRealArrayLarge() = default;

  /// The element `i`, which is below GetSize.
  T& operator[](std::uint64_t i) { return m_chunks[i / kChunkSize][i % kChunkSize]; }
  const T& operator[](std::uint64_t i) const { return m_chunks[i / kChunkSize][i % kChunkSize]; }

  /// The number of elements, and of the chunks that hold them.
  std::uint64_t GetSize() const noexcept { return m_size; }
  std::uint64_t GetChunkCount() const noexcept { return m_chunks.size(); }

 private:
  void Allocate(std::uint64_t size) {
    m_size = size;
    if (size == 0) return;
    const std::uint64_t chunks = size / kChunkSize + 1;
    m_chunks.reserve(chunks);
    for (std::uint64_t i = 0; i < chunks; ++i) m_chunks.push_back(NewChunk(Length(i)));
  }

  // Chunks are large and written once from front to back: large pages save most of what the first
  // touch of each ordinary page costs.
  struct ChunkDeleter {
    std::uint64_t length = 0;
    void operator()(T* chunk) const noexcept {
      std::destroy_n(chunk, length);
      platform::FreePages(chunk, length * sizeof(T));
    }
  };
  using Chunk = std::unique_ptr<T[], ChunkDeleter>;

  static Chunk NewChunk(std::uint64_t length) {
    if (length == 0) return Chunk();
    constexpr std::size_t kLargePage = 0x200000;
    const std::size_t bytes = length * sizeof(T);
    void* memory = platform::AllocatePages(
        bytes, kLargePage,
        bytes >= kLargePage ? platform::PageSize::kHuge : platform::PageSize::kSmall);
    if (memory == nullptr) throw std::bad_alloc();
    T* chunk = static_cast<T*>(memory);
    try {
      std::uninitialized_value_construct_n(chunk, length);
    } catch (...) {
      platform::FreePages(memory, bytes);
      throw;
    }
    return Chunk(chunk, ChunkDeleter{length});
  }

  std::uint64_t Length(std::uint64_t chunk) const noexcept {
    return m_exactLastChunk && chunk >= m_size / kChunkSize ? m_size % kChunkSize : kChunkSize;
  }

  // Element by element, so that counted pointers are counted; for plain data it is one block copy.
  void CopyElements(const zvRealArrayLarge& other) {
    for (std::uint64_t i = 0; i < m_chunks.size(); ++i)
      std::copy_n(other.m_chunks[i].get(), Length(i), m_chunks[i].get());
  }

  std::vector<Chunk> m_chunks;
  std::uint64_t m_size = 0;
  bool m_exactLastChunk;
};

}  // namespace misc
