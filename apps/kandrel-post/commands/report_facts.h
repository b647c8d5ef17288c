// What the page of a run says beside its lines.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/verifier/posting_findings.h>

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kandrel-post/cl/reader.h"
#include "kandrel-post/commands/commands.h"
#include "kandrel-post/commands/report.h"
#include "kandrel-post/machine/machine.h"

namespace kandrel_post {

/// For each finding the first and the last of the lines that it stands for.
using LineStretches = std::vector<std::pair<std::uint64_t, std::uint64_t>>;

/// So many stand on a page.
inline constexpr std::size_t kMostStretches = 1000;

/// Why the kernel refuses a run.
struct Refusal {
  std::uint32_t id = 0;
  std::string text;
  std::vector<std::pair<std::uint32_t, std::string>> causes;
  std::optional<cadcam::zvTPoint3d<double>> shift;  ///< that clears the linear limits
  LineStretches stretches;                          ///< of the verdict's findings
};

/// What they are made of; all is referred to.
struct RunFacts {
  const PostOptions& options;
  const Machine& machine;
  const ClProgram& program;
  const Report& report;
  const PostedStatistics& posted;
  const post::zvPostingVerdict& verdict;
  post::zvKDRParam::LimitsCheck limitsCheck;
  const cadcam::zvEndMill& tool;
  const std::string& summary;  ///< the screen that `post` prints
  /// Null for none. Else the lines are those of the run without checks, if any, and the findings of
  /// the verdict are where they leave the limits.
  const Refusal* refusal = nullptr;
};

/// As JSON, which docs/kandrel-post.md describes. A number that is not finite becomes null.
nlohmann::ordered_json FactsToJson(const RunFacts& facts);

}  // namespace kandrel_post
