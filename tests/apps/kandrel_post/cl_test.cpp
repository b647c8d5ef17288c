#include <kandrel-post/cl/writer.h>
#include <kandrel-post/samples/samples.h>
#include <kandrel/cadcam/cnc_move.h>

#include "support.h"

namespace {

using namespace tests;
using cadcam::zvToolPath;

TEST(ClReader, ReadsEveryFormOfTheStatementsItKnows) {
  for (const auto& c : Cases("cl_good.txt")) {
    const std::string shown = Shown(ReadClText(c.at(0)).toolPath);
    EXPECT_EQ(shown, c.at(1)) << c.at(0);
    // Wherever a block of the file ends.
    for (std::size_t bytes = 1; bytes < c.at(0).size(); ++bytes)
      EXPECT_EQ(Shown(ReadClText(c.at(0), bytes).toolPath), shown) << c.at(0) << bytes;
  }
}

TEST(ClReader, TellsWhatItFound) {
  const kandrel_post::ClProgram program = ReadClText(
      "PARTNO/ Rib 7\nUNITS/INCHES\nTOOL  PATH/A\nPAINT/1\nPPRINT SOME TEXT\npaint/2\n"
      "GOTO/0,0,0\nFEDRAT/0\nGOTO/0,0,1\nRAPID\nGOTO/0,0,2\nEND-OF-PATH",
      100, 3);
  EXPECT_EQ(program.partName, "Rib 7");
  EXPECT_EQ(program.toolPath.GetUnits(), measures::zvUnitsFactory::inch);
  EXPECT_EQ(program.moveCount, 3u);
  EXPECT_EQ(program.rapidCount, 1u);
  EXPECT_EQ(program.feedlessCount, 2u);
  EXPECT_EQ(Shown(program.toolPath), "PS[C 0,0,0 0,0,1][L3 R0,0,2]");
  const std::map<std::string, std::uint64_t> words{
      {"TOOL  PATH", 1}, {"PAINT", 2}, {"PPRINT", 1}, {"END-OF-PATH", 1}};
  EXPECT_EQ(program.skippedWords, words);
}

TEST(ClReader, RefusesWhatItDoesNotUnderstandAndNamesTheLine) {
  for (const auto& c : Cases("cl_bad.txt"))
    EXPECT_EQ(FailureText([&] { ReadClText(c.at(0)); }), "test.cl:" + c.at(1)) << c.at(0);
}

TEST(ClReader, KeepsItsMemoryOnALineAStatementAndWordsWithoutEnd) {
  EXPECT_EQ(FailureText([&] { ReadClText("\n" + std::string(70000, 'A')); }),
            "test.cl:2: a line of at most 65536 characters expected");
  std::string continued;
  for (int i = 0; i < 70; ++i) continued += std::string(1000, 'A') + "$\n";
  EXPECT_EQ(FailureText([&] { ReadClText(continued); }),
            "test.cl:1: a statement of at most 65536 characters expected");
  std::string words;
  for (int i = 0; i < 5000; ++i) words += fmt::format("W{}X/1\n", i);
  EXPECT_LE(ReadClText(words).skippedWords.size(), 501u);
}

std::string Written(const zvToolPath& toolPath, std::string_view name = "test") {
  return tests::Written(
      [&](kandrel_post::TextSink& sink) { kandrel_post::WriteCl(sink, toolPath, name); });
}

TEST(ClWriter, WritesTextThatReadsBackToTheSameTree) {
  // Empty containers, rapid moves in contours, feeds that come and go, axes that are no unit
  // vectors, and numbers at the ends of what a double holds.
  zvToolPath odd = ReadClText(
                       "UNITS/INCHES\n$$ PASS\n$$ PASS\n$$ SLICE\n$$ SLICE\n$$ LINK 4294967295\n"
                       "$$ CONTOUR\nRAPID\nGOTO/0.1,-0,3,0,0.3,2\nFEDRAT/12.5\nGOTO/1,2,3\n"
                       "$$ LINK 1\nFEDRAT/0\nGOTO/1,2,3,0,0,1\n$$ PASS\nFEDRAT/1\nGOTO/0,0,0")
                       .toolPath;
  odd.AddMove(misc::MakeAutoPointer<cadcam::zv3axMove>(
      cadcam::zvTPoint3d<double>(std::numeric_limits<double>::max(),
                                 std::numeric_limits<double>::denorm_min(), 1.0 / 3),
      cadcam::zvTPoint3d<double>(0, 0, 1), 0.1 + 0.2, false));
  const std::string text = Written(odd);
  const zvToolPath again = ReadClText(text).toolPath;
  EXPECT_EQ(again.GetUnits(), odd.GetUnits());
  EXPECT_EQ(Shown(again), Shown(odd));
  EXPECT_EQ(Written(again), text);
}

TEST(ClWriter, WritesNamesOfAnyCharactersSoThatTheyReadBack) {
  const zvToolPath inch = tests::ReadClText("UNITS/INCHES\nGOTO/1,2,3").toolPath;
  for (int byte = 0; byte < 256; ++byte) {
    SCOPED_TRACE(byte);
    const std::string c(1, static_cast<char>(byte));
    for (const std::string& name : {c, "a" + c, "a" + c + c + "b"}) {
      const kandrel_post::ClProgram read = tests::ReadClText(Written(inch, name));
      EXPECT_EQ(read.toolPath.GetUnits(), measures::zvUnitsFactory::inch);
      EXPECT_EQ(Shown(read.toolPath), "PS[C 1,2,3]");
      if (name.size() < 4) continue;
      const std::string shown = byte < 0x20 || byte == 0x7f || byte == '$' ? "?" : c;
      EXPECT_EQ(read.partName, "a" + shown + shown + "b");
    }
  }
}

// A rapid move at cutting depth would break a tool: with the tool upright, rapid moves across stand
// at the safe height.
TEST(Samples, ReadBackAndMoveRapidlyAcrossOnlyAboveThePart) {
  for (const kandrel_post::Sample& sample : kandrel_post::Samples()) {
    SCOPED_TRACE(sample.name);
    const zvToolPath made = sample.make();
    const kandrel_post::ClProgram read = ReadClText(Written(made));
    EXPECT_EQ(read.toolPath.GetUnits(), made.GetUnits());
    EXPECT_EQ(Shown(read.toolPath), Shown(made));
    EXPECT_EQ(read.feedlessCount, 0u);
    EXPECT_GT(read.rapidCount, 0u);
    EXPECT_TRUE(read.skippedWords.empty());
    EXPECT_GE(read.moveCount, sample.name == "pocket_plate" ? 20000u : 1u);
    cadcam::zvTPoint3d<double> from;
    for (auto it = made.begin(); it != made.end(); ++it) {
      const auto& to = (*it)->GetPosition();
      const bool upright = (*it)->GetOrientation() == cadcam::zvTPoint3d<double>(0, 0, 1);
      const bool across = it != made.begin() && (from.x != to.x || from.y != to.y);
      EXPECT_TRUE(!across || !upright || !(*it)->IsRapid() || (from.z > 0 && to.z > 0));
      from = to;
    }
  }
}

}  // namespace
