#include <kandrel/post/creators/posting_facade.h>
#include <tests/support/every_creator.h>
#include <tests/support/outcome.h>
#include <tests/support/seeded.h>

namespace tests {
namespace {

using post::zvKDRParam;
using post::zvMachDef;
using post::zvPostedMove;
using post::zvPostedTP;

template <class C>
zvKDR5AxBase Facade(const Workshop<C>& shop) {
  return {shop.machDef, shop.control, shop.par, shop.origin, shop.toolLength};
}
template <class C>
zvKDR5AxBase Facade(const Workshop<C>&&) = delete;

template <class C>
struct FacadeOf : testing::Test {};
TYPED_TEST_SUITE(FacadeOf, EveryCreator);

template <class Move>
void ExpectSame(const zvPostedMove& line, const Move& move) {
  ASSERT_TRUE(typeid(line) == typeid(Move));
  ASSERT_TRUE(LineOf(static_cast<const Move&>(line)) == LineOf(move));
}

template <class Line, class Move>
void ExpectSame(const Line& line, const misc::zvAutoPointer<Move>& move) {
  ASSERT_EQ(line.IsNull(), move.IsNull());
  if (line) ExpectSame(*line, *move);
}

TYPED_TEST(FacadeOf, GivesTheCreatorsResults) {
  using Shop = Workshop<TypeParam>;
  Seeded random;
  int refused = 0;
  std::uint64_t lines = 0;
  for (int i = 0; i < 100; ++i) {
    Shop shop;
    shop.toolLength = random.Real(-50, 300);
    zvKDR5AxBase facade = Facade(shop);
    // The rest is referred to: a change reaches the next call.
    shop.origin = random.Vector(100);
    // On both sides, as two rotary axes could turn the part round.
    shop.machDef.SetMinLimits({-60, -200, -1000});
    shop.machDef.SetMaxLimits({60, 200, 1000});
    shop.SetRange(-200, 400);
    shop.par.SetLimitsCheck(static_cast<zvKDRParam::LimitsCheck>(random.Integer(0, 3)));
    shop.par.SetAlignToolpath(random.Chance(0.5));
    shop.par.SetInterpolateByDistance(random.Chance(0.3));
    shop.par.SetInterpolationDistance(random.Real(5, 20));
    shop.par.SetMaxAngleJump(random.Real(20, 179));
    shop.control = Wrapping(random.Integer(0, 2), 0);
    const Point standing = shop.par.GetAlignToolpath() ? random.UnitVector() : Point{0, 0, 1};
    const double step = random.Real(-50, 50);
    PathBuilder::Moves moves;
    for (int k = random.Integer(1, 30); k > 0; --k) {
      Point tool = Shop::kAxes == 3 ? standing : shop.Tool(k * step);
      if (Shop::kAxes == 4 && shop.par.GetAlignToolpath()) std::swap(tool.x, tool.y);
      moves.push_back(Move5(random.Vector(50), tool, random.Real(100, 999)));
    }
    const auto path = PathBuilder().Contour(moves);
    TypeParam creator = shop.Creator();
    const auto expected = PostBy(creator, path);
    SCOPED_TRACE(i);
    ASSERT_EQ(IdOf([&] { facade.Post(path); }), expected.id);
    const zvPostedTP& posted = facade.GetPostedTP();
    if (expected.id != 0) {
      ++refused;
      ASSERT_EQ(posted.GetCount(), 0u);
    } else {
      ASSERT_EQ(posted.GetCount(), expected.lines.size());
      auto line = posted.Begin();
      for (const auto& move : *creator.GetPostedList()) ExpectSame(**line++, move);
      lines += posted.GetCount();
      ASSERT_EQ(posted.HasAlignMatrix(), creator.IsAlignMatrixValide());
      ASSERT_EQ(facade.GetAlignMatrix(), posted.GetAlignMatrix());
      ASSERT_EQ(facade.GetCounts().rewindings, expected.counts.rewindings);
      ASSERT_EQ(facade.GetCounts().largeJumps, expected.counts.largeJumps);
    }

    creator.SetAlignMatrix(facade.GetAlignMatrix());
    const auto [single, mirror] = facade.PostMove(moves[0], zvPostedMove::link1);
    if constexpr (Shop::kAxes > 4) {
      const auto solutions = creator.PostMove2(moves[0], zvPostedMove::link1);
      ExpectSame(*single, solutions.first);
      ASSERT_EQ(*mirror, solutions.second);
    } else {
      ExpectSame(*single, creator.PostMove(moves[0], zvPostedMove::link1));
      ASSERT_TRUE(mirror.IsNull());
    }
    creator.SetAlignMatrix(nullptr);  // which the façade doesn't pass on here
    const auto within = [&](const auto& of) {
      return of.PostMoveWithinMachLimits(moves[0], zvPostedMove::link1);
    };
    const std::uint32_t id = IdOf([&] { within(creator); });
    ASSERT_EQ(IdOf([&] { within(facade); }), id);
    if (id == 0) {
      const auto [line, other] = within(facade);
      const auto wanted = within(creator);
      ExpectSame(line, wanted.first);
      ExpectSame(other, wanted.second);
    }
    if (testing::Test::HasFatalFailure()) return;
  }
  EXPECT_GT(refused, 5);
  EXPECT_LT(refused, 70);
  EXPECT_GT(lines, 400u);
}

// X of the part is the tool's direction, so that the alignment turns it into the machine's Z.
const Point kTip{3, 4, 5};
cadcam::zvMovePointer AlongX() {
  return Move3(kTip, 1000, false, {1, 0, 0});
}

TEST(PostingFacade, TheAlignmentStaysForSingleMovesButForNoOtherPosting) {
  Workshop<zvPosted3axTPCreator> shop;
  shop.par.SetAlignToolpath(true);
  zvKDR5AxBase facade = Facade(shop);
  const auto aligning = PathBuilder().Contour({AlongX()});
  EXPECT_FALSE(facade.IsAlignMatrixValide());
  const zvPostedTP& posted = facade.Post(aligning);
  const auto matrix = facade.GetAlignMatrix();
  ASSERT_TRUE(matrix);
  EXPECT_EQ(posted.GetAlignMatrix(), matrix);
  const auto x = [](const zvKDR5AxBase& of) {
    return of.PostMove(AlongX(), zvPostedMove::noLink).first->GetMachinePosition().x;
  };
  EXPECT_NE(x(facade), kTip.x);

  // An empty path, a path that fits as it is, one that fails: the façade's matrix stays, the
  // posted toolpath's goes, and nothing is aligned by it.
  const std::pair<PathBuilder, std::uint32_t> others[] = {
      {PathBuilder(), 0},
      {PathBuilder().Contour({Move3(kTip)}), 0},
      {PathBuilder().Contour({Move3({}, 1, 0, {0, 0, -1})}), 2189}};
  for (const auto& [path, id] : others) {
    EXPECT_EQ(IdOf([&, &other = path] { facade.Post(other); }), id);
    EXPECT_EQ(posted.GetCount(), id == 0 ? path.Path().GetMoveCount() : 0);
    EXPECT_FALSE(posted.HasAlignMatrix());
    EXPECT_EQ(facade.GetAlignMatrix(), matrix);
    for (auto it = posted.Begin(); it != posted.End(); ++it)
      EXPECT_EQ((*it)->GetMachinePosition(), kTip);
  }
  EXPECT_NE(x(facade), kTip.x);

  // A copy shares moves and matrix; each goes its own way then.
  facade.Post(aligning);
  zvKDR5AxBase copy(facade);
  EXPECT_EQ(*copy.GetPostedTP().Begin(), *posted.Begin());
  EXPECT_EQ(copy.GetAlignMatrix(), facade.GetAlignMatrix());
  facade.SetAlignMatrix(nullptr);
  EXPECT_EQ(x(facade), kTip.x);
  EXPECT_TRUE(posted.HasAlignMatrix());
  EXPECT_TRUE(copy.IsAlignMatrixValide());

  const Workshop<zvPosted5axTPCreator> fiveAxis;
  zvKDR5AxBase fiveAxes = Facade(fiveAxis);
  fiveAxes.SetAlignMatrix(matrix);
  EXPECT_EQ(x(fiveAxes), Facade(fiveAxis).PostMove(AlongX(), {}).first->GetMachinePosition().x);
  EXPECT_FALSE(fiveAxes.Post(aligning).HasAlignMatrix());
  EXPECT_EQ(fiveAxes.GetAlignMatrix(), matrix);
}

TEST(PostingFacade, DispatchComesFirstAndTheClassIsCheckedLast) {
  const auto move = Move3({1, 2, 3});
  const auto path = PathBuilder().Contour({move});
  Workshop<zvPosted5axTPCreator> shop;
  zvKDR5AxBase facade = Facade(shop);
  EXPECT_EQ(facade.Post(path).GetCount(), 1u);
  for (const int axes : {-1, 0, 1, 3, 4, 7}) {
    SCOPED_TRACE(axes);
    shop.machDef.SetNumbersOfAxes(static_cast<zvMachDef::NumbersOfAxes>(axes));
    const bool isKnown = axes >= 0 && axes <= 3;
    const std::uint32_t id = isKnown ? 5043 : 5031;
    EXPECT_EQ(IdOf([&, &other = path] { facade.Post(other); }), id);
    EXPECT_EQ(facade.GetPostedTP().GetCount(), 0u) << "a failed posting leaves no result";
    EXPECT_EQ(IdOf([&] { facade.PostMove(move, {}); }), id);
    EXPECT_EQ(IdOf([&] { facade.PostMoveWithinMachLimits(move, {}); }), id);
    // Nothing to post, nothing to check.
    EXPECT_EQ(IdOf([&] { facade.Post(cadcam::zvToolPath(kInch)); }), isKnown ? 0 : 5031);
  }
  const misc::zvAutoPointer<zvMachDef> null;
  EXPECT_EQ(IdOf([&] { zvKDR5AxBase(null, shop.control, shop.par, shop.origin, 0); }),
            kNullPointer);
}

TEST(PostingFacade, AFailedPostingLeavesNoResult) {
  Workshop<zvPosted4axTPCreator> shop;
  shop.SetRange(-360, 360);
  shop.par.SetLimitsCheck(zvKDRParam::checkAllAxes);
  zvKDR5AxBase facade = Facade(shop);
  const zvPostedTP& posted = facade.Post(shop.Path(400, 4));
  EXPECT_GT(posted.GetCount(), 400u);
  EXPECT_GE(facade.GetCounts().rewindings, 2u);
  const auto kept = *posted.Begin();
  EXPECT_EQ(IdOf([&] { facade.Post(shop.Path(400, 4, kNaN)); }), 5039u);
  EXPECT_EQ(posted.GetCount(), 0u);
  EXPECT_EQ(facade.GetCounts().rewindings, 0u);
  EXPECT_EQ(kept.UseCount(), 1u) << "a move that is shared lives on";
}

TEST(PostingFacade, TellsTheTypesOfMovesInAPath) {
  const Workshop<zvPosted3axTPCreator> shop;
  const zvKDR5AxBase facade = Facade(shop);
  PathBuilder builder;
  builder.Link(3, {Move3({})}).Contour({Move3({})});
  const cadcam::zvToolPath& path = builder.Path();
  EXPECT_EQ(facade.GetLinkType(path.begin()), zvPostedMove::link3);
  const auto it = std::next(path.begin());
  EXPECT_EQ(facade.GetPostedMoveType(path, it), zvPostedMove::noLink);
  EXPECT_EQ(IdOf([&] { facade.GetLinkType(it); }), 2640u);
}

}  // namespace
}  // namespace tests
