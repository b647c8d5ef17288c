// Toolpaths posted through the command line's own entry: each preset with each real file of its
// class and each sample. What is written is checked against the machine as rigid bodies; what the
// machine can't do is refused.
#include <kandrel-post/machine/presets.h>
#include <kandrel-post/samples/samples.h>
#include <tests/support/data_folder.h>
#include <tests/support/text_numbers.h>

#include <charconv>
#include <cstdio>
#include <regex>

#include "posting_checks.h"

namespace {

using namespace tests;

namespace fs = std::filesystem;

using PresetAndPath = std::tuple<std::string, std::string>;

// Sanitizers take some five times as long: of the files and machines one pair in so many then.
#ifndef __has_feature
#define __has_feature(x) 0
#endif
constexpr std::size_t kOnePairIn = __has_feature(address_sanitizer) ? 5 : 1;

// Each preset with each sample, and with the files for its number of axes.
std::vector<PresetAndPath> AllPaths() {
  std::vector<PresetAndPath> pairs;
  std::size_t fits = 0;
  for (const kandrel_post::Preset& preset : kandrel_post::Presets()) {
    const int axes = AxisCount(kandrel_post::MakePreset(preset.name));
    for (const auto& file : Cases("files.txt"))
      if (std::stoi(file.at(0)) == std::min(axes, 5) && ++fits % kOnePairIn == 0)
        pairs.emplace_back(preset.name, file.at(1));
    for (const kandrel_post::Sample& sample : kandrel_post::Samples())
      pairs.emplace_back(preset.name, sample.name);
  }
  return pairs;
}

std::string NameOf(const testing::TestParamInfo<PresetAndPath>& test) {
  const auto& [preset, path] = test.param;
  return preset + "_" + path.substr(0, path.find('.'));
}

class Posting : public testing::TestWithParam<PresetAndPath> {
 protected:
  Posting() : m_values(PresetValues(std::get<0>(GetParam()))) {}

  // True when the machine can't run the path, and refuses it by the error that it shall.
  bool IsRefused(const fs::path& file) const {
    const std::string failure = ExpectedFailure(m_values, file);
    if (failure.empty()) return false;
    const Outcome run = Run(file, "");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.failure.starts_with(failure)) << run.failure;
    EXPECT_FALSE(fs::exists(m_scratch.Path("out")));
    return true;
  }

  // Posts the file and checks all that is written.
  void ExpectGood(const fs::path& file, const std::string& options) const {
    const bool small = options.ends_with("--small");
    const Point origin{-12.5, 20, -35};
    const Outcome run = Run(file, "--origin -12.5,20,-35 --tool-length -80 " + options);
    ASSERT_EQ(run.exitCode, 0) << run.failure;
    const Source source = SourceMoves(file);
    ASSERT_FALSE(source.empty());
    const Lines posted = PostedLines(m_scratch.Path("out/posted.csv"));
    for (const Line& line : posted) ASSERT_EQ(line.isSmall, small);
    // Deliberate in the kernel: a path that stands along the spindle is posted with the tool's
    // length, on machines of kind 0 too.
    kandrel_post::MachineValues values = m_values;
    const bool isUpright = std::all_of(source.begin(), source.end(), [](const auto& move) {
      return move.orientation == Point{0, 0, 1};
    });
    if (values.axes == 5 && values.fiveAxisKind == 0 && isUpright) values.fiveAxisKind = 3;
    ExpectTruth(posted, source, values, origin, -80);
    ExpectNcRules(FileText(m_scratch.Path("out/posted.nc")), posted.size());
    ExpectSummary(run.summary, posted, source.size());
    EXPECT_EQ(Told(run.summary, "poles crossed") >= 0, m_values.axes >= 5);
  }

  Outcome Run(const fs::path& file, const std::string& options) const {
    return RunLine(fmt::format("post -m preset:{} -o {} {} -t", std::get<0>(GetParam()),
                               m_scratch.Path("out"), options),
                   file.string());
  }

  const ScratchFolder m_scratch;
  const kandrel_post::MachineValues m_values;
};

TEST_P(Posting, StandsWhereItSaysOrIsRefused) {
  const std::string path = std::get<1>(GetParam());
  const bool isFile = path.ends_with(".cl");
  const fs::path data = DataFolder("toolpaths");
  if (isFile && data.empty()) GTEST_SKIP() << "no sample data here";
  const fs::path file = isFile ? data / path : fs::path(SampleFile(m_scratch, path));
  ASSERT_TRUE(fs::exists(file));
  if (IsRefused(file)) return;
  if (!isFile && m_values.axes > 3) ExpectGood(file, "--control 360,180");
  ExpectGood(file, "");
  if (!isFile) {
    // Small moves are those of the class' own creator, and the same but for what they lack.
    const std::string nc = FileText(m_scratch.Path("out/posted.nc"));
    ExpectGood(file, "--small");
    EXPECT_EQ(FileText(m_scratch.Path("out/posted.nc")), nc);
  } else if (m_values.axes == 3) {
    // Of another way to post: the source's places are found among those put between.
    ExpectGood(file, "--set interpolateByDistance=true --small");
  }
}

INSTANTIATE_TEST_SUITE_P(All, Posting, testing::ValuesIn(AllPaths()), NameOf);

// One line, and below it lines that belong to it.
bool IsFailure(const std::string& text) {
  static const std::regex first("[^ ].*"), below("  (caused by [0-9]+:|breach|shift) .+");
  std::istringstream lines(text);
  std::string line;
  if (!text.ends_with('\n') || !std::getline(lines, line) || !std::regex_match(line, first))
    return false;
  while (std::getline(lines, line))
    if (!std::regex_match(line, below)) return false;
  return true;
}

TEST(CommandLine, EndsWithItsExitCodeAndOneLineAndLeavesNoFolder) {
  const ScratchFolder scratch;
  const std::string out = scratch.Path("out");
  fs::create_directory(scratch.Path("FILE_folder.kds"));
  fs::create_symlink("/dev/zero", scratch.Path("FILE_zero.kds"));
  for (const auto& c : Cases("commands.txt")) {
    SCOPED_TRACE(c.at(4));
    for (const char* name : {"FILE.cl", "FILE.json", "FILE.kds"})
      WriteFile(scratch.Path(name), c.at(3));
    std::string line = c.at(4);
    Replace(line, "POST", "post -t FILE.cl -o OUT");
    Replace(line, "FILE", scratch.Path("FILE"));
    Replace(line, "OUT", out);
    Replace(line, "MILL", "preset:mill3_metric");
    const Outcome run = RunLine(line);
    const bool isGood = run.exitCode == 0;
    EXPECT_EQ(std::to_string(run.exitCode), c.at(0)) << run.failure;
    EXPECT_TRUE(run.failure.starts_with(c.at(1))) << run.failure;
    const std::string shown = isGood ? run.summary + FileText(out + "/posted.csv") : "";
    EXPECT_NE((run.failure + shown).find(c.at(2)), std::string::npos) << run.failure << shown;
    EXPECT_EQ(run.summary.empty(), !isGood);
    const bool isPosted = isGood && c.at(4).starts_with("POST ");
    EXPECT_EQ(fs::exists(out), isPosted);
    if (run.exitCode < 2) {
      EXPECT_EQ(IsFailure(run.failure), run.exitCode == 1) << run.failure;
    }
    if (!isPosted) continue;
    const std::string nc = FileText(out + "/posted.nc");
    ExpectNcRules(nc, PostedLines(out + "/posted.csv").size());
    fs::remove_all(out);
  }
}

// What leaves the limits of a run, as lines of standard error.
std::string BreachLines(const Lines& posted, const kandrel_post::MachineValues& values,
                        const std::string& axisLetters) {
  std::string text;
  for (std::size_t index = 0; index < posted.size(); ++index) {
    const Line& line = posted[index];
    const auto check = [&](std::size_t axis, double value, double min, double max, double slack) {
      if (value >= min - slack && value <= max + slack) return;
      const double bound = value < min ? min : max;
      text += fmt::format("  breach {} {} {}", index, line.source, axisLetters[axis]);
      for (const double number : {value, bound, std::abs(value - bound)}) {
        std::array<char, 40> digits;
        text += " ";
        text.append(digits.data(),
                    std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr);
      }
      text += "\n";
    };
    for (int i = 0; i < 3; ++i)
      check(static_cast<std::size_t>(i), line.machine[i], values.minLimits[i], values.maxLimits[i],
            1e-12);
    for (std::size_t i = 0; i < std::min<std::size_t>(2, line.degs.size()); ++i)
      check(3 + i, line.degs[i], values.rotary[i].min, values.rotary[i].max, 1e-4);
  }
  return text;
}

// Where limits refuse a run, standard error tells what leaves them as the same run without checks
// has it, and a shift that helps.
TEST(Limits, RefusedRunTellsEveryBreachAndTheShiftThatClearsThem) {
  for (const auto& c : Cases("limits.txt")) {
    SCOPED_TRACE(c.at(0) + " " + c.at(1) + " " + c.at(2));
    const ScratchFolder scratch;
    const std::string file = SampleFile(scratch, c.at(1));
    const auto post = [&](const std::string& options) {
      return RunLine(fmt::format("post -m preset:{} -t {} -o {} {} {}", c.at(0), file,
                                 scratch.Path("out"), c.at(2), options));
    };
    const std::string origin = "--origin " + c.at(3) + " ";
    const Outcome refused = post(origin + c.at(4));
    ASSERT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.summary, "");
    EXPECT_FALSE(fs::exists(scratch.Path("out")));
    ASSERT_EQ(post(origin).exitCode, 0);
    const kandrel_post::MachineValues values = PresetValues(c.at(0));
    const Lines posted = PostedLines(scratch.Path("out/posted.csv"));
    const std::string told = refused.failure.substr(refused.failure.find('\n') + 1);
    const std::string expected = BreachLines(posted, values, c.at(6));
    EXPECT_EQ(told.substr(0, expected.size()), expected);
    EXPECT_GT(expected.size(), std::size_t{0});
    const std::string rest = told.substr(std::min(told.size(), expected.size()));
    EXPECT_TRUE(std::regex_match(rest, std::regex(c.at(5)))) << rest;
    if (rest.empty()) continue;
    // From there no linear limit refuses the run any longer.
    const auto numbers = [](const std::string& text) {
      Point p;
      char comma = 0;
      std::istringstream words(text);
      words.imbue(std::locale::classic());
      EXPECT_TRUE(words >> p.x >> comma >> p.y >> comma >> p.z) << text;
      return p;
    };
    const Point moved = numbers(c.at(3)) + numbers(rest.substr(rest.find_last_of(' ') + 1));
    const Outcome again =
        post(fmt::format("--origin {},{},{} --set limitsCheck=1", moved.x, moved.y, moved.z));
    EXPECT_EQ(again.exitCode, 0) << again.failure;
  }
}

// What the summary tells, and what it can't know or must not hide.
TEST(Summary, TellsPolesRewindingsTurnsAndNotes) {
  for (const auto& c : Cases("summaries.txt")) {
    SCOPED_TRACE(c.at(0) + " " + c.at(1) + " " + c.at(2));
    const ScratchFolder scratch;
    const std::string file = SampleFile(scratch, c.at(1));
    const Outcome run = RunLine(fmt::format("post -m preset:{} -t {} -o {} {}", c.at(0), file,
                                            scratch.Path("out"), c.at(2)));
    ASSERT_EQ(run.exitCode, 0) << run.failure;
    for (std::size_t i = 4; i < c.size(); ++i)
      EXPECT_NE(run.summary.find(c[i]), std::string::npos) << c[i] << run.summary;
    const double limit = NumberFrom(c.at(3));
    if (limit == 0) continue;
    EXPECT_EQ(run.summary.find("  outside"), std::string::npos) << run.summary;
    const auto posted = PostedLines(scratch.Path("out/posted.csv"));
    ExpectTruth(posted, SourceMoves(file), PresetValues(c.at(0)), {}, 0);
    for (const Line& line : posted) ASSERT_LE(std::abs(line.degs[0]), limit + 1e-4);
  }
}

}  // namespace
