// What a user is told of a run that the limits of its machine refuse.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/exception.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posting_counts.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/verifier/limit_report.h>

#include <cstdint>

#include "kandrel-post/commands/commands.h"
#include "kandrel-post/machine/machine.h"

namespace kandrel_post {

/// Whether a posting failed as it would have left the machine's limits.
bool IsRefusedByLimits(const misc::zvException& failure);

/// Takes the run posted without checks: Start, its lines in order, each followed by what of it
/// leaves the limits, and last the shift.
class UncheckedRunSink {
 public:
  virtual ~UncheckedRunSink() = default;
  /// `count` lines will come, of a posting that counted these.
  virtual void Start(std::uint64_t count, const post::zvPostingCounts& counts) = 0;
  virtual void Take(const post::zvPostedMove& move) = 0;
  /// Of the line taken last, which has this index.
  virtual void TakeBreach(const post::zvLimitBreach& breach, std::uint64_t index,
                          std::int64_t source) = 0;
  virtual void TakeShift(const cadcam::zvTPoint3d<double>& shift) = 0;
};

/// Posts once more without checks, and writes to standard error a line `  breach INDEX SOURCE AXIS
/// VALUE BOUND EXCESS` for each axis of a posted line that leaves its limits, and `  shift X,Y,Z`
/// where the part origin can be moved so that no linear axis does: the shortest such way, tried by
/// posting from there. Where lifts to the limits can't be made without checks either, the run is
/// one with lifts of their plain length. Takes the time of two to four postings, and the memory of
/// one with extended blocks, whatever the options say. The sink, where there is one, is told the
/// same.
void WriteLimitLines(const PostOptions& options, const Machine& machine,
                     const post::zvKDRParam& par, const cadcam::zvToolPath& toolPath,
                     UncheckedRunSink* sink = nullptr);

}  // namespace kandrel_post
