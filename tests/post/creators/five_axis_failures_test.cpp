// What a 5-axis posting refuses, by which of several faults, and what it leaves in its list.
#include <gtest/gtest.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/numbers.h>
#include <tests/support/outcome.h>

#include <cmath>
#include <utility>

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
  const struct {
    const char* name;
    Fault fault, other;
    int at, otherAt;
    int limitsCheck;
    std::uint32_t id;
    std::size_t left;
  } cases[] = {
      {"none", kNone, kNone, 0, 0, 1, 0, 5},
      {"no orientation first", kNoOrientation, kOutOfReach, 2, 3, 1, 2189, 2},
      {"reach first", kOutOfReach, kNoOrientation, 2, 3, 1, 5000, 2},
      {"reach at the first move", kOutOfReach, kOutOfLimits, 0, 1, 1, 5000, 0},
      {"limits last", kOutOfLimits, kOutOfReach, 1, 4, 1, 5000, 4},
      {"limits at the first move", kOutOfLimits, kOutOfReach, 0, 4, 1, 5015, 0},
      {"limits", kOutOfLimits, kNone, 1, 0, 1, 5015, 5},
      {"limits of all axes", kOutOfLimits, kNone, 1, 0, 3, 5015, 5},
      {"linear limits aren't asked for", kOutOfLimits, kNone, 1, 0, 2, 0, 5},
      {"nor here", kOutOfLimits, kNone, 0, 0, 0, 0, 5},
      {"reach before an odd check", kOutOfReach, kNone, 4, 0, 7, 5000, 4},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FiveAxisScene scene = NutatingHead();
    scene.machine.high.x = 1000;
    scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(c.limitsCheck));
    PathBuilder::Moves moves;
    for (int i = 0; i < 5; ++i) {
      Point tip{10.0 * i, 0, 0};
      Point orientation = scene.Tool(10, 20 + 0.5 * i);
      for (const auto& [fault, at] : {std::pair{c.fault, c.at}, {c.other, c.otherAt}}) {
        if (at != i) continue;
        if (fault == kNoOrientation) orientation = {};
        if (fault == kOutOfReach) orientation = {0.6, 0, -0.8};
        if (fault == kOutOfLimits) tip.x = 2000;
      }
      moves.push_back(Move5(tip, orientation));
    }
    const Outcome outcome = Post(scene, PathBuilder().Contour(moves));
    EXPECT_EQ(outcome.id, c.id);
    ASSERT_EQ(outcome.lines.size(), c.left);
    for (std::size_t i = 0; i < c.left; ++i)
      EXPECT_EQ(outcome.lines[i].source, static_cast<int>(i));
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
  const struct {
    double min, max;
    std::uint32_t id, rewindings;
  } cases[] = {
      {-360, 360, 0, 1},
      {-kInfinity, kInfinity, 0, 0},
      {-kInfinity, 360, 5018, 0},
      {0, kInfinity, 0, 0},
      {10, kInfinity, 0, 0},  // shifted by a turn
      {kNaN, 360, 5013, 0},
      {-360, kNaN, 5018, 0},
      {360, -360, 5013, 1},  // rewound, which can't help
      {100, -100, 5018, 0},  // the mirror solution's list, which starts at 180
      {kInfinity, -kInfinity, 5013, 0},
      {0, 359, 5018, 0},
  };
  for (const auto& c : cases)
    for (const auto check : {zvKDRParam::checkRotaryAxes, zvKDRParam::checkAllAxes}) {
      SCOPED_TRACE(testing::Message() << c.min << ' ' << c.max);
      FiveAxisScene scene;
      scene.machine.firstRange = {c.min, c.max};
      scene.par.SetLimitsCheck(check);
      Source source;
      for (int i = 0; i <= 360; ++i) source.push_back({{10, 0, 0}, scene.Tool(2.5 * i, 30)});
      const Outcome outcome = Post(scene, source);
      EXPECT_EQ(outcome.id, c.id);
      EXPECT_EQ(outcome.counts.rewindings, c.rewindings);
    }
}

}  // namespace

}  // namespace tests
