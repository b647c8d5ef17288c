// Toolpath files and posted.csv read by means of the tests' own, and postings through the command
// line's own entry, checked against the machine as rigid bodies.
#pragma once

#include <kandrel-post/machine/values.h>
#include <kandrel/post/model/mach_def_builder.h>
#include <tests/support/laws.h>

#include "support.h"

namespace tests {

/// The GOTOs; one without an axis has the last one. Their feeds are not read.
Source SourceMoves(const std::filesystem::path& fileName);

/// The lines of posted.csv.
Lines PostedLines(const std::string& fileName);

/// Every line stands where it says it does; the source's moves are all there, in order.
void ExpectTruth(const Lines& posted, const Source& source,
                 const kandrel_post::MachineValues& values, const Point& origin, double toolLength);

/// The rules of the text, read as a control would.
void ExpectNcRules(const std::string& text, std::size_t moves);

/// The number behind a word of the summary.
long Told(const std::string& summary, const std::string& what);

void ExpectSummary(const std::string& summary, const Lines& posted, std::size_t sourceMoves);

/// What a run of the command line shows.
struct Outcome {
  int exitCode = 0;
  std::string summary;
  std::string failure;
};

/// Runs a command line, cut at its blanks, with `last` as one word at its end unless it is empty.
Outcome RunLine(const std::string& line, const std::string& last = "");

void WriteSettingsFile(const std::string& fileName, const post::zvMachDefBuilder& builder);

kandrel_post::MachineValues PresetValues(std::string_view name);

/// How the error begins by which the machine refuses a path, in other units than its own or with
/// tool axes that its rotary axes can't reach; "" for one that it can run.
std::string ExpectedFailure(const kandrel_post::MachineValues& values,
                            const std::filesystem::path& file);

/// A sample as a file in the folder.
std::string SampleFile(const ScratchFolder& folder, std::string_view name);

}  // namespace tests
