// From the toolpath tree to one array of moves with their posted move types.
#pragma once

#include <kandrel/cadcam/matrix.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/large_array.h>
#include <kandrel/post/move_grabber.h>
#include <kandrel/post/posted_move.h>

#include <cstddef>
#include <list>
#include <span>
#include <utility>
#include <vector>

namespace post {

using zvAlignMatrix = misc::zvAutoPointer<cadcam::zvMatrix<double, 4, 4>>;
using zvFlatMove = std::pair<cadcam::zvMovePointer, zvPostedMove::Types>;
using zvFlatMoves = misc::zvRealArrayLarge<zvFlatMove>;

/// True when the toolpath has no pass or its first pass has no slice: creators then post nothing
/// and check nothing, also where a later pass holds moves.
KANDREL_API bool HasNothingToPost(const cadcam::zvToolPath& toolpath);

/// The type of all moves of a section: 0 to 5 for a link of that type, 6 for any other section.
/// Throws zvKandrelException 2637 for a link type above 5.
KANDREL_API zvPostedMove::Types PostedMoveTypeOf(const cadcam::zvTPSection& section);

/// The same for the section in which a toolpath's iterator stands. Throws zvcadcamException 2639
/// also for a section that is neither link nor contour.
KANDREL_API zvPostedMove::Types PostedMoveTypeAt(
    const cadcam::zvToolPath::const_iterator& position);

/// The type of the link in which a toolpath's iterator stands. Throws as PostedMoveTypeAt does, and
/// zvcadcamException 2640 outside a link.
KANDREL_API zvPostedMove::Types LinkTypeAt(const cadcam::zvToolPath::const_iterator& position);

/// A copy of the move as a zv5axMove with position and orientation turned by the matrix, whose
/// translation is zero. Throws zvPostException 2503 for a plain zvCNCMove.
KANDREL_API cadcam::zv5axMove AlignedCopy(const cadcam::zvCNCMove& move,
                                          const cadcam::zvMatrix<double, 4, 4>& alignment);

/// Throws zvPostException 5039 for a position or orientation that is infinite or NaN.
KANDREL_API void RequireFinite(const cadcam::zvCNCMove& move);

/// A move that someone else keeps, with its type.
struct zvMoveInPath {
  zvMoveView move;
  zvPostedMove::Types type = zvPostedMove::noLink;
};

/// Reads a toolpath tree as one sequence of moves with their types, a block at a time and without
/// allocating per move. The toolpath is never changed and must stay as it is while it is read.
class KANDREL_API zvFlattener {
 public:
  zvFlattener(const cadcam::zvToolPath& toolpath, const zvAlignMatrix& alignment);

  /// Fills `block` from the front and returns how much of it, less than all at the end only. The
  /// moves are those of the toolpath, or with an alignment copies that last until the next Read.
  /// Throws "Accessing NULL pointer" for a null pointer met on the way, and as RequireFinite,
  /// PostedMoveTypeOf and zvMoveView do.
  std::size_t Read(std::span<zvMoveInPath> block);

 private:
  bool EnterSection();

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

  zvAlignMatrix m_alignment;
  std::vector<cadcam::zv5axMove> m_aligned;
  Range<std::list<misc::zvAutoPointer<cadcam::zvTPPass>>> m_passes;
  Range<std::list<misc::zvAutoPointer<cadcam::zvTPSlice>>> m_slices;
  Range<std::list<misc::zvAutoPointer<cadcam::zvTPSection>>> m_sections;
  Range<cadcam::zvMoveList> m_moves;
  cadcam::zvMoveList::const_iterator m_ahead;
  zvPostedMove::Types m_type = zvPostedMove::noLink;
};

/// Fills an array of the toolpath's move count. Without an alignment moves are shared, with one
/// they are aligned copies on the heap. Fails as zvFlattener::Read does, but shares
/// a plain zvCNCMove.
KANDREL_API void Flatten(const cadcam::zvToolPath& toolpath, const zvAlignMatrix& alignment,
                         zvFlatMoves& moves);

}  // namespace post
