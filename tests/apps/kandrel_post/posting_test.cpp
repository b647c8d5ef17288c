// Toolpaths posted through the command line's own entry: each preset with each real file of its
// class and each sample. What is written is checked against the machine as rigid bodies; what the
// machine can't do is refused.
#include <kandrel-post/machine/presets.h>
#include <kandrel-post/samples/samples.h>

#include <algorithm>
#include <cmath>
#include <tuple>

#include "posting_checks.h"

namespace {

namespace fs = std::filesystem;
using tests::Line;
using tests::Lines;
using tests::Outcome;
using tests::RunPost;
using tests::SampleFile;
using tests::Told;

using Options = std::vector<const char*>;

constexpr const char* kFiles[] = {
    "mill3_bottle_opener.cl",   "mill3_coremill.cl", "mill3_gca_inch.cl",
    "mill3_plane1.cl",          "mill3_plane2.cl",   "mill3_simple_block.cl",
    "engrave3_tball_pocket.cl", "am4_ring.cl",       "wrap4_jsdc.cl",
    "am5_freeform.cl",          "am5_topopt.cl",     "bench5_fan.cl",
    "bench5_flank.cl",          "deburr5_puzzle.cl", "mill5_axiscross.cl"};

// Of the machines that a file is for, as its name says: mill3_... for three axes.
int AxesOf(const std::string& file) {
  return file[file.find('_') - 1] - '0';
}

using PresetAndPath = std::tuple<std::string, std::string>;

std::vector<PresetAndPath> FilesOfEachPreset() {
  std::vector<PresetAndPath> pairs;
  for (const kandrel_post::Preset& preset : kandrel_post::Presets()) {
    const int axes = AxisCount(kandrel_post::MakePreset(preset.name));
    for (const std::string file : kFiles)
      if (AxesOf(file) == std::min(axes, 5)) pairs.emplace_back(preset.name, file);
  }
  return pairs;
}

std::vector<PresetAndPath> SamplesOfEachPreset() {
  std::vector<PresetAndPath> pairs;
  for (const kandrel_post::Preset& preset : kandrel_post::Presets())
    for (const kandrel_post::Sample& sample : kandrel_post::Samples())
      pairs.emplace_back(preset.name, sample.name);
  return pairs;
}

std::string NameOf(const testing::TestParamInfo<PresetAndPath>& test) {
  const auto& [preset, path] = test.param;
  return preset + "_" + path.substr(0, path.find('.'));
}

class Posting : public testing::TestWithParam<PresetAndPath> {
 protected:
  Posting() : m_values(tests::PresetValues(std::get<0>(GetParam()))) {}

  // True when the machine can't run the path, and refuses it by the error that it shall.
  bool IsRefused(const fs::path& file) const {
    const std::string failure = tests::ExpectedFailure(m_values, file);
    if (failure.empty()) return false;
    const Outcome run = Run(file, {});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.failure.starts_with(failure)) << run.failure;
    EXPECT_FALSE(fs::exists(m_scratch.Path("out")));
    return true;
  }

  // Posts the file and checks all that is written.
  void ExpectGood(const fs::path& file, Options options) const {
    const bool small = !options.empty() && std::string(options.back()) == "--small";
    const tests::Point origin{-12.5, 20, -35};
    options.insert(options.end(), {"--origin", "-12.5,20,-35", "--tool-length", "-80"});
    const Outcome run = Run(file, options);
    ASSERT_EQ(run.exitCode, 0) << run.failure;
    const tests::Source source = tests::SourceMoves(file);
    ASSERT_FALSE(source.empty());
    const Lines posted = tests::PostedLines(m_scratch.Path("out/posted.csv"));
    for (const Line& line : posted) ASSERT_EQ(line.isSmall, small);
    // Deliberate in the kernel: a path that stands along the spindle is posted with the tool's
    // length, on machines of kind 0 too.
    kandrel_post::MachineValues values = m_values;
    const bool isUpright = std::all_of(source.begin(), source.end(), [](const auto& move) {
      return move.orientation == tests::Point{0, 0, 1};
    });
    if (values.axes == 5 && values.fiveAxisKind == 0 && isUpright) values.fiveAxisKind = 3;
    tests::ExpectTruth(posted, source, values, origin, -80);
    tests::ExpectNcRules(tests::FileText(m_scratch.Path("out/posted.nc")), posted.size());
    tests::ExpectSummary(run.summary, posted, source.size());
    EXPECT_EQ(Told(run.summary, "poles crossed") >= 0, m_values.axes >= 5);
  }

  Outcome Run(const fs::path& file, const Options& options) const {
    return RunPost("preset:" + std::get<0>(GetParam()), file, m_scratch.Path("out"), options);
  }

  const tests::ScratchFolder m_scratch;
  const kandrel_post::MachineValues m_values;
};

class CorpusPosting : public Posting {};

TEST_P(CorpusPosting, StandsWhereItSaysOrIsRefused) {
  if (tests::DataFolder().empty()) GTEST_SKIP() << "no sample data here";
  const fs::path file = tests::DataFolder() / std::get<1>(GetParam());
  ASSERT_TRUE(fs::exists(file));
  if (IsRefused(file)) return;
  ExpectGood(file, {});
  // Small moves of another way to post: the source's places are found among those put between.
  if (m_values.axes == 3) ExpectGood(file, {"--set", "interpolateByDistance=true", "--small"});
}

INSTANTIATE_TEST_SUITE_P(All, CorpusPosting, testing::ValuesIn(FilesOfEachPreset()), NameOf);

class SamplePosting : public Posting {};

TEST_P(SamplePosting, StandsWhereItSaysOrIsRefused) {
  const fs::path file = SampleFile(m_scratch, std::get<1>(GetParam()));
  if (IsRefused(file)) return;
  if (m_values.axes > 3) ExpectGood(file, {"--control", "360,180"});
  ExpectGood(file, {});
  // Small moves are those of the class' own creator, and the same but for what they lack.
  const std::string nc = tests::FileText(m_scratch.Path("out/posted.nc"));
  ExpectGood(file, {"--small"});
  EXPECT_EQ(tests::FileText(m_scratch.Path("out/posted.nc")), nc);
}

INSTANTIATE_TEST_SUITE_P(All, SamplePosting, testing::ValuesIn(SamplesOfEachPreset()), NameOf);

TEST(Refusals, NameTheirReasonAndLeaveNoFile) {
  if (tests::DataFolder().empty()) GTEST_SKIP() << "no sample data here";
  const tests::ScratchFolder scratch;
  const Outcome run = RunPost("preset:mill3_metric", tests::DataFolder() / "mill3_plane1.cl.orig",
                              scratch.Path("out"));
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_TRUE(run.failure.starts_with("error 0: ")) << run.failure;
  EXPECT_FALSE(fs::exists(scratch.Path("out")));
}

// What the summary tells, and what it can't know or must not hide.
TEST(Summary, TellsPolesRewindingsTurnsAndNotes) {
  const struct {
    std::string preset;
    const char* sample;
    Options options;
    std::vector<const char*> told;
    double limitDeg = 0;  // kept by the first rotary axis; 0 for none
  } cases[] = {
      {"trunnion_ca",
       "hemisphere_pole",
       {},
       {"poles crossed   12\n", "rewindings      0\n", "turns           C 0.46, A 5.00\n"}},
      {"trunnion_ca",
       "screw",
       {},
       {"poles crossed   0\n", "rewindings      0\n", "turns           C 20.00, "}},
      {"trunnion_ca", "screw", {"--control", "360,180"}, {"turns           C 20.00, "}},
      // Ten rewindings of two turns each.
      {"trunnion_ca_limited",
       "screw",
       {"--set", "limitsCheck=3"},
       {"rewindings      10\n", "turns           C 40.00, "},
       360},
      {"trunnion_ca", "tilted_pocket", {}, {"turns           C 0.00, A 0.00\n"}},
      {"trunnion_ca", "square", {}, {"turns           C 0.00, A 0.00\n"}},
      {"trunnion_ca_limited", "screw", {}, {"  outside\n"}},
      // 40 turns there and back, on a table that stops after five each way.
      {"mill4_table_a", "worm", {}, {"rewindings      0\n", "turns           A 80.00\n"}},
      {"mill4_table_a", "worm", {"--control", "180"}, {"turns           A 80.00\n"}, 180},
      {"mill4_table_a_limited",
       "worm",
       {"--set", "limitsCheck=3"},
       {"rewindings      6\n", "turns           A 140.00\n"},
       1800},
      {"mill4_table_a_limited",
       "worm",
       {"--set", "limitsCheck=3", "--set", "retractToLimits=true", "--set", "retractDistance=5000"},
       {"rewindings      6\nshort lifts     6: shorter than the retract distance\n"},
       1800},
      {"mill4_table_a", "worm", {"--control", "360"}, {"wrapped: not compared"}},
      {"mill3_metric",
       "tilted_pocket",
       {"--set", "alignToolpath=true"},
       {"alignToolpath has turned"}},
      {"mill3_metric",
       "tilted_pocket",
       {"--set", "alignToolpath=true", "--small"},
       {"alignToolpath has turned"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.preset + " " + c.sample);
    const tests::ScratchFolder scratch;
    const fs::path file = SampleFile(scratch, c.sample);
    const Outcome run = RunPost("preset:" + c.preset, file, scratch.Path("out"), c.options);
    ASSERT_EQ(run.exitCode, 0) << run.failure;
    for (const char* const told : c.told)
      EXPECT_NE(run.summary.find(told), std::string::npos) << told << run.summary;
    if (c.limitDeg == 0) continue;
    EXPECT_EQ(run.summary.find("  outside"), std::string::npos) << run.summary;
    const auto posted = tests::PostedLines(scratch.Path("out/posted.csv"));
    tests::ExpectTruth(posted, tests::SourceMoves(file), tests::PresetValues(c.preset), {}, 0);
    for (const Line& line : posted) ASSERT_LE(std::abs(line.degs[0]), c.limitDeg + 1e-4);
  }
}

}  // namespace
