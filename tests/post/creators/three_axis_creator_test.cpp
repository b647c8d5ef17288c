#include <tests/post/creators/rows.h>
#include <tests/support/every_creator.h>
#include <tests/support/outcome.h>

namespace tests {
namespace {

using post::zvKDRParam;
using post::zvPostedMove;
using Scene = Workshop<zvPosted3axTPCreator>;

PathBuilder Contour(const PathBuilder::Moves& moves) {
  return PathBuilder().Contour(moves);
}

cadcam::zvMovePointer Toward(const Point& orientation, const Point& position = {}) {
  return Move3(position, 1000, false, orientation);
}

TEST(ThreeAxisCreator, PostsMovesOfBothClassesAndTimesThatHaveAFeed) {
  const Scene scene;
  const auto path = PathBuilder()
                        .Link(5, {Move3({0, 0, 50}, 3000, true), Move3({0, 0, 0}, 300)})
                        .Contour({Move5({3, 4, 0}, {0, 0, 1}, 600)})
                        .Link(2, {Move3({3, 4, 50}, 0)});
  const auto moves = Post(scene, path).lines;
  ASSERT_EQ(moves.size(), 4u);
  const double times[] = {0, 10, 0.5, 0};  // none without a feed
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(moves[i].time, times[i]);
  // A 5-axis source keeps its block; a 3-axis one has its position and orientation there, unmarked.
  EXPECT_EQ(moves[2].extended.at(6), 7);
  EXPECT_TRUE(moves[1].extended.empty());
  auto creator = scene.Creator();
  const auto& list = *creator.Post(path, false);
  EXPECT_EQ(std::next(list.begin())->GetExtendedPoint(), Point(0, 0, 0));
  EXPECT_EQ(std::next(list.begin())->GetExtendedVector(), Point(0, 0, 1));
  EXPECT_EQ(creator.GetPostedMoveType(path, path.Path().begin()), zvPostedMove::link5);
  EXPECT_EQ(IdOf([&] { creator.GetPostedMoveType(path, path.Path().end()); }), kNullPointer);
}

TEST(ThreeAxisCreator, TakesOnlyOrientationsAlongTheSpindle) {
  for (const auto& c : NumberCases("creators/data/spindle_orientations.txt")) {
    Scene scene;
    scene.par.SetAlignToolpath(c[0][0] != 0);
    PathBuilder::Moves moves;
    for (std::size_t i = 1; i < c.groups.size(); ++i)
      moves.push_back(c[i].empty() ? misc::MakeAutoPointer<cadcam::zvCNCMove>()
                                   : Toward({c[i].at(0), c[i].at(1), c[i].at(2)}));
    const auto outcome = Post(scene, Contour(moves));
    EXPECT_EQ(outcome.id, c[0][1]) << c.line;
    EXPECT_EQ(outcome.lines.size(), outcome.id == 0 ? moves.size() : 0) << c.line;
  }
  Scene noSpindle;
  noSpindle.machDef.SetSpindleDirection({});
  EXPECT_EQ(IdOf([&] { noSpindle.Creator(); }), 2189u);
}

TEST(ThreeAxisCreator, AnInterpolationThatFailsLeavesNothingOfItself) {
  const std::tuple<double, cadcam::zvMovePointer, std::uint32_t> cases[] = {
      {1e-9, Move3({10, 0, 0}), 5039},           // more steps than can be counted
      {4, Move5({10, 0, 0}, {0, 0, -1}), 2189},  // null half way, at the second of three
  };
  for (const auto& [step, last, id] : cases)
    for (const bool smallMoves : {false, true}) {
      Scene scene;
      DivideByDistance(scene.par, step);
      auto creator = scene.Creator();
      // Orientations are not checked then.
      creator.SetTransfor3d(misc::MakeAutoPointer<post::zvTransformation3d>());
      const auto outcome = PostBy(creator, Contour({Move3({}), Move3({}), last}), smallMoves);
      EXPECT_EQ(outcome.id, id);
      EXPECT_EQ(outcome.lines.size(), 2u);
    }
}

TEST(ThreeAxisCreator, ReportsTheFirstLimitBrokenByMoreThanRounding) {
  for (const auto& [name, x, y, z, id] : Rows<4>("unit_cube.txt"))
    for (const int check : {0, 1, 2, 3, -3}) {
      SCOPED_TRACE(name);
      Scene scene;
      scene.machDef.SetMinLimits({0, 0, 0});
      scene.machDef.SetMaxLimits({1, 1, 1});
      scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(check));
      const auto creator = scene.Creator();
      const auto move = Move3({x, y, z});
      // A single move is checked by an unknown value, too.
      const double single =
          check != zvKDRParam::checkNothing && check != zvKDRParam::checkRotaryAxes ? id : 0;
      EXPECT_EQ(IdOf([&] { creator.PostMoveWithinMachLimits(move, {}); }), single);
      EXPECT_EQ(Post(scene, Contour({Move3({}), move}), true).id, check < 0 ? 5046 : single);
    }
}

TEST(ThreeAxisCreator, InterpolatesByDistance) {
  for (const auto& [name, distance, step, inserted] : Rows<3>("distances.txt"))
    for (const bool smallMoves : {false, true}) {
      Scene scene;
      DivideByDistance(scene.par, step);
      scene.origin = {5, 0, 0};
      const auto path =
          Contour({Move5({}, {0, 0, 1}, 100), Move5({distance, 0, 0}, {0, 0, 1}, 200)});
      const auto moves = Post(scene, path, smallMoves).lines;
      ASSERT_EQ(moves.size(), inserted + 2) << name;
      for (std::size_t i = 1; i < moves.size(); ++i) {
        const double t = static_cast<double>(i) / (inserted + 1);
        EXPECT_NEAR(moves[i].part.x, distance * t, 1e-9);
        EXPECT_EQ(moves[i].machine.x, moves[i].part.x + 5);
        EXPECT_NEAR(moves[i].feed, 100 + 100 * t, 1e-9);
        if (smallMoves) continue;
        const bool isLast = i + 1 == moves.size();
        EXPECT_EQ(moves[i].inserted, !isLast);
        EXPECT_EQ(moves[i].source, isLast ? 1 : 0);
        EXPECT_FALSE(moves[i].extended.empty());
      }
    }
}

TEST(ThreeAxisCreator, InterpolatedRapidsTypesAndFeeds) {
  Scene scene;
  DivideByDistance(scene.par, 1);
  const auto path = PathBuilder()
                        .Link(3, {Move3({0, 0, 0}, 5000, true), Move3({1.5, 0, 0}, 5000, true)})
                        .Contour({Move3({3, 0, 0}, 100)})
                        .Link(1, {Move3({4.5, 0, 0}, 5000, true)});
  const auto expect = [](const Line& move, zvPostedMove::Types type, bool isRapid) {
    EXPECT_EQ(Flat(move.inserted, move.type, move.rapid, move.feed),
              Flat(true, type, isRapid, type == zvPostedMove::noLink ? 100 : 5000));
  };
  // A rapid move gets no moves before it, a feed move after a rapid one does.
  auto moves = Post(scene, path).lines;
  ASSERT_EQ(moves.size(), 6u);
  expect(moves[2], zvPostedMove::noLink, false);
  expect(moves[3], zvPostedMove::noLink, false);
  scene.par.SetInterpolateRapidMoves(true);
  moves = Post(scene, path).lines;
  ASSERT_EQ(moves.size(), 10u);
  expect(moves[1], zvPostedMove::link3, true);
  // Types differ: the feed is that of the move ahead, even of a rapid one.
  expect(moves[7], zvPostedMove::link1, false);
}

TEST(ThreeAxisCreator, ATransformationReplacesOriginToolAndAxes) {
  Scene scene;
  scene.origin = {1000, 0, 0};
  scene.toolLength = 77;
  scene.machDef.SetAxisDirections({0, 1, 0}, {1, 0, 0}, {0, 0, 1});
  auto creator = scene.Creator();
  post::zvTransformation3d::Rotation quarter;  // x to y, y to -x
  quarter(0, 1) = -1;
  quarter(1, 0) = 1;
  quarter(2, 2) = 1;
  creator.SetTransfor3d(misc::MakeAutoPointer<post::zvTransformation3d>(quarter, Point(0, 0, 10)));
  // No orientation is checked then.
  const auto path = Contour({Toward({1, 0, 0}, {1, 2, 3})});
  EXPECT_EQ(creator.Post(path, true)->Front().GetMachinePosition(), Point(-2, 1, 13));
  EXPECT_EQ(zvPosted3axTPCreator(creator).GetTransfor3d(), creator.GetTransfor3d());
  creator.SetTransfor3d(nullptr);
  EXPECT_EQ(PostBy(creator, path).id, 5029u);
}

TEST(ThreeAxisCreator, SetMachDefChangesChecksAndLeavesKinematics) {
  Scene scene;
  scene.toolLength = 10;
  scene.par.SetLimitsCheck(zvKDRParam::checkLinearAxes);
  auto creator = scene.Creator();
  post::zv3axMachDef other;
  other.SetSpindleDirection({2, 0, 0});
  other.SetMaxLimits({5, 5, 5});
  creator.SetMachDef(other);
  const auto along = [](double z) { return Contour({Toward({1, 0, 0}, {0, 0, z})}); };
  // Orientation and limits by the new machine, the tool along the old spindle.
  EXPECT_EQ(creator.Post(along(-8), true)->Front().GetMachinePosition(), Point(0, 0, 2));
  EXPECT_EQ(PostBy(creator, along(0)).id, 5017u);
}

}  // namespace
}  // namespace tests
