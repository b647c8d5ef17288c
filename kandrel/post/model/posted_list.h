// zvPostedList: the list in which a creator keeps the result of its last posting.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/memory_pool_list.h>

namespace post {

/// A shared list on a pool of its own. A copy starts with no list and no pools.
template <class Move>
class zvPostedList {
 public:
  using List = misc::zvMemoryPoolList<Move>;
  using Pointer = misc::zvAutoPointer<List>;

  zvPostedList() = default;
  /// A copy starts without a list.
  zvPostedList(const zvPostedList&) : zvPostedList() {}
  zvPostedList& operator=(const zvPostedList&) = delete;
  ~zvPostedList() {
    try {
      Clear();
    } catch (...) {
      // As in the list's own destructor: pages that stay mapped are no reason to end the program.
    }
  }

  /// The present list, shared; null until Renew or Set.
  Pointer& Get() noexcept { return m_list; }
  const Pointer& Get() const noexcept { return m_list; }

  /// Lets go of the present list and starts an empty one.
  void Renew() { m_list = New(); }
  /// An empty list on this one's pool.
  Pointer New() { return misc::MakeAutoPointer<List>(m_provider); }

  /// Empties the present list, also for whoever shares it; nothing happens without one.
  void Clear() {
    if (m_list) m_list->Clear();
  }

  /// Empties the present list and starts a new one with copies of the moves of `source`, which may
  /// be null. Given the present list itself, it changes nothing.
  void Set(const Pointer& source) {
    const List* moves = source.Get();  // `source` may be a reference to the member
    if (moves != nullptr && moves == m_list.Get()) return;
    Clear();
    Renew();
    if (moves == nullptr) return;
    for (const Move& move : *moves) m_list->PushBack(move);
  }

 private:
  misc::zvMemoryPoolProvider m_provider;
  Pointer m_list;
};

}  // namespace post
