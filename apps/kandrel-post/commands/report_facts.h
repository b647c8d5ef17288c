// What the page of a run says beside its lines.
#pragma once

#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/verifier/posting_findings.h>

#include <nlohmann/json.hpp>
#include <string>

#include "kandrel-post/cl/reader.h"
#include "kandrel-post/commands/commands.h"
#include "kandrel-post/commands/report.h"
#include "kandrel-post/machine/machine.h"

namespace kandrel_post {

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
};

/// As JSON, which docs/kandrel-post.md describes. A number that is not finite becomes null.
nlohmann::ordered_json FactsToJson(const RunFacts& facts);

}  // namespace kandrel_post
