// What a 5-axis creator keeps, copies and refers to between postings, its single moves, and what it
// refuses: by which of several faults, and what it leaves in its list.
#include <tests/post/creators/rows.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/outcome.h>

namespace tests {
namespace {

using post::zvPosted5axMove;
using Change = std::function<void(FiveAxisScene&)>;

constexpr auto kNone = zv5axControlDef::angleLimitNone;
constexpr auto k360 = zv5axControlDef::angleLimit360;
constexpr auto k180 = zv5axControlDef::angleLimit180;

// Through the given angles of a machine without skew, the tip moving on by millimetres.
PathBuilder Through(const std::vector<std::pair<double, double>>& angles, bool rapid = false) {
  const FiveAxisScene scene;
  PathBuilder::Moves moves;
  for (const auto& [first, second] : angles)
    moves.push_back(Move5({10, 2.0 * static_cast<double>(moves.size()), 0},
                          scene.Tool(first, second), 1000, rapid));
  PathBuilder path;
  path.Contour(moves);
  return path;
}

// About the first axis at a constant tilt.
PathBuilder Turns(double from, double to, double step) {
  std::vector<std::pair<double, double>> angles;
  const int count = static_cast<int>(std::round((to - from) / step));
  for (int i = 0; i <= count; ++i) angles.emplace_back(from + i * step, 30);
  return Through(angles);
}

template <class Setter, class Value>
Change Set(Setter set, Value value) {
  return [=](FiveAxisScene& s) { (s.par.*set)(value); };
}
Change Wraps(zv5axControlDef::angleLimit first, zv5axControlDef::angleLimit second) {
  return [=](FiveAxisScene& s) { s.control = Wrapping(first, second); };
}
// A member of the machine.
template <class Setup, class Value>
Change Machine(Value Setup::*member, std::type_identity_t<Value> value) {
  return [=](FiveAxisScene& s) { s.machine.*member = value; };
}

// Steps, poles and choices of later moves are those of the caller's parameters as they are now. The
// checks, the first choice and all that mends a list go by the creator's own copy.
TEST(FiveAxisCreator, ReadsTheCallersObjectsWhereItSolvesAndItsCopyElsewhere) {
  using P = zvKDRParam;
  using M = FiveAxisSetup;
  const PathBuilder fine = Turns(0, 50, 2);
  const PathBuilder coarse = Turns(0, 50, 10);
  const PathBuilder wound = Turns(0, 900, 2.5);
  const PathBuilder standing = Through({{40, 30}, {40, 30}});
  const PathBuilder jump = Through({{0, 30}, {0, 31}, {150, 31}});
  const PathBuilder rapid = Through({{0, 30}, {10, 30}, {20, 30}}, true);
  const PathBuilder acrossPole = Through({{0, 10}, {0, 4}, {0, -4}, {0, -10}});
  const PathBuilder onPole = Through({{0, 10}, {0, 4}, {0, 0}, {70, 4}, {70, 10}});
  const PathBuilder besidePole = Through({{0, 1}, {20, 1}, {60, 1}});
  const Change byDistance = Set(&P::SetInterpolateByDistance, true);
  const Change noSteps = Set(&P::SetMaxAngleStep, 0);
  const Change jumps = Set(&P::SetMaxAngleJump, 20);
  const Change bySecond = Set(&P::SetFirstMoveRule, P::bySecondAxis);
  const Change range = Machine(&M::firstRange, {-360, 360});
  const Change checksAll = Set(&P::SetLimitsCheck, P::checkAllAxes);
  const Change checksRotary = Set(&P::SetLimitsCheck, P::checkRotaryAxes);
  const Change keeps = Set(&P::SetPoleHandling, P::keepWithinLimits);
  // clang-format off
  const struct {
    const char* name;
    const PathBuilder& path;
    std::vector<Change> prepare;
    Change change;
    bool isSeen;
  } cases[] = {
      {"step", coarse, {}, Set(&P::SetMaxAngleStep, 6), true},
      {"distance rule", fine, {Set(&P::SetInterpolationDistance, 1)}, byDistance, true},
      {"distance", fine, {byDistance, Set(&P::SetInterpolationDistance, 1.5)},
       Set(&P::SetInterpolationDistance, 0.5), true},
      {"rapid moves", rapid, {byDistance, Set(&P::SetInterpolationDistance, 0.5)},
       Set(&P::SetInterpolateRapidMoves, true), true},
      {"mode", coarse, {}, Set(&P::SetInterpolationMode, 1), true},
      {"pole tolerance of solutions", besidePole, {Machine(&M::kind, 1), noSteps, keeps},
       Set(&P::SetPoleAngleTolerance, 3), true},
      {"rule of later moves", acrossPole, {noSteps}, Set(&P::SetFirstMoveByRule, false), true},
      {"limits of later moves", acrossPole, {noSteps, Machine(&M::secondRange, {-3, 110})},
       checksRotary, true},
      {"origin", fine, {}, [](FiveAxisScene& s) { s.origin.x = 5; }, true},
      {"control", Turns(-20, 20, 2), {}, Wraps(k360, kNone), true},

      {"first solution", fine, {}, Set(&P::SetFirstMoveSolutionIndex, P::mirrorSolution), false},
      {"first angle", fine, {Set(&P::SetFirstMoveRule, P::byFirstAxis)},
       Set(&P::SetFirstMovePreferredAngle, 180), false},
      {"limits of the list", fine, {Machine(&M::high, {-100, 100000, 100000})},
       Set(&P::SetLimitsCheck, P::checkLinearAxes), false},
      {"an unknown check", fine, {}, Set(&P::SetLimitsCheck, static_cast<P::LimitsCheck>(7)), false},
      {"slack of limits", fine, {Machine(&M::firstRange, {-10, 49.99995}), checksRotary},
       Set(&P::SetLimitTolerance, 1e-5), false},
      {"largest jump", jump, {noSteps, jumps}, Set(&P::SetMaxAngleJump, 179), false},
      {"lift", jump, {noSteps, jumps}, Set(&P::SetRetractDistance, 7), false},
      {"lift to limits", jump, {noSteps, jumps}, Set(&P::SetRetractToLimits, true), false},
      {"step of rewindings", wound, {range, checksAll}, Set(&P::SetMaxAngleStep, 30), false},
      {"lift of rewindings", wound, {range, checksAll}, Set(&P::SetRetractDistance, 7), false},
      {"spreading of poles", onPole, {}, Set(&P::SetPoleHandling, P::spreadEvenly), false},
      {"way of one orientation", standing,
       {bySecond, Set(&P::SetFirstMovePreferredAngle, -30), Wraps(k360, k180)}, keeps, false},
      {"slack of one orientation", standing,
       {Machine(&M::firstRange, {0, 39.5}), Set(&P::SetPoleAngleTolerance, 0.57), checksRotary},
       Set(&P::SetPoleAngleTolerance, 0.1), false},
  };
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FiveAxisScene scene;
    for (const Change& prepare : c.prepare) prepare(scene);
    const Outcome asMade = Post(scene, c.path);
    zvPosted5axTPCreator creator = scene.Creator();
    c.change(scene);
    const Outcome asChanged = Post(scene, c.path);
    ASSERT_FALSE(asMade == asChanged);
    EXPECT_TRUE(PostBy(creator, c.path) == (c.isSeen ? asChanged : asMade));
  }
}

TEST(FiveAxisCreator, ANewMachineReachesWhatMendsAListButNotSolutions) {
  using M = FiveAxisSetup;
  const Change pivot = Machine(&M::firstPivot, {100, 0, 0});
  const PathBuilder turns = Turns(0, 50, 10);
  const struct {
    const char* name;
    PathBuilder path;
    Change change;
    bool isSeen;
  } cases[] = {
      {"pivot of solutions", turns, pivot, false},
      {"axes of solutions", turns, Machine(&M::second, {0, 1, 0}), false},
      {"limits", turns, Machine(&M::low, {90000, -100000, -100000}), true},
      {"lifts", Through({{0, 30}, {0, 31}, {150, 31}}), pivot, true},
      {"one orientation", Through({{40, 30}, {40, 30}}), pivot, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FiveAxisScene scene;
    scene.par.SetMaxAngleStep(0);
    scene.par.SetMaxAngleJump(20);
    scene.par.SetLimitsCheck(zvKDRParam::checkLinearAxes);
    const Outcome asMade = Post(scene, c.path);
    zvPosted5axTPCreator creator = scene.Creator();
    c.change(scene);
    const post::zv5axMachDef changed = scene.machine.MachDef();
    creator.SetMachDef(changed);
    EXPECT_FALSE(Post(scene, c.path) == asMade);
    EXPECT_EQ(PostBy(creator, c.path) == asMade, !c.isSeen);
    EXPECT_EQ(creator.GetMachDef().GetFirstRotationPivot(), changed.GetFirstRotationPivot());
  }
}

// The first solution stands at (-80, 30), its mirror at (100, -30).
TEST(FiveAxisCreator, SingleMovesWithinLimits) {
  for (const auto& c : NumberCases("creators/data/five_axis_single_moves.txt")) {
    SCOPED_TRACE(c.line);
    FiveAxisScene scene;
    scene.machine.firstRange = {c[1][0], c[1][1]};
    scene.machine.secondRange = {c[1][2], c[1][3]};
    scene.machine.high.z = c[3][0];
    scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(c[0][0]));
    scene.control = Wrapping(c[2][0], c[2][1]);
    const auto creator = scene.Creator();
    const auto move = Move5({1, 2, 3}, scene.Tool(-80, 30));
    const auto expect = [](const misc::zvAutoPointer<zvPosted5axMove>& line,
                           const std::vector<double>& angles) {
      ASSERT_EQ(line.IsNull(), angles.empty());
      for (std::size_t i = 0; i < angles.size(); ++i)
        EXPECT_NEAR(line->GetAngle(static_cast<std::int16_t>(i)), angles[i], 1e-9);
    };
    EXPECT_EQ(IdOf([&] {
                const auto [line, mirror] = creator.PostMoveWithinMachLimits(move, {});
                expect(line, c[4]);
                expect(mirror, c[5]);
              }),
              c[6][0]);
    // With the axes standing the path of one orientation fits by the same two forms.
    if (c[0][0] >= 2 && c[3][0] > 0) {
      scene.par.SetFirstMoveRule(zvKDRParam::bySecondAxis);
      scene.par.SetFirstMovePreferredAngle(c[4].empty() ? -30 : 30);
      EXPECT_EQ(Post(scene, PathBuilder().Contour({move, move})).id, c[6][0]);
    }
  }
}

// A run over the end of its range by the first solution, which the mirror solution keeps within.
FiveAxisScene OneSided() {
  FiveAxisScene scene;
  scene.machine.firstRange = {-179, 179};
  scene.machine.secondRange = {-110, 110};
  scene.par.SetMaxAngleStep(10);
  scene.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes);
  return scene;
}

TEST(FiveAxisCreator, AListThatCantBeRewoundIsPostedByTheOtherSolution) {
  const PathBuilder helped = Turns(152.5, 202.5, 5);
  const PathBuilder plain = Turns(10, 60, 5);
  for (const auto index : {zvKDRParam::firstSolution, zvKDRParam::mirrorSolution,
                           static_cast<zvKDRParam::SolutionIndex>(5)}) {
    const bool isFirst = index == zvKDRParam::firstSolution;
    FiveAxisScene scene = OneSided();
    scene.par.SetFirstMoveSolutionIndex(index);
    zvPosted5axTPCreator creator = scene.Creator();
    // By the mirror solution the angles run from -170 to -120, or over the end from 10 further on.
    const PathBuilder& path = isFirst ? helped : Turns(-27.5, 22.5, 5);
    const Outcome once = PostBy(creator, path);
    ASSERT_EQ(once.id, 0u);
    const double sign = isFirst ? -1 : 1;
    for (const Line& line : once.lines) EXPECT_NEAR(line.degs[1], sign * 30, 1e-9);
    EXPECT_EQ(creator.GetPar().GetFirstMoveSolutionIndex(),
              isFirst ? zvKDRParam::mirrorSolution : zvKDRParam::firstSolution);
    EXPECT_EQ(scene.par.GetFirstMoveSolutionIndex(), index);
    EXPECT_TRUE(PostBy(creator, path) == once);
    // It stays for other paths, and goes with a copy.
    EXPECT_NEAR(PostBy(creator, plain).lines.front().degs[1], sign * 30, 1e-9);
    zvPosted5axTPCreator copy(creator);
    EXPECT_NEAR(PostBy(copy, plain).lines.front().degs[1], sign * 30, 1e-9);
    EXPECT_NEAR(Post(scene, plain).lines.front().degs[1], -sign * 30, 1e-9);
  }
}

TEST(FiveAxisCreator, AListThatNothingHelpsTurnsTheSolutionRoundEachTime) {
  const FiveAxisScene scene = OneSided();
  const PathBuilder path = Turns(152.5, 402.5, 5);
  zvPosted5axTPCreator creator = scene.Creator();
  for (const auto expected : {zvKDRParam::mirrorSolution, zvKDRParam::firstSolution}) {
    EXPECT_EQ(PostBy(creator, path).id, 5018u);
    EXPECT_EQ(creator.GetPar().GetFirstMoveSolutionIndex(), expected);
    // The list is that of the second attempt.
    const double second = expected == zvKDRParam::mirrorSolution ? -30 : 30;
    EXPECT_NEAR(creator.GetPostedList()->Front().GetAngle(1), second, 1e-9);
  }
}

// A head whose second axis lies at 45 degrees reaches down to the horizontal and no further.
FiveAxisScene NutatingHead() {
  FiveAxisScene scene;
  scene.machine.kind = 1;
  scene.machine.second = {0, 1, 1};
  scene.machine.secondPivot = {0, 0, 200};
  return scene;
}

TEST(FiveAxisFailures, TheFirstFaultInOrderIsReported) {
  enum Fault { kFaultless, kNoOrientation, kOutOfReach, kOutOfLimits };
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
