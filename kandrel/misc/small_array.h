// zvSmallArray: a short array of varying length on a private heap.
#pragma once

#include <kandrel/misc/private_heap.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace misc {

/// An array of value-initialised T whose length is fixed at construction. A length of 0 is a null
/// pointer and no memory. Access is not checked.
template <class T>
class zvSmallArray {
  static_assert(std::is_trivially_copyable_v<T> && alignof(T) <= alignof(std::max_align_t));

 public:
  /// Has the length 0.
  zvSmallArray() = default;
  /// Takes its memory from `heap`, whose ownership it shares, or without one from the ordinary
  /// heap. Throws zvException with id 0, "Failed to allocate memory".
  explicit zvSmallArray(std::size_t size, std::shared_ptr<zvPrivateHeap> heap = nullptr)
      : m_heap(std::move(heap)), m_data(Allocate(size)), m_size(size) {
    std::uninitialized_value_construct_n(m_data, m_size);
  }
  /// A copy takes its memory from the same heap. What was moved from has the length 0.
  zvSmallArray(const zvSmallArray& other)
      : m_heap(other.m_heap), m_data(Allocate(other.m_size)), m_size(other.m_size) {
    std::uninitialized_copy_n(other.m_data, m_size, m_data);
  }
  zvSmallArray(zvSmallArray&& other) noexcept { Swap(other); }
  zvSmallArray& operator=(zvSmallArray other) noexcept {
    Swap(other);
    return *this;
  }
  ~zvSmallArray() {
    if (m_heap != nullptr)
      m_heap->Free(m_data, m_size * sizeof(T));
    else
      ::operator delete(m_data);
  }

  /// The elements, singly, from the first on, and as a range.
  T& operator[](std::size_t i) { return m_data[i]; }
  const T& operator[](std::size_t i) const { return m_data[i]; }
  T* GetData() noexcept { return m_data; }
  const T* GetData() const noexcept { return m_data; }
  std::size_t GetSize() const noexcept { return m_size; }
  T* begin() noexcept { return m_data; }
  T* end() noexcept { return m_data + m_size; }
  const T* begin() const noexcept { return m_data; }
  const T* end() const noexcept { return m_data + m_size; }

 private:
  T* Allocate(std::size_t size) {
    if (size == 0) return nullptr;
    const std::size_t bytes = detail::ArrayBytes(size, sizeof(T));
    return static_cast<T*>(m_heap != nullptr ? m_heap->Alloc(bytes) : detail::OrdinaryAlloc(bytes));
  }

  void Swap(zvSmallArray& other) noexcept {
    std::swap(m_heap, other.m_heap);
    std::swap(m_data, other.m_data);
    std::swap(m_size, other.m_size);
  }

  std::shared_ptr<zvPrivateHeap> m_heap;
  T* m_data = nullptr;
  std::size_t m_size = 0;
};

}  // namespace misc
