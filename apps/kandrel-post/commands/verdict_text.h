// What a verification of a posting found, in words.
#pragma once

#include <kandrel/misc/units_factory.h>
#include <kandrel/post/verifier/posting_findings.h>
#include <kandrel/post/verifier/posting_verifier.h>

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

/// "verified: tip within 0.0098 mm, axis within 0.07 deg", both rounded up; or "not verified: 3
/// findings" and a line for each of the first `most`, and for how many there are more.
std::string VerdictInWords(const post::zvPostingVerdict& verdict, const Machine& machine,
                           std::size_t most);

}  // namespace kandrel_post
