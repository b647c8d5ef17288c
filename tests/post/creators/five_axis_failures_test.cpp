// What a 5-axis posting refuses, which of several faults it tells, and what it leaves in its list.
#include <gtest/gtest.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/toolpath_builders.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

namespace {

using post::zvKDRParam;
using post::zvPosted5axMove;
using tests::FiveAxisScene;
using tests::Move5;
using tests::PathBuilder;
using tests::Point;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr int kUnlimited = 100000;

struct Outcome {
  std::uint32_t id = 0;  // 0 for a posting without error
  std::vector<zvPosted5axMove> list;
  std::uint32_t rewindings = 0;
};

Outcome Post(const FiveAxisScene& scene, const cadcam::zvToolPath& path) {
  zvPosted5axTPCreator creator = scene.Creator();
  Outcome outcome;
  try {
    creator.Post(path, false);
  } catch (const misc::zvException& e) {
    outcome.id = static_cast<std::uint32_t>(e.GetId());
  }
  const auto& list = *creator.GetPostedList();
  outcome.list.assign(list.begin(), list.end());
  outcome.rewindings = creator.GetCounts().rewindings;
  return outcome;
}

// A head whose second axis lies at 45 degrees reaches down to the horizontal and no further.
FiveAxisScene NutatingHead() {
  FiveAxisScene scene;
  scene.machine.kind = 1;
  scene.machine.second = {0, 1, 1};
  scene.machine.secondPivot = {0, 0, 200};
  return scene;
}

TEST(FiveAxisFailures, TheFirstFaultInOrderIsTold) {
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
    PathBuilder path(c.isInch ? tests::kInch : tests::kMetric);
    path.Contour(moves);
    if (c.hasOddLink) path.Link(9, {Move5({}, {0, 0, 1})});
    const Outcome outcome = Post(scene, path);
    EXPECT_EQ(outcome.id, c.id);
    ASSERT_EQ(outcome.list.size(), c.left);
    for (std::size_t i = 0; i < outcome.list.size(); ++i)
      EXPECT_EQ(outcome.list[i].GetSourceIndex(), static_cast<int>(i));
  }
}

// Steps too small to be interpolated, about the first axis at a constant tilt.
PathBuilder Turns(const FiveAxisScene& scene, double fromDeg, double toDeg, Point tip = {10, 0, 0},
                  double tilt = 30) {
  PathBuilder::Moves moves;
  const int count = static_cast<int>(std::fabs(toDeg - fromDeg) / 2.5);
  for (int i = 0; i <= count; ++i)
    moves.push_back(Move5(tip, scene.Tool(fromDeg + i * (toDeg - fromDeg) / count, tilt)));
  PathBuilder path;
  path.Contour(moves);
  return path;
}

TEST(FiveAxisFailures, RetractionsToLimitsStartWithinThem) {
  // A step to the other side is too large to cut; a turn each way is too small for three.
  enum Way { kJump, kRewinding };
  for (const Way way : {kJump, kRewinding})
    for (const bool toLimits : {true, false})
      for (const bool isOutside : {true, false}) {
        SCOPED_TRACE(testing::Message() << way << ' ' << toLimits << ' ' << isOutside);
        FiveAxisScene scene;
        scene.machine.high = {500, 500, isOutside ? -5.0 : 700};
        scene.machine.low = {-500, -500, -500};
        scene.par.SetRetractToLimits(toLimits);
        PathBuilder path;
        if (way == kJump) {
          scene.par.SetMaxAngleStep(0);
          scene.par.SetMaxAngleJump(50);
          path.Contour({Move5({10, 0, 0}, scene.Tool(0, 30)), Move5({10, 0, 0}, scene.Tool(0, 31)),
                        Move5({12, 0, 0}, scene.Tool(150, 31))});
        } else {
          scene.machine.firstRange = {-360, 360};
          scene.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes);
          path = Turns(scene, 0, 1080);
        }
        const Outcome outcome = Post(scene, path);
        if (toLimits && isOutside) {
          EXPECT_EQ(outcome.id, 5008u);
          EXPECT_GE(outcome.list.size(), way == kJump ? 3u : 433u);
          continue;
        }
        ASSERT_EQ(outcome.id, 0u);
        EXPECT_EQ(outcome.rewindings > 0, way == kRewinding);
        const auto isRapid = [](const zvPosted5axMove& move) { return move.IsRapid(); };
        const auto lift = std::find_if(outcome.list.begin(), outcome.list.end(), isRapid);
        ASSERT_TRUE(lift != outcome.list.end() && lift != outcome.list.begin());
        // The table tilts the part, so that the tool lifts along the machine's z.
        if (toLimits) {
          EXPECT_EQ(lift->GetMachinePosition().z, 700);
        } else {
          EXPECT_NEAR((lift->GetMachinePosition() - std::prev(lift)->GetMachinePosition()).z, 100,
                      1e-9);
        }
      }
}

// What a rewound list must be, told by the rigid bodies: each tip and tool where its move says, the
// path's moves in their order, and what cuts between two of them at a tip on their line, its tool
// no further from the first than the second's is.
void ExpectPosted(const FiveAxisScene& scene, const PathBuilder::Moves& path, double limit,
                  const Outcome& outcome) {
  ASSERT_EQ(outcome.id, 0u);
  const tests::rigid::RotaryMachine model = scene.Model();
  std::size_t passed = 0;
  for (const zvPosted5axMove& move : outcome.list) {
    const tests::rigid::Pose pose =
        model.At(tests::ToVector(move.GetMachinePosition()), move.GetAngle(0), move.GetAngle(1));
    ASSERT_LT((tests::ToPoint(pose.tip) - move.GetPartPosition()).Length(), 1e-6);
    ASSERT_LT((tests::ToPoint(pose.axis) - move.GetOrientation()).Length(), 4e-4);
    ASSERT_LE(std::fabs(move.GetAngle(0)), limit + 1e-4);
    EXPECT_EQ(move.GetPoleStatus(), 0u);
    if (!move.IsInserted()) {
      ASSERT_EQ(move.GetSourceIndex(), static_cast<int>(passed));
      ASSERT_EQ((move.GetPartPosition() - path[passed]->GetPosition()).Length(), 0);
      ++passed;
    } else if (!move.IsRapid() && passed > 0 && passed < path.size()) {
      const auto& from = *path[passed - 1];
      const auto& to = *path[passed];
      const Point step = to.GetPosition() - from.GetPosition();
      const Point way = move.GetPartPosition() - from.GetPosition();
      EXPECT_LT(Cross(way, step).Length(), 1e-6);
      EXPECT_GE(Dot(way, step), -1e-6);
      EXPECT_LE(Dot(way, step), Dot(step, step) + 1e-6);
      EXPECT_LE((move.GetOrientation() - from.GetOrientation()).Length(),
                (to.GetOrientation() - from.GetOrientation()).Length() + 4e-4);
    }
  }
  EXPECT_EQ(passed, path.size());
}

// Through the pole the first axis leaps half a turn and never stands near its limit.
TEST(FiveAxisFailures, ARewindingInALeapStandsAtThePole) {
  FiveAxisScene scene;
  const double limit = 685;
  scene.machine.firstRange = {limit - 740, limit};
  scene.machine.secondRange = {-5, 110};  // the mirror solution is no way through
  scene.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes);
  scene.par.SetMaxAngleStep(0);
  scene.par.SetMaxAngleJump(400);
  std::uint32_t rewindings = 0;
  for (int i = 1; i <= 60; ++i) {
    SCOPED_TRACE(i);
    const double last = limit - 0.07 * i;
    PathBuilder::Moves moves;
    for (const double before : {640.0, 480.0, 320.0, 160.0, 0.0})
      moves.push_back(Move5({10, 0, 0}, scene.Tool(last - before, 30)));
    moves.push_back(Move5({10, 0, 0}, scene.Tool(last + 180, 30)));
    const Outcome outcome = Post(scene, PathBuilder().Contour(moves));
    rewindings += outcome.rewindings;
    ExpectPosted(scene, moves, limit, outcome);
  }
  EXPECT_GT(rewindings, 50u);  // rounding may leap the other way
}

// The tool comes up to the pole, where the path turns by some degrees, and goes down again; the
// axis meets its limit before, on and behind the pole.
TEST(FiveAxisFailures, ARewindingOnAPoleKeepsTheTool) {
  std::uint32_t rewindings = 0;
  for (const double limit : {270.0, 300.0, 359.0, 359.9, 359.9999, 360.0, 360.0001})
    for (const double sense : {1.0, -1.0})
      for (const int handling : {0, 1, 2, 3})
        for (const double turned : {500.0, 520.0, 540.0, 590.0, 610.0, 690.0}) {
          SCOPED_TRACE(testing::Message()
                       << limit << ' ' << sense << ' ' << handling << ' ' << turned);
          FiveAxisScene scene;
          scene.machine.firstRange = {-limit, limit};
          scene.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes);
          scene.par.SetPoleAngleTolerance(0.01);
          scene.par.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(handling));
          PathBuilder::Moves moves;
          const auto add = [&](double deg, double tilt) {
            moves.push_back(
                Move5({1.0 * static_cast<double>(moves.size()), 0, 0}, scene.Tool(deg, tilt)));
          };
          for (double deg = 0; deg <= turned; deg += 5) add(sense * deg, 10);
          for (int tilt = 9; tilt > 0; --tilt) add(sense * turned, tilt);
          for (int i = 0; i < 10; ++i)
            moves.push_back(Move5({1.0 * static_cast<double>(moves.size()), 0, 0}, {0, 0, 1}));
          for (int tilt = 1; tilt <= 10; ++tilt) add(sense * (turned + 45), tilt);
          for (double deg = 45; deg <= 105; deg += 5) add(sense * (turned + deg), 10);
          const Outcome outcome = Post(scene, PathBuilder().Contour(moves));
          rewindings += outcome.rewindings;
          ExpectPosted(scene, moves, limit, outcome);
          if (HasFatalFailure()) return;
        }
  EXPECT_GT(rewindings, 200u);
}

// Angles this near to 0 are solved as 0.
TEST(FiveAxisFailures, ALimitInTheSnapOfTheArcCosineIsReached) {
  for (const double beside : {-7e-4, -1e-4, 1e-4, 5e-4})
    for (const double turns : {1.0, 2.0})
      for (const double to : {1801.3, -1801.3}) {
        SCOPED_TRACE(testing::Message() << beside << ' ' << turns << ' ' << to);
        FiveAxisScene scene;
        const double limit = 360 * turns + beside;
        scene.machine.firstRange = {-limit, limit};
        scene.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes);
        PathBuilder::Moves moves;
        for (int i = 0; i <= 720; ++i)
          moves.push_back(Move5({0.5 * i, 0, 0}, scene.Tool(i * to / 720, 30)));
        const Outcome outcome = Post(scene, PathBuilder().Contour(moves));
        EXPECT_GT(outcome.rewindings, 0u);
        ExpectPosted(scene, moves, limit, outcome);
      }
}

TEST(FiveAxisFailures, OutOfReachHasItsIdInAllWays) {
  FiveAxisScene scene = NutatingHead();
  const struct {
    Point orientation;
    bool isReached;
  } cases[] = {
      {{1, 0, 0.001}, true},   {{1, 0, 0}, true},   {{1, 0, -0.001}, false}, {{0, -1, 0.5}, true},
      {{0, -1, -0.01}, false}, {{0, 0, -1}, false}, {{0, 0, 1}, true},
  };
  for (const auto& c : cases) {
    const std::uint32_t id = c.isReached ? 0 : 5000;
    EXPECT_EQ(Post(scene, PathBuilder().Contour({Move5({}, c.orientation)})).id, id);
    const Outcome several =
        Post(scene, PathBuilder().Contour({Move5({}, {0.1, 0, 1}), Move5({}, c.orientation)}));
    EXPECT_EQ(several.id, id);
    EXPECT_GE(several.list.size(), c.isReached ? 2u : 1u);
    zvPosted5axTPCreator creator = scene.Creator();
    try {
      creator.PostMove(Move5({}, c.orientation), post::zvPostedMove::noLink);
      EXPECT_TRUE(c.isReached);
    } catch (const post::zvPostException& e) {
      EXPECT_EQ(e.GetId(), id);
    }
  }
}

// Two turns up by steps that need no interpolation.
TEST(FiveAxisFailures, RangesThatAreNoneEndInTheirLimit) {
  const struct {
    double min, max;
    std::uint32_t id;
    std::uint32_t rewindings;
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
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.min << ' ' << c.max);
    FiveAxisScene scene;
    scene.machine.firstRange = {c.min, c.max};
    for (const auto check : {zvKDRParam::checkRotaryAxes, zvKDRParam::checkAllAxes}) {
      scene.par.SetLimitsCheck(check);
      const Outcome outcome = Post(scene, Turns(scene, 0, 900));
      EXPECT_EQ(outcome.id, c.id);
      EXPECT_EQ(outcome.rewindings, c.rewindings);
    }
  }
}

}  // namespace
