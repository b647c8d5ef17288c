// Postings through the command line's own entry, checked against the machine as rigid bodies:
// linear axes that carry a spindle, a part that the table's axes turn, a tool that the head's axes
// turn.
#pragma once

#include <kandrel-post/machine_values.h>
#include <tests/support/rigid_body_model.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "posted_files.h"

namespace tests {

/// The pose of the tool in the part, from where the axes stand on a line; of 4- to 6-axis machines.
/// A third rotary axis stands where the machine is described.
rigid::Pose PoseAt(const kandrel_post::MachineValues& values, const rigid::Vector& origin,
                   double toolLength, const PostedLine& line);

/// Every line stands where it says it does; the source's moves are all there, in order.
void ExpectTruth(const std::vector<PostedLine>& posted, const std::vector<SourceMove>& source,
                 const kandrel_post::MachineValues& values, const rigid::Vector& origin,
                 double toolLength);

/// The rules of the text, read as a control would.
void ExpectNcRules(const std::string& text, std::size_t moves);

/// The number behind a word of the summary.
long Told(const std::string& summary, const std::string& what);

void ExpectSummary(const std::string& summary, const std::vector<PostedLine>& posted,
                   std::size_t sourceMoves);

/// What a posting told.
struct Outcome {
  int exitCode;
  std::string summary;
  std::string failure;
};

Outcome RunPost(const std::string& machine, const std::filesystem::path& file,
                const std::string& folder, std::vector<const char*> more = {});

/// Posts a file on a preset and checks all that is written.
void ExpectGoodPosting(const ScratchFolder& scratch, const std::string& preset,
                       const std::filesystem::path& file, std::vector<const char*> options = {});

/// A sample as a file in the folder.
std::filesystem::path SampleFile(const ScratchFolder& folder, std::string_view name);

}  // namespace tests
