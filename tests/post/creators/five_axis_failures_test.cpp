// What a 5-axis posting refuses, by which of several faults, and what it leaves in its list.
#include <tests/post/creators/rows.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/outcome.h>

namespace tests {

namespace {

// A head whose second axis lies at 45 degrees reaches down to the horizontal and no further.
FiveAxisScene NutatingHead() {
  FiveAxisScene scene;
  scene.machine.kind = 1;
  scene.machine.second = {0, 1, 1};
  scene.machine.secondPivot = {0, 0, 200};
  return scene;
}

TEST(FiveAxisFailures, TheFirstFaultInOrderIsReported) {
  enum Fault { kNone, kNoOrientation, kOutOfReach, kOutOfLimits };
  for (const auto& [name, fault, at, other, otherAt, check, id, left] :
       Rows<7>("first_faults.txt")) {
    SCOPED_TRACE(name);
    FiveAxisScene scene = NutatingHead();
    scene.machine.high.x = 1000;
    scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(check));
    PathBuilder::Moves moves;
    for (int i = 0; i < 5; ++i) {
      Point tip{10.0 * i, 0, 0};
      Point orientation = scene.Tool(10, 20 + 0.5 * i);
      const auto sort = static_cast<Fault>(at == i ? fault : otherAt == i ? other : 0);
      if (sort == kNoOrientation) orientation = {};
      if (sort == kOutOfReach) orientation = {0.6, 0, -0.8};
      if (sort == kOutOfLimits) tip.x = 2000;
      moves.push_back(Move5(tip, orientation));
    }
    const Outcome outcome = Post(scene, PathBuilder().Contour(moves));
    EXPECT_EQ(outcome.id, id);
    ASSERT_EQ(outcome.lines.size(), left);
    for (int i = 0; i < left; ++i) EXPECT_EQ(outcome.lines[static_cast<std::size_t>(i)].source, i);
  }
}

// What fails between two moves leaves the list as it stood before them. This machine reaches from
// 30 to 90 degrees off its first axis, and the blend passes along it.
TEST(FiveAxisFailures, AFailureBetweenTwoMovesLeavesNothingBehindTheFirst) {
  FiveAxisScene scene;
  scene.machine.first = {0, 1, 0};
  scene.machine.second = {0, 0.5, std::sqrt(0.75)};
  const Outcome outcome =
      Post(scene, Source{{{}, {0.6, 0.75, 0}}, {{}, {0.6, 0.8, 0}}, {{9, 0, 0}, {-0.6, 0.8, 0}}});
  EXPECT_EQ(outcome.id, 5000u);
  ASSERT_GE(outcome.lines.size(), 2u);
  EXPECT_EQ(outcome.lines.back().source, 1);
  EXPECT_FALSE(outcome.lines.back().inserted);
}

// Two turns up by steps that need no interpolation.
TEST(FiveAxisFailures, RangesThatAreNoneEndInTheirLimit) {
  for (const auto& [name, min, max, id, rewindings] : Rows<4>("odd_ranges.txt"))
    for (const auto check : {zvKDRParam::checkRotaryAxes, zvKDRParam::checkAllAxes}) {
      SCOPED_TRACE(name);
      FiveAxisScene scene;
      scene.machine.firstRange = {min, max};
      scene.par.SetLimitsCheck(check);
      Source source;
      for (int i = 0; i <= 360; ++i) source.push_back({{10, 0, 0}, scene.Tool(2.5 * i, 30)});
      const Outcome outcome = Post(scene, source);
      EXPECT_EQ(outcome.id, id);
      EXPECT_EQ(outcome.counts.rewindings, rewindings);
    }
}

}  // namespace

}  // namespace tests
