// From the toolpath tree to one array of moves with their posted move types.
#pragma once

#include <kandrel/cadcam/matrix.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/large_array.h>
#include <kandrel/misc/progress.h>
#include <kandrel/post/model/align_matrix.h>
#include <kandrel/post/model/finite_moves.h>
#include <kandrel/post/model/posted_move.h>

#include <utility>

namespace post {

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

/// Calls `take(pointer, type)` for each move of the toolpath in order.
template <class Take>
void ForEachMovePointer(const cadcam::zvToolPath& toolpath, const Take& take) {
  for (const auto& pass : toolpath.Children())
    for (const auto& slice : pass->Children())
      for (const auto& section : slice->Children()) {
        const zvPostedMove::Types type = PostedMoveTypeOf(*section);
        for (const cadcam::zvMovePointer& move : *section) take(move, type);
      }
}

/// Calls `take(move, type)` for each move as Flatten would hold it, with neither memory nor
/// references for them: an aligned copy is good for the call. Throws as Flatten does, and what
/// `polling` throws, which is told of each move.
template <class Take>
void ForEachMove(const cadcam::zvToolPath& toolpath, const zvAlignMatrix& alignment,
                 const Take& take, misc::zvPolling* polling = nullptr) {
  ForEachMovePointer(toolpath, [&](const cadcam::zvMovePointer& pointer, zvPostedMove::Types type) {
    if (polling != nullptr) polling->Touch(1);
    const cadcam::zvCNCMove& move = *pointer;
    RequireFinite(move);
    if (alignment)
      take(AlignedCopy(move, *alignment), type);
    else
      take(move, type);
  });
}

/// Fills an array of the toolpath's move count. Without an alignment moves are shared, so that the
/// toolpath belongs to this thread; with one they are aligned copies on the heap. Throws "Accessing
/// NULL pointer" for a null pointer met on the way, and as RequireFinite, PostedMoveTypeOf and
/// AlignedCopy do.
KANDREL_API void Flatten(const cadcam::zvToolPath& toolpath, const zvAlignMatrix& alignment,
                         zvFlatMoves& moves);

}  // namespace post
