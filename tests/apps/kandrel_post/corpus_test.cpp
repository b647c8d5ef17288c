// Real three-axis toolpaths, posted through the command line's own entry: every source move is
// found again, in order, in posted.csv. The toolpaths are read here by means of their own.
#include <vector>

#include "posted_files.h"

namespace {

namespace fs = std::filesystem;
using tests::DataFolder;
using tests::Post;
using tests::PostedLine;
using tests::PostedLines;

using Position = tests::Numbers3;

std::vector<Position> SourceMoves(const fs::path& fileName) {
  std::vector<Position> moves;
  for (const tests::SourceMove& move : tests::SourceMoves(fileName)) moves.push_back(move.tip);
  return moves;
}

class Corpus : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (DataFolder().empty()) GTEST_SKIP() << "no sample data here";
  }

  static std::string MachineFor(const std::string& file) {
    return file.find("inch") != std::string::npos ? "preset:mill3_inch" : "preset:mill3_metric";
  }
};

TEST_P(Corpus, KeepsEverySourceMoveInOrder) {
  const tests::ScratchFolder scratch;
  const fs::path file = DataFolder() / GetParam();
  ASSERT_TRUE(fs::exists(file));
  const std::vector<Position> source = SourceMoves(file);
  ASSERT_FALSE(source.empty());

  ASSERT_EQ(Post(MachineFor(GetParam()), file, scratch.Path("out")), 0);
  const std::vector<PostedLine> posted = PostedLines(scratch.Path("out/posted.csv"));
  ASSERT_EQ(posted.size(), source.size());
  for (std::size_t i = 0; i < source.size(); ++i) {
    ASSERT_EQ(posted[i].part, source[i]) << i;
    ASSERT_EQ(posted[i].machine, source[i]) << i;
    ASSERT_EQ(posted[i].source, std::to_string(i));
  }

  // One block a move, between a head of three lines and an end of one.
  const std::string nc = tests::FileText(scratch.Path("out/posted.nc"));
  EXPECT_EQ(static_cast<std::size_t>(std::count(nc.begin(), nc.end(), '\n')), source.size() + 4);
  for (const char* const never : {"-0.0000 ", "-0.00000 ", "F0\n", "inf", "nan"})
    EXPECT_EQ(nc.find(never), std::string::npos) << never;
}

// With interpolation the source moves stand among others, still in order and at their places.
TEST_P(Corpus, KeepsEverySourceMoveAmongInsertedOnes) {
  const tests::ScratchFolder scratch;
  const fs::path file = DataFolder() / GetParam();
  const std::vector<Position> source = SourceMoves(file);
  ASSERT_EQ(Post(MachineFor(GetParam()), file, scratch.Path("out"),
                 {"--origin", "-10,20.5,-30", "--tool-length", "-80", "--set",
                  "interpolateByDistance=true", "--small"}),
            0);
  const std::vector<PostedLine> posted = PostedLines(scratch.Path("out/posted.csv"));
  EXPECT_GT(posted.size(), source.size());
  std::size_t next = 0;
  for (const PostedLine& line : posted) {
    ASSERT_EQ(line.source, "");
    ASSERT_NEAR(line.machine[0], line.part[0] - 10, 1e-9);
    ASSERT_NEAR(line.machine[1], line.part[1] + 20.5, 1e-9);
    ASSERT_NEAR(line.machine[2], line.part[2] - 110, 1e-9);
    if (next < source.size() && line.part == source[next]) ++next;
  }
  EXPECT_EQ(next, source.size());
}

INSTANTIATE_TEST_SUITE_P(ThreeAxes, Corpus,
                         testing::Values("mill3_bottle_opener.cl", "mill3_coremill.cl",
                                         "mill3_gca_inch.cl", "mill3_plane1.cl", "mill3_plane2.cl",
                                         "mill3_simple_block.cl", "engrave3_tball_pocket.cl"));

TEST(CorpusRefusals, NameTheirReasonAndLeaveNoFile) {
  if (DataFolder().empty()) GTEST_SKIP() << "no sample data here";
  const std::pair<const char*, const char*> cases[] = {
      {"mill3_gca_inch.cl", "error 5033: Toolpath is in inch and machine definition is in metric."},
      {"am5_freeform.cl",
       "error 5029: Current toolpath is not for 3 axes machine. Posting process exception."},
      {"mill3_plane1.cl.orig", "error 0: "},
  };
  for (const auto& [name, failure] : cases) {
    const tests::ScratchFolder scratch;
    testing::internal::CaptureStderr();
    EXPECT_EQ(Post("preset:mill3_metric", DataFolder() / name, scratch.Path("out")), 1) << name;
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(told.starts_with(failure)) << told;
    EXPECT_FALSE(fs::exists(scratch.Path("out"))) << name;
  }
}

}  // namespace
