// Keeps a job that asks for too much from taking the whole system with it.
#pragma once

#include <kandrel/cadcam/tool_path.h>
#include <kandrel/post/model/posting_parameters.h>

#include <cstdint>

namespace kandrel_post {

/// Bytes of memory that this process may sensibly use: the system's, or what its group of processes
/// is allowed. Never 0.
std::uint64_t UsableMemory();

/// Makes allocations beyond UsableMemory fail, so that they end in an error message. Does nothing
/// in builds with an address sanitizer, which reserves far more than it uses.
void LimitMemory();

/// Fails with error 0 where posting would insert more moves by interpolation than UsableMemory
/// holds: a step that is tiny against the path would fill it for minutes and then fail. Only a
/// bound: whatever passes here may still turn out not to fit. `turning`: on a machine with rotary
/// axes; `small`: moves without their extended blocks.
void RefuseHopelessSteps(const cadcam::zvToolPath& toolPath, const post::zvKDRParam& par,
                         bool turning, bool small);

}  // namespace kandrel_post
