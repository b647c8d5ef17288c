// Refuses a job whose tolerance is tiny against its path, before it fills the memory.
#pragma once

#include <kandrel/cadcam/tool_path.h>
#include <kandrel/post/model/posting_parameters.h>

#include "kandrel-post/commands/commands.h"
#include "kandrel-post/machine/machine.h"

namespace kandrel_post {

/// Fails with error 0 where posting to the tolerance would take far more lines than UsableMemory
/// holds: it would fill the memory for minutes and then fail. The deviation of a block shrinks with
/// the square of its length, so that the run by steps alone tells how many lines are needed: it is
/// posted and verified where the tolerance is below a thousandth of a millimetre. Only an estimate:
/// what is refused needs at least twice what there is.
void RefuseHopelessTolerance(const PostOptions& options, const Machine& machine,
                             const post::zvKDRParam& par, const cadcam::zvToolPath& toolPath);

}  // namespace kandrel_post
