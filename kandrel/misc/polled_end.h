// zvPolledEnd: the end of a walk over moves on which a host is asked.
#pragma once

#include <kandrel/misc/progress.h>

#include <cstdint>
#include <type_traits>

namespace misc {

/// Stands for the end of a list in a walk from move to move: `end.IsBefore(move)` is
/// `move != list.end()`, and asks the list's polling, if it has one, every zvPolling::kEvery moves.
/// Without one it costs what the comparison costs: what is compared with is the end itself; with
/// one it is a move some way ahead. So no move may be erased while it lies before the walk, and one
/// that is put in is not counted, as the list's growth is counted already.
template <class Iterator>
class zvPolledEnd {
 public:
  /// From `from` to `end`. With a total it is the next walk of the stage; 0 counts no part of one.
  zvPolledEnd(zvPolling* polling, Iterator from, Iterator end, std::uint64_t total = 0)
      : m_stop(end), m_end(end), m_polling(polling) {
    if (polling == nullptr) [[likely]]
      return;
    m_isWalk = total != 0;
    if (m_isWalk) polling->StartWalk(total);
    MoveStop(from);
  }
  /// All of a list.
  template <class List>
  explicit zvPolledEnd(List& list)
      : zvPolledEnd(list.GetPolling(), list.begin(), list.end(), list.GetCount()) {}
  /// A part of one.
  template <class List>
  zvPolledEnd(List& list, Iterator from, Iterator end)
      : zvPolledEnd(list.GetPolling(), from, end) {}

  /// Throws as zvPolling::Advance does.
  bool IsBefore(const Iterator& move) {
    return move != m_stop || (m_polling != nullptr && GoOn(move));
  }

 private:
  [[gnu::noinline, gnu::cold]] bool GoOn(const Iterator& move) {
    if (m_isWalk)
      m_polling->Advance(m_block);
    else
      m_polling->Touch(m_block);
    MoveStop(move);
    return move != m_end;
  }

  void MoveStop(Iterator from) {
    for (m_block = 0; m_block < zvPolling::kEvery && from != m_end; ++m_block) ++from;
    m_stop = from;
  }

  Iterator m_stop;
  Iterator m_end;
  zvPolling* m_polling;
  std::uint32_t m_block = 0;
  bool m_isWalk = false;
};

/// An end of the list's own iterators, or of those that are given.
template <class List>
explicit zvPolledEnd(List&) -> zvPolledEnd<decltype(std::declval<List&>().begin())>;
template <class List, class Iterator>
zvPolledEnd(List&, Iterator, Iterator) -> zvPolledEnd<Iterator>;

}  // namespace misc
