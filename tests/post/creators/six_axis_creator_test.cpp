#include <tests/post/creators/rows.h>
#include <tests/support/outcome.h>
#include <tests/support/random_path.h>
#include <tests/support/six_axis_scenes.h>

namespace tests {
namespace {

using post::zv6axMachDef;
using post::zvPostedMove;

// The 5-axis creator of the same machine, whose directions come to it as unit vectors.
zvPosted5axTPCreator FiveAxisTwin(const SixAxisScene& scene) {
  FiveAxisSetup machine = scene.machine;
  for (Point* p : {&machine.spindle, &machine.first, &machine.second}) *p = p->Normalized();
  return {machine.MachDef(), scene.control, scene.par, scene.origin, scene.toolLength};
}

// The same line in both classes, field by field.
void ExpectWidened(const Line& line, Line other, double third) {
  other.degs.push_back(third);
  ASSERT_TRUE(line == other);
}

// Rewinding, poles, large jumps, wrapping and limits are those of five axes. The flags of first and
// second axis decide about the sides; what is told of the third and the kind do not.
TEST(SixAxisCreator, PostsAsTheFiveAxisCreatorOfItsFlagsDoes) {
  const auto sides = Rows<3>("six_axis_sides.txt");
  Seeded random;
  int refused = 0, turned = 0;
  std::uint32_t rewindings = 0;
  for (int i = 0; i < 400; ++i) {
    SixAxisScene scene = RandomSixAxisScene(random);
    const auto& [name, first, second, kind] = sides[static_cast<std::size_t>(i) % sides.size()];
    scene.machine.kind = static_cast<std::int32_t>(kind);
    scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(random.Integer(0, 3)));
    scene.par.SetPoleHandling(static_cast<zvKDRParam::PoleHandling>(random.Integer(1, 3)));
    scene.par.SetMaxAngleJump(random.Real(20, 179));
    scene.par.SetFirstMoveSolutionIndex(random.Chance(0.5) ? zvKDRParam::mirrorSolution
                                                           : zvKDRParam::firstSolution);
    const int wrap = random.Integer(0, 2);
    scene.control = Wrapping(wrap, wrap);
    const double reach = random.Real(185, 300);
    scene.machine.firstRange = {-reach, reach};
    if (random.Chance(0.3)) scene.machine.secondRange = {-90, 90};
    zv6axMachDef machDef = scene.MachDef();
    machDef.SetFirstOnWorkpiece(static_cast<std::int32_t>(first));
    machDef.SetSecondOnWorkpiece(static_cast<std::int32_t>(second));
    machDef.SetThirdOnWorkpiece(random.Integer(-1, 2));
    const auto source =
        RandomPath(random, scene.Model(), scene.machine.first, i % 2 == 0 ? kSweep : kScrew);
    const bool small = random.Chance(0.3);
    zvPosted5axTPCreator five = FiveAxisTwin(scene);
    zvPosted6axTPCreator six(machDef, scene.control, scene.par, scene.origin, scene.toolLength);
    const auto expected = PostBy(five, Build(source), small);
    const auto outcome = PostBy(six, Build(source), small);
    SCOPED_TRACE(testing::Message() << i << ' ' << name);
    ASSERT_EQ(outcome.id, expected.id);
    // The first solution that a failing attempt turns round is that posting's own.
    const auto index = scene.par.GetFirstMoveSolutionIndex();
    ASSERT_EQ(six.GetPar().GetFirstMoveSolutionIndex(), index);
    turned += five.GetPar().GetFirstMoveSolutionIndex() != index;
    refused += expected.id != 0;
    if (expected.id == 0) {
      ASSERT_EQ(outcome.lines.size(), expected.lines.size());
      for (std::size_t k = 0; k < outcome.lines.size(); ++k)
        ExpectWidened(outcome.lines[k], expected.lines[k], scene.thirdAngle);
      ASSERT_EQ(outcome.counts.blendedPoles, expected.counts.blendedPoles);
      ASSERT_EQ(outcome.counts.largeJumps, expected.counts.largeJumps);
      ASSERT_EQ(outcome.counts.rewindings, expected.counts.rewindings);
      rewindings += outcome.counts.rewindings;
    }
    const auto move = Move5(source[0].tip, source[0].orientation);
    const auto solutions = five.PostMove(move, {});
    const auto lines = six.PostMove(move, {});
    const auto [alone, angles] = six.PostMove2(move, {});
    ExpectWidened(LineOf(lines.first), LineOf(solutions.first), scene.thirdAngle);
    ExpectWidened(LineOf(lines.second), LineOf(solutions.second), scene.thirdAngle);
    ExpectWidened(LineOf(alone), LineOf(solutions.first), scene.thirdAngle);
    ASSERT_EQ(angles, five.PostMove2(move, {}).second);
    const std::uint32_t id = IdOf([&] { five.PostMoveWithinMachLimits(move, {}); });
    ASSERT_EQ(IdOf([&] { six.PostMoveWithinMachLimits(move, {}); }), id);
    if (id == 0) {
      const auto single = five.PostMoveWithinMachLimits(move, {});
      const auto [line, mirror] = six.PostMoveWithinMachLimits(move, {});
      ASSERT_EQ(line.IsNull(), single.first.IsNull());
      ASSERT_EQ(mirror.IsNull(), single.second.IsNull());
      if (line) ExpectWidened(LineOf(*line), LineOf(*single.first), scene.thirdAngle);
      if (mirror) ExpectWidened(LineOf(*mirror), LineOf(*single.second), scene.thirdAngle);
    }
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(rewindings, 10u);
  EXPECT_LT(refused, 200);
  EXPECT_GT(turned, 10);
}

// Postings read the creator's own parameters and machine; the solver those of the constructor.
TEST(SixAxisCreator, ReadsParametersAndMachinesWhereItShould) {
  SixAxisScene scene;
  scene.thirdAngle = 30;
  scene.machine.secondRange = {-10, 10};
  zvPosted6axTPCreator creator = scene.SixAxisCreator();
  const auto nearPole = Move5({10, 20, 30}, {0, 0.05, 1});
  const auto path = PathBuilder().Contour({nearPole, Move5({11, 20, 30}, {0, 0.06, 1})});
  const auto poleOfSingle = [&] {
    return creator.PostMove2(nearPole, zvPostedMove::noLink).first.GetPoleStatus();
  };
  const auto post = [&] { return PostBy(creator, path).lines; };
  const auto before = post();
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
  EXPECT_NE(post().front().machine, before.front().machine);
}

TEST(SixAxisCreator, RefusesMachinesThatCannotBePostedFor) {
  const SixAxisScene scene;
  const auto idOf = [&scene](const zv6axMachDef& machDef) {
    return IdOf([&] { zvPosted6axTPCreator(machDef, scene.control, scene.par, scene.origin, 0); });
  };
  zv6axMachDef parallel = scene.MachDef();
  parallel.SetSecondRotationDirection({0, 0, -3});
  EXPECT_EQ(idOf(parallel), 5045u);
  // The definition takes both; only as unit vectors they are the same.
  zv6axMachDef equal = scene.MachDef();
  equal.SetFirstRotationDirection({0, 3, 0});
  equal.SetSecondRotationDirection({0, 5, 0});
  EXPECT_EQ(idOf(equal), 5002u);
  EXPECT_EQ(idOf(zv6axMachDef()), 2189u) << "a default definition has no third direction";
  auto creator = scene.SixAxisCreator();
  creator.SetMachDef(parallel);
  EXPECT_EQ(PostBy(creator, PathBuilder().Contour({Move5({}, {0, 0, 1})})).id, 5045u);
}

}  // namespace
}  // namespace tests
