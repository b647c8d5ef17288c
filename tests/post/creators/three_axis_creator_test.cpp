#include <gtest/gtest.h>
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/rigid_body_model.h>
#include <tests/support/seeded.h>
#include <tests/support/throws_id.h>
#include <tests/support/toolpath_builders.h>

#include <cmath>
#include <functional>
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
using tests::ThrowsId;
using tests::ThrowsNull;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// What a creator refers to, kept alive beside it.
struct Scene {
  zv3axMachDef machDef;
  zv5axControlDef control;
  zvKDRParam par{tests::kMetric};
  Point origin;
  double toolLength = 0;

  zvPosted3axTPCreator Creator() const { return {machDef, control, par, origin, toolLength}; }
  // Copies, as a creator empties its list when it dies.
  std::vector<zvPosted3axMove> Post(const PathBuilder& path, bool smallMoves = false) const {
    auto creator = Creator();
    const auto list = creator.Post(path, smallMoves);
    EXPECT_EQ(list, creator.GetPostedList());
    return {list->begin(), list->end()};
  }
};

PathBuilder Contour(const PathBuilder::Moves& moves) {
  return PathBuilder().Contour(moves);
}

cadcam::zvMovePointer Toward(const Point& orientation, const Point& position = {}) {
  return Move3(position, 1000, false, orientation);
}

using Change = std::function<void(Scene&)>;

// Posts a path in a scene that is changed before.
auto Posting(
    const PathBuilder& path, const Change& change = [](Scene&) {}) {
  return [=] {
    Scene scene;
    change(scene);
    scene.Post(path, true);
  };
}

template <class Action>
testing::AssertionResult Fails(Action&& action, std::uint32_t id) {
  return ThrowsId<zvPostException>(action, id);
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
  const struct {
    Point machine, part;
    zvPostedMove::Types type;
    bool isRapid;
    double time;
  } expected[] = {{{10, 20, 180}, {0, 0, 50}, zvPostedMove::link5, true, 0},
                  {{10, 20, 130}, {0, 0, 0}, zvPostedMove::noLink, false, 10},
                  {{13, 24, 130}, {3, 4, 0}, zvPostedMove::noLink, false, 0.5},
                  {{13, 24, 180}, {3, 4, 50}, zvPostedMove::link2, false, 0}};  // without a feed
  const auto moves = scene.Post(path);
  ASSERT_EQ(moves.size(), 4u);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(moves[i].GetMachinePosition(), expected[i].machine);
    EXPECT_EQ(moves[i].GetPartPosition(), expected[i].part);
    EXPECT_EQ(moves[i].GetType(), expected[i].type);
    EXPECT_EQ(moves[i].IsRapid(), expected[i].isRapid);
    EXPECT_EQ(moves[i].GetMoveTime(), expected[i].time);
    EXPECT_EQ(moves[i].GetSourceIndex(), i);
    EXPECT_FALSE(moves[i].IsInserted());
  }
  // A 5-axis source keeps its block; a 3-axis one has its position and orientation there, unmarked.
  EXPECT_TRUE(moves[2].HasExtendedData());
  EXPECT_EQ(moves[2].GetExtendedPoint(), Point(4, 6, 3));
  EXPECT_EQ(moves[2].GetExtendedId(), 7u);
  EXPECT_FALSE(moves[1].HasExtendedData());
  EXPECT_EQ(moves[1].GetExtendedVector(), Point(0, 0, 1));

  for (const auto& move : scene.Post(path, true)) EXPECT_TRUE(move.HasNoExtended());
}

TEST(ThreeAxisCreator, EmptyPathsGiveAnEmptyListAndCheckNothing) {
  Scene scene;
  scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(7));
  auto creator = scene.Creator();
  EXPECT_FALSE(creator.GetPostedList());
  creator.ClearPostedList();

  // An empty first pass hides a full second one.
  cadcam::zvToolPath path(tests::kInch);
  EXPECT_TRUE(creator.Post(path, false)->IsEmpty());
  path.push_back(misc::MakeAutoPointer<cadcam::zvTPPass>());
  path.push_back(Contour({Move3({1, 2, 3})}).Path().front());
  EXPECT_TRUE(creator.Post(path, false)->IsEmpty());

  // A pass with slices but no moves is checked, and gives an empty list too.
  scene.par.SetAlignToolpath(true);
  scene.par.SetLimitsCheck(zvKDRParam::checkAllAxes);
  auto aligning = scene.Creator();
  EXPECT_TRUE(aligning.Post(Contour({}), false)->IsEmpty());
  EXPECT_TRUE(Fails([&] { aligning.Post(PathBuilder(tests::kInch).Contour({}), false); }, 5033));
}

TEST(ThreeAxisCreator, RefusesBadInput) {
  const auto one = Contour({Move3({1, 2, 3})});
  const auto after = [](const Point& t) { return Contour({Move3({}), Toward(t)}); };
  const Change align = [](Scene& s) { s.par.SetAlignToolpath(true); };

  EXPECT_TRUE(Fails(Posting(one, [](Scene& s) { s.machDef.SetUnits(tests::kInch); }), 5032));
  EXPECT_TRUE(Fails(Posting(PathBuilder(tests::kInch).Contour({Move3({})})), 5033));
  for (const Point& t : {Point(0, 0, -1), Point(0, 1.1e-6, 1), Point(1, 0, 0)})
    EXPECT_TRUE(Fails(Posting(after(t)), 5029));
  for (const Point& t : {Point(0, 0.9e-6, 1), Point(0, 0, 7)}) EXPECT_NO_THROW(Posting(after(t))());
  EXPECT_TRUE(ThrowsId<zvcadcamException>(Posting(after({})), 2189));
  EXPECT_TRUE(Fails(Posting(after({1, 0, 0}), align), 5029));
  // Off the spindle by more than the check allows and less than the arc cosine resolves: aligning
  // doesn't help.
  EXPECT_TRUE(Fails(Posting(Contour({Toward({0, 1e-5, 1})}), align), 5029));
  EXPECT_TRUE(ThrowsId<zvcadcamException>(Posting(Contour({Toward({0, 0, -1})}), align), 2189));
  for (const double bad : {kNaN, kInfinity, -kInfinity}) {
    EXPECT_TRUE(Fails(Posting(Contour({Move3({}), Move3({0, bad, 0})})), 5039));
    EXPECT_TRUE(Fails(Posting(after({0, 0, bad})), 5039));
    EXPECT_TRUE(Fails(Posting(one, [&](Scene& s) { s.origin.z = bad; }), 5039));
    EXPECT_TRUE(Fails(Posting(one, [&](Scene& s) { s.toolLength = bad; }), 5039));
    const Change spindle = [&](Scene& s) { s.machDef.SetSpindleDirection({0, bad, 1}); };
    EXPECT_TRUE(Fails(Posting(one, spindle), 5039));
  }
  const Change noSpindle = [](Scene& s) { s.machDef.SetSpindleDirection({}); };
  EXPECT_TRUE(ThrowsId<zvcadcamException>(Posting(one, noSpindle), 2189));
  EXPECT_TRUE(ThrowsNull(Posting(Contour({Move3({}), nullptr}))));
  // Far enough on to be asked for ahead of its turn.
  PathBuilder::Moves moves(20, Move3({}));
  moves[15] = nullptr;
  EXPECT_TRUE(ThrowsNull(Posting(Contour(moves))));
  EXPECT_TRUE(Fails(Posting(Contour({misc::MakeAutoPointer<cadcam::zvCNCMove>()})), 2503));
  EXPECT_TRUE(ThrowsId<zvKandrelException>(Posting(PathBuilder().Link(6, {Move3({})})), 2637));
  const Change unknown = [](Scene& s) { s.par.SetLimitsCheck(zvKDRParam::LimitsCheck(7)); };
  EXPECT_TRUE(Fails(Posting(one, unknown), 5046));
}

// The id with which posting fails, and how many moves the list has then.
using Failure = std::pair<std::uint32_t, std::uint32_t>;

Failure FailureOf(zvPosted3axTPCreator& creator, const PathBuilder& path, bool smallMoves) {
  try {
    creator.Post(path, smallMoves);
  } catch (const misc::zvException& e) {
    return {e.GetId(), creator.GetPostedList()->GetCount()};
  }
  return {};
}

TEST(ThreeAxisCreator, TheOrderOfTheChecksDecidesWhichOfSeveralFaultsIsTold) {
  const auto plain = misc::MakeAutoPointer<cadcam::zvCNCMove>();
  const auto tilted = Toward({1, 0, 0});
  const auto notFinite = Move3({kNaN, 0, 0});
  const std::pair<PathBuilder::Moves, Failure> cases[] = {
      {{Move3({}), tilted, notFinite}, {5039, 0}},  // flattening comes before the orientations
      {{Move3({}), plain, notFinite}, {5039, 0}},
      {{Move3({}), plain, tilted}, {5029, 0}},  // and those before any move is posted
      {{Move3({}), Move3({}), plain}, {2503, 2}},
  };
  for (const auto& [moves, failure] : cases) {
    Scene scene;
    auto creator = scene.Creator();
    EXPECT_EQ(FailureOf(creator, Contour(moves), false), failure);
  }
}

TEST(ThreeAxisCreator, AnInterpolationThatFailsLeavesNothingOfItself) {
  const struct {
    double step;
    cadcam::zvMovePointer last;
    Failure failure;
  } cases[] = {
      {1e-9, Move3({10, 0, 0}), {5039, 2}},           // more steps than can be counted
      {4, Move5({10, 0, 0}, {0, 0, -1}), {2189, 2}},  // null half way, at the second of three
  };
  for (const auto& c : cases)
    for (const bool smallMoves : {false, true}) {
      Scene scene;
      scene.par.SetInterpolateByDistance(true);
      scene.par.SetInterpolationDistance(c.step);
      auto creator = scene.Creator();
      // Orientations are not checked then.
      creator.SetTransfor3d(misc::MakeAutoPointer<post::zvTransformation3d>());
      EXPECT_EQ(FailureOf(creator, Contour({Move3({}), Move3({}), c.last}), smallMoves), c.failure);
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
    for (const auto check : {zvKDRParam::checkNothing, zvKDRParam::checkLinearAxes,
                             zvKDRParam::checkRotaryAxes, zvKDRParam::checkAllAxes}) {
      Scene scene;
      scene.machDef.SetMinLimits({0, 0, 0});
      scene.machDef.SetMaxLimits({1, 1, 1});
      scene.par.SetLimitsCheck(check);
      const bool checks = check == zvKDRParam::checkLinearAxes || check == zvKDRParam::checkAllAxes;
      const auto creator = scene.Creator();
      const auto move = Move3(position);
      const auto path = [&] { scene.Post(Contour({Move3({}), move}), true); };
      const auto single = [&] { creator.PostMoveWithinMachLimits(move, zvPostedMove::noLink); };
      if (id == 0 || !checks) {
        EXPECT_NO_THROW(path());
        EXPECT_NO_THROW(single());
      } else {
        EXPECT_TRUE(Fails(path, id));
        EXPECT_TRUE(Fails(single, id));
      }
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
      const auto moves = scene.Post(
          Contour({Move5({}, {0, 0, 1}, 100), Move5({c.distance, 0, 0}, {0, 0, 1}, 200)}),
          smallMoves);
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
  auto moves = scene.Post(path);
  ASSERT_EQ(moves.size(), 6u);
  expect(moves[2], zvPostedMove::noLink, false);
  expect(moves[3], zvPostedMove::noLink, false);
  scene.par.SetInterpolateRapidMoves(true);
  moves = scene.Post(path);
  ASSERT_EQ(moves.size(), 10u);
  expect(moves[1], zvPostedMove::link3, true);
  // Types differ: the feed is that of the move ahead, even of a rapid one.
  expect(moves[7], zvPostedMove::link1, false);
}

TEST(ThreeAxisCreator, RigidBodyModelFindsTipAndAxisOfAlignedPaths) {
  tests::Seeded random;
  double worstTip = 0, worstAxis = 0;
  for (int machine = 0; machine < 300; ++machine) {
    Scene scene;
    const Point x = random.UnitVector() * random.Real(0.5, 2);
    const Point y = random.UnitVector(), z = random.UnitVector();
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
    const auto list = creator.Post(Contour(source), false);
    ASSERT_TRUE(creator.IsAlignMatrixValide());
    const auto& align = *creator.GetAlignMatrix();

    const zv3axMachDef& m = scene.machDef;
    const tests::rigid::LinearMachine model{
        {ToVector(m.GetXAxisDirection()), ToVector(m.GetYAxisDirection()),
         ToVector(m.GetZAxisDirection())},
        ToVector(m.GetSpindleDirection()),
        ToVector(scene.origin),
        scene.toolLength};
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
  creator.Post(Contour({Toward({0, 1, 0})}), false);
  const auto matrix = creator.GetAlignMatrix();
  ASSERT_TRUE(matrix);
  // The fitting path is turned by the old matrix, and so no longer fits.
  EXPECT_TRUE(Fails([&] { creator.Post(Contour({Move3({})}), false); }, 5029));
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
  scene.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(-3));
  scene.machDef.SetMaxLimits({1, 1, 1});
  const auto creator = scene.Creator();
  const auto single = [&](const cadcam::zvMovePointer& move) {
    return
        [&creator, move] { return creator.PostMoveWithinMachLimits(move, zvPostedMove::noLink); };
  };
  EXPECT_TRUE(ThrowsNull(single(nullptr)));
  EXPECT_TRUE(Fails(single(Move3({kNaN, 0, 0})), 5039));
  EXPECT_TRUE(Fails(single(Move3({0, 5, 0})), 5016)) << "an unknown value checks here";
  const auto pair = single(Move3({0, 1, 0}))();
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
  const auto path = Contour({Toward({1, 0, 0}, {1, 2, 3})});
  EXPECT_EQ(creator.Post(path, true)->Front().GetMachinePosition(), Point(-2, 1, 13));
  EXPECT_EQ(zvPosted3axTPCreator(creator).GetTransfor3d(), creator.GetTransfor3d());
  creator.SetTransfor3d(nullptr);
  EXPECT_TRUE(Fails([&] { creator.Post(path, true); }, 5029));
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
  const auto along = [](double z) { return Contour({Toward({1, 0, 0}, {0, 0, z})}); };
  // Orientation and limits by the new machine, the tool along the old spindle.
  EXPECT_EQ(creator.Post(along(-8), true)->Front().GetMachinePosition(), Point(0, 0, 2));
  EXPECT_TRUE(Fails([&] { creator.Post(along(0), true); }, 5017));

  const auto make = [&](const misc::zvAutoPointer<post::zvMachDef>& machDef) {
    zvPosted3axTPCreator(machDef, scene.control, scene.par, scene.origin, 0);
  };
  const misc::zvAutoPointer<post::zvMachDef> fourAxes = misc::MakeAutoPointer<post::zv4axMachDef>();
  EXPECT_TRUE(Fails([&] { creator.SetMachDef(fourAxes); }, 5043));
  EXPECT_TRUE(Fails([&] { make(fourAxes); }, 5043));
  EXPECT_TRUE(ThrowsNull([&] { make(nullptr); }));
  creator.GetMachDefPtr()->SetMaxLimits({6, 6, 6});
  EXPECT_EQ(creator.GetMachDefPtr()->GetMaxLimits(), Point(5, 5, 5)) << "a copy is given";
}

TEST(ThreeAxisCreator, ListsAreSharedRenewedAndEmptied) {
  Scene scene;
  const auto path = Contour({Move3({1, 0, 0}), Move3({2, 0, 0})});
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
    EXPECT_TRUE(
        Fails([&] { creator.Post(PathBuilder(tests::kInch).Contour({Move3({})}), true); }, 5033));
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

  const auto wrapped = [&](double angle, int limit) {
    return base.ApplyAngleLimitToRotAxis(angle, static_cast<zv5axControlDef::angleLimit>(limit));
  };
  for (const int unwrapped : {0, 3, -1}) EXPECT_EQ(wrapped(725, unwrapped), 725);
  EXPECT_EQ(wrapped(-0.5, zv5axControlDef::angleLimit360), 359.5);
  EXPECT_EQ(wrapped(190, zv5axControlDef::angleLimit180), -170);
}

TEST(PostedTPCreator, ThrowsForEachLimitAndForNothingElse) {
  const Scene scene;
  const BaseProbe base(scene);
  for (std::int32_t axis = -2; axis <= 6; ++axis)
    for (std::int32_t side = -2; side <= 3; ++side) {
      const auto tell = [&] { base.ExceedingLimit({axis, side}); };
      if (axis >= 0 && axis <= 4 && (side == 0 || side == 1))
        EXPECT_TRUE(Fails(tell, static_cast<std::uint32_t>((side == 0 ? 5010 : 5015) + axis)));
      else
        EXPECT_NO_THROW(tell());
    }
}

TEST(PostedTPCreator, NamesTheTypeOfAMoveByItsSection) {
  const Scene scene;
  const BaseProbe base(scene);
  PathBuilder path;
  for (std::uint32_t type = 0; type <= 5; ++type) path.Link(type, {Move3({})});
  path.Contour({Move3({})});
  auto position = path.Path().begin();
  for (int type = 0; type <= zvPostedMove::noLink; ++type, ++position)
    EXPECT_EQ(base.GetPostedMoveType(path, position), type);
  EXPECT_TRUE(ThrowsNull([&] { base.GetPostedMoveType(path, position); }));
}

}  // namespace
