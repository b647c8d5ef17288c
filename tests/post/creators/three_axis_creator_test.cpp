#include <tests/support/every_creator.h>
#include <tests/support/posting.h>

namespace tests {

namespace {

using post::zvKDRParam;
using post::zvPosted3axMove;
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
  const auto moves = PostAnew(scene, path).lines;
  ASSERT_EQ(moves.size(), 4u);
  const double times[] = {0, 10, 0.5, 0};  // none without a feed
  for (int i = 0; i < 4; ++i) EXPECT_EQ(moves[i].GetMoveTime(), times[i]);
  // A 5-axis source keeps its block; a 3-axis one has its position and orientation there, unmarked.
  EXPECT_TRUE(moves[2].HasExtendedData());
  EXPECT_EQ(moves[2].GetExtendedId(), 7u);
  EXPECT_FALSE(moves[1].HasExtendedData());
  EXPECT_EQ(moves[1].GetExtendedPoint(), Point(0, 0, 0));
  EXPECT_EQ(moves[1].GetExtendedVector(), Point(0, 0, 1));

  const auto creator = scene.Creator();
  EXPECT_EQ(creator.GetPostedMoveType(path, path.Path().begin()), zvPostedMove::link5);
  EXPECT_EQ(IdOf([&] { creator.GetPostedMoveType(path, path.Path().end()); }), kNullPointer);
}

TEST(ThreeAxisCreator, TakesOnlyOrientationsAlongTheSpindle) {
  const auto z = Move3({});
  const auto tilted = Toward({1, 0, 0});
  const struct {
    const char* name;
    PathBuilder::Moves moves;
    bool aligns;
    std::uint32_t id;
  } cases[] = {
      {"opposite", {z, Toward({0, 0, -1})}, false, 5029},
      {"hardly off", {z, Toward({0, 1.1e-6, 1})}, false, 5029},
      {"within the tolerance", {z, Toward({0, 0.9e-6, 1})}, false, 0},
      {"of another length", {z, Toward({0, 0, 7})}, false, 0},
      {"none", {z, Toward({})}, false, 2189},
      {"before any move is posted",
       {z, misc::MakeAutoPointer<cadcam::zvCNCMove>(), tilted},
       false,
       5029},
      {"two, of which one is aligned", {z, tilted}, true, 5029},
      // Off by more than the check allows and less than the arc cosine resolves.
      {"too little to align", {Toward({0, 1e-5, 1})}, true, 5029},
      {"opposite has no axis to align about", {Toward({0, 0, -1})}, true, 2189},
      {"aligned", {tilted, tilted}, true, 0},
  };
  for (const auto& c : cases) {
    Scene scene;
    scene.par.SetAlignToolpath(c.aligns);
    const auto outcome = PostAnew(scene, Contour(c.moves));
    EXPECT_EQ(outcome.id, c.id) << c.name;
    EXPECT_EQ(outcome.lines.size(), c.id == 0 ? c.moves.size() : 0) << c.name;
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
      scene.par.SetInterpolateByDistance(true);
      scene.par.SetInterpolationDistance(step);
      auto creator = scene.Creator();
      // Orientations are not checked then.
      creator.SetTransfor3d(misc::MakeAutoPointer<post::zvTransformation3d>());
      const auto outcome = Post(creator, Contour({Move3({}), Move3({}), last}), smallMoves);
      EXPECT_EQ(outcome.id, id);
      EXPECT_EQ(outcome.lines.size(), 2u);
    }
}

TEST(ThreeAxisCreator, ReportsTheFirstLimitBrokenByMoreThanRounding) {
  // Limits 0 to 1 on each axis.
  const std::pair<Point, std::uint32_t> cases[] = {{{-2e-12, 2, 2}, 5010},
                                                   {{1 + 2e-12, -1, 0}, 5015},
                                                   {{0, -1, 2}, 5011},
                                                   {{0, 2, -1}, 5016},
                                                   {{0, 0, -1}, 5012},
                                                   {{0, 0, 2}, 5017},
                                                   {{-0.5e-12, 1 + 0.5e-12, 1}, 0}};
  for (const auto& [position, id] : cases)
    for (const int check : {0, 1, 2, 3, -3}) {
      Scene scene;
      scene.machDef.SetMinLimits({0, 0, 0});
      scene.machDef.SetMaxLimits({1, 1, 1});
      scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(check));
      const auto creator = scene.Creator();
      const auto move = Move3(position);
      // A single move is checked by an unknown value, too.
      const bool checks = check != zvKDRParam::checkNothing && check != zvKDRParam::checkRotaryAxes;
      EXPECT_EQ(IdOf([&] { creator.PostMoveWithinMachLimits(move, zvPostedMove::noLink); }),
                checks ? id : 0);
      EXPECT_EQ(PostAnew(scene, Contour({Move3({}), move}), true).id, check < 0 ? 5046
                                                                      : checks  ? id
                                                                                : 0);
    }
}

TEST(ThreeAxisCreator, InterpolatesByDistance) {
  const struct {
    double distance, step;
    std::size_t inserted;
  } cases[] = {{1, 1, 0},  {1.0000001, 1, 2}, {2, 1, 3},     {0.5, 1, 0}, {10, 4, 3},
               {10, 0, 0}, {10, -1, 0},       {10, kNaN, 0}, {0, 1, 0},   {10, 1e-3, 10001}};
  for (const auto& c : cases)
    for (const bool smallMoves : {false, true}) {
      Scene scene;
      scene.par.SetInterpolateByDistance(true);
      scene.par.SetInterpolationDistance(c.step);
      scene.origin = {5, 0, 0};
      const auto path =
          Contour({Move5({}, {0, 0, 1}, 100), Move5({c.distance, 0, 0}, {0, 0, 1}, 200)});
      const auto moves = PostAnew(scene, path, smallMoves).lines;
      ASSERT_EQ(moves.size(), c.inserted + 2) << c.distance << ' ' << c.step;
      for (std::size_t i = 1; i < moves.size(); ++i) {
        const double t = static_cast<double>(i) / static_cast<double>(c.inserted + 1);
        EXPECT_NEAR(moves[i].GetPartPosition().x, c.distance * t, 1e-9);
        EXPECT_EQ(moves[i].GetMachinePosition().x, moves[i].GetPartPosition().x + 5);
        EXPECT_NEAR(moves[i].GetFeed(), 100 + 100 * t, 1e-9);
        if (smallMoves) continue;
        const bool isLast = i + 1 == moves.size();
        EXPECT_EQ(moves[i].IsInserted(), !isLast);
        EXPECT_EQ(moves[i].GetSourceIndex(), isLast ? 1 : 0);
        EXPECT_TRUE(moves[i].HasExtendedData());
      }
    }
}

TEST(ThreeAxisCreator, InterpolatedRapidsTypesAndFeeds) {
  Scene scene;
  scene.par.SetInterpolateByDistance(true);
  scene.par.SetInterpolationDistance(1);
  const auto path = PathBuilder()
                        .Link(3, {Move3({0, 0, 0}, 5000, true), Move3({1.5, 0, 0}, 5000, true)})
                        .Contour({Move3({3, 0, 0}, 100)})
                        .Link(1, {Move3({4.5, 0, 0}, 5000, true)});
  const auto expect = [](const zvPosted3axMove& move, zvPostedMove::Types type, bool isRapid) {
    EXPECT_TRUE(move.IsInserted());
    EXPECT_EQ(move.GetType(), type);
    EXPECT_EQ(move.IsRapid(), isRapid);
    EXPECT_EQ(move.GetFeed(), type == zvPostedMove::noLink ? 100 : 5000);
  };
  // A rapid move gets no moves before it, a feed move after a rapid one does.
  auto moves = PostAnew(scene, path).lines;
  ASSERT_EQ(moves.size(), 6u);
  expect(moves[2], zvPostedMove::noLink, false);
  expect(moves[3], zvPostedMove::noLink, false);
  scene.par.SetInterpolateRapidMoves(true);
  moves = PostAnew(scene, path).lines;
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
  EXPECT_EQ(Post(creator, path).id, 5029u);
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
  EXPECT_EQ(Post(creator, along(0)).id, 5017u);
}

}  // namespace

}  // namespace tests
