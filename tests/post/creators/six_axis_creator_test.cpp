#include <gtest/gtest.h>
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/post/creators/six_axis_creator.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/six_axis_scenes.h>
#include <tests/support/throws_id.h>
#include <tests/support/toolpath_builders.h>

#include <limits>

namespace {

using post::zv6axMachDef;
using post::zvKDRParam;
using post::zvPosted6axMove;
using post::zvPostedMove;
using post::zvPostException;
using tests::Move5;
using tests::PathBuilder;
using tests::Point;
using tests::Seeded;
using tests::SixAxisScene;
using tests::ThrowsId;
using tests::ToPoint;
using tests::ToVector;

template <class Action>
testing::AssertionResult Fails(Action&& action, std::uint32_t id) {
  return ThrowsId<zvPostException>(action, id);
}

using Lines = std::vector<zvPosted6axMove>;

PathBuilder RandomPath(Seeded& random, const SixAxisScene& scene) {
  return tests::Build(RandomReachablePath(random, scene, random.Integer(2, 40)));
}

// The 5-axis creator of the same machine, whose directions come to it as unit vectors.
zvPosted5axTPCreator FiveAxisTwin(const SixAxisScene& scene) {
  tests::FiveAxisSetup machine = scene.machine;
  for (Point* p : {&machine.spindle, &machine.first, &machine.second}) *p = p->Normalized();
  return {machine.MachDef(), scene.control, scene.par, scene.origin, scene.toolLength};
}

// The same lines in both classes, field by field.
void ExpectWidened(zvPosted6axTPCreator& six, zvPosted5axTPCreator& five, double thirdAngle) {
  ASSERT_EQ(six.GetPostedList()->GetCount(), five.GetPostedList()->GetCount());
  auto other = five.GetPostedList()->begin();
  for (const zvPosted6axMove& line : *six.GetPostedList()) {
    // The shared part has its own comparison, extended block included.
    ASSERT_TRUE(static_cast<const zvPostedMove&>(line) == static_cast<const zvPostedMove&>(*other));
    ASSERT_EQ(line.GetMachinePosition(), other->GetMachinePosition());
    ASSERT_EQ(line.GetAngle(0), other->GetAngle(0));
    ASSERT_EQ(line.GetAngle(1), other->GetAngle(1));
    ASSERT_EQ(line.GetAngle(2), thirdAngle);
    ASSERT_EQ(line.GetPoleStatus(), other->GetPoleStatus());
    ++other;
  }
  ASSERT_EQ(six.GetCounts().blendedPoles, five.GetCounts().blendedPoles);
  ASSERT_EQ(six.GetCounts().largeJumps, five.GetCounts().largeJumps);
  ASSERT_EQ(six.GetCounts().rewindings, five.GetCounts().rewindings);
}

// Rewinding, poles, large jumps, wrapping and limits are those of five axes. The flags of first and
// second axis decide about the sides; what is told of the third and the kind do not.
TEST(SixAxisCreator, PostsAsTheFiveAxisCreatorOfItsFlagsDoes) {
  constexpr struct {
    std::int32_t first, second, kind;
  } kSides[] = {{0, 0, 1}, {1, 1, 3}, {1, 0, 2}, {1, 2, 2}, {1, -1, 2},
                {0, 1, 2}, {2, 2, 2}, {2, 0, 2}, {0, 7, 2}, {-1, -1, 2}};
  Seeded random;
  int refused = 0;
  std::uint32_t rewindings = 0;
  for (int i = 0; i < 400; ++i) {
    SixAxisScene scene = RandomSixAxisScene(random);
    const auto& sides = kSides[i % 10];
    scene.machine.kind = sides.kind;
    scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(random.Integer(0, 3)));
    scene.par.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(random.Integer(1, 3)));
    scene.par.SetMaxAngleJump(random.Real(20, 179));
    scene.par.SetFirstMoveSolutionIndex(random.Chance(0.5) ? zvKDRParam::mirrorSolution
                                                           : zvKDRParam::firstSolution);
    scene.control.SetFirstAxisLimit(
        static_cast<post::zv5axControlDef::angleLimit>(random.Integer(0, 2)));
    const double reach = random.Real(185, 300);
    scene.machine.firstRange = {-reach, reach};
    zv6axMachDef machDef = scene.MachDef();
    machDef.SetFirstOnWorkpiece(sides.first);
    machDef.SetSecondOnWorkpiece(sides.second);
    machDef.SetThirdOnWorkpiece(random.Integer(-1, 2));
    const auto path = RandomPath(random, scene);
    const bool small = random.Chance(0.3);
    zvPosted5axTPCreator five = FiveAxisTwin(scene);
    zvPosted6axTPCreator six(machDef, scene.control, scene.par, scene.origin, scene.toolLength);
    try {
      five.Post(path, small);
    } catch (const misc::zvException& e) {
      ++refused;
      ASSERT_TRUE(Fails([&] { six.Post(path, small); }, e.GetId()));
      continue;
    }
    six.Post(path, small);
    ExpectWidened(six, five, scene.thirdAngle);
    if (HasFatalFailure()) FAIL() << i << ' ' << sides.first << ' ' << sides.second;
    rewindings += six.GetCounts().rewindings;
  }
  EXPECT_GT(rewindings, 10u);
  EXPECT_LT(refused, 200);
}

SixAxisScene TrunnionScene() {
  SixAxisScene scene;
  scene.thirdAngle = 30;
  return scene;
}

TEST(SixAxisCreator, AFailedRunKeepsTheFormerListAndAnEmptyPathDoesNot) {
  SixAxisScene scene = TrunnionScene();
  scene.machine.second = {0, 1, 1};  // reaches down to the horizontal and no further
  zvPosted6axTPCreator creator = scene.SixAxisCreator();
  EXPECT_TRUE(creator.GetPostedList().IsNull());
  const auto down =
      PathBuilder().Contour({Move5({1, 2, 3}, {0, 0, 1}), Move5({0, 0, 0}, {0, 0, -1})});
  EXPECT_TRUE(Fails([&] { creator.Post(down, true); }, 5000));
  EXPECT_TRUE(creator.GetPostedList().IsNull());

  const auto former = creator.Post(
      PathBuilder().Contour({Move5({1, 2, 3}, {0, 0, 1}), Move5({9, 2, 3}, {0, 0.6, 0.8})}), false);
  const std::uint32_t count = former->GetCount();
  EXPECT_GT(count, 10u);
  EXPECT_TRUE(Fails([&] { creator.Post(down, true); }, 5000));
  const auto inch = PathBuilder(tests::kInch).Contour({Move5({}, {0, 0, 1})});
  EXPECT_TRUE(Fails([&] { creator.Post(inch, true); }, 5033));
  EXPECT_EQ(creator.GetPostedList(), former);
  EXPECT_EQ(former->GetCount(), count);

  // The former list lives on with whoever holds it; another unit is no matter without a move.
  EXPECT_TRUE(creator.Post(cadcam::zvToolPath(tests::kInch), true)->IsEmpty());
  EXPECT_NE(creator.GetPostedList(), former);
  EXPECT_EQ(former->GetCount(), count);
}

TEST(SixAxisCreator, SetListsAreCopiesAndCreatorsShareNone) {
  const SixAxisScene scene = TrunnionScene();
  zvPosted6axTPCreator creator = scene.SixAxisCreator();
  EXPECT_EQ(creator.GetInstanceType(), zvPostedTPCreator::instance6ax);
  creator.ClearPostedList();
  creator.PostRun(PathBuilder().Contour({Move5({1, 2, 3}, {0, 0, 1})}), false);
  zvPosted6axTPCreator copy(creator);
  EXPECT_TRUE(copy.GetPostedList().IsNull());
  EXPECT_EQ(copy.GetInstanceType(), zvPostedTPCreator::instance6ax);
  copy.SetPostedList(creator.GetPostedList());
  creator.ClearPostedList();
  EXPECT_TRUE(creator.GetPostedList()->IsEmpty());
  ASSERT_EQ(copy.GetPostedList()->GetCount(), 1u);
  EXPECT_EQ(copy.GetPostedList()->Front().GetAngle(2), 30);
  EXPECT_EQ(copy.GetPostedList()->Front().GetExtendedId(), 7u);

  const auto machDef = creator.GetMachDefPtr();
  EXPECT_EQ(machDef->GetNumbersOfAxes(), post::zvMachDef::sixAxes);
  EXPECT_NE(machDef.Get(), &creator.GetMachDef());
}

TEST(SixAxisCreator, ASingleMoveComesInBothSolutions) {
  Seeded random;
  for (int i = 0; i < 300; ++i) {
    const SixAxisScene scene = RandomSixAxisScene(random);
    const auto creator = scene.SixAxisCreator();
    const tests::SourceMove source = RandomReachablePath(random, scene, 1).front();
    const auto move = Move5(source.tip, source.orientation);
    const auto [first, mirror] = creator.PostMove(move, zvPostedMove::link2);
    const auto [alone, angles] = creator.PostMove2(move, zvPostedMove::link2);
    ASSERT_TRUE(alone == first);
    ASSERT_EQ(angles.firstAngle, mirror.GetAngle(0));
    ASSERT_EQ(angles.secondAngle, mirror.GetAngle(1));
    ASSERT_EQ(angles.machinePosition, mirror.GetMachinePosition());
    for (const zvPosted6axMove& line : {first, mirror}) {
      const auto pose =
          scene.SixAxisModel().At(ToVector(line.GetMachinePosition()), line.GetAngle(0),
                                  line.GetAngle(1), line.GetAngle(2));
      const double size = scene.Size() + scene.thirdPivot.Length() + source.tip.Length() +
                          line.GetMachinePosition().Length();
      ASSERT_LE((ToPoint(pose.tip) - source.tip).Length(), 1e-9 * size);
      ASSERT_LE((ToPoint(pose.axis) - source.orientation.Normalized()).Length(), 2e-4);
      ASSERT_EQ(line.GetAngle(2), scene.thirdAngle);
      ASSERT_EQ(line.GetPoleStatus(), first.GetPoleStatus());
      ASSERT_EQ(line.GetType(), zvPostedMove::link2);
      ASSERT_EQ(line.GetExtendedId(), 7u);
      ASSERT_TRUE(line.IsInserted());
      ASSERT_EQ(line.GetSourceIndex(), 0);
    }
  }
}

TEST(SixAxisCreator, SingleMovesKeepTheLimits) {
  SixAxisScene scene = TrunnionScene();
  const auto move = Move5({10, 20, 30}, {0, 0.6, 0.8});
  const auto within = [&] {
    return scene.SixAxisCreator().PostMoveWithinMachLimits(move, zvPostedMove::noLink);
  };
  scene.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes);
  const auto [first, second] = within();
  EXPECT_EQ(first->GetAngle(1), -second->GetAngle(1));
  EXPECT_EQ(first->GetAngle(2), 30);
  EXPECT_EQ(second->GetAngle(2), 30);
  const double side = first->GetAngle(1) > 0 ? 1 : -1;
  scene.machine.secondRange = {45 * side - 45, 45 * side + 45};
  EXPECT_TRUE(within().first && within().second.IsNull());
  scene.machine.secondRange = {-45 * side - 45, -45 * side + 45};
  EXPECT_TRUE(within().first.IsNull() && within().second);
  scene.machine.secondRange = {-10, 10};
  EXPECT_THROW(within(), zvPostException);
  scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(7));
  EXPECT_TRUE(Fails(within, 5046));
}

// Postings read the creator's own parameters and machine; the solver those of the constructor.
TEST(SixAxisCreator, ReadsParametersAndMachinesWhereItShould) {
  SixAxisScene scene = TrunnionScene();
  scene.machine.secondRange = {-10, 10};
  zvPosted6axTPCreator creator = scene.SixAxisCreator();
  const auto nearPole = Move5({10, 20, 30}, {0, 0.05, 1});
  const auto path = PathBuilder().Contour({nearPole, Move5({11, 20, 30}, {0, 0.06, 1})});
  const auto poleOfSingle = [&] {
    return creator.PostMove2(nearPole, zvPostedMove::noLink).first.GetPoleStatus();
  };
  const auto post = [&] {
    const auto list = creator.Post(path, true);
    return Lines(list->begin(), list->end());  // copies, as a creator empties its list
  };
  const Lines before = post();
  EXPECT_EQ(poleOfSingle(), 0u);
  scene.par.SetPoleAngleTolerance(5);
  scene.par.SetLimitsCheck(zvKDRParam::checkAllAxes);
  EXPECT_EQ(poleOfSingle(), 1u);
  EXPECT_EQ(post(), before);
  EXPECT_FALSE(creator.PostMoveWithinMachLimits(Move5({}, {0, 0.6, 0.8}), zvPostedMove::noLink)
                   .first.IsNull())
      << "limits are still not checked";

  const auto single = creator.PostMove2(Move5({}, {0, 0.6, 0.8}), zvPostedMove::noLink).first;
  zv6axMachDef other = scene.MachDef();
  other.SetFirstRotationPivot({100, 0, 0});
  other.SetSecondRotationPivot({0, 0, 100});
  other.SetThirdAngle(-7);
  creator.SetMachDef(other);
  const auto again = creator.PostMove2(Move5({}, {0, 0.6, 0.8}), zvPostedMove::noLink).first;
  EXPECT_EQ(again.GetMachinePosition(), single.GetMachinePosition());
  EXPECT_EQ(again.GetAngle(2), -7);
  EXPECT_NE(post().front().GetMachinePosition(), before.front().GetMachinePosition());
}

// The first solution that a failing rewinding turns round is that run's own.
TEST(SixAxisCreator, OnePostingDoesNotInfluenceTheNext) {
  SixAxisScene scene = TrunnionScene();
  scene.machine.firstRange = {0, 180};
  scene.machine.secondRange = {1, 100};
  scene.par.SetLimitsCheck(zvKDRParam::checkRotaryAxes);
  PathBuilder::Moves screw;
  for (int i = 0; i < 100; ++i)
    screw.push_back(Move5({0, 0, 0.1 * i}, ToPoint(scene.Model().At({}, 5.0 * i, 30).axis)));
  const auto path = PathBuilder().Contour(screw);
  zvPosted5axTPCreator five = scene.Creator();
  EXPECT_THROW(five.Post(path, true), zvPostException);
  ASSERT_EQ(five.GetPar().GetFirstMoveSolutionIndex(), zvKDRParam::mirrorSolution);
  zvPosted6axTPCreator six = scene.SixAxisCreator();
  EXPECT_THROW(six.Post(path, true), zvPostException);
  EXPECT_EQ(six.GetPar().GetFirstMoveSolutionIndex(), zvKDRParam::firstSolution);
}

TEST(SixAxisCreator, RefusesMachinesThatCannotBePostedFor) {
  const SixAxisScene scene;
  const auto from = [&](const auto& machDef) {
    return [&scene, machDef] {
      zvPosted6axTPCreator(machDef, scene.control, scene.par, scene.origin, 0);
    };
  };
  zv6axMachDef parallel = scene.MachDef();
  parallel.SetSecondRotationDirection({0, 0, -3});
  EXPECT_TRUE(Fails(from(parallel), 5045));
  // The definition takes both; only as unit vectors they are the same.
  zv6axMachDef equal = scene.MachDef();
  equal.SetFirstRotationDirection({0, 3, 0});
  equal.SetSecondRotationDirection({0, 5, 0});
  EXPECT_TRUE(Fails(from(equal), 5002));
  zv6axMachDef noNumber = scene.MachDef();
  noNumber.SetFirstRotationPivot({0, std::numeric_limits<double>::quiet_NaN(), 0});
  EXPECT_TRUE(Fails(from(noNumber), 5039));
  EXPECT_TRUE(ThrowsId<cadcam::zvcadcamException>(from(zv6axMachDef()), 2189))
      << "the third direction of a default definition is zero";
  EXPECT_NO_THROW(from(scene.MachDef().Clone())());
  EXPECT_TRUE(Fails(from(post::zv5axMachDef().Clone()), 5043));
  EXPECT_TRUE(tests::ThrowsNull(from(misc::zvAutoPointer<post::zvMachDef>())));
  auto creator = scene.SixAxisCreator();
  creator.SetMachDef(parallel);
  EXPECT_THROW(creator.Post(PathBuilder().Contour({Move5({}, {0, 0, 1})}), true), zvPostException);
  EXPECT_THROW(creator.SetMachDef(post::zv5axMachDef().Clone()), zvPostException);
}

}  // namespace
