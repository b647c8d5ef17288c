#include <fcntl.h>
#include <kandrel-post/cl_writer.h>
#include <kandrel-post/samples.h>
#include <kandrel-post/text_sink.h>
#include <kandrel/cadcam/cnc_move.h>

#include <limits>

#include "support.h"

namespace {

using cadcam::zvToolPath;

std::string Written(const zvToolPath& toolPath, const std::string& fileName) {
  const int descriptor = ::open(fileName.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
  kandrel_post::TextSink sink(descriptor, fileName);
  kandrel_post::WriteCl(sink, toolPath, "test");
  sink.Flush();
  ::close(descriptor);
  return tests::FileText(fileName);
}

// Each level's sizes and each move's data, so that two trees are equal when their texts are.
void ExpectSameTree(const zvToolPath& a, const zvToolPath& b) {
  EXPECT_EQ(a.GetUnits(), b.GetUnits());
  ASSERT_EQ(a.Children().size(), b.Children().size());
  auto passB = b.Children().begin();
  for (const auto& passA : a.Children()) {
    ASSERT_EQ(passA->Children().size(), (*passB)->Children().size());
    auto sliceB = (*passB++)->Children().begin();
    for (const auto& sliceA : passA->Children()) {
      ASSERT_EQ(sliceA->Children().size(), (*sliceB)->Children().size());
      auto sectionB = (*sliceB++)->Children().begin();
      for (const auto& sectionA : sliceA->Children()) {
        cadcam::zvTPSLinkVisitor visitorA, visitorB;
        sectionA->AcceptVisitor(visitorA);
        (*sectionB)->AcceptVisitor(visitorB);
        EXPECT_EQ(visitorA.IsLink(), visitorB.IsLink());
        EXPECT_EQ(visitorA.GetLinkType(), visitorB.GetLinkType());
        ASSERT_EQ(sectionA->size(), (*sectionB)->size());
        auto moveB = (*sectionB++)->begin();
        for (const auto& moveA : *sectionA) {
          ASSERT_EQ(moveA->GetPosition(), (*moveB)->GetPosition());
          ASSERT_EQ(moveA->GetOrientation(), (*moveB)->GetOrientation());
          ASSERT_EQ(moveA->GetFeed(), (*moveB)->GetFeed());
          ASSERT_EQ(moveA->IsRapid(), (*moveB)->IsRapid());
          ++moveB;
        }
      }
    }
  }
}

TEST(ClWriter, WritesTextThatReadsBackToTheSameTree) {
  const tests::ScratchFolder folder;
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
  const std::string text = Written(odd, folder.Path("odd.cl"));
  const zvToolPath again = tests::ReadClText(text).toolPath;
  ExpectSameTree(odd, again);
  EXPECT_EQ(Written(again, folder.Path("again.cl")), text);
}

TEST(Samples, ReadBackAndHoldWhatTheyPromise) {
  const tests::ScratchFolder folder;
  for (const kandrel_post::Sample& sample : kandrel_post::Samples()) {
    const zvToolPath made = sample.make();
    const kandrel_post::ClProgram read = tests::ReadClText(Written(made, folder.Path("sample.cl")));
    ExpectSameTree(made, read.toolPath);
    EXPECT_EQ(read.feedlessCount, 0u) << sample.name;
    EXPECT_GT(read.rapidCount, 0u) << sample.name;
    EXPECT_TRUE(read.skippedWords.empty()) << sample.name;
    if (sample.name == "pocket_plate") {
      EXPECT_GE(read.moveCount, 20000u);
    }
  }
}

// A rapid move at cutting depth would break a tool: with the tool upright, rapid moves across stand
// at the safe height.
TEST(Samples, MoveRapidlyAcrossOnlyAboveThePart) {
  for (const kandrel_post::Sample& sample : kandrel_post::Samples()) {
    const zvToolPath made = sample.make();
    const cadcam::zvCNCMove* previous = nullptr;
    for (const auto& move : made) {
      const bool upright = move->GetOrientation() == cadcam::zvTPoint3d<double>(0, 0, 1);
      if (previous != nullptr && move->IsRapid() && upright) {
        const auto from = previous->GetPosition(), to = move->GetPosition();
        const bool across = from.x != to.x || from.y != to.y;
        EXPECT_TRUE(!across || (from.z > 0 && to.z > 0)) << sample.name;
      }
      previous = move.Get();
    }
  }
}

}  // namespace
