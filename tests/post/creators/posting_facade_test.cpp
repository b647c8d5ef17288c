#include <gtest/gtest.h>
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/post/creators/posting_facade.h>
#include <kandrel/post/creators/three_axis_creator.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/four_axis_scenes.h>
#include <tests/support/six_axis_scenes.h>
#include <tests/support/source_path.h>
#include <tests/support/throws_id.h>

#include <limits>
#include <typeinfo>

namespace {

using post::zvKDRParam;
using post::zvMachDef;
using post::zvPostedMove;
using post::zvPostedTP;
using post::zvPostException;
using tests::Build;
using tests::Move3;
using tests::Move5;
using tests::PathBuilder;
using tests::Point;
using tests::Seeded;
using tests::Source;
using tests::ThrowsId;
using tests::ToPoint;

template <class Action>
testing::AssertionResult Fails(Action&& action, std::uint32_t id) {
  return ThrowsId<zvPostException>(action, id);
}

// What a façade and a creator refer to, and a path that the machine can follow.
struct Request {
  misc::zvAutoPointer<zvMachDef> machDef;
  post::zv5axControlDef control;
  zvKDRParam par{tests::kMetric};
  Point origin{10, 20, 30};
  double toolLength = 100;
  Source path;

  zvKDR5AxBase Facade() const&& = delete;
  zvKDR5AxBase Facade() const& { return {machDef, control, par, origin, toolLength}; }
  template <class Creator>
  Creator CreatorOf() const& {
    return {machDef, control, par, origin, toolLength};
  }
};

Request RandomRequest(Seeded& random, zvMachDef::NumbersOfAxes axes) {
  Request request;
  const int count = random.Integer(1, 30);
  const auto take = [&request](const auto& scene, const auto& machDef) {
    request.origin = scene.origin;
    request.toolLength = scene.toolLength;
    request.machDef = machDef.Clone();
  };
  if (axes == zvMachDef::threeAxes) {
    post::zv3axMachDef machDef;
    machDef.SetSpindleDirection(AnyVector(random));
    request.machDef = machDef.Clone();
    request.par.SetAlignToolpath(random.Chance(0.5));
    const Point axis =
        request.par.GetAlignToolpath() ? AnyVector(random) : machDef.GetSpindleDirection();
    for (int i = 0; i < count; ++i) request.path.push_back({random.Vector(50), axis});
  } else if (axes == zvMachDef::fourAxes) {
    const tests::FourAxisScene scene = RandomFourAxisScene(random);
    take(scene, scene.machine.MachDef());
    double deg = random.Real(-180, 180);
    for (int i = 0; i < count; ++i) {
      request.path.push_back({random.Vector(50), scene.DirectionAt(deg), random.Real(100, 999)});
      deg += random.Real(-50, 50);
    }
  } else {
    const tests::SixAxisScene scene = RandomSixAxisScene(random);
    if (axes == zvMachDef::fiveAxes)
      take(scene, scene.machine.MachDef());
    else
      take(scene, scene.MachDef());
    request.path = RandomReachablePath(random, scene, count);
  }
  request.par.SetInterpolateByDistance(random.Chance(0.3));
  request.par.SetInterpolationDistance(random.Real(5, 20));
  request.par.SetMaxAngleJump(random.Real(20, 179));
  request.control.SetFirstAxisLimit(
      static_cast<post::zv5axControlDef::angleLimit>(random.Integer(0, 2)));
  return request;
}

template <class Move>
void ExpectSame(const zvPostedMove& line, const Move& move) {
  ASSERT_TRUE(typeid(line) == typeid(Move));
  ASSERT_TRUE(static_cast<const Move&>(line) == move);
  ASSERT_EQ(line.GetMachinePosition(), move.GetMachinePosition());
  ASSERT_FALSE(line.HasNoExtended());
}

// The façade against the creator of a class, in all that it does.
template <class Creator>
void ExpectTheCreatorsResults(zvMachDef::NumbersOfAxes axes) {
  using Move = typename Creator::Move;
  Seeded random;
  int refused = 0;
  std::uint64_t lines = 0;
  constexpr int kRequests = 200;
  for (int i = 0; i < kRequests; ++i) {
    const Request request = RandomRequest(random, axes);
    Creator creator = request.CreatorOf<Creator>();
    zvKDR5AxBase facade = request.Facade();
    const auto path = Build(request.path);
    try {
      creator.Post(path, false);
    } catch (const misc::zvException& e) {
      ++refused;
      ASSERT_TRUE(ThrowsId<zvPostException>([&] { facade.Post(path); }, e.GetId()));
      ASSERT_EQ(facade.GetPostedTP().GetCount(), 0u);
      continue;
    }
    const zvPostedTP& posted = facade.Post(path);
    ASSERT_EQ(posted.GetCount(), creator.GetPostedList()->GetCount());
    auto line = posted.Begin();
    for (const Move& move : *creator.GetPostedList()) ExpectSame(**line++, move);
    ASSERT_EQ(posted.HasAlignMatrix(), creator.IsAlignMatrixValide());
    ASSERT_EQ(facade.GetAlignMatrix(), posted.GetAlignMatrix());
    lines += posted.GetCount();

    const auto move = Move5(request.path.front().tip, request.path.front().orientation, 700);
    const auto [single, mirror] = facade.PostMove(move, zvPostedMove::link1);
    if constexpr (requires { creator.PostMove2(move, zvPostedMove::link1); }) {
      const auto expected = creator.PostMove2(move, zvPostedMove::link1);
      ExpectSame(*single, expected.first);
      ASSERT_EQ(*mirror, expected.second);
    } else {
      ExpectSame(*single, creator.PostMove(move, zvPostedMove::link1));
      ASSERT_TRUE(mirror.IsNull());
    }
    const auto within = facade.PostMoveWithinMachLimits(move, zvPostedMove::link1);
    creator.SetAlignMatrix(nullptr);  // which the façade doesn't pass on here
    const auto expected = creator.PostMoveWithinMachLimits(move, zvPostedMove::link1);
    ASSERT_EQ(within.first.IsNull(), expected.first.IsNull());
    ASSERT_EQ(within.second.IsNull(), expected.second.IsNull());
    if (expected.first) ExpectSame(*within.first, *expected.first);
    if (expected.second) ExpectSame(*within.second, *expected.second);
    if (testing::Test::HasFatalFailure()) FAIL() << i;
  }
  EXPECT_LT(refused, kRequests / 2);
  EXPECT_GT(lines, 1000u);
}

TEST(PostingFacade, GivesTheCreatorsResults) {
  ExpectTheCreatorsResults<zvPosted3axTPCreator>(zvMachDef::threeAxes);
  ExpectTheCreatorsResults<zvPosted4axTPCreator>(zvMachDef::fourAxes);
  ExpectTheCreatorsResults<zvPosted5axTPCreator>(zvMachDef::fiveAxes);
  ExpectTheCreatorsResults<zvPosted6axTPCreator>(zvMachDef::sixAxes);
}

// X of the part is the tool's direction, so that the alignment turns it into the machine's Z.
const Point kTip{3, 4, 5};
cadcam::zvMovePointer AlongX() {
  return Move3(kTip, 1000, false, {1, 0, 0});
}

TEST(PostingFacade, TheAlignmentStaysForSingleMovesButForNoOtherPosting) {
  Request request;
  request.machDef = post::zv3axMachDef().Clone();
  request.par.SetAlignToolpath(true);
  request.origin = {};
  request.toolLength = 0;
  zvKDR5AxBase facade = request.Facade();
  const auto postAlongX = [&]() -> const zvPostedTP& {
    return facade.Post(PathBuilder().Contour({AlongX()}));
  };
  EXPECT_FALSE(facade.IsAlignMatrixValide());
  const zvPostedTP& posted = postAlongX();
  const auto matrix = facade.GetAlignMatrix();
  ASSERT_TRUE(matrix);
  EXPECT_EQ(posted.GetAlignMatrix(), matrix);
  EXPECT_NEAR((*posted.Begin())->GetMachinePosition().z, 3, 1e-12);
  const auto aligned = [&] {
    const auto move = facade.PostMove(AlongX(), zvPostedMove::noLink).first;
    return std::fabs(move->GetMachinePosition().z - 3) < 1e-12;
  };
  EXPECT_TRUE(aligned());
  const auto within = facade.PostMoveWithinMachLimits(AlongX(), zvPostedMove::noLink);
  EXPECT_EQ(within.first->GetMachinePosition(), kTip);

  // An empty path, a path that fits as it is, one that fails: the façade's matrix stays, the
  // posted toolpath's goes, and nothing is aligned by it.
  facade.Post(cadcam::zvToolPath(tests::kMetric));
  EXPECT_EQ(posted.GetCount(), 0u);
  EXPECT_FALSE(posted.HasAlignMatrix());
  EXPECT_EQ(facade.GetAlignMatrix(), matrix);
  facade.Post(PathBuilder().Contour({Move3(kTip)}));
  ASSERT_EQ(posted.GetCount(), 1u);
  EXPECT_EQ((*posted.Begin())->GetMachinePosition(), kTip);
  EXPECT_FALSE(posted.HasAlignMatrix());
  EXPECT_EQ(facade.GetAlignMatrix(), matrix);
  EXPECT_THROW(facade.Post(PathBuilder().Contour({Move3({}, 1, false, {0, 0, -1})})),
               cadcam::zvcadcamException);
  EXPECT_EQ(facade.GetAlignMatrix(), matrix);
  EXPECT_TRUE(aligned());

  // A copy shares moves and matrix; each goes its own way then.
  postAlongX();
  zvKDR5AxBase copy(facade);
  EXPECT_EQ(*copy.GetPostedTP().Begin(), *posted.Begin());
  EXPECT_EQ(copy.GetAlignMatrix(), facade.GetAlignMatrix());
  facade.SetAlignMatrix(nullptr);
  EXPECT_FALSE(aligned());
  EXPECT_TRUE(posted.HasAlignMatrix());
  EXPECT_TRUE(copy.IsAlignMatrixValide());
}

TEST(PostingFacade, AFourAxisPathIsAlignedTooAndFiveAxesAreNot) {
  tests::FourAxisScene scene;
  Request request;
  request.machDef = scene.machine.MachDef().Clone();
  request.par.SetAlignToolpath(true);
  // About Y, which the alignment turns onto the machine's X, reversed.
  request.path = {{{1, 2, 3}, {0, 0, 1}}, {{1, 2, 4}, {0.6, 0, 0.8}}, {{1, 2, 5}, {0.8, 0, 0.6}}};
  zvKDR5AxBase facade = request.Facade();
  const zvPostedTP& posted = facade.Post(Build(request.path));
  ASSERT_TRUE(facade.IsAlignMatrixValide());
  EXPECT_EQ(posted.GetAlignMatrix(), facade.GetAlignMatrix());
  const auto move = Move5({1, 2, 3}, {0, 0, 1});
  const Point first = (*posted.Begin())->GetPartPosition();
  EXPECT_NE(first, Point(1, 2, 3));
  EXPECT_EQ(facade.PostMove(move, zvPostedMove::noLink).first->GetPartPosition(), first);
  EXPECT_EQ(facade.PostMoveWithinMachLimits(move, zvPostedMove::noLink).first->GetPartPosition(),
            Point(1, 2, 3));

  request.machDef = tests::FiveAxisSetup().MachDef().Clone();
  zvKDR5AxBase fiveAxes = request.Facade();
  fiveAxes.SetAlignMatrix(facade.GetAlignMatrix());
  EXPECT_EQ(fiveAxes.PostMove(move, zvPostedMove::noLink).first->GetPartPosition(), Point(1, 2, 3));
  EXPECT_FALSE(fiveAxes.Post(Build(request.path)).HasAlignMatrix());
  EXPECT_EQ(fiveAxes.GetAlignMatrix(), facade.GetAlignMatrix());
}

TEST(PostingFacade, DispatchComesFirstAndTheClassIsCheckedLast) {
  const auto path = PathBuilder().Contour({Move3({1, 2, 3})});
  const cadcam::zvToolPath empty(tests::kMetric);
  const auto move = [] { return Move3({1, 2, 3}); };
  Request request;
  request.machDef = post::zv5axMachDef().Clone();
  zvKDR5AxBase facade = request.Facade();
  EXPECT_EQ(facade.Post(path).GetCount(), 1u);
  const auto expectFailures = [&](std::uint32_t id) {
    EXPECT_TRUE(Fails([&] { facade.Post(path); }, id));
    EXPECT_EQ(facade.GetPostedTP().GetCount(), 0u) << "a failed posting leaves no result";
    EXPECT_TRUE(Fails([&] { facade.PostMove(move(), zvPostedMove::noLink); }, id));
    EXPECT_TRUE(Fails([&] { facade.PostMoveWithinMachLimits(move(), zvPostedMove::noLink); }, id));
  };
  for (const int axes : {-1, 0, 1, 3, 4, 7}) {
    SCOPED_TRACE(axes);
    request.machDef->SetNumbersOfAxes(static_cast<zvMachDef::NumbersOfAxes>(axes));
    const bool isKnown = axes >= 0 && axes <= 3;
    expectFailures(isKnown ? 5043 : 5031);
    // Nothing to post, nothing to check.
    if (isKnown)
      EXPECT_EQ(facade.Post(empty).GetCount(), 0u);
    else
      EXPECT_TRUE(Fails([&] { facade.Post(empty); }, 5031));
  }
  request.machDef = nullptr;
  EXPECT_TRUE(tests::ThrowsNull([&] { request.Facade(); }));
}

TEST(PostingFacade, AFailedPostingLeavesNoResult) {
  tests::FiveAxisScene scene;
  scene.machine.firstRange = {-360, 360};
  Request request;
  request.machDef = scene.machine.MachDef().Clone();
  request.par.SetLimitsCheck(zvKDRParam::checkAllAxes);
  for (int i = 0; i < 400; ++i)
    request.path.push_back({{0, 0, 0.1 * i}, ToPoint(scene.Model().At({}, 5.0 * i, 30).axis)});
  zvKDR5AxBase facade = request.Facade();
  zvPosted5axTPCreator creator = request.CreatorOf<zvPosted5axTPCreator>();
  creator.Post(Build(request.path), false);
  const zvPostedTP& posted = facade.Post(Build(request.path));
  EXPECT_EQ(facade.GetCounts().rewindings, creator.GetCounts().rewindings);
  EXPECT_GE(facade.GetCounts().rewindings, 2u);
  const auto kept = *posted.Begin();

  Source broken = request.path;
  broken.back().orientation.x = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(Fails([&] { facade.Post(Build(broken)); }, 5039));
  EXPECT_EQ(posted.GetCount(), 0u);
  EXPECT_EQ(facade.GetCounts().rewindings, 0u);
  EXPECT_EQ(kept.UseCount(), 1u) << "a move that is shared lives on";
  EXPECT_EQ(kept->GetSourceIndex(), 0);
  EXPECT_EQ(&facade.Post(Build(request.path)), &posted);
  EXPECT_GT(posted.GetCount(), 400u);
}

// Definitions are referred to: a change between two calls reaches the next.
TEST(PostingFacade, SeesItsDefinitionsAsTheyAreNow) {
  Request request;
  request.machDef = post::zv3axMachDef().Clone();
  const zvKDR5AxBase facade = request.Facade();
  const auto z = [&] {
    return facade.PostMove(Move3({0, 0, 1}), zvPostedMove::noLink).first->GetMachinePosition().z;
  };
  EXPECT_EQ(z(), 131);
  request.origin.z = 0;
  EXPECT_EQ(z(), 101);
  request.machDef->SetSpindleDirection({1, 0, 0});
  EXPECT_EQ(z(), 1);
  EXPECT_EQ(request.machDef.UseCount(), 1u);
}

TEST(PostingFacade, TellsTheTypesOfMovesInAPath) {
  Request request;
  request.machDef = post::zv3axMachDef().Clone();
  const zvKDR5AxBase facade = request.Facade();
  PathBuilder builder;
  builder.Link(3, {Move3({})}).Contour({Move3({})});
  const cadcam::zvToolPath& path = builder.Path();
  auto it = path.begin();
  EXPECT_EQ(facade.GetPostedMoveType(path, it), zvPostedMove::link3);
  EXPECT_EQ(facade.GetLinkType(it), zvPostedMove::link3);
  ++it;
  EXPECT_EQ(facade.GetPostedMoveType(path, it), zvPostedMove::noLink);
  EXPECT_TRUE(ThrowsId<cadcam::zvcadcamException>([&] { facade.GetLinkType(it); }, 2640));
}

}  // namespace
