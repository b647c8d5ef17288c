// What a verification of a posting found, in words.
#pragma once

#include <kandrel/misc/units_factory.h>
#include <kandrel/post/geometry/block_law.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/posting_parameters.h>
#include <kandrel/post/verifier/limit_report.h>
#include <kandrel/post/verifier/posting_findings.h>
#include <kandrel/post/verifier/posting_verifier.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "kandrel-post/commands/commands.h"
#include "kandrel-post/machine/machine.h"

namespace kandrel_post {

/// The rules of the options and posting parameters, for a path in these units. Limits as the
/// parameters check them. No tolerance over 3 axes, whose tip leaves its line by nothing but
/// rounding: a tolerance below that would find every line.
post::zvVerifierRules VerifierRules(const PostOptions& options, const Machine& machine,
                                    const post::zvKDRParam& par,
                                    measures::zvUnitsFactory::Units units);

/// What is wrong with the line of each of the verdict's findings, without saying which line it is.
std::vector<std::string> FindingsInWords(const post::zvPostingVerdict& verdict,
                                         const Machine& machine);

/// How many findings there are, also of those that are not kept.
std::uint64_t FindingCount(const post::zvPostingVerdict& verdict);

/// Collects how far lines leave those limits that the parameters don't have checked.
class UncheckedLimits {
 public:
  UncheckedLimits(const Machine& machine, const post::zv5axControlDef& control,
                  const post::zvKDRParam& par);

  void Add(const post::zvBlockLaw::Line& line);
  /// "A stands at 75 deg, 45 beyond its limit 30", of each axis where it is furthest out; empty
  /// where none is.
  std::string InWords(const Machine& machine) const;

 private:
  static constexpr std::size_t kAxes = 5;

  post::zvLimitReport m_report;
  bool m_areLinearChecked;
  bool m_areRotaryChecked;
  std::array<post::zvLimitBreach, kAxes> m_furthest;
};

/// "verified: tip within 0.0098 mm, axis within 0.07 deg", both rounded up; or "not verified: 3
/// findings" and a line for each of the first `most`, and for how many there are more. Where words
/// of unchecked limits are given, none of them is a run that the machine can do: the first line of
/// one without findings is "verified, but limits were not checked: A stands ...".
std::string VerdictInWords(const post::zvPostingVerdict& verdict, const Machine& machine,
                           std::size_t most, const std::string& uncheckedLimits = {});

}  // namespace kandrel_post
