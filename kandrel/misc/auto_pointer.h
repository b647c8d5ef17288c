// zvAutoPointer: the reference-counted pointer through which this library shares ownership.
#pragma once

#include <kandrel/misc/export.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace misc {

namespace detail {

/// What all copies of one zvAutoPointer share. Eight bytes, taken from a pool (auto_pointer.cpp).
struct zvReferenceBlock {
  std::uint32_t count;
  bool owns;
};

/// The first two take and give back a block, the last throws what property 2 below says.
KANDREL_API zvReferenceBlock* NewReferenceBlock();
KANDREL_API void DeleteReferenceBlock(zvReferenceBlock* block) noexcept;
[[noreturn]] KANDREL_API void ThrowNullPointer();

}  // namespace detail

/// Shared owner of a heap object. Two words: the shared block, and the object's address as this
/// pointer's type sees it (a base class may stand at another address than the object).
///
/// 1. Only the block decides whether the pointer is null.
/// 2. Using a null pointer throws zvException, id 0, "Accessing NULL pointer", at the use and not
///    where the null was stored: a container may hold nulls until they are used.
/// 3. The object dies with its last reference, unless ReleaseOwnership was called on any of them;
///    an exception out of its destructor is swallowed.
/// 4. The counter is a plain integer: all pointers to one object belong to one thread at a time.
template <class T>
class zvAutoPointer {
 public:
  using element_type = T;

  /// Both make a null pointer.
  zvAutoPointer() noexcept = default;
  zvAutoPointer(std::nullptr_t) noexcept {}

  /// Takes ownership of `raw`; a null `raw` gives a null pointer without a block.
  explicit zvAutoPointer(T* raw) {
    if (raw == nullptr) return;
    try {
      m_block = detail::NewReferenceBlock();
    } catch (...) {
      delete raw;
      throw;
    }
    m_object = raw;
  }

  /// A copy shares the block. What was moved from is null.
  zvAutoPointer(const zvAutoPointer& other) noexcept
      : m_block(other.m_block), m_object(other.m_object) {
    if (m_block != nullptr) ++m_block->count;
  }
  zvAutoPointer(zvAutoPointer&& other) noexcept
      : m_block(std::exchange(other.m_block, nullptr)),
        m_object(std::exchange(other.m_object, nullptr)) {}

  /// Shares the block of a pointer to a derived class, with the address adjusted.
  template <class U>
  requires std::is_convertible_v<U*, T*> zvAutoPointer(const zvAutoPointer<U>& other)
  noexcept : m_block(other.m_block), m_object(other.m_object) {
    AssertDeletable<U>();
    if (m_block != nullptr) ++m_block->count;
  }
  template <class U>
  requires std::is_convertible_v<U*, T*> zvAutoPointer(zvAutoPointer<U>&& other)
  noexcept
      : m_block(std::exchange(other.m_block, nullptr)),
        m_object(std::exchange(other.m_object, nullptr)) {
    AssertDeletable<U>();
  }

  /// Shares the block of `other` and points at `object`, which lives as long as what `other` owns:
  /// the same object under the address of another of its classes. Null when `other` is.
  template <class U>
  zvAutoPointer(const zvAutoPointer<U>& other, T* object) noexcept
      : m_block(other.m_block), m_object(other.m_block != nullptr ? object : nullptr) {
    AssertDeletable<U>();
    if (m_block != nullptr) ++m_block->count;
  }

  ~zvAutoPointer() { Release(); }

  /// Lets go of its object and takes the other's; what was moved from is null.
  zvAutoPointer& operator=(const zvAutoPointer& other) noexcept {
    if (this != &other) {
      zvAutoPointer copy(other);  // `other` may be reachable only through the object released here
      Swap(copy);
    }
    return *this;
  }
  zvAutoPointer& operator=(zvAutoPointer&& other) noexcept {
    if (this != &other) {
      zvAutoPointer moved(std::move(other));
      Swap(moved);
    }
    return *this;
  }

  /// Both give the object; they throw on null.
  T* operator->() const {
    if (m_block == nullptr) [[unlikely]]
      detail::ThrowNullPointer();
    return m_object;
  }
  T& operator*() const {
    if (m_block == nullptr) [[unlikely]]
      detail::ThrowNullPointer();
    return *m_object;
  }

  /// Returns the object's address without a check; null for a null pointer.
  T* Get() const noexcept { return m_object; }

  /// Whether it points to nothing, and whether to something; both never throw.
  bool IsNull() const noexcept { return m_block == nullptr; }
  explicit operator bool() const noexcept { return m_block != nullptr; }

  /// Lets the object outlive its last reference; the caller then owns it. Throws on null.
  void ReleaseOwnership() const {
    static_cast<void>(operator->());
    m_block->owns = false;
  }

  /// Returns how many zvAutoPointer share the object, 0 for a null pointer.
  std::uint32_t UseCount() const noexcept { return m_block != nullptr ? m_block->count : 0; }

  /// Exchanges block and object with `other`.
  void Swap(zvAutoPointer& other) noexcept {
    std::swap(m_block, other.m_block);
    std::swap(m_object, other.m_object);
  }

  /// Compares with null by the block, with another pointer by the address.
  friend bool operator==(const zvAutoPointer& pointer, std::nullptr_t) noexcept {
    return pointer.IsNull();
  }
  template <class U>
  friend bool operator==(const zvAutoPointer& a, const zvAutoPointer<U>& b) noexcept {
    return a.Get() == b.Get();
  }

 private:
  template <class U>
  friend class zvAutoPointer;

  template <class U>
  static constexpr void AssertDeletable() {
    static_assert(std::is_same_v<std::remove_cv_t<T>, std::remove_cv_t<U>> ||
                      std::has_virtual_destructor_v<T>,
                  "a pointer to a base class deletes through it: it needs a virtual destructor");
  }

  void Release() noexcept {
    if (m_block == nullptr) return;
    if (m_block->count != 0 && --m_block->count != 0) return;
    if (m_block->owns) {
      try {
        delete std::exchange(m_object, nullptr);
      } catch (...) {
        // The object is gone, and whoever let go of it can do nothing about it.
      }
    }
    detail::DeleteReferenceBlock(m_block);
  }

  detail::zvReferenceBlock* m_block = nullptr;
  T* m_object = nullptr;
};

/// Builds a new T from `arguments`; the pointer returned owns it.
template <class T, class... Arguments>
zvAutoPointer<T> MakeAutoPointer(Arguments&&... arguments) {
  return zvAutoPointer<T>(new T(std::forward<Arguments>(arguments)...));
}

}  // namespace misc
