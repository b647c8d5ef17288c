#include <fmt/format.h>

#include "support.h"

namespace {

using tests::FailureText;
using tests::ReadClText;
using tests::Shown;

struct GoodCase {
  const char* text;
  const char* shown;
};

TEST(ClReader, ReadsEveryFormOfTheStatementsItKnows) {
  const GoodCase cases[] = {
      {"", ""},
      {"GOTO/1,2,3", "PS[C 1,2,3]"},
      {"goto / +1.5 , .5 ,\t5. \r\n", "PS[C 1.5,0.5,5]"},
      {"GO TO/1E-3,-.5,-1.5e+2", "PS[C 0.001,-0.5,-150]"},
      {"\xef\xbb\xbfGOTO/1,2,3\x1a", "PS[C 1,2,3]"},
      {"GOTO/1,2,$\n3\nGOTO/4,$ $$ on\n$$ and on\n5,$\n6", "PS[C 1,2,3 4,5,6]"},
      {"GOTO/1,2,3 $$ PASS\n$$ACTUAL\nGOTO/4,5,6", "PS[C 1,2,3 4,5,6]"},
      // The feed holds, in the units of the text whichever statement came first.
      {"FEDRAT/100\nRAPID\nGOTO/1,0,0\nGOTO/2,0,0", "PS[L5 R1,0,0@100][C 2,0,0@100]"},
      {"FEDRAT/MMPM,250.0\nGOTO/1,0,0\nFEDRAT/PERMIN,141\nGOTO/2,0,0", "PS[C 1,0,0@250 2,0,0@141]"},
      {"FEDRAT/10,IPM\nGOTO/1,0,0", "PS[C 1,0,0@254]"},
      {"FEDRAT/254,MMPM\nUNITS/INCHES\nGOTO/1,0,0", "PS[C 1,0,0@10]"},
      {"FEDRAT/5\nUNITS/INCH\nGOTO/1,0,0", "PS[C 1,0,0@5]"},
      // RAPID is for one GOTO; FROM is rapid by itself.
      {"FROM/0,0,9\nRAPID\nFEDRAT/7\nGOTO/1,0,0\nGOTO/2,0,0\nRAPID\nGOTO/3,0,0",
       "PS[L5 R0,0,9 R1,0,0@7][C 2,0,0@7][L5 R3,0,0@7]"},
      // The tool axis holds until MULTAX/OFF.
      {"MULTAX/ON\nGOTO/1,0,0,1,0,0\nGOTO/2,0,0\nMULTAX/OFF\nGOTO/3,0,0\nGOTO/4,0,0,0,1,0\n"
       "GOTO/5,0,0\nMULTAX\nGOTO/6,0,0,1,0,0\nGOTO/7,0,0",
       "PS[C 1,0,0/1,0,0 2,0,0/1,0,0 3,0,0 4,0,0/0,1,0 5,0,0 6,0,0/1,0,0 7,0,0/1,0,0]"},
      // Containers that the text begins itself.
      {"$$ PASS\n$$ PASS\n$$ SLICE\n$$ LINK 2\nGOTO/1,0,0\nRAPID\nGOTO/2,0,0\n$$ contour\n"
       "RAPID\nGOTO/3,0,0\n$$ SLICE\nGOTO/4,0,0\n$$ LINK 7",
       "PPS[L2 1,0,0 R2,0,0][C R3,0,0]S[C 4,0,0][L7]"},
      {"$$ CONTOUR of the rib\n$$ LINK road\n$$ LINK 2 left\nGOTO/1,0,0", "PS[C 1,0,0]"},
      // A definition moves nothing.
      {"C1=CIRCLE/0,0,5\nGOTO/1,0,0\nFINI\n", "PS[C 1,0,0]"},
  };
  for (const GoodCase& c : cases) EXPECT_EQ(Shown(ReadClText(c.text).toolPath), c.shown) << c.text;
}

TEST(ClReader, GivesTheSameWhereverABlockOfTheFileEnds) {
  const std::string text =
      "PARTNO/A\nUNITS/MM\r\nFEDRAT/10\n$$ SLICE\nGOTO/1,2,$\n3\nRAPID\nGOTO/4,5,6";
  const std::string whole = Shown(ReadClText(text).toolPath);
  EXPECT_EQ(whole, "PS[C 1,2,3@10][L5 R4,5,6@10]");
  for (std::size_t bytes = 1; bytes < text.size(); ++bytes)
    EXPECT_EQ(Shown(ReadClText(text, bytes).toolPath), whole) << bytes;
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

struct BadCase {
  std::string text;
  const char* failure;
};

TEST(ClReader, RefusesWhatItDoesNotUnderstandAndNamesTheLine) {
  const BadCase cases[] = {
      {"GOTO/1,2", "1: 3 or 6 numbers expected after GOTO/, 2 found"},
      {"\nGOTO/1,2,3,4,5", "2: 3 or 6 numbers expected after GOTO/, 5 found"},
      {"GOTO/1,2,3,4,5,6,7", "1: 3 or 6 numbers expected after GOTO/, more found"},
      {"FROM/1", "1: 3 or 6 numbers expected after FROM/, 1 found"},
      {"GOTO", "1: GOTO/x,y,z or GOTO/x,y,z,i,j,k expected"},
      {"GOTO/1,2,3\nGOTO 4,5,6", "2: GOTO/x,y,z or GOTO/x,y,z,i,j,k expected"},
      {"TLAXIS/0,1,0", "1: a path of GOTO moves expected, TLAXIS is not understood"},
      {"GOTO/", "1: a number expected as number 1 after GOTO/"},
      {"GOTO/1,,3", "1: a number expected as number 2 after GOTO/"},
      {"GOTO/1,2,3,", "1: a number expected as number 4 after GOTO/"},
      {"GOTO/1,2,nan", "1: a number expected as number 3 after GOTO/"},
      {"GOTO/-inf,2,3", "1: a number expected as number 1 after GOTO/"},
      {"GOTO/1,2,+-3", "1: a number expected as number 3 after GOTO/"},
      {"GOTO/1e999,2,3", "1: a number that fits a double expected as number 1 after GOTO/"},
      {"GOTO/1,2,3 4", "1: a comma or the end of the line expected after number 3"},
      {"GOTO/1,2,0x3", "1: a comma or the end of the line expected after number 3"},
      {"GOTO/1,2,3,0,-0,0", "1: a tool axis other than 0,0,0 expected"},
      {"RAPID/100", "1: RAPID without anything after it expected"},
      {"FEDRAT/", "1: a feed that is not negative expected: FEDRAT/f or FEDRAT/f,MMPM"},
      {"FEDRAT/-1", "1: a feed that is not negative expected: FEDRAT/f or FEDRAT/f,MMPM"},
      {"FEDRAT/1,2,3", "1: a feed that is not negative expected: FEDRAT/f or FEDRAT/f,MMPM"},
      {"FEDRAT/0.2,MMPR", "1: a feed per minute expected, MMPR is one per revolution"},
      {"FEDRAT/IPR,0.2", "1: a feed per minute expected, IPR is one per revolution"},
      {"FEDRAT/1,SMPM", "1: a feed per minute expected: MMPM, IPM or PERMIN"},
      {"FEDRAT/1e308,IPM", "1: a feed that fits a double expected"},
      {"UNITS/CM", "1: UNITS/MM or UNITS/INCHES expected"},
      {"GOTO/1,2,3\nUNITS/MM\nUNITS/INCHES",
       "3: UNITS/MM expected: units cannot change after the first move"},
      {"MULTAX/MAYBE", "1: MULTAX/ON or MULTAX/OFF expected"},
      {"$$ LINK -1", "1: a link type from 0 to 4294967295 expected after $$ LINK"},
      {"$$ LINK 4294967296", "1: a link type from 0 to 4294967295 expected after $$ LINK"},
      {"CIRCLE/0,0,0,0,0,1,5", "1: a path of GOTO moves expected, CIRCLE is not understood"},
      {"CYCLE/OFF", "1: a path of GOTO moves expected, CYCLE is not understood"},
      {"GODLTA/1,2,3", "1: a path of GOTO moves expected, GODLTA is not understood"},
      {"TLLFT, GOLFT/L1", "1: a path of GOTO moves expected, GOLFT is not understood"},
      {"GO HOME", "1: a path of GOTO moves expected, GOHOME is not understood"},
      {"SET/MODE,INCR", "1: a path of GOTO moves expected, SET/INCR is not understood"},
      {"FINI\nGOTO/1,2,3", "2: no move after FINI expected"},
      {"N10 G0 X1", "1: an APT word expected at the start of the line"},
      {"%", "1: an APT word expected at the start of the line"},
      {"\n\nGOTO/1,$", "3: a line that continues this statement expected after $"},
      {std::string("GOTO/1,2,3\nGOTO/1\0,2,3", 22), "2: text expected, a NUL byte found"},
      {"\n" + std::string(70000, 'A'), "2: a line of at most 65536 characters expected"},
  };
  for (const BadCase& c : cases)
    EXPECT_EQ(FailureText([&] { ReadClText(c.text); }), std::string("test.cl:") + c.failure)
        << c.text.substr(0, 80);
}

TEST(ClReader, KeepsItsMemoryOnAStatementAndOnWordsWithoutEnd) {
  std::string continued;
  for (int i = 0; i < 70; ++i) continued += std::string(1000, 'A') + "$\n";
  EXPECT_EQ(FailureText([&] { ReadClText(continued); }),
            "test.cl:1: a statement of at most 65536 characters expected");
  std::string words;
  for (int i = 0; i < 5000; ++i) words += fmt::format("W{}X/1\n", i);
  EXPECT_LE(ReadClText(words).skippedWords.size(), 501u);
}

}  // namespace
