#include <fmt/format.h>

#include "support.h"

namespace {

using namespace tests;

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

}  // namespace
