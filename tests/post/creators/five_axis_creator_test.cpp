// What a 5-axis creator keeps, copies and refers to between postings.
#include <gtest/gtest.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/five_axis_scenes.h>
#include <tests/support/throws_id.h>
#include <tests/support/toolpath_builders.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

namespace {

using post::zv5axControlDef;
using post::zvKDRParam;
using post::zvPosted5axMove;
using post::zvPostException;
using tests::FiveAxisScene;
using tests::Move5;
using tests::PathBuilder;
using tests::Point;
using tests::ThrowsId;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Lines = std::vector<zvPosted5axMove>;

// The lines of a posting, or its error.
struct Outcome {
  std::uint32_t id = 0;
  Lines lines;

  bool operator==(const Outcome& other) const { return id == other.id && lines == other.lines; }
};

Outcome Post(zvPosted5axTPCreator& creator, const cadcam::zvToolPath& path) {
  try {
    const auto list = creator.Post(path, false);
    return {0, {list->begin(), list->end()}};
  } catch (const zvPostException& e) {
    return {e.GetId(), {}};
  }
}

Outcome PostAnew(const FiveAxisScene& scene, const cadcam::zvToolPath& path) {
  zvPosted5axTPCreator creator = scene.Creator();
  return Post(creator, path);
}

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

// Steps, poles and choices of later moves are those of the caller's parameters as they are now. The
// checks, the first choice and all that mends a list go by the creator's own copy.
TEST(FiveAxisCreator, ReadsTheCallersObjectsWhereItSolvesAndItsCopyElsewhere) {
  using Scene = FiveAxisScene;
  const PathBuilder fine = Turns(0, 50, 2);
  const PathBuilder coarse = Turns(0, 50, 10);
  const PathBuilder wound = Turns(0, 900, 2.5);
  const PathBuilder standing = Through({{40, 30}, {40, 30}});
  const PathBuilder jump = Through({{0, 30}, {0, 31}, {150, 31}});
  const PathBuilder rapid = Through({{0, 30}, {10, 30}, {20, 30}}, true);
  const PathBuilder acrossPole = Through({{0, 10}, {0, 4}, {0, -4}, {0, -10}});
  const PathBuilder onPole = Through({{0, 10}, {0, 4}, {0, 0}, {70, 4}, {70, 10}});
  const PathBuilder besidePole = Through({{0, 1}, {20, 1}, {60, 1}});
  const auto noSteps = [](Scene& s) { s.par.SetMaxAngleStep(0); };
  const auto jumps = [](Scene& s) {
    s.par.SetMaxAngleStep(0);
    s.par.SetMaxAngleJump(20);
  };
  const auto rewinds = [](Scene& s) {
    s.machine.firstRange = {-360, 360};
    s.par.SetLimitsCheck(zvKDRParam::checkAllAxes);
  };
  const auto nothing = [](Scene&) {};
  const struct {
    const char* name;
    const PathBuilder& path;
    std::function<void(Scene&)> prepare;
    std::function<void(Scene&)> change;
    bool isSeen;
  } cases[] = {
      {"step", coarse, nothing, [](Scene& s) { s.par.SetMaxAngleStep(6); }, true},
      {"distance rule", fine, [](Scene& s) { s.par.SetInterpolationDistance(1); },
       [](Scene& s) { s.par.SetInterpolateByDistance(true); }, true},
      {"distance", fine,
       [](Scene& s) {
         s.par.SetInterpolateByDistance(true);
         s.par.SetInterpolationDistance(1.5);
       },
       [](Scene& s) { s.par.SetInterpolationDistance(0.5); }, true},
      {"rapid moves", rapid,
       [](Scene& s) {
         s.par.SetInterpolateByDistance(true);
         s.par.SetInterpolationDistance(0.5);
       },
       [](Scene& s) { s.par.SetInterpolateRapidMoves(true); }, true},
      {"mode", coarse, nothing, [](Scene& s) { s.par.SetInterpolationMode(1); }, true},
      {"pole tolerance of solutions", besidePole,
       [](Scene& s) {
         s.machine.kind = 1;
         s.par.SetMaxAngleStep(0);
         s.par.SetPoleHandling(zvKDRParam::keepWithinLimits);
       },
       [](Scene& s) { s.par.SetPoleAngleTolerance(3); }, true},
      {"rule of later moves", acrossPole, noSteps,
       [](Scene& s) { s.par.SetFirstMoveByRule(false); }, true},
      {"limits of later moves", acrossPole,
       [](Scene& s) {
         s.par.SetMaxAngleStep(0);
         s.machine.secondRange = {-3, 110};
       },
       [](Scene& s) { s.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes); }, true},
      {"origin", fine, nothing, [](Scene& s) { s.origin.x = 5; }, true},
      {"control", Turns(-20, 20, 2), nothing,
       [](Scene& s) { s.control.SetFirstAxisLimit(zv5axControlDef::angleLimit360); }, true},

      {"first solution", fine, nothing,
       [](Scene& s) { s.par.SetFirstMoveSolutionIndex(zvKDRParam::mirrorSolution); }, false},
      {"first angle", fine, nothing,
       [](Scene& s) {
         s.par.SetFirstMoveRule(zvKDRParam::byFirstAxis);
         s.par.SetFirstMovePreferredAngle(180);
       },
       false},
      {"limits of the list", fine, [](Scene& s) { s.machine.high.x = -100; },
       [](Scene& s) { s.par.SetLimitsCheck(zvKDRParam::checkLinearAxes); }, false},
      {"an unknown check", fine, nothing,
       [](Scene& s) { s.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(7)); }, false},
      {"slack of limits", fine,
       [](Scene& s) {
         s.machine.firstRange = {-10, 49.99995};
         s.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes);
       },
       [](Scene& s) { s.par.SetLimitTolerance(1e-5); }, false},
      {"largest jump", jump, jumps, [](Scene& s) { s.par.SetMaxAngleJump(179); }, false},
      {"lift", jump, jumps, [](Scene& s) { s.par.SetRetractDistance(7); }, false},
      {"lift to limits", jump, jumps, [](Scene& s) { s.par.SetRetractToLimits(true); }, false},
      {"step of rewindings", wound, rewinds, [](Scene& s) { s.par.SetMaxAngleStep(30); }, false},
      {"lift of rewindings", wound, rewinds, [](Scene& s) { s.par.SetRetractDistance(7); }, false},
      {"spreading of poles", onPole, nothing,
       [](Scene& s) { s.par.SetPoleHandling(zvKDRParam::spreadEvenly); }, false},
      {"way of one orientation", standing,
       [](Scene& s) {
         s.par.SetFirstMoveRule(zvKDRParam::bySecondAxis);
         s.par.SetFirstMovePreferredAngle(-30);
         s.control.SetFirstAxisLimit(zv5axControlDef::angleLimit360);
         s.control.SetSecondAxisLimit(zv5axControlDef::angleLimit180);
       },
       [](Scene& s) { s.par.SetPoleHandling(zvKDRParam::keepWithinLimits); }, false},
      {"slack of one orientation", standing,
       [](Scene& s) {
         s.machine.firstRange = {0, 39.5};
         s.par.SetPoleAngleTolerance(0.57);
         s.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes);
       },
       [](Scene& s) { s.par.SetPoleAngleTolerance(0.1); }, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FiveAxisScene scene;
    c.prepare(scene);
    const Outcome asMade = PostAnew(scene, c.path);
    zvPosted5axTPCreator creator = scene.Creator();
    c.change(scene);
    const Outcome asChanged = PostAnew(scene, c.path);
    ASSERT_FALSE(asMade == asChanged);
    EXPECT_TRUE(Post(creator, c.path) == (c.isSeen ? asChanged : asMade));
  }
}

TEST(FiveAxisCreator, ANewMachineReachesWhatMendsAListButNotSolutions) {
  const struct {
    const char* name;
    PathBuilder path;
    std::function<void(FiveAxisScene&)> change;
    bool isSeen;
  } cases[] = {
      {"pivot of solutions", Turns(0, 50, 10),
       [](FiveAxisScene& s) { s.machine.firstPivot.x = 100; }, false},
      {"axes of solutions", Turns(0, 50, 10),
       [](FiveAxisScene& s) {
         s.machine.second = {0, 1, 0};
       },
       false},
      {"limits", Turns(0, 50, 10), [](FiveAxisScene& s) { s.machine.low.x = 90000; }, true},
      {"units", Turns(0, 50, 10), [](FiveAxisScene& s) { s.machine.units = tests::kInch; }, true},
      {"lifts", Through({{0, 30}, {0, 31}, {150, 31}}),
       [](FiveAxisScene& s) { s.machine.firstPivot.x = 100; }, true},
      {"one orientation", Through({{40, 30}, {40, 30}}),
       [](FiveAxisScene& s) { s.machine.firstPivot.x = 100; }, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FiveAxisScene scene;
    scene.par.SetMaxAngleStep(0);
    scene.par.SetMaxAngleJump(20);
    scene.par.SetLimitsCheck(zvKDRParam::checkLinearAxes);
    const Outcome asMade = PostAnew(scene, c.path);
    zvPosted5axTPCreator creator = scene.Creator();
    c.change(scene);
    const post::zv5axMachDef changed = scene.machine.MachDef();
    creator.SetMachDef(changed);
    EXPECT_FALSE(PostAnew(scene, c.path) == asMade);
    EXPECT_EQ(Post(creator, c.path) == asMade, !c.isSeen);
    EXPECT_EQ(creator.GetMachDef().GetFirstRotationPivot(), changed.GetFirstRotationPivot());
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
    const Outcome once = Post(creator, path);
    ASSERT_EQ(once.id, 0u);
    const double sign = isFirst ? -1 : 1;
    for (const zvPosted5axMove& line : once.lines) EXPECT_NEAR(line.GetAngle(1), sign * 30, 1e-9);
    EXPECT_EQ(creator.GetPar().GetFirstMoveSolutionIndex(),
              isFirst ? zvKDRParam::mirrorSolution : zvKDRParam::firstSolution);
    EXPECT_EQ(scene.par.GetFirstMoveSolutionIndex(), index);
    EXPECT_TRUE(Post(creator, path) == once);
    // It stays for other paths, and goes with a copy.
    EXPECT_NEAR(Post(creator, plain).lines.front().GetAngle(1), sign * 30, 1e-9);
    zvPosted5axTPCreator copy(creator);
    EXPECT_NEAR(Post(copy, plain).lines.front().GetAngle(1), sign * 30, 1e-9);
    EXPECT_NEAR(PostAnew(scene, plain).lines.front().GetAngle(1), -sign * 30, 1e-9);
  }
}

TEST(FiveAxisCreator, AListThatNothingHelpsTurnsTheSolutionRoundEachTime) {
  const FiveAxisScene scene = OneSided();
  const PathBuilder path = Turns(152.5, 402.5, 5);
  zvPosted5axTPCreator creator = scene.Creator();
  for (const auto expected : {zvKDRParam::mirrorSolution, zvKDRParam::firstSolution}) {
    EXPECT_EQ(Post(creator, path).id, 5018u);
    EXPECT_EQ(creator.GetPar().GetFirstMoveSolutionIndex(), expected);
    // The list is that of the second attempt.
    const double second = expected == zvKDRParam::mirrorSolution ? -30 : 30;
    EXPECT_NEAR(creator.GetPostedList()->Front().GetAngle(1), second, 1e-9);
  }
}

TEST(FiveAxisCreator, ACopyPostsOnItsOwn) {
  FiveAxisScene scene;
  scene.toolLength = 80;
  scene.machine.low = {-500, -500, -500};
  scene.machine.high = {-5, 500, 500};  // for which a pole must turn the part
  scene.par.SetPoleHandling(zvKDRParam::keepWithinLimits);
  const PathBuilder path =
      PathBuilder().Contour({Move5({10, 0, 0}, {0, 0, 1}), Move5({11, 0, 0}, {0, 0, 1})});
  auto creator = std::make_unique<zvPosted5axTPCreator>(scene.machine.MachDef(), scene.control,
                                                        scene.par, scene.origin, scene.toolLength);
  const Outcome expected = Post(*creator, path);
  ASSERT_LE(expected.lines.front().GetMachinePosition().x, -5);
  zvPosted5axTPCreator copy(*creator);
  const auto kept = creator->GetPostedList();
  EXPECT_TRUE(copy.GetPostedList().IsNull());
  copy.ClearPostedList();
  EXPECT_EQ(kept->GetCount(), expected.lines.size());
  creator.reset();
  EXPECT_EQ(kept->GetCount(), 0u);
  EXPECT_TRUE(Post(copy, path) == expected);
  EXPECT_EQ(copy.GetInstanceType(), zvPostedTPCreator::instance5ax);
}

TEST(FiveAxisCreator, TakesItsMachineThroughAPointerToo) {
  FiveAxisScene scene;
  const auto pointerTo = [&] {
    return misc::zvAutoPointer<post::zvMachDef>(
        misc::MakeAutoPointer<post::zv5axMachDef>(scene.machine.MachDef()));
  };
  const PathBuilder path = Turns(0, 10, 2);
  const Outcome expected = PostAnew(scene, path);
  zvPosted5axTPCreator creator(pointerTo(), scene.control, scene.par, scene.origin, 0);
  EXPECT_TRUE(Post(creator, path) == expected);
  scene.machine.units = tests::kInch;
  creator.SetMachDef(pointerTo());
  EXPECT_EQ(Post(creator, path).id, 5032u);
  EXPECT_EQ(creator.GetMachDefPtr()->GetUnits(), tests::kInch);
  EXPECT_NE(creator.GetMachDefPtr().Get(), &creator.GetMachDef());
  const misc::zvAutoPointer<post::zvMachDef> other(misc::MakeAutoPointer<post::zv3axMachDef>());
  EXPECT_TRUE(ThrowsId<zvPostException>([&] { creator.SetMachDef(other); }, 5043,
                                        L"Wrong static method called."));
}

TEST(FiveAxisCreator, EachPostingStartsAListOfItsOwn) {
  const FiveAxisScene scene;
  zvPosted5axTPCreator creator = scene.Creator();
  EXPECT_TRUE(creator.GetPostedList().IsNull());
  creator.PostRun(Turns(0, 10, 2), true);
  const auto former = creator.GetPostedList();
  creator.PostRun(cadcam::zvToolPath(tests::kInch), true);  // without passes: not even its units
  EXPECT_EQ(creator.GetPostedList()->GetCount(), 0u);
  EXPECT_EQ(former->GetCount(), 6u);
  creator.SetPostedList(former);
  EXPECT_EQ(creator.GetPostedList()->GetCount(), 6u);
  EXPECT_FALSE(creator.GetPostedList().Get() == former.Get());
  creator.ClearPostedList();
  EXPECT_EQ(creator.GetPostedList()->GetCount(), 0u);
  EXPECT_EQ(former->GetCount(), 6u);
}

TEST(FiveAxisCreator, WhatIsNoNumberInItsSetupIsRefused) {
  for (const double bad : {kNaN, kInfinity, -kInfinity})
    for (const bool isLength : {false, true}) {
      FiveAxisScene scene;
      (isLength ? scene.toolLength : scene.origin.y) = bad;
      zvPosted5axTPCreator creator = scene.Creator();
      for (const PathBuilder& path : {Turns(0, 10, 2), Through({{0, 0}})}) {
        EXPECT_TRUE(ThrowsId<zvPostException>([&] { creator.Post(path, true); }, 5039,
                                              L"Invalid vector was passed."));
        EXPECT_EQ(creator.GetPostedList()->GetCount(), 0u);
      }
    }
}

// Whatever the parameters and limits are, a posting ends: with a list, or with an error.
TEST(FiveAxisCreator, EndsOnAbsurdParametersAndLimits) {
  using Scene = FiveAxisScene;
  const std::function<void(Scene&, double)> fields[] = {
      [](Scene& s, double odd) { s.par.SetMaxAngleStep(odd); },
      [](Scene& s, double odd) {
        s.par.SetInterpolateByDistance(true);
        s.par.SetInterpolationDistance(odd);
      },
      [](Scene& s, double odd) { s.par.SetMaxAngleJump(odd); },
      [](Scene& s, double odd) { s.par.SetRetractDistance(odd); },
      [](Scene& s, double odd) { s.par.SetLimitTolerance(odd); },
      [](Scene& s, double odd) { s.par.SetFirstMovePreferredAngle(odd); },
      [](Scene& s, double odd) { s.machine.firstRange.first = odd; },
      [](Scene& s, double odd) { s.machine.firstRange.second = odd; },
      [](Scene& s, double odd) { s.machine.secondRange.first = odd; },
      [](Scene& s, double odd) { s.machine.secondRange.second = odd; },
      [](Scene& s, double odd) { s.machine.low.x = odd; },
      [](Scene& s, double odd) { s.machine.high.y = odd; },
  };
  const PathBuilder path = Turns(0, 900, 5);
  for (const double odd : {0.0, -1.0, 1e-300, 1e300, kNaN, kInfinity, -kInfinity})
    for (const auto& set : fields)
      for (const bool isChecked : {false, true}) {
        Scene scene;
        scene.machine.firstRange = {-360, 360};
        if (isChecked) scene.par.SetLimitsCheck(zvKDRParam::checkAllAxes);
        set(scene, odd);
        const Outcome outcome = PostAnew(scene, path);
        const bool isLimit = isChecked && outcome.id >= 5010 && outcome.id <= 5019;
        EXPECT_TRUE(outcome.id == 0 || outcome.id == 5039 || isLimit)
            << outcome.id << ' ' << odd << ' ' << &set - fields;
        EXPECT_LT(outcome.lines.size(), 100000u) << odd << ' ' << &set - fields;
      }
}

}  // namespace
