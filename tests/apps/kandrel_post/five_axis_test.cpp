// Toolpaths with a turning tool axis, posted on every kind of 5-axis machine.
#include <kandrel-post/presets.h>
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
