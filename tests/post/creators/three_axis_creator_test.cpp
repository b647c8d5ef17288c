#include <gtest/gtest.h>
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <kandrel/post/post_exception.h>
#include <tests/support/rigid_body_model.h>
#include <tests/support/seeded.h>
#include <tests/support/throws_id.h>
#include <tests/support/toolpath_builders.h>

#include <cmath>
#include <limits>

namespace {

using cadcam::zvcadcamException;
using post::zv3axMachDef;
using post::zv5axControlDef;
using post::zvKDRParam;
using post::zvPosted3axMove;
using post::zvPostedMove;
using post::zvPostException;
using tests::Move3;
using tests::Move5;
using tests::PathBuilder;
using tests::Point;
using tests::Seeded;
using tests::ThrowsId;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr const wchar_t* kInvalidVector = L"Invalid vector was passed.";
constexpr const wchar_t* kNullVector = L"Can't normalize null vector.";
constexpr const wchar_t* kNot3Axes =
    L"Current toolpath is not for 3 axes machine. Posting process exception.";

// What a creator refers to, kept alive beside it.
struct Scene {
  zv3axMachDef machDef;
  zv5axControlDef control;
  zvKDRParam par{tests::kMetric};
  Point origin;
  double toolLength = 0;

  zvPosted3axTPCreator Creator() const { return {machDef, control, par, origin, toolLength}; }
};

// Copies, as a creator empties its list when it dies.
std::vector<zvPosted3axMove> MovesOf(const zvPosted3axTPCreator::ListPointer& list) {
  return {list->begin(), list->end()};
}

tests::rigid::Vector ToVector(const Point& p) {
  return {p.x, p.y, p.z};
}

TEST(ThreeAxisCreator, PostsPositionFeedTypeAndTime) {
  Scene scene;
  scene.origin = {10, 20, 30};
  scene.toolLength = 100;
  scene.machDef.SetSpindleDirection({0, 0, 5});
  const auto path = PathBuilder()
                        .Link(5, {Move3({0, 0, 50}, 3000, true)})
                        .Contour({Move3({0, 0, 0}, 300), Move5({3, 4, 0}, {0, 0, 1}, 600)})
                        .Link(2, {Move3({3, 4, 50}, 0)});
  auto creator = scene.Creator();
  const auto list = creator.Post(path, false);
  const auto moves = MovesOf(list);
  ASSERT_EQ(moves.size(), 4u);
  EXPECT_EQ(list, creator.GetPostedList());

  EXPECT_EQ(moves[0].GetMachinePosition(), Point(10, 20, 180));
  EXPECT_EQ(moves[0].GetPartPosition(), Point(0, 0, 50));
  EXPECT_EQ(moves[0].GetType(), zvPostedMove::link5);
  EXPECT_TRUE(moves[0].IsRapid());
  EXPECT_EQ(moves[0].GetMoveTime(), 0);
  EXPECT_EQ(moves[1].GetType(), zvPostedMove::noLink);
  EXPECT_EQ(moves[1].GetMoveTime(), 10);
  EXPECT_EQ(moves[2].GetMachinePosition(), Point(13, 24, 130));
  EXPECT_EQ(moves[2].GetMoveTime(), 0.5);
  EXPECT_EQ(moves[3].GetType(), zvPostedMove::link2);
  EXPECT_EQ(moves[3].GetMoveTime(), 0) << "a feed of 0 has no time";
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(moves[i].GetSourceIndex(), i);
    EXPECT_FALSE(moves[i].IsInserted());
  }
  // A 5-axis source keeps its block; a 3-axis one has its position and orientation there, unmarked.
  EXPECT_TRUE(moves[2].HasExtendedData());
  EXPECT_EQ(moves[2].GetExtendedPoint(), Point(4, 6, 3));
  EXPECT_EQ(moves[2].GetExtendedId(), 7u);
  EXPECT_FALSE(moves[1].HasExtendedData());
  EXPECT_EQ(moves[1].GetExtendedVector(), Point(0, 0, 1));

  for (const auto& move : *creator.Post(path, true)) EXPECT_TRUE(move.HasNoExtended());
}

TEST(ThreeAxisCreator, EmptyPathsGiveAnEmptyListAndCheckNothing) {
  Scene scene;
  scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(7));
  auto creator = scene.Creator();
  EXPECT_FALSE(creator.GetPostedList());
  creator.ClearPostedList();

  cadcam::zvToolPath noPass(tests::kInch);
  EXPECT_TRUE(creator.Post(noPass, false)->IsEmpty());

  // An empty first pass hides a full second one.
  cadcam::zvToolPath emptyFirst(tests::kInch);
  emptyFirst.push_back(misc::MakeAutoPointer<cadcam::zvTPPass>());
  emptyFirst.push_back(PathBuilder().Contour({Move3({1, 2, 3})}).Path().front());
  EXPECT_EQ(emptyFirst.GetMoveCount(), 1u);
  EXPECT_TRUE(creator.Post(emptyFirst, false)->IsEmpty());

  // A pass with slices but no moves is checked, and gives an empty list too.
  scene.par.SetAlignToolpath(true);
  scene.par.SetLimitsCheck(zvKDRParam::checkAllAxes);
  auto aligning = scene.Creator();
  EXPECT_TRUE(aligning.Post(PathBuilder().Contour({}), false)->IsEmpty());
  EXPECT_THROW(aligning.Post(PathBuilder(tests::kInch).Contour({}), false), zvPostException);
}

TEST(ThreeAxisCreator, RefusesBadInput) {
  const auto posting = [](const PathBuilder& path, auto&& change) {
    Scene scene;
    change(scene);
    scene.Creator().Post(path, true);
  };
  const auto nothing = [](Scene&) {};
  const auto align = [](Scene& s) { s.par.SetAlignToolpath(true); };
  const auto one = PathBuilder().Contour({Move3({1, 2, 3})});
  const auto toward = [](const Point& t) {
    return PathBuilder().Contour({Move3({}), Move3({1, 0, 0}, 1000, false, t)});
  };

  EXPECT_TRUE(ThrowsId<zvPostException>(
      [&] { posting(one, [](Scene& s) { s.machDef.SetUnits(tests::kInch); }); }, 5032,
      L"Toolpath is in metric and machine definition is in inch."));
  EXPECT_TRUE(ThrowsId<zvPostException>(
      [&] { posting(PathBuilder(tests::kInch).Contour({Move3({})}), nothing); }, 5033,
      L"Toolpath is in inch and machine definition is in metric."));
  for (const Point& t : {Point(0, 0, -1), Point(0, 1.1e-6, 1), Point(1, 0, 0)})
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { posting(toward(t), nothing); }, 5029, kNot3Axes));
  EXPECT_NO_THROW(posting(toward({0, 0.9e-6, 1}), nothing));
  EXPECT_NO_THROW(posting(toward({0, 0, 7}), nothing));
  EXPECT_TRUE(
      ThrowsId<zvcadcamException>([&] { posting(toward({}), nothing); }, 2189, kNullVector));
  EXPECT_TRUE(ThrowsId<zvPostException>(
      [&] {
        posting(toward({1, 0, 0}), align);
      },
      5029, kNot3Axes));
  // Off the spindle by more than the check allows and less than the arc cosine resolves: aligning
  // doesn't help.
  EXPECT_TRUE(ThrowsId<zvPostException>(
      [&] {
        posting(PathBuilder().Contour({Move3({}, 1000, false, {0, 1e-5, 1})}), align);
      },
      5029, kNot3Axes));
  EXPECT_TRUE(ThrowsId<zvcadcamException>(
      [&] {
        posting(PathBuilder().Contour({Move3({}, 1000, false, {0, 0, -1})}), align);
      },
      2189, kNullVector));
  for (const double bad : {kNaN, kInfinity, -kInfinity}) {
    EXPECT_TRUE(ThrowsId<zvPostException>(
        [&] {
          posting(PathBuilder().Contour({Move3({}), Move3({0, bad, 0})}), nothing);
        },
        5039, kInvalidVector));
    EXPECT_TRUE(ThrowsId<zvPostException>(
        [&] {
          posting(toward({0, 0, bad}), nothing);
        },
        5039, kInvalidVector));
    EXPECT_TRUE(ThrowsId<zvPostException>(
        [&] { posting(one, [&](Scene& s) { s.origin.z = bad; }); }, 5039, kInvalidVector));
    EXPECT_TRUE(ThrowsId<zvPostException>(
        [&] { posting(one, [&](Scene& s) { s.toolLength = bad; }); }, 5039, kInvalidVector));
    EXPECT_TRUE(ThrowsId<zvPostException>(
        [&] { posting(one, [&](Scene& s) {
                s.machDef.SetSpindleDirection({0, bad, 1});
              }); }, 5039,
        kInvalidVector));
  }
  EXPECT_TRUE(ThrowsId<zvcadcamException>(
      [&] { posting(one, [](Scene& s) { s.machDef.SetSpindleDirection({}); }); }, 2189,
      kNullVector));
  EXPECT_TRUE(ThrowsId<misc::zvException>(
      [&] {
        posting(PathBuilder().Contour({Move3({}), nullptr}), nothing);
      },
      0, L"Accessing NULL pointer"));
  // Far enough on to be asked for ahead of its turn.
  EXPECT_TRUE(ThrowsId<misc::zvException>(
      [&] {
        PathBuilder::Moves moves(20, Move3({}));
        moves[15] = nullptr;
        posting(PathBuilder().Contour(moves), nothing);
      },
      0, L"Accessing NULL pointer"));
  EXPECT_TRUE(ThrowsId<zvPostException>(
      [&] {
        posting(PathBuilder().Contour({misc::MakeAutoPointer<cadcam::zvCNCMove>()}), nothing);
      },
      2503, L"Use of a member function of an abstract class."));
  EXPECT_TRUE(ThrowsId<zvKandrelException>(
      [&] { posting(PathBuilder().Link(6, {Move3({})}), nothing); }, 2637, L"Unknown move type."));
  EXPECT_TRUE(ThrowsId<zvPostException>(
      [&] {
        posting(one,
                [](Scene& s) { s.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(7)); });
      },
      5046, L"Unknown machine limits."));
}

TEST(ThreeAxisCreator, TheOrderOfTheChecksDecidesWhichOfSeveralFaultsIsTold) {
  const auto plain = misc::MakeAutoPointer<cadcam::zvCNCMove>();
  const auto tilted = Move3({}, 1000, false, {1, 0, 0});
  const auto notFinite = Move3({kNaN, 0, 0});
  const struct {
    PathBuilder::Moves moves;
    std::uint32_t id;
    std::uint32_t listed;
  } cases[] = {
      {{Move3({}), tilted, notFinite}, 5039, 0},  // flattening comes before the orientations
      {{Move3({}), plain, notFinite}, 5039, 0},
      {{Move3({}), plain, tilted}, 5029, 0},  // and those before any move is posted
      {{Move3({}), Move3({}), plain}, 2503, 2},
  };
  for (const auto& c : cases) {
    Scene scene;
    auto creator = scene.Creator();
    std::uint32_t id = 0;
    try {
      creator.Post(PathBuilder().Contour(c.moves), false);
    } catch (const zvPostException& e) {
      id = e.GetId();
    }
    EXPECT_EQ(id, c.id);
    EXPECT_EQ(creator.GetPostedList()->GetCount(), c.listed);
  }
}

TEST(ThreeAxisCreator, ReportsTheFirstLimitBrokenByMoreThanRounding) {
  struct Case {
    Point position;
    std::uint32_t id;
    const wchar_t* where;
  };
  // Limits 0 to 1 on each axis.
  const Case cases[] = {
      {{-2e-12, 2, 2}, 5010, L"x axis exceeds the limit (The minimum"},
      {{1 + 2e-12, -1, 0}, 5015, L"x axis exceeds the limit (The maximum"},
      {{0, -1, 2}, 5011, L"y axis exceeds the limit (The minimum"},
      {{0, 2, -1}, 5016, L"y axis exceeds the limit (The maximum"},
      {{0, 0, -1}, 5012, L"z axis exceeds the limit (The minimum"},
      {{0, 0, 2}, 5017, L"z axis exceeds the limit (The maximum"},
      {{-0.5e-12, 1 + 0.5e-12, 1}, 0, L""},
  };
  for (const Case& c : cases)
    for (const auto check : {zvKDRParam::checkNothing, zvKDRParam::checkLinearAxes,
                             zvKDRParam::checkRotaryAxes, zvKDRParam::checkAllAxes}) {
      Scene scene;
      scene.machDef.SetMinLimits({0, 0, 0});
      scene.machDef.SetMaxLimits({1, 1, 1});
      scene.par.SetLimitsCheck(check);
      const bool checks = check == zvKDRParam::checkLinearAxes || check == zvKDRParam::checkAllAxes;
      auto creator = scene.Creator();
      const auto path = PathBuilder().Contour({Move3({}), Move3(c.position)});
      const auto single = Move3(c.position);
      if (c.id == 0 || !checks) {
        EXPECT_NO_THROW(creator.Post(path, true));
        EXPECT_NO_THROW(creator.PostMoveWithinMachLimits(single, zvPostedMove::noLink));
        continue;
      }
      const std::wstring text = L"The posted tool path exceeds one of the limits (The " +
                                std::wstring(c.where) + L" limit is reached)).";
      EXPECT_TRUE(ThrowsId<zvPostException>([&] { creator.Post(path, true); }, c.id, text));
      EXPECT_TRUE(ThrowsId<zvPostException>(
          [&] { creator.PostMoveWithinMachLimits(single, zvPostedMove::noLink); }, c.id, text));
    }
}

TEST(ThreeAxisCreator, InterpolatesByDistance) {
  struct Case {
    double distance;
    double step;
    std::size_t inserted;
  };
  const Case cases[] = {{1, 1, 0},  {1.0000001, 1, 2}, {2, 1, 3},   {0.5, 1, 0},
                        {10, 4, 3}, {10, 0, 0},        {10, -1, 0}, {10, kNaN, 0},
                        {0, 1, 0},  {10, 1e-3, 10001}};
  for (const Case& c : cases)
    for (const bool smallMoves : {false, true}) {
      Scene scene;
      scene.par.SetInterpolateByDistance(true);
      scene.par.SetInterpolationDistance(c.step);
      scene.origin = {5, 0, 0};
      const auto moves = MovesOf(
          scene.Creator().Post(PathBuilder().Contour({Move5({}, {0, 0, 1}, 100),
                                                      Move5({c.distance, 0, 0}, {0, 0, 1}, 200)}),
                               smallMoves));
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

  Scene scene;
  scene.par.SetInterpolateByDistance(true);
  scene.par.SetInterpolationDistance(1e-9);
  EXPECT_TRUE(ThrowsId<zvPostException>(
      [&] {
        scene.Creator().Post(PathBuilder().Contour({Move3({}), Move3({3, 0, 0})}), true);
      },
      5039, kInvalidVector));
}

TEST(ThreeAxisCreator, AnInterpolationThatFailsLeavesNothingOfItself) {
  const auto opposite = Move5({10, 0, 0}, {0, 0, -1});
  const struct {
    double step;
    cadcam::zvMovePointer last;
    std::uint32_t id;
  } cases[] = {
      {1e-9, Move3({10, 0, 0}), 5039},  // more steps than can be counted
      {4, opposite, 2189},              // null half way, at the second of three moves
  };
  for (const auto& c : cases)
    for (const bool smallMoves : {false, true}) {
      Scene scene;
      scene.par.SetInterpolateByDistance(true);
      scene.par.SetInterpolationDistance(c.step);
      auto creator = scene.Creator();
      // Orientations are not checked then.
      creator.SetTransfor3d(misc::MakeAutoPointer<post::zvTransformation3d>());
      std::uint32_t id = 0;
      try {
        creator.Post(PathBuilder().Contour({Move3({}), Move3({}), c.last}), smallMoves);
      } catch (const misc::zvException& e) {
        id = e.GetId();
      }
      EXPECT_EQ(id, c.id);
      EXPECT_EQ(creator.GetPostedList()->GetCount(), 2u) << c.id;
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
  // A rapid move gets no moves before it, a feed move after a rapid one does.
  auto moves = MovesOf(scene.Creator().Post(path, false));
  ASSERT_EQ(moves.size(), 6u);
  for (int i : {2, 3}) {
    EXPECT_TRUE(moves[i].IsInserted());
    EXPECT_EQ(moves[i].GetType(), zvPostedMove::noLink);
    EXPECT_EQ(moves[i].GetFeed(), 100);
    EXPECT_FALSE(moves[i].IsRapid());
  }
  scene.par.SetInterpolateRapidMoves(true);
  moves = MovesOf(scene.Creator().Post(path, false));
  ASSERT_EQ(moves.size(), 10u);
  EXPECT_TRUE(moves[1].IsRapid());
  EXPECT_EQ(moves[1].GetType(), zvPostedMove::link3);
  // Types differ: the feed is that of the move ahead, even of a rapid one.
  EXPECT_FALSE(moves[7].IsRapid());
  EXPECT_EQ(moves[7].GetType(), zvPostedMove::link1);
  EXPECT_EQ(moves[7].GetFeed(), 5000);
}

TEST(ThreeAxisCreator, RigidBodyModelFindsTipAndAxisOfAlignedPaths) {
  Seeded random;
  double worstTip = 0;
  double worstAxis = 0;
  for (int machine = 0; machine < 300; ++machine) {
    Scene scene;
    const Point x = random.UnitVector() * random.Real(0.5, 2);
    const Point y = random.UnitVector();
    const Point z = random.UnitVector();
    if (std::fabs(Dot(Cross(x, y), z)) < 0.1) continue;
    if (random.Chance(0.7)) scene.machDef.SetAxisDirections(x, y, z);
    scene.machDef.SetSpindleDirection(random.UnitVector() * random.Real(0.1, 9));
    scene.origin = random.Vector(300);
    scene.toolLength = random.Real(0, 200);
    scene.par.SetAlignToolpath(true);
    scene.par.SetInterpolateByDistance(random.Chance(0.3));
    scene.par.SetInterpolationDistance(20);

    const Point t = random.UnitVector();
    PathBuilder::Moves source;
    for (int i = 0; i < 20; ++i) source.push_back(Move5(random.Vector(200), t));
    auto creator = scene.Creator();
    const auto list = creator.Post(PathBuilder().Contour(source), false);
    ASSERT_TRUE(creator.IsAlignMatrixValide());
    const auto& align = *creator.GetAlignMatrix();

    tests::rigid::LinearMachine model;
    const zv3axMachDef& m = scene.machDef;
    model.axes = {ToVector(m.GetXAxisDirection()), ToVector(m.GetYAxisDirection()),
                  ToVector(m.GetZAxisDirection())};
    model.spindle = ToVector(m.GetSpindleDirection());
    model.partOrigin = ToVector(scene.origin);
    model.toolLength = scene.toolLength;
    int next = 0;
    for (const zvPosted3axMove& move : *list) {
      const auto pose = model.At(ToVector(move.GetMachinePosition()));
      // The posted part position is in the aligned frame.
      worstTip =
          std::max(worstTip, tests::rigid::Distance(pose.tip, ToVector(move.GetPartPosition())));
      worstAxis =
          std::max(worstAxis, tests::rigid::Distance(pose.axis, ToVector(move.GetOrientation())));
      if (move.IsInserted()) continue;
      const Point& p = source[next++]->GetPosition();
      ASSERT_LT((align * p - move.GetPartPosition()).Length(), 1e-12);
      ASSERT_NEAR(move.GetPartPosition().Length(), p.Length(), 1e-10) << "turned, not moved";
    }
    ASSERT_EQ(next, 20);
    // The toolpath itself is not changed.
    ASSERT_EQ(source[0]->GetOrientation(), t);
  }
  EXPECT_LT(worstTip, 1e-9);   // seen: 2e-11, from skew axes
  EXPECT_LT(worstAxis, 2e-5);  // the snap of the arc cosine; 1e-15 elsewhere
}

TEST(ThreeAxisCreator, AnAlignmentStaysInForceUntilAnotherReplacesIt) {
  Scene scene;
  scene.par.SetAlignToolpath(true);
  auto creator = scene.Creator();
  EXPECT_FALSE(creator.IsAlignMatrixValide());
  const auto tilted = PathBuilder().Contour({Move3({1, 2, 3}, 1000, false, {0, 1, 0})});
  creator.Post(tilted, false);
  const auto matrix = creator.GetAlignMatrix();
  ASSERT_TRUE(matrix);
  // The fitting path is turned by the old matrix, and so no longer fits.
  EXPECT_TRUE(ThrowsId<zvPostException>(
      [&] {
        creator.Post(PathBuilder().Contour({Move3({1, 2, 3})}), false);
      },
      5029, kNot3Axes));
  EXPECT_EQ(creator.GetAlignMatrix(), matrix);

  // Single moves are aligned as well.
  const zvPosted3axMove single = creator.PostMove(Move5({1, 2, 3}, {0, 1, 0}), zvPostedMove::link4);
  EXPECT_LT((single.GetMachinePosition() - *matrix * Point(1, 2, 3)).Length(), 1e-12);
  EXPECT_LT((single.GetOrientation() - Point(0, 0, 1)).Length(), 1e-12);
  EXPECT_EQ(single.GetSourceIndex(), 0);
  EXPECT_TRUE(single.IsInserted());
  EXPECT_EQ(single.GetType(), zvPostedMove::link4);

  zvPosted3axTPCreator copy(creator);
  EXPECT_EQ(copy.GetInstanceType(), zvPostedTPCreator::instance3ax);
  EXPECT_FALSE(copy.GetPostedList());
  ASSERT_TRUE(copy.IsAlignMatrixValide());
  (*copy.GetAlignMatrix())(0, 0) = 42;
  EXPECT_NE((*matrix)(0, 0), 42);
}

TEST(ThreeAxisCreator, SingleMovesRefuseWhatAPathRefuses) {
  Scene scene;
  const auto creator = scene.Creator();
  EXPECT_TRUE(ThrowsId<misc::zvException>([&] { creator.PostMove(nullptr, zvPostedMove::noLink); },
                                          0, L"Accessing NULL pointer"));
  EXPECT_TRUE(ThrowsId<zvPostException>(
      [&] {
        creator.PostMove(Move3({kNaN, 0, 0}), zvPostedMove::noLink);
      },
      5039, kInvalidVector));
  scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(-3));
  scene.machDef.SetMaxLimits({1, 1, 1});
  EXPECT_TRUE(ThrowsId<zvPostException>(
      [&] {
        scene.Creator().PostMoveWithinMachLimits(Move3({0, 5, 0}), zvPostedMove::noLink);
      },
      5016,
      L"The posted tool path exceeds one of the limits (The y axis exceeds the limit (The maximum "
      L"limit is reached))."))
      << "an unknown value checks here";
  const auto pair =
      scene.Creator().PostMoveWithinMachLimits(Move3({0, 1, 0}), zvPostedMove::noLink);
  EXPECT_EQ(pair.first->GetMachinePosition(), Point(0, 1, 0));
  EXPECT_FALSE(pair.second);
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
  const auto path = PathBuilder().Contour({Move3({1, 2, 3}, 1000, false, {1, 0, 0})});
  EXPECT_EQ(creator.Post(path, true)->Front().GetMachinePosition(), Point(-2, 1, 13));
  zvPosted3axTPCreator copy(creator);
  EXPECT_EQ(copy.GetTransfor3d(), creator.GetTransfor3d());
  creator.SetTransfor3d(nullptr);
  EXPECT_THROW(creator.Post(path, true), zvPostException);
}

TEST(ThreeAxisCreator, SetMachDefChangesChecksAndLeavesKinematics) {
  Scene scene;
  scene.toolLength = 10;
  scene.par.SetLimitsCheck(zvKDRParam::checkLinearAxes);
  auto creator = scene.Creator();
  auto other = misc::MakeAutoPointer<zv3axMachDef>();
  other->SetSpindleDirection({2, 0, 0});
  other->SetMaxLimits({5, 5, 5});
  creator.SetMachDef(misc::zvAutoPointer<post::zvMachDef>(other));
  EXPECT_EQ(creator.GetMachDef().GetSpindleDirection(), Point(1, 0, 0));
  EXPECT_EQ(other->GetSpindleDirection(), Point(2, 0, 0)) << "the caller's object stays";
  const auto along = [](double z) {
    return PathBuilder().Contour({Move3({0, 0, z}, 1000, false, {1, 0, 0})});
  };
  // Orientation and limits by the new machine, the tool along the old spindle.
  EXPECT_EQ(creator.Post(along(-8), true)->Front().GetMachinePosition(), Point(0, 0, 2));
  EXPECT_THROW(creator.Post(along(0), true), zvPostException);

  const misc::zvAutoPointer<post::zvMachDef> fourAxes = misc::MakeAutoPointer<post::zv4axMachDef>();
  EXPECT_TRUE(ThrowsId<zvPostException>([&] { creator.SetMachDef(fourAxes); }, 5043,
                                        L"Wrong static method called."));
  EXPECT_TRUE(ThrowsId<zvPostException>(
      [&] { zvPosted3axTPCreator(fourAxes, scene.control, scene.par, scene.origin, 0); }, 5043,
      L"Wrong static method called."));
  EXPECT_TRUE(ThrowsId<misc::zvException>(
      [&] {
        const misc::zvAutoPointer<post::zvMachDef> none;
        zvPosted3axTPCreator(none, scene.control, scene.par, scene.origin, 0);
      },
      0, L"Accessing NULL pointer"));
  auto machDef = creator.GetMachDefPtr();
  EXPECT_EQ(machDef->GetMaxLimits(), Point(5, 5, 5));
  machDef->SetMaxLimits({6, 6, 6});
  EXPECT_EQ(creator.GetMachDef().GetMaxLimits(), Point(5, 5, 5));
}

TEST(ThreeAxisCreator, ListsAreSharedRenewedAndEmptied) {
  Scene scene;
  const auto path = PathBuilder().Contour({Move3({1, 0, 0}), Move3({2, 0, 0})});
  zvPosted3axTPCreator::ListPointer survivor;
  {
    auto creator = scene.Creator();
    const auto first = creator.Post(path, false);
    survivor = creator.Post(path, true);
    EXPECT_EQ(first->GetCount(), 2u) << "a former list lives on with whoever holds it";
    creator.SetPostedList(creator.GetPostedList());
    EXPECT_EQ(survivor->GetCount(), 2u) << "its own list changes nothing";
    creator.SetPostedList(first);
    EXPECT_TRUE(survivor->IsEmpty()) << "the former present list is emptied";
    EXPECT_NE(creator.GetPostedList(), first) << "copied, not adopted";
    EXPECT_EQ(creator.GetPostedList()->Back(), first->Back());
    creator.PostRun(path, true);
    survivor = creator.GetPostedList();
    EXPECT_EQ(survivor->GetCount(), 2u);
    creator.SetPostedList(nullptr);
    EXPECT_TRUE(creator.GetPostedList()->IsEmpty());
    survivor = creator.Post(path, true);
    EXPECT_THROW(creator.Post(PathBuilder(tests::kInch).Contour({Move3({})}), true),
                 zvPostException);
    EXPECT_EQ(survivor->GetCount(), 2u);
    EXPECT_TRUE(creator.GetPostedList()->IsEmpty());
  }
  // The list outlives creator and pool provider.
  double sum = 0;
  for (const auto& move : *survivor) sum += move.GetPartPosition().x;
  EXPECT_EQ(sum, 3);
}

// Reaches the base's helpers, which only creators use.
class BaseProbe : public zvPostedTPCreator {
 public:
  explicit BaseProbe(const Scene& s) : zvPostedTPCreator(s.control, s.par, s.origin, 1.5) {}
  BaseProbe(const BaseProbe&) = default;
  misc::zvAutoPointer<post::zvMachDef> GetMachDefPtr() const override { return nullptr; }
  void PostRun(const cadcam::zvToolPath&, bool) override {}
  void ClearPostedList() override {}
  using zvPostedTPCreator::ApplyAngleLimitToRotAxis;
  using zvPostedTPCreator::BuildMoves;
  using zvPostedTPCreator::ExceedingLimit;
  using zvPostedTPCreator::GetPostedMoveType;
};

TEST(PostedTPCreator, KeepsReferencesAndAnOwnCopyOfTheParameters) {
  Scene scene;
  const BaseProbe base(scene);
  EXPECT_EQ(&base.GetPartOrigin(), &scene.origin);
  EXPECT_EQ(&base.GetControlDef(), &scene.control);
  EXPECT_EQ(base.GetToolLengthCompensationValue(), 1.5);
  EXPECT_EQ(base.GetInstanceType(), zvPostedTPCreator::instanceBase);
  scene.par.SetMaxAngleStep(1);
  EXPECT_EQ(base.GetPar().GetMaxAngleStep(), 3);
}

TEST(PostedTPCreator, WrapsAnglesAsTheControlWants) {
  const Scene scene;
  const BaseProbe base(scene);
  const auto none = zv5axControlDef::angleLimitNone;
  const auto to360 = zv5axControlDef::angleLimit360;
  const auto to180 = zv5axControlDef::angleLimit180;
  const struct {
    double angle;
    zv5axControlDef::angleLimit limit;
    double wrapped;
  } cases[] = {
      {-180, to180, 180},
      {540, to180, 180},
      {180, to180, 180},
      {-0.5, to360, 359.5},
      {360, to360, 0},
      {-360, to360, 0},
      {-360, to180, 0},
      {725, none, 725},
      {-1e-17, to360, 0},
      {190, to180, -170},
      {1e6 + 90, to180, 1e6 + 90 - 360 * 2778},
      {-1000, to360, 80},
      {725, static_cast<zv5axControlDef::angleLimit>(3), 725},
  };
  for (const auto& c : cases) {
    const double wrapped = base.ApplyAngleLimitToRotAxis(c.angle, c.limit);
    EXPECT_EQ(wrapped, c.wrapped) << c.angle << ' ' << c.limit;
    EXPECT_FALSE(wrapped == 0 && std::signbit(wrapped)) << c.angle;
  }
}

TEST(PostedTPCreator, ThrowsForEachLimitAndForNothingElse) {
  const Scene scene;
  const BaseProbe base(scene);
  for (std::int32_t axis = -2; axis <= 6; ++axis)
    for (std::int32_t side = -2; side <= 3; ++side) {
      std::uint32_t id = 0;
      try {
        base.ExceedingLimit({axis, side});
      } catch (const zvPostException& e) {
        id = e.GetId();
      }
      const bool names = axis >= 0 && axis <= 4 && (side == 0 || side == 1);
      EXPECT_EQ(id, names ? static_cast<std::uint32_t>((side == 0 ? 5010 : 5015) + axis) : 0);
    }
  EXPECT_NO_THROW(base.ExceedingLimit({}));
}

TEST(PostedTPCreator, FlattensInOrderWithTheTypeOfEachSection) {
  const Scene scene;
  const BaseProbe base(scene);
  PathBuilder path;
  std::vector<int> expected;
  for (std::uint32_t type = 0; type <= 5; ++type) {
    path.Link(type, {Move3({}), Move3({})}).Contour({}).Contour({Move3({})});
    expected.insert(expected.end(), {static_cast<int>(type), static_cast<int>(type), 6});
  }
  post::zvFlatMoves moves(path.Path().GetMoveCount(), true);
  base.BuildMoves(path, moves);
  std::vector<int> types;
  auto position = path.Path().begin();
  for (std::uint64_t i = 0; i < moves.GetSize(); ++i, ++position) {
    types.push_back(moves[i].second);
    EXPECT_EQ(moves[i].first, *position) << "shared, not copied";
    EXPECT_EQ(base.GetPostedMoveType(path, position), moves[i].second);
  }
  EXPECT_EQ(types, expected);
  EXPECT_EQ(position, path.Path().end());
  EXPECT_THROW(base.GetPostedMoveType(path, position), misc::zvException);
}

}  // namespace
