#include <kandrel-post/cl/writer.h>
#include <kandrel-post/samples/samples.h>
#include <kandrel/cadcam/cnc_move.h>

#include "support.h"

namespace {

using cadcam::zvToolPath;
using tests::Shown;

std::string Written(const zvToolPath& toolPath, std::string_view name = "test") {
  return tests::Written(
      [&](kandrel_post::TextSink& sink) { kandrel_post::WriteCl(sink, toolPath, name); });
}

TEST(ClWriter, WritesTextThatReadsBackToTheSameTree) {
  // Empty containers, rapid moves in contours, feeds that come and go, axes that are no unit
  // vectors, and numbers at the ends of what a double holds.
  zvToolPath odd = tests::ReadClText(
                       "UNITS/INCHES\n$$ PASS\n$$ PASS\n$$ SLICE\n$$ SLICE\n$$ LINK 4294967295\n"
                       "$$ CONTOUR\nRAPID\nGOTO/0.1,-0,3,0,0.3,2\nFEDRAT/12.5\nGOTO/1,2,3\n"
                       "$$ LINK 1\nFEDRAT/0\nGOTO/1,2,3,0,0,1\n$$ PASS\nFEDRAT/1\nGOTO/0,0,0")
                       .toolPath;
  odd.AddMove(misc::MakeAutoPointer<cadcam::zv3axMove>(
      cadcam::zvTPoint3d<double>(std::numeric_limits<double>::max(),
                                 std::numeric_limits<double>::denorm_min(), 1.0 / 3),
      cadcam::zvTPoint3d<double>(0, 0, 1), 0.1 + 0.2, false));
  const std::string text = Written(odd);
  const zvToolPath again = tests::ReadClText(text).toolPath;
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
    const kandrel_post::ClProgram read = tests::ReadClText(Written(made));
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
