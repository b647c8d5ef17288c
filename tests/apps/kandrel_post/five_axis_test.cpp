// Toolpaths with a turning tool axis, posted on every kind of 5-axis machine.
#include <kandrel-post/rotary_motion.h>

#include <cmath>
#include <tuple>

#include "posting_checks.h"

namespace {

namespace fs = std::filesystem;
using tests::ExpectGoodPosting;
using tests::Outcome;
using tests::RunPost;
using tests::SampleFile;
using tests::Told;

constexpr double kRadians = 0.017453292519943295;

<<<<<<< HEAD
=======
Vector Of(const post::zvMachDef::Point& p) {
  return {p.x, p.y, p.z};
}

// The machine that a definition's values describe, its slides along the coordinates.
rigid::RotaryMachine ModelOf(const kandrel_post::MachineValues& values, const Vector& origin,
                             double length) {
  using Layout = rigid::RotaryMachine::Layout;
  rigid::RotaryMachine model;
  model.layout = values.fiveAxisKind == 1   ? Layout::kHeads
                 : values.fiveAxisKind == 2 ? Layout::kTableAndHead
                                            : Layout::kTables;
  model.slidesTellTip = values.fiveAxisKind == 0;
  model.linear.spindle = Of(values.spindle);
  model.linear.partOrigin = origin;
  model.linear.toolLength = length;
  model.first = {Of(values.rotary[0].direction), Of(values.rotary[0].pivot)};
  model.second = {Of(values.rotary[1].direction), Of(values.rotary[1].pivot)};
  return model;
}

// Every line stands where it says it does; the source's moves are all there, in order.
void ExpectTruth(const std::vector<tests::PostedLine>& posted,
                 const std::vector<tests::SourceMove>& source, const rigid::RotaryMachine& model) {
  // On a pole an axis is snapped by as much as the pole's tolerance, 0.01 degrees.
  constexpr double kTip = 1e-8, kAxis = 0.0101 * kRadians;
  std::size_t next = 0;
  for (std::size_t i = 0; i < posted.size(); ++i) {
    const rigid::Pose pose = model.At(posted[i].machine, posted[i].angles[0], posted[i].angles[1]);
    ASSERT_LE(rigid::Distance(pose.tip, posted[i].part), kTip) << i;
    ASSERT_LE(rigid::Distance(pose.axis, rigid::Unit(posted[i].axis)), kAxis) << i;
    if (posted[i].inserted == "1") continue;
    ASSERT_LT(next, source.size()) << i;
    ASSERT_EQ(posted[i].source, std::to_string(next)) << i;
    ASSERT_EQ(posted[i].part, source[next].tip) << i;
    ++next;
  }
  EXPECT_EQ(next, source.size());
}

// The rules of the text, read as a control would.
void ExpectNcRules(const std::string& text, std::size_t moves) {
  std::istringstream lines(text);
  std::string line;
  std::size_t blocks = 0;
  bool inverse = false, feedMotion = false, feedKnown = false;
  for (int number = 5; std::getline(lines, line);) {
    if (line.starts_with('(')) continue;
    std::istringstream words(line);
    std::string word;
    words >> word;
    ASSERT_EQ(word, std::string("N").append(std::to_string(number += 5)));
    bool turns = false, feed = false, moved = false;
    while (words >> word) {
      if (word == "G93" || word == "G94") {
        inverse = word == "G93";
        feedKnown = false;
      } else if (word == "G0" || word == "G1") {
        feedMotion = word == "G1";
      } else if (word[0] == 'F') {
        feed = feedKnown = true;
        char* end = nullptr;
        const double value = std::strtod(word.c_str() + 1, &end);
        ASSERT_TRUE(*end == 0 && value > 0 && std::isfinite(value)) << line;
      } else if (word[0] != 'G' && word[0] != 'M') {
        char* end = nullptr;
        ASSERT_TRUE(std::isfinite(std::strtod(word.c_str() + 1, &end)) && *end == 0) << line;
        ASSERT_FALSE(word.ends_with("-0.0000")) << line;
        moved = true;
        turns = turns || word[0] == 'A' || word[0] == 'B' || word[0] == 'C';
      }
    }
    ++blocks;
    if (!feedMotion || !moved) continue;
    ASSERT_EQ(turns, inverse) << line;
    ASSERT_TRUE(inverse ? feed : feedKnown) << line;
  }
  EXPECT_EQ(blocks, moves + 3);
}

// The number behind a word of the summary.
long Told(const std::string& summary, const std::string& what) {
  const std::size_t at = summary.find(std::string("\n").append(what));
  return at == std::string::npos ? -1
                                 : std::strtol(summary.c_str() + at + 1 + what.size(), nullptr, 10);
}

void ExpectSummary(const std::string& summary, const std::vector<tests::PostedLine>& posted,
                   std::size_t sourceMoves) {
  const auto count = [&](auto&& is) {
    return static_cast<long>(std::count_if(posted.begin(), posted.end(), is));
  };
  EXPECT_EQ(Told(summary, "source moves"), static_cast<long>(sourceMoves));
  EXPECT_EQ(Told(summary, "posted moves"), static_cast<long>(posted.size()));
  EXPECT_EQ(Told(summary, "inserted"), count([](const auto& l) { return l.inserted == "1"; }));
  EXPECT_EQ(Told(summary, "rapid"), count([](const auto& l) { return l.rapid; }));
}

struct Outcome {
  int exitCode;
  std::string summary;
  std::string failure;
};

Outcome RunPost(const std::string& machine, const fs::path& file, const std::string& folder,
                std::vector<const char*> more = {}) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  Outcome run{tests::Post(machine, file, folder, std::move(more)), "", ""};
  run.summary = testing::internal::GetCapturedStdout();
  run.failure = testing::internal::GetCapturedStderr();
  return run;
}

void ExpectGoodPosting(const tests::ScratchFolder& scratch, const std::string& preset,
                       const fs::path& file, std::vector<const char*> options = {}) {
  const std::vector<tests::SourceMove> source = tests::SourceMoves(file);
  ASSERT_FALSE(source.empty());
  options.insert(options.end(), {"--origin", "12.5,-20,35", "--tool-length", "80"});
  const Outcome run =
      RunPost(std::string("preset:").append(preset), file, scratch.Path("out"), options);
  ASSERT_EQ(run.exitCode, 0) << run.failure;
  const auto values =
      kandrel_post::ValuesOf(*kandrel_post::MakePreset(preset).builder.GetMachDef());
  const std::vector<tests::PostedLine> posted = tests::PostedLines(scratch.Path("out/posted.csv"));
  ExpectTruth(posted, source, ModelOf(values, {12.5, -20, 35}, 80));
  ExpectNcRules(tests::FileText(scratch.Path("out/posted.nc")), posted.size());
  ExpectSummary(run.summary, posted, source.size());
}

>>>>>>> rewind
constexpr const char* kMachines[] = {"fork_ca",           "head_table_bc",  "nutating_head_cb",
                                     "nutating_table_cb", "table_table_cb", "trunnion_ca"};

using MachineAndFile = std::tuple<const char*, const char*>;

class FiveAxisCorpus : public testing::TestWithParam<MachineAndFile> {};

TEST_P(FiveAxisCorpus, StandsWhereItSays) {
  const auto [machine, name] = GetParam();
  if (tests::DataFolder().empty()) GTEST_SKIP() << "no sample data here";
  const fs::path file = tests::DataFolder() / name;
  ASSERT_TRUE(fs::exists(file));
  const tests::ScratchFolder scratch;
  // A head or table on a 45-degree axis tilts by 90 degrees at most.
  if (std::string(machine).starts_with("nutating") && std::string(name) == "deburr5_puzzle.cl") {
    const Outcome run = RunPost(std::string("preset:") + machine, file, scratch.Path("out"));
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.failure.starts_with("error 5000: ")) << run.failure;
    return;
  }
  ExpectGoodPosting(scratch, machine, file);
}

INSTANTIATE_TEST_SUITE_P(
    All, FiveAxisCorpus,
    testing::Combine(testing::ValuesIn(kMachines),
                     testing::Values("am5_freeform.cl", "am5_topopt.cl", "bench5_fan.cl",
                                     "bench5_flank.cl", "deburr5_puzzle.cl", "mill5_axiscross.cl")),
    [](const testing::TestParamInfo<MachineAndFile>& test) {
      const std::string name = std::get<1>(test.param);
      return std::string(std::get<0>(test.param)) + "_" + name.substr(0, name.find('.'));
    });

using SampleCase = std::tuple<const char*, const char*>;
class FiveAxisSamples : public testing::TestWithParam<SampleCase> {};

TEST_P(FiveAxisSamples, StandWhereTheySay) {
  const auto [machine, name] = GetParam();
  const tests::ScratchFolder scratch;
  const fs::path file = SampleFile(scratch, name);
  ExpectGoodPosting(scratch, machine, file);
  // Wrapped angles are the same places.
  ExpectGoodPosting(scratch, machine, file, {"--control", "360,180"});
}

INSTANTIATE_TEST_SUITE_P(All, FiveAxisSamples,
                         testing::Combine(testing::ValuesIn(kMachines),
                                          testing::Values("blade_swarf", "hemisphere_pole", "screw",
                                                          "tilted_pocket")));

struct SummaryCase {
  const char* sample;
  const char* machine;
  std::vector<const char*> options;
  long poles, rewindings;
  const char* turns;
};

TEST(FiveAxisSummary, TellsPolesRewindingsAndTurns) {
  const SummaryCase cases[] = {
      {"hemisphere_pole", "trunnion_ca", {}, 12, 0, "C 0.46, A 5.00"},
      {"screw", "trunnion_ca", {}, 0, 0, "C 20.00, "},
      {"screw", "trunnion_ca", {"--control", "360,180"}, 0, 0, "C 20.00, "},
      // Ten rewindings of two turns each.
      {"screw", "trunnion_ca_limited", {"--set", "limitsCheck=3"}, 0, 10, "C 40.00, "},
      {"tilted_pocket", "trunnion_ca", {}, 0, 0, "C 0.00, A 0.00"},
      {"square", "trunnion_ca", {}, 0, 0, "C 0.00, A 0.00"},
  };
  for (const SummaryCase& c : cases) {
    SCOPED_TRACE(std::string(c.sample) + " on " + c.machine);
    const tests::ScratchFolder scratch;
    const Outcome run = RunPost(std::string("preset:") + c.machine, SampleFile(scratch, c.sample),
                                scratch.Path("out"), c.options);
    ASSERT_EQ(run.exitCode, 0) << run.failure;
    EXPECT_EQ(Told(run.summary, "poles crossed"), c.poles);
    EXPECT_EQ(Told(run.summary, "rewindings"), c.rewindings);
    EXPECT_NE(run.summary.find(std::string("\nturns           ").append(c.turns)),
              std::string::npos)
        << run.summary;
  }
}

// Within limits, the limited axis stays within them and the tool still stands where it says.
TEST(FiveAxisSummary, ARewoundScrewKeepsItsLimitsAndItsPlaces) {
  const tests::ScratchFolder scratch;
  const fs::path file = SampleFile(scratch, "screw");
  const std::vector<tests::SourceMove> source = tests::SourceMoves(file);
  const Outcome run =
      RunPost("preset:trunnion_ca_limited", file, scratch.Path("out"), {"--set", "limitsCheck=3"});
  ASSERT_EQ(run.exitCode, 0) << run.failure;
  const auto values =
      kandrel_post::ValuesOf(*kandrel_post::MakePreset("trunnion_ca_limited").builder.GetMachDef());
  const auto posted = tests::PostedLines(scratch.Path("out/posted.csv"));
  tests::ExpectTruth(posted, source, values, {}, 0);
  for (const tests::PostedLine& line : posted) ASSERT_LE(std::abs(line.angles[0]), 360.0001);
}

post::zvPosted5axMove MoveAt(const cadcam::zvTPoint3d<double>& machine, double firstDeg,
                             bool rapid = false) {
  return {machine, {100, 0, 0}, {0, 0, 1}, firstDeg, 0, 0, 100, rapid, post::zvPostedMove::noLink};
}

// A tip 100 mm off the table's axis that shall stand still in the part while the table turns by 30
// degrees: the slides cut the arc short by 100 (1 - cos 15).
TEST(RotaryMotion, MeasuresHowFarTheTipLeavesItsLine) {
  const double c = 100 * std::cos(30 * kRadians), s = 100 * std::sin(30 * kRadians);
  const double expected = 100 * (1 - std::cos(15 * kRadians));
  const post::zv5axMachDef machDef(3, measures::zvUnitsFactory::metric, {0, 0, 1}, {0, 0, 2},
                                   {1, 0, 0}, {}, {}, -1e5, -1e5, 1e5, 1e5, {-1e5, -1e5, -1e5},
                                   {1e5, 1e5, 1e5}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1});
  post::zv5axControlDef wrapped;
  wrapped.SetFirstAxisLimit(post::zv5axControlDef::angleLimit360);
  const cadcam::zvTPoint3d<double> origin;
  const struct {
    post::zv5axControlDef control;
    double from, to;
    bool rapid;
    double expected;
  } cases[] = {
      {{}, 0, 30, false, expected},        {{}, 0, 30, true, 0},
      {{}, 360, 390, false, expected},     {wrapped, 0, 30, false, expected},
      {wrapped, 360, 30, false, expected},
  };
  for (const auto& k : cases) {
    kandrel_post::RotaryMotion motion(machDef, k.control, origin, 0, 0.01);
    for (const auto& move :
         {MoveAt({100, 0, 0}, k.from), MoveAt({c, s, 0}, k.to, k.rapid), MoveAt({c, s, 0}, k.to)})
      motion.Add(kandrel_post::RowOf(move));
    EXPECT_NEAR(motion.GetLargest(), k.expected, 1e-6);
    EXPECT_EQ(motion.GetIndex(), k.expected == 0 ? 0u : 1u);
  }
}

// Enters and leaves a pole: through a line on it, between two lines, and not where the tool lifts.
TEST(RotaryMotion, CountsPolesThatFeedMovesCross) {
  const post::zv5axMachDef machDef(3, measures::zvUnitsFactory::metric, {0, 0, 1}, {0, 0, 1},
                                   {1, 0, 0}, {}, {}, -1e5, -1e5, 1e5, 1e5, {-1e5, -1e5, -1e5},
                                   {1e5, 1e5, 1e5}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1});
  const struct {
    std::vector<double> tilts;  // of each line, in degrees
    std::size_t rapidAt;
    std::uint64_t poles;
  } cases[] = {
      {{-1, 0, 1}, 9, 1}, {{-1, 0, 0, 1}, 9, 1}, {{-1, 1}, 9, 1},   {{1, 0, 1}, 9, 1},
      {{0, 1}, 9, 0},     {{-1, 0}, 9, 0},       {{2, 1}, 9, 0},    {{-1, 0, 1}, 1, 0},
      {{-1, 0, 1}, 2, 0}, {{-1, 1}, 1, 0},       {{0, 0, 0}, 9, 0}, {{-1, 1, -1, 0, -1}, 9, 3},
  };
  const cadcam::zvTPoint3d<double> origin;
  for (const auto& k : cases) {
    kandrel_post::RotaryMotion motion(machDef, {}, origin, 0, 0.01);
    for (std::size_t i = 0; i < k.tilts.size(); ++i) {
      const double tilt = k.tilts[i] * kRadians;
      const post::zvPosted5axMove move({}, {}, {0, -2 * std::sin(tilt), 2 * std::cos(tilt)}, 0,
                                       k.tilts[i], 0, 100, i == k.rapidAt,
                                       post::zvPostedMove::noLink);
      motion.Add(kandrel_post::RowOf(move));
    }
    EXPECT_EQ(motion.GetPolesCrossed(), k.poles) << (&k - cases);
  }
}

}  // namespace
