// 4- and 6-axis machines, through the command line's own entry.
#include <kandrel-post/presets.h>

#include <tuple>

#include "posting_checks.h"

namespace {

using tests::ExpectGoodPosting;
using tests::Outcome;
using tests::RunPost;
using tests::SampleFile;
using tests::Told;

constexpr const char* kFourAxisMachines[] = {"mill4_head_a", "mill4_table_a"};

using MachineAndPath = std::tuple<const char*, const char*>;
class FourAxisCorpus : public testing::TestWithParam<MachineAndPath> {};

TEST_P(FourAxisCorpus, StandsWhereItSays) {
  const auto [machine, name] = GetParam();
  if (tests::DataFolder().empty()) GTEST_SKIP() << "no sample data here";
  const tests::ScratchFolder scratch;
  ExpectGoodPosting(scratch, machine, tests::DataFolder() / name);
}

INSTANTIATE_TEST_SUITE_P(All, FourAxisCorpus,
                         testing::Combine(testing::ValuesIn(kFourAxisMachines),
                                          testing::Values("am4_ring.cl", "wrap4_jsdc.cl")));

class RotarySamples : public testing::TestWithParam<MachineAndPath> {};

TEST_P(RotarySamples, StandWhereTheySay) {
  const auto [machine, name] = GetParam();
  const tests::ScratchFolder scratch;
  const auto file = SampleFile(scratch, name);
  ExpectGoodPosting(scratch, machine, file);
  ExpectGoodPosting(scratch, machine, file, {"--control", "360,180"});
}

INSTANTIATE_TEST_SUITE_P(FourAxes, RotarySamples,
                         testing::Combine(testing::ValuesIn(kFourAxisMachines),
                                          testing::Values("square", "worm")));
INSTANTIATE_TEST_SUITE_P(SixAxes, RotarySamples,
                         testing::Combine(testing::Values("mill6_cb_w"),
                                          testing::Values("hemisphere_pole", "screw",
                                                          "tilted_pocket", "worm")));

// The worm's 40 turns there and back, on a table that stops after five each way.
TEST(FourAxisSummary, TellsTurnsAndRewindings) {
  const struct {
    const char* machine;
    std::vector<const char*> options;
    long rewindings;
    const char* turns;
    long shortLifts = -1;  // not told
  } cases[] = {
      {"mill4_table_a", {}, 0, "A 80.00"},
      {"mill4_table_a", {"--control", "180"}, 0, "A 80.00"},
      {"mill4_table_a_limited", {"--set", "limitsCheck=3"}, 6, "A 140.00"},
      {"mill4_table_a_limited",
       {"--set", "limitsCheck=3", "--set", "retractToLimits=true", "--set", "retractDistance=5000"},
       6,
       "A 140.00",
       6},
  };
  for (const auto& c : cases) {
    const tests::ScratchFolder scratch;
    const auto file = SampleFile(scratch, "worm");
    const std::string machine = std::string("preset:").append(c.machine);
    const Outcome run = RunPost(machine, file, scratch.Path("out"), c.options);
    ASSERT_EQ(run.exitCode, 0) << run.failure;
    EXPECT_EQ(Told(run.summary, "rewindings"), c.rewindings);
    EXPECT_EQ(Told(run.summary, "short lifts"), c.shortLifts);
    EXPECT_NE(run.summary.find(std::string("\nturns           ").append(c.turns)),
              std::string::npos)
        << run.summary;
    EXPECT_EQ(Told(run.summary, "poles crossed"), -1);
    const auto posted = tests::PostedLines(scratch.Path("out/posted.csv"));
    tests::ExpectTruth(
        posted, tests::SourceMoves(file),
        kandrel_post::ValuesOf(*kandrel_post::MakePreset(c.machine).builder.GetMachDef()), {}, 0);
    if (c.rewindings == 0) continue;
    for (const tests::PostedLine& line : posted) ASSERT_LE(std::abs(line.angles[0]), 1800.0001);
  }
}

// What the summary can't know or must not hide.
TEST(RotarySummary, TellsOfWrappedAnglesAndOfATurnedToolpath) {
  const struct {
    const char *machine, *sample;
    std::vector<const char*> options;
    const char* told;
  } cases[] = {
      {"mill4_table_a", "worm", {"--control", "360"}, "wrapped: not compared"},
      {"mill3_metric",
       "tilted_pocket",
       {"--set", "alignToolpath=true"},
       "alignToolpath has turned"},
      {"mill3_metric",
       "tilted_pocket",
       {"--set", "alignToolpath=true", "--small"},
       "alignToolpath has turned"},
  };
  for (const auto& c : cases) {
    const tests::ScratchFolder scratch;
    const auto file = SampleFile(scratch, c.sample);
    const Outcome run =
        RunPost(std::string("preset:").append(c.machine), file, scratch.Path("out"), c.options);
    EXPECT_EQ(run.exitCode, 0) << run.failure;
    EXPECT_NE(run.summary.find(c.told), std::string::npos) << run.summary;
  }
}

// Small moves are those of the class' own creator, and the same but for what they lack.
TEST(SmallMoves, AreThoseOfTheFacadeWithoutTheirBlocks) {
  const std::pair<const char*, const char*> cases[] = {{"mill3_metric", "square"},
                                                       {"mill4_table_a", "worm"},
                                                       {"fork_ca", "hemisphere_pole"},
                                                       {"mill6_cb_w", "screw"}};
  for (const auto& [preset, sample] : cases) {
    SCOPED_TRACE(preset);
    const tests::ScratchFolder scratch;
    const auto file = SampleFile(scratch, sample);
    const std::string machine = std::string("preset:").append(preset);
    const Outcome full = RunPost(machine, file, scratch.Path("full"));
    const Outcome small = RunPost(machine, file, scratch.Path("small"), {"--small"});
    ASSERT_EQ(full.exitCode, 0) << full.failure;
    ASSERT_EQ(small.exitCode, 0) << small.failure;
    EXPECT_EQ(tests::FileText(scratch.Path("full/posted.nc")),
              tests::FileText(scratch.Path("small/posted.nc")));
    EXPECT_EQ(Told(full.summary, "inserted"), Told(small.summary, "inserted"));
    for (const tests::PostedLine& line : tests::PostedLines(scratch.Path("small/posted.csv")))
      ASSERT_EQ(line.source + line.inserted, "");
  }
}

TEST(FourAxisRefusals, NameTheirReasonAndLeaveNoFile) {
  const struct {
    const char* sample;
    std::vector<const char*> options;
    const char* failure;
  } cases[] = {
      {"screw", {}, "error 5030: "},
      {"worm", {"--set", "limitsCheck=7"}, "error 5046: "},
  };
  for (const auto& c : cases) {
    const tests::ScratchFolder scratch;
    const Outcome run = RunPost("preset:mill4_table_a", SampleFile(scratch, c.sample),
                                scratch.Path("out"), c.options);
    EXPECT_NE(run.exitCode, 0) << c.failure;
    EXPECT_TRUE(run.failure.starts_with(c.failure)) << run.failure;
    EXPECT_FALSE(std::filesystem::exists(scratch.Path("out")));
  }
}

}  // namespace
