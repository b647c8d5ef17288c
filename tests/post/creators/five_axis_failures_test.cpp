// What a 5-axis posting refuses, by which of several faults, and what it leaves in its list.
#include <gtest/gtest.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/laws.h>
#include <tests/support/outcome.h>

#include <cmath>
#include <limits>
#include <utility>

namespace tests {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr int kUnlimited = 100000;

// A head whose second axis lies at 45 degrees reaches down to the horizontal and no further.
FiveAxisScene NutatingHead() {
  FiveAxisScene scene;
  scene.machine.kind = 1;
  scene.machine.second = {0, 1, 1};
  scene.machine.secondPivot = {0, 0, 200};
  return scene;
}

TEST(FiveAxisFailures, TheFirstFaultInOrderIsReported) {
  enum Fault { kNone, kNotANumber, kNoOrientation, kOutOfReach, kOutOfLimits };
  const struct {
    const char* name;
    Fault fault, other;
    int at, otherAt;
    bool isInch, hasOddLink;
    int limitsCheck;
    std::uint32_t id;
    std::size_t left;
  } cases[] = {
      {"none", kNone, kNone, 0, 0, false, false, 1, 0, 5},
      {"units before all else", kNotANumber, kNoOrientation, 0, 1, true, true, 1, 5033, 0},
      {"no number wherever it stands", kNoOrientation, kNotANumber, 1, 4, false, false, 1, 5039, 0},
      {"section wherever it stands", kOutOfReach, kNone, 1, 0, false, true, 1, 2637, 0},
      {"no number before the section", kNotANumber, kNone, 4, 0, false, true, 1, 5039, 0},
      {"no orientation first", kNoOrientation, kOutOfReach, 2, 3, false, false, 1, 2189, 2},
      {"reach first", kOutOfReach, kNoOrientation, 2, 3, false, false, 1, 5000, 2},
      {"reach at the first move", kOutOfReach, kOutOfLimits, 0, 1, false, false, 1, 5000, 0},
      {"limits last", kOutOfLimits, kOutOfReach, 1, 4, false, false, 1, 5000, 4},
      {"limits at the first move", kOutOfLimits, kOutOfReach, 0, 4, false, false, 1, 5015, 0},
      {"limits", kOutOfLimits, kNone, 1, 0, false, false, 1, 5015, 5},
      {"limits of all axes", kOutOfLimits, kNone, 1, 0, false, false, 3, 5015, 5},
      {"linear limits aren't asked for", kOutOfLimits, kNone, 1, 0, false, false, 2, 0, 5},
      {"nor here", kOutOfLimits, kNone, 0, 0, false, false, 0, 0, 5},
      {"reach before an odd check", kOutOfReach, kNone, 4, 0, false, false, 7, 5000, 4},
      {"an odd check", kNone, kNone, 0, 0, false, false, 7, 5046, 5},
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
        if (fault == kNotANumber) tip.y = kNaN;
        if (fault == kNoOrientation) orientation = {};
        if (fault == kOutOfReach) orientation = {0.6, 0, -0.8};
        if (fault == kOutOfLimits) tip.x = 2000;
      }
      moves.push_back(Move5(tip, orientation));
    }
    PathBuilder path(c.isInch ? kInch : kMetric);
    path.Contour(moves);
    if (c.hasOddLink) path.Link(9, {Move5({}, {0, 0, 1})});
    const Outcome outcome = Post(scene, path);
    EXPECT_EQ(outcome.id, c.id);
    ASSERT_EQ(outcome.lines.size(), c.left);
    for (std::size_t i = 0; i < c.left; ++i)
      EXPECT_EQ(outcome.lines[i].source, static_cast<int>(i));
  }
}

TEST(FiveAxisFailures, OutOfReachHasItsIdInAllWays) {
  const FiveAxisScene scene = NutatingHead();
  const struct {
    Point orientation;
    std::uint32_t id;
  } cases[] = {
      {{1, 0, 0.001}, 0},     {{1, 0, 0}, 0},     {{1, 0, -0.001}, 5000}, {{0, -1, 0.5}, 0},
      {{0, -1, -0.01}, 5000}, {{0, 0, -1}, 5000}, {{0, 0, 1}, 0},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Post(scene, Source{{{}, c.orientation}}).id, c.id);
    const Outcome several = Post(scene, Source{{{}, {0.1, 0, 1}}, {{}, c.orientation}});
    EXPECT_EQ(several.id, c.id);
    EXPECT_GE(several.lines.size(), c.id == 0 ? 2u : 1u);
    std::uint32_t id = 0;
    try {
      scene.Creator().PostMove(Move5({}, c.orientation), post::zvPostedMove::noLink);
    } catch (const post::zvPostException& e) {
      id = e.GetId();
    }
    EXPECT_EQ(id, c.id);
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

TEST(FiveAxisFailures, StepsThatAreNoneDivideNothingAndTooSmallOnesAreRefused) {
  FiveAxisScene scene;
  const Source source{{{}, {0, 0, 1}}, {{10, 0, 0}, {0, 0.6, 0.8}}, {{20, 0, 0}, {0, 0, 1}}};
  for (const double step : {0.0, -1.0, kNaN, 1e-300}) {
    scene.par.SetMaxAngleStep(step);
    const Outcome outcome = Post(scene, source);
    EXPECT_EQ(outcome.id, step > 0 ? 5039u : 0u) << step;
    if (!(step > 0)) {
      EXPECT_EQ(outcome.lines.size(), source.size()) << step;
    }
  }
}

// Two turns up by steps that need no interpolation.
TEST(FiveAxisFailures, RangesThatAreNoneEndInTheirLimit) {
  const struct {
    double min, max;
    std::uint32_t id, rewindings;
  } cases[] = {
      {-360, 360, 0, 1},
      {-kInfinity, kInfinity, 0, 0},
      {-kUnlimited, kUnlimited, 0, 0},
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
