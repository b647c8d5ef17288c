// zvMemoryPoolList: the list that holds posted moves by value, its nodes from a memory pool.
#pragma once

#include <kandrel/misc/memory_pool.h>
#include <kandrel/misc/platform.h>
#include <kandrel/misc/progress.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace misc {

/// A doubly linked list with its elements in place in nodes from the pool of the thread that made
/// it. It shares that pool's ownership, so it may outlive the provider. Insertion, removal and
/// append take constant time and no heap call; an element never moves.
template <class T>
class zvMemoryPoolList {
  struct Node {
    Node* next;
    Node* prev;
    T value;
  };

  template <class Value, class NodePointer>
  class Iterator {
   public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = Value*;
    using reference = Value&;

    Iterator() = default;
    /// From an iterator to a const_iterator.
    template <class V, class N>
    requires std::is_convertible_v<N, NodePointer> Iterator(const Iterator<V, N>& other)
        : m_list(other.m_list), m_node(other.m_node) {}

    reference operator*() const { return m_node->value; }
    pointer operator->() const { return &m_node->value; }
    Iterator& operator++() {
      m_node = m_node->next;
      return *this;
    }
    Iterator operator++(int) { return std::exchange(*this, std::next(*this)); }
    Iterator& operator--() {
      m_node = m_node != nullptr ? m_node->prev : m_list->m_tail;
      return *this;
    }
    Iterator operator--(int) { return std::exchange(*this, std::prev(*this)); }
    friend bool operator==(const Iterator& a, const Iterator& b) { return a.m_node == b.m_node; }

   private:
    friend class zvMemoryPoolList;
    template <class V, class N>
    friend class Iterator;

    Iterator(const zvMemoryPoolList* list, NodePointer node) : m_list(list), m_node(node) {}

    const zvMemoryPoolList* m_list = nullptr;
    NodePointer m_node = nullptr;
  };

 public:
  using value_type = T;
  using iterator = Iterator<T, Node*>;
  using const_iterator = Iterator<const T, const Node*>;

  /// What one element takes of the pool: itself and two links.
  static constexpr std::size_t kNodeSize = sizeof(Node);

  /// Starts empty, on the calling thread's pool.
  explicit zvMemoryPoolList(zvMemoryPoolProvider& provider)
      : m_pool(provider.GetPool(std::uint32_t{sizeof(Node)})) {
    static_assert(alignof(Node) <= alignof(std::max_align_t));
  }
  zvMemoryPoolList(const zvMemoryPoolList&) = delete;
  zvMemoryPoolList& operator=(const zvMemoryPoolList&) = delete;
  /// Destroys all elements and throws nothing.
  ~zvMemoryPoolList() {
    try {
      Clear();
    } catch (...) {
      // The system refused to take pages back: no reason to end the program.
    }
  }

  /// Each puts a new element at the end and returns it. They throw as zvMemoryPool::Alloc, and what
  /// the element's constructor throws; the list is as before then.
  T& PushBack(const T& value) { return EmplaceBack(value); }
  T& PushBack(T&& value) { return EmplaceBack(std::move(value)); }
  template <class... Arguments>
  T& EmplaceBack(Arguments&&... arguments) {
    return Link(nullptr, std::forward<Arguments>(arguments)...)->value;
  }

  /// Puts a new element before `position`, at the end for end(); returns its place. All iterators
  /// stay valid. Throws as PushBack.
  iterator Insert(const_iterator position, const T& value) { return Emplace(position, value); }
  iterator Insert(const_iterator position, T&& value) {
    return Emplace(position, std::move(value));
  }
  template <class... Arguments>
  iterator Emplace(const_iterator position, Arguments&&... arguments) {
    return {this, Link(const_cast<Node*>(position.m_node), std::forward<Arguments>(arguments)...)};
  }

  /// Puts what `make()` returns before `position`, built in place without a copy.
  template <class Make>
  iterator EmplaceWith(const_iterator position, Make&& make) {
    return {this, LinkWith(const_cast<Node*>(position.m_node), std::forward<Make>(make))};
  }

  /// Removes the element at `position`, which is not end(); returns the place after it.
  iterator Erase(const_iterator position) {
    Node* node = const_cast<Node*>(position.m_node);
    Node* next = node->next;
    (node->prev != nullptr ? node->prev->next : m_head) = next;
    (next != nullptr ? next->prev : m_tail) = node->prev;
    --m_count;
    node->value.T::~T();
    Keep(node);
    return {this, next};
  }

  /// Destroys all elements; all nodes go back to the pool, arena by arena. Throws zvException
  /// "Failed to free memory" when the system refuses to take pages back; the list is empty then
  /// too.
  void Clear() {
    for (Node* node = m_head; node != nullptr; node = node->next) node->value.T::~T();
    Node* first = std::exchange(m_head, nullptr);
    m_tail = nullptr;
    const std::size_t spares = std::exchange(m_spareCount, 0);
    Node* spare = std::exchange(m_spare, nullptr);
    try {
      m_pool->FreeChain(first, std::exchange(m_count, 0));
    } catch (...) {
      m_pool->FreeChain(spare, spares);
      throw;
    }
    m_pool->FreeChain(spare, spares);
  }

  /// Asks for memory some nodes ahead of an element, for a walk that touches too little of each
  /// node for the processor to see the pattern: nodes lie mostly one behind the other.
  static void PrefetchAfter(const T& element) noexcept {
    constexpr std::size_t kAhead = 16;
    const char* ahead = reinterpret_cast<const char*>(&element) + kAhead * sizeof(Node);
    for (std::size_t line = 0; line < sizeof(Node); line += 64) __builtin_prefetch(ahead + line);
  }

  /// Who is asked, by count of elements, while the list grows and while zvPolledEnd walks over it:
  /// what it throws passes through. Referred to until it is set to another; null, as at first, asks
  /// nobody.
  zvPolling* GetPolling() const noexcept { return m_polling; }
  void SetPolling(zvPolling* polling) noexcept { m_polling = polling; }
  /// One element was looked at that neither counts.
  void Poll() const {
    if (m_polling != nullptr) [[unlikely]]
      m_polling->Touch(1);
  }

  /// The number of elements, in constant time.
  std::uint32_t GetCount() const noexcept { return m_count; }
  bool IsEmpty() const noexcept { return m_count == 0; }

  /// The first and the last element of a list that is not empty.
  T& Front() { return m_head->value; }
  const T& Front() const { return m_head->value; }
  T& Back() { return m_tail->value; }
  const T& Back() const { return m_tail->value; }

  /// From the first element on; end() may be stepped back from.
  iterator begin() { return {this, m_head}; }
  iterator end() { return {this, nullptr}; }
  const_iterator begin() const { return {this, m_head}; }
  const_iterator end() const { return {this, nullptr}; }

 private:
  template <class... Arguments>
  Node* Link(Node* next, Arguments&&... arguments) {
    return LinkWith(next, [&] { return T(std::forward<Arguments>(arguments)...); });
  }

  // Builds an element in a new node and links it before `next`, at the end for null.
  template <class Make>
  Node* LinkWith(Node* next, Make&& make) {
    if (m_spare == nullptr) FetchSpares();
    Node* node = std::exchange(m_spare, m_spare->next);
    --m_spareCount;
    try {
      ::new (static_cast<void*>(std::addressof(node->value))) T(make());
    } catch (...) {
      Keep(node);
      throw;
    }
    Node* prev = next != nullptr ? next->prev : m_tail;
    node->next = next;
    node->prev = prev;
    (prev != nullptr ? prev->next : m_head) = node;
    (next != nullptr ? next->prev : m_tail) = node;
    ++m_count;
    return node;
  }

  // A few nodes at once spare most appends the pool's lock; as many as there are, so that short
  // lists hold few.
  void FetchSpares() {
    std::size_t count = std::clamp<std::size_t>(m_count, 1, kMostSpares);
    if (m_polling != nullptr) [[unlikely]]
      m_polling->Touch(count);
    m_spare = static_cast<Node*>(m_pool->AllocChain(count));
    m_spareCount = static_cast<std::uint32_t>(count);
  }

  // Under an address sanitizer nothing is kept: what goes back to the pool is poisoned.
  void Keep(Node* node) {
    if (m_spareCount == kMostSpares || platform::IsAddressSanitized()) return m_pool->Free(node);
    node->next = std::exchange(m_spare, node);
    ++m_spareCount;
  }

  static constexpr std::uint32_t kMostSpares = 32;

  std::shared_ptr<zvMemoryPool> m_pool;
  Node* m_head = nullptr;
  Node* m_tail = nullptr;
  Node* m_spare = nullptr;  // nodes without an element, chained by `next`
  zvPolling* m_polling = nullptr;
  std::uint32_t m_count = 0;
  std::uint32_t m_spareCount = 0;
};

}  // namespace misc
