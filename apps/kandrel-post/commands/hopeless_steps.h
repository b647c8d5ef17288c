// Refuses a job whose step is tiny against its path, before it fills the memory.
#pragma once

#include <kandrel/cadcam/tool_path.h>
#include <kandrel/post/model/posting_parameters.h>

namespace kandrel_post {

/// Fails with error 0 where posting would insert more moves by interpolation than UsableMemory
/// holds: it would fill the memory for minutes and then fail. Only a bound: whatever passes here
/// may still turn out not to fit. `turning`: on a machine with rotary axes; `small`: moves without
/// their extended blocks. Linear in the number of moves.
void RefuseHopelessSteps(const cadcam::zvToolPath& toolPath, const post::zvKDRParam& par,
                         bool turning, bool small);

/// Bytes of a posted move in its list, with its extended block or without it, rounded down.
constexpr double PostedMoveBytes(bool small) {
  return small ? 144 : 205;
}

}  // namespace kandrel_post
