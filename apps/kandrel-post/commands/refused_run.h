// A run that the kernel refuses, for the page that says why.
#pragma once

#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/misc/exception.h>
#include <kandrel/post/verifier/posting_findings.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "kandrel-post/cl/reader.h"
#include "kandrel-post/commands/commands.h"
#include "kandrel-post/commands/limit_lines.h"
#include "kandrel-post/commands/report.h"
#include "kandrel-post/commands/report_facts.h"
#include "kandrel-post/out/pole_counter.h"
#include "kandrel-post/out/text_sink.h"
#include "kandrel-post/pictures/held_lines.h"

namespace kandrel_post {

/// Holds the refusal in words and, where limits are the reason, the lines of the run posted without
/// checks with what of them leaves the limits, lines that follow each other as one. Without lines
/// the page has none.
class RefusedRun : public UncheckedRunSink {
 public:
  /// All is referred to.
  struct Setup {
    const PostOptions& options;
    const Machine& machine;
    const post::zvKDRParam& par;
    const ClProgram& program;
  };

  /// `lines`, which no line has come to, is referred to.
  RefusedRun(const Setup& setup, const misc::zvException& failure, HeldLines& lines,
             std::optional<PoleCounter> poles);

  void Start(std::uint64_t count, const post::zvPostingCounts& counts) override;
  void Take(const post::zvPostedMove& move) override;
  void TakeBreach(const post::zvLimitBreach& breach, std::uint64_t index,
                  std::int64_t source) override;
  void TakeShift(const cadcam::zvTPoint3d<double>& shift) override;

  /// Writes the page, a file of this name, with that tool.
  void WritePage(TextSink& sink, const std::string& fileName, const cadcam::zvEndMill& tool) const;

 private:
  Setup m_setup;
  Refusal m_refusal;
  HeldLines& m_lines;
  std::optional<PoleCounter> m_poles;
  PostedStatistics m_statistics;
  post::zvPostingCounts m_counts;
  post::zvPostingVerdict m_breaches;  // the worst of each stretch of lines
  // Of each limit, minima and maxima, the stretch that may go on.
  std::array<std::optional<std::size_t>, 10> m_last;
};

}  // namespace kandrel_post
