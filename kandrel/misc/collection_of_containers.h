// zvCollectionOfContainers: a list of containers that can be walked as one sequence of their
// elements.
#pragma once

#include <kandrel/misc/misc_exception.h>

#include <cstddef>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>

namespace misc {

/// `C` is a std::list of zvAutoPointer to a container, which may be such a collection again.
///
/// 1. begin(), end(), their const and reverse forms and the iterators run over the elements of all
///    containers, depth first; empty containers are skipped at every level. Children() is the list
///    of the containers themselves, to which the inherited empty(), size(), front() and push_back()
///    belong as well: size() is not the number of elements.
/// 2. A null container met on a walk throws "Accessing NULL pointer". The iterator then stands at
///    end() if it went forward, and where it stood before if it went backward.
/// 3. An iterator has a heap object for each level below it: copying one is not cheap. A whole walk
///    either way takes time linear in elements and containers.
template <class C>
class zvCollectionOfContainers : public C {
  using Container = typename C::value_type::element_type;

  template <class>
  friend class zvCollectionOfContainers;

  // One walker serves both constness: `Child` is the iterator of the container at `Position`.
  template <bool Const>
  class Walker {
    using Collection =
        std::conditional_t<Const, const zvCollectionOfContainers, zvCollectionOfContainers>;
    using Position = std::conditional_t<Const, typename C::const_iterator, typename C::iterator>;
    using ChildContainer = std::conditional_t<Const, const Container, Container>;
    using Child =
        std::conditional_t<Const, typename Container::const_iterator, typename Container::iterator>;

   public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = typename std::iterator_traits<Child>::value_type;
    using reference = typename std::iterator_traits<Child>::reference;
    using pointer = typename std::iterator_traits<Child>::pointer;
    using difference_type = std::ptrdiff_t;

    Walker() = default;
    Walker(const Walker& other)
        : m_collection(other.m_collection),
          m_position(other.m_position),
          m_child(other.m_child ? std::make_unique<Child>(*other.m_child) : nullptr) {}
    Walker(Walker&&) noexcept = default;
    Walker& operator=(const Walker& other) {
      Walker copy(other);
      return *this = std::move(copy);
    }
    Walker& operator=(Walker&&) noexcept = default;
    /// An iterator gives a const_iterator, as with any container.
    template <bool Other>
    requires(Const && !Other) Walker(const Walker<Other>& other)
        : m_collection(other.m_collection),
          m_position(other.m_position),
          m_child(other.m_child ? std::make_unique<Child>(*other.m_child) : nullptr) {}
    ~Walker() = default;

    /// Both throw "Accessing NULL pointer" at end().
    reference operator*() const { return ElementOf(GetChild()); }
    pointer operator->() const { return &**this; }

    Walker& operator++() {
      try {
        ++*m_child;
        SkipEmpty();
      } catch (...) {
        m_position = List().end();
        m_child.reset();
        throw;
      }
      return *this;
    }
    Walker operator++(int) {
      Walker before(*this);
      ++*this;
      return before;
    }
    /// From end() to the last element; at the first element it does nothing.
    Walker& operator--() {
      StepBack();
      return *this;
    }
    Walker operator--(int) {
      Walker before(*this);
      --*this;
      return before;
    }

    friend bool operator==(const Walker& a, const Walker& b) {
      if (&a == &b) return true;
      if (a.m_collection != b.m_collection || a.m_position != b.m_position) return false;
      return a.m_child && b.m_child ? *a.m_child == *b.m_child : !a.m_child && !b.m_child;
    }

    /// Where the walk stands in the collection's own list; its end at end().
    const Position& GetPosition() const { return m_position; }
    /// The iterator in the container at that position; throws "Accessing NULL pointer" at end().
    const Child& GetChild() const {
      if (!m_child) detail::ThrowNullPointer();
      return *m_child;
    }

   private:
    template <class>
    friend class zvCollectionOfContainers;
    template <bool>
    friend class Walker;

    Walker(Collection& collection, Position position)
        : m_collection(&collection), m_position(position) {}

    // Where one walk stands at an element, so do those inside it: only the outermost needs to look.
    static reference ElementOf(const Child& child) {
      if constexpr (requires { child.m_child; })
        return child.ElementOf(*child.m_child);
      else
        return *child;
    }

    auto& List() const { return m_collection->Children(); }
    ChildContainer& Current() const { return **m_position; }

    // Builds the child iterator at the start of the current child and goes on to an element.
    void Enter() {
      if (m_position == List().end()) return;
      m_child = std::make_unique<Child>(Current().begin());
      SkipEmpty();
    }

    void SkipEmpty() {
      while (*m_child == Current().end()) {
        if (++m_position == List().end()) {
          m_child.reset();
          return;
        }
        *m_child = Current().begin();
      }
    }

    // False, with nothing changed, where there is no element before. The child is asked instead of
    // being compared with its begin(), which would search through its empty containers every time.
    bool StepBack() {
      if (m_child && StepBackIn(Current(), *m_child)) return true;
      for (Position position = m_position; position != List().begin();) {
        --position;
        ChildContainer& container = **position;
        auto child = std::make_unique<Child>(container.end());
        if (!StepBackIn(container, *child)) continue;
        m_position = position;
        m_child = std::move(child);
        return true;
      }
      return false;
    }

    Collection* m_collection = nullptr;
    Position m_position{};
    std::unique_ptr<Child> m_child;
  };

 public:
  using iterator = Walker<false>;
  using const_iterator = Walker<true>;
  using reverse_iterator = std::reverse_iterator<iterator>;
  using const_reverse_iterator = std::reverse_iterator<const_iterator>;
  /// Element is what the leaves hold.
  using Element = typename iterator::value_type;

  zvCollectionOfContainers() = default;
  zvCollectionOfContainers(const zvCollectionOfContainers&) = default;
  zvCollectionOfContainers(zvCollectionOfContainers&&) noexcept = default;
  zvCollectionOfContainers& operator=(const zvCollectionOfContainers&) = default;
  zvCollectionOfContainers& operator=(zvCollectionOfContainers&&) noexcept = default;
  virtual ~zvCollectionOfContainers() = default;

  /// Inserts before the first element, which need not lie in the first child.
  virtual void PushFront(const Element& element) { Insert(begin(), element); }

  /// Inserts an element before `position`; at end() it goes to the end of the last child. Throws
  /// zvmiscException 5503 "No container available, insertion failed." when there is no child.
  virtual iterator Insert(iterator position, const Element& element) {
    if (this->empty()) throw zvmiscException(zvmiscException::kNoContainer);
    const bool atEnd = !position.m_child;
    iterator inserted(*this, atEnd ? std::prev(Children().end()) : position.m_position);
    Container& child = inserted.Current();
    inserted.m_child = std::make_unique<typename Container::iterator>(
        child.Insert(atEnd ? child.end() : std::move(*position.m_child), element));
    return inserted;
  }

  /// The list of the containers themselves.
  C& Children() noexcept { return *this; }
  const C& Children() const noexcept { return *this; }

  /// These run over the elements of all containers. Linear in the containers before the first
  /// element, constant at the end.
  iterator begin() { return Begin<iterator>(*this); }
  const_iterator begin() const { return Begin<const_iterator>(*this); }
  iterator end() { return {*this, Children().end()}; }
  const_iterator end() const { return {*this, Children().end()}; }
  // The list's own would run over the children.
  /// As of a standard container: elements of all children in their order, or backwards.
  const_iterator cbegin() const { return begin(); }
  const_iterator cend() const { return end(); }
  reverse_iterator rbegin() { return reverse_iterator(end()); }
  const_reverse_iterator rbegin() const { return const_reverse_iterator(end()); }
  reverse_iterator rend() { return reverse_iterator(begin()); }
  const_reverse_iterator rend() const { return const_reverse_iterator(begin()); }
  const_reverse_iterator crbegin() const { return rbegin(); }
  const_reverse_iterator crend() const { return rend(); }

 private:
  template <class Child, class ChildContainer>
  static bool StepBackIn(ChildContainer& container, Child& child) {
    if constexpr (requires { child.StepBack(); }) {
      return child.StepBack();
    } else {
      if (child == container.begin()) return false;
      --child;
      return true;
    }
  }

  template <class It, class Self>
  static It Begin(Self& self) {
    It it(self, self.Children().begin());
    it.Enter();
    return it;
  }
};

}  // namespace misc
