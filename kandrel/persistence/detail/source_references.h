// FixReferenceBetweenTPAndpTP: finds the source of posted moves that don't know it.
#pragma once

#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/memory_pool_list.h>
#include <kandrel/post/model/posted_move.h>

namespace persistence {

/// Sets source index and mark of insertion of each posted move, which files below version 184 don't
/// hold or hold wrong. A posted move at exactly the part position of the toolpath's next move comes
/// from that one; any other is an inserted one and has the index of the one before, -1 at the
/// start. Where all moves of the toolpath are found, the last goes on being compared with, and the
/// index goes on counting: deliberate, as old logs have been read so.
///
/// Nothing happens for a toolpath without moves or for a null list. Throws zvPostException 2503 for
/// a plain zvCNCMove, "Accessing NULL pointer" for a null in the toolpath. Linear.
template <class Move>
void FixReferenceBetweenTPAndpTP(const cadcam::zvToolPath& toolpath,
                                 const misc::zvAutoPointer<misc::zvMemoryPoolList<Move>>& list);

}  // namespace persistence
