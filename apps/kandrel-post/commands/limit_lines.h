// What a user is told of a run that the limits of its machine refuse.
#pragma once

#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/exception.h>
#include <kandrel/post/model/posting_parameters.h>

#include "kandrel-post/commands/commands.h"
#include "kandrel-post/machine/machine.h"

namespace kandrel_post {

/// Whether a posting failed as it would have left the machine's limits.
bool IsRefusedByLimits(const misc::zvException& failure);

/// Posts once more without checks, and writes to standard error a line `  breach INDEX SOURCE AXIS
/// VALUE BOUND EXCESS` for each axis of a posted line that leaves its limits, and `  shift X,Y,Z`
/// where the part origin can be moved so that no linear axis does: the shortest such way, tried by
/// posting from there. Where lifts to the limits can't be made without checks either, the run is
/// one with lifts of their plain length. Takes the time of two to four postings, and the memory of
/// one with extended blocks, whatever the options say.
void WriteLimitLines(const PostOptions& options, const Machine& machine,
                     const post::zvKDRParam& par, const cadcam::zvToolPath& toolPath);

}  // namespace kandrel_post
