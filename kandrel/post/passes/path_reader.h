// zvPathReader: a toolpath tree as one sequence of moves with their types.
#pragma once

#include <kandrel/cadcam/matrix.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/progress.h>
#include <kandrel/post/geometry/move_grabber.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/passes/flat_moves.h>

#include <cstdint>
#include <list>

namespace post {

/// Reads the moves in the order of the tree, one at a time and without allocating. The toolpath is
/// never changed and must stay as it is while it is read; no reference to any of it is taken, so
/// that any number of threads may read it.
class KANDREL_API zvPathReader {
 public:
  /// The matrix may be null; with one, which must stay, the moves read are aligned copies. With
  /// `polling`, referred to, reading is the next walk of its stage, and throws what that throws.
  zvPathReader(const cadcam::zvToolPath& toolpath, const zvAlignMatrix& alignment,
               misc::zvPolling* polling = nullptr)
      : m_alignment(alignment.Get()), m_polling(polling) {
    m_passes.Enter(toolpath.Children());
    if (polling != nullptr) StartWalk(toolpath);
  }
  /// Not copied: its view may point to its own aligned copy.
  zvPathReader(const zvPathReader&) = delete;
  zvPathReader& operator=(const zvPathReader&) = delete;

  /// Goes on to the next move, at first to the first one; false at the end. Throws "Accessing NULL
  /// pointer" for a null pointer met on the way, and as RequireFinite, PostedMoveTypeOf and
  /// zvMoveView do.
  bool Next() {
    if (m_moves.IsDone() && !EnterSection()) return false;
    Prefetch();
    const cadcam::zvCNCMove& source = **m_moves.next;
    m_move = zvMoveView(source);
    if (!IsFinite(m_move.GetPosition()) || !IsFinite(m_move.GetOrientation())) ThrowNotFinite();
    if (m_alignment != nullptr) Align(source);
    ++m_moves.next;
    return true;
  }

  /// Calls `take(move, type)` for each of the next moves, `most` of them at most; false when the
  /// end has been reached. For a caller that checks finiteness itself.
  template <class Take>
  bool TakeUnchecked(int most, const Take& take) {
    if (m_alignment != nullptr) [[unlikely]]
      return TakeEach(most, [&](const cadcam::zvCNCMove& source) {
        Align(source);
        take(m_move, m_type);
      });
    return TakeEach(most,
                    [&](const cadcam::zvCNCMove& source) { take(zvMoveView(source), m_type); });
  }

  /// The move that Next came to and the type of its section; valid until the next call.
  const zvMoveView& GetMove() const noexcept { return m_move; }
  zvPostedMove::Types GetType() const noexcept { return m_type; }

 private:
  template <class List>
  struct Range {
    typename List::const_iterator next{};
    typename List::const_iterator end{};

    void Enter(const List& list) {
      next = list.begin();
      end = list.end();
    }
    bool IsDone() const { return next == end; }
  };

  template <class Take>
  bool TakeEach(int most, const Take& take) {
    for (; most > 0; --most) {
      if (m_moves.IsDone() && !EnterSection()) return false;
      Prefetch();
      const cadcam::zvCNCMove& source = **m_moves.next;
      ++m_moves.next;
      take(source);
    }
    return true;
  }

  static constexpr std::uintptr_t kCacheLine = 64;  // a move takes two

  // Moves lie scattered over the heap: what is needed soon is asked for while one is worked on.
  void Prefetch() {
    if (m_ahead == m_moves.end) return;
    // As a number: the pointer may be null, which fails when its turn comes and not here.
    const auto address = reinterpret_cast<std::uintptr_t>(m_ahead->Get());
    __builtin_prefetch(reinterpret_cast<const void*>(address));
    __builtin_prefetch(reinterpret_cast<const void*>(address + kCacheLine));
    ++m_ahead;
  }
  bool EnterSection();
  bool EnterBlock();
  void StartWalk(const cadcam::zvToolPath& toolpath);
  void Align(const cadcam::zvCNCMove& source);
  [[noreturn]] static void ThrowNotFinite();

  // Of a section, or with polling of a part of it, that is asked after.
  Range<cadcam::zvMoveList> m_moves;
  cadcam::zvMoveList::const_iterator m_sectionEnd;
  std::uint32_t m_block = 0;
  cadcam::zvMoveList::const_iterator m_ahead;
  zvMoveView m_move;
  zvPostedMove::Types m_type = zvPostedMove::noLink;
  Range<std::list<misc::zvAutoPointer<cadcam::zvTPSection>>> m_sections;
  Range<std::list<misc::zvAutoPointer<cadcam::zvTPSlice>>> m_slices;
  Range<std::list<misc::zvAutoPointer<cadcam::zvTPPass>>> m_passes;
  const cadcam::zvMatrix<double, 4, 4>* m_alignment;
  cadcam::zv5axMove m_aligned;
  misc::zvPolling* m_polling;
};

}  // namespace post
