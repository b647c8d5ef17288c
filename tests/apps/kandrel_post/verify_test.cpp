// Postings written, changed in one place and read back: what is wrong is found with its line, and
// what is right is found to be.
#include <kandrel-post/commands/verdict_text.h>
#include <kandrel-post/machine/argument.h>
#include <tests/support/text_numbers.h>

#include <set>

#include "posting_checks.h"

namespace {

using namespace tests;

// The fields of a CSV text, line by line, the header first.
using Table = std::vector<std::vector<std::string>>;

Table ReadTable(const std::string& fileName) {
  Table table;
  std::istringstream text(FileText(fileName));
  for (std::string line; std::getline(text, line);) {
    auto& fields = table.emplace_back(1);
    for (const char c : line) {
      if (c == ',')
        fields.emplace_back();
      else
        fields.back().push_back(c);
    }
  }
  return table;
}

std::string Text(const Table& table) {
  std::string text;
  for (const auto& fields : table) {
    for (const std::string& field : fields) text += field + ',';
    text.back() = '\n';
  }
  return text;
}

// "drop LINE", "swap LINE" with the next, or "COLUMN LINE BY", where BY is added.
void Change(Table& table, const std::string& change) {
  std::istringstream words(change);
  words.imbue(std::locale::classic());
  std::string what;
  std::size_t line = 0;
  double by = 0;
  words >> what >> line >> by;
  const auto at = table.begin() + static_cast<std::ptrdiff_t>(line) + 1;
  ASSERT_LT(line + 2, table.size());
  if (what == "drop") {
    table.erase(at);
  } else if (what == "swap") {
    std::swap(*at, *(at + 1));
  } else {
    const auto column = std::find(table[0].begin(), table[0].end(), what) - table[0].begin();
    std::string& field = (*at)[static_cast<std::size_t>(column)];
    field = fmt::format("{}", NumberFrom(field) + by);
  }
}

TEST(Verify, FindsWhatWasChangedInLinesWithItsLineAndNothingElse) {
  const ScratchFolder scratch;
  const std::string posted = scratch.Path("out/posted.csv");
  for (const auto& c : Cases("verify.txt")) {
    SCOPED_TRACE(fmt::format("{}", fmt::join(c, " => ")));
    const std::string file = SampleFile(scratch, c.at(1));
    const std::string run = fmt::format("-m preset:{} -t {} {}", c.at(0), file, c.at(2));
    const Outcome post =
        RunLine(fmt::format("post {} {} -o {}", run, c.at(3), scratch.Path("out")));
    ASSERT_EQ(post.exitCode, 0) << post.failure;
    if (!c.at(4).empty()) {
      Table table = ReadTable(posted);
      Change(table, c.at(4));
      WriteFile(posted, Text(table));
    }
    const Outcome verify = RunLine(fmt::format("verify {} {} {}", run, posted, c.at(5)));
    const bool isGood = c.at(6).starts_with("verified");
    EXPECT_EQ(verify.exitCode, isGood ? 0 : 1);
    EXPECT_EQ(verify.failure.empty(), isGood) << verify.failure;
    for (std::size_t i = 6; i < c.size(); ++i)
      EXPECT_NE(verify.summary.find(c[i]), std::string::npos) << c[i] << '\n' << verify.summary;
    // What post says of its own lines is what verify says.
    const bool isSame = !isGood || !c.at(4).empty() || !c.at(5).empty() ||
                        post.summary.find(verify.summary) != std::string::npos;
    EXPECT_TRUE(isSame) << post.summary;
  }
}

TEST(Verify, HasWordsForEachFindingAndRoundsUpWhatIsAboveADigit) {
  using post::zvPostingFinding;
  const kandrel_post::Machine machine = kandrel_post::LoadMachine("preset:trunnion_ca");
  std::set<std::string> texts;
  for (int kind = 0; kind < zvPostingFinding::kKinds; ++kind) {
    post::zvPostingVerdict verdict;
    verdict.findings.push_back({static_cast<zvPostingFinding::Kind>(kind), 0, -1, 0, 1, 2, 3});
    verdict.counts[static_cast<std::size_t>(kind)] = 1;
    texts.insert(kandrel_post::VerdictInWords(verdict, machine, 1));
  }
  EXPECT_EQ(texts.size(), std::size_t{zvPostingFinding::kKinds});
  const std::pair<double, const char*> shown[] = {
      {0.07, "0.07"}, {0.0700001, "0.0701"}, {0.29, "0.29"}, {1e-9, "0.000001"}, {0, "0"}};
  for (const auto& [value, text] : shown) {
    post::zvPostingVerdict verdict;
    verdict.tip.value = value;
    EXPECT_EQ(kandrel_post::VerdictInWords(verdict, machine, 1),
              fmt::format("verified: tip within {} mm, axis within 0 deg\n", text));
  }
}

// A log doesn't hold the tolerance: it is replayed with the one that is given.
TEST(Verify, TellsTheToleranceOfALogByItsLines) {
  const ScratchFolder scratch;
  const std::string file = SampleFile(scratch, "blade_swarf");
  const std::vector<std::string> tolerances{"", "--tolerance 0.01,0.1", "--tolerance off",
                                            "--tolerance 0.002"};
  for (std::size_t posted = 0; posted < tolerances.size(); ++posted) {
    ASSERT_EQ(RunLine(fmt::format("post -m preset:trunnion_ca -t {} -o {} {}", file,
                                  scratch.Path("out"), tolerances[posted]))
                  .exitCode,
              0);
    for (std::size_t replayed = 0; replayed < tolerances.size(); ++replayed) {
      const Outcome run = RunLine(
          fmt::format("log replay {} {}", scratch.Path("out/run.kdr"), tolerances[replayed]));
      // The first two are the same.
      EXPECT_EQ(run.exitCode == 0,
                std::max<std::size_t>(posted, 1) == std::max<std::size_t>(replayed, 1))
          << tolerances[posted] << tolerances[replayed] << run.failure;
    }
  }
}

}  // namespace
