// Toolpath files and posted.csv read by means of the tests' own, and postings through the command
// line's own entry, checked against the machine as rigid bodies: linear axes that carry a spindle,
// a part that the table's axes turn, a tool that the head's axes turn.
#pragma once

#include <kandrel-post/machine/values.h>
#include <tests/support/rigid_body_model.h>

#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "support.h"

namespace tests {

using Numbers3 = std::array<double, 3>;

/// The folder of the sample data: KANDREL_DATA, or "shared/data" beside one of the folders above
/// the sources; empty when there is none.
std::filesystem::path DataFolder();

/// A GOTO; without an axis of its own it has the last one.
struct SourceMove {
  Numbers3 tip;
  Numbers3 axis;
};

std::vector<SourceMove> SourceMoves(const std::filesystem::path& fileName);

struct PostedLine {
  int type = 0;
  bool rapid = false;
  Numbers3 machine{};
  std::vector<double> angles;
  Numbers3 part{};
  Numbers3 axis{};
  std::string source;
  std::string inserted;
};

std::vector<PostedLine> PostedLines(const std::string& fileName);

/// The pose of the tool in the part, from where the axes stand on a line.
/// A third rotary axis stands where the machine is described.
rigid::Pose PoseAt(const kandrel_post::MachineValues& values, const rigid::Vector& origin,
                   double toolLength, const PostedLine& line);

/// Every line stands where it says it does; the source's moves are all there, in order. Those of
/// small moves are known by their places.
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
  int exitCode = 0;
  std::string summary;
  std::string failure;
};

Outcome RunPost(const std::string& machine, const std::filesystem::path& file,
                const std::string& folder, const std::vector<const char*>& more = {});

kandrel_post::MachineValues PresetValues(std::string_view name);

/// How the error begins by which the machine refuses a path, in other units than its own or with
/// tool axes that its rotary axes can't reach; "" for one that it can run.
std::string ExpectedFailure(const kandrel_post::MachineValues& values,
                            const std::filesystem::path& file);

/// A sample as a file in the folder.
std::filesystem::path SampleFile(const ScratchFolder& folder, std::string_view name);

}  // namespace tests
