// What creators of all machine classes keep: whose lists and copies are whose, what is refused and
// in which order, how single moves come.
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/post/creators/posting_facade.h>
#include <tests/support/every_creator.h>
#include <tests/support/outcome.h>

namespace tests {
namespace {

using post::zvKDRParam;
using post::zvPostedMove;

constexpr auto kUnknownCheck = static_cast<zvKDRParam::LimitsCheck>(7);

template <class C>
struct EachCreator : testing::Test, Workshop<C> {
  PathBuilder path = Workshop<C>::Path(3, 2);
  PathBuilder inchPath = PathBuilder(kInch).Contour({Move5({}, {0, 0, 1})});
};
TYPED_TEST_SUITE(EachCreator, EveryCreator);

TYPED_TEST(EachCreator, SharesItsListUntilItDiesOrStartsAnother) {
  const auto two = TestFixture::Path(2, 2);
  typename TypeParam::ListPointer first, third, last;
  {
    TypeParam creator = this->Creator();
    EXPECT_TRUE(creator.GetPostedList().IsNull());
    creator.ClearPostedList();
    first = creator.Post(two, false);
    EXPECT_EQ(first, creator.GetPostedList());
    creator.PostRun(this->path, true);
    const auto second = creator.GetPostedList();
    EXPECT_EQ(first->GetCount(), 2u) << "a former list lives on with whoever holds it";
    EXPECT_FALSE(first->Front().HasNoExtended());
    EXPECT_TRUE(second->Front().HasNoExtended());
    creator.SetPostedList(second);
    EXPECT_EQ(second->GetCount(), 3u) << "its own list changes nothing";
    TypeParam copy(creator);
    EXPECT_TRUE(copy.GetPostedList().IsNull());
    copy.ClearPostedList();
    EXPECT_EQ(second->GetCount(), 3u);
    EXPECT_EQ(copy.GetInstanceType(), TestFixture::kAxes - 2);

    creator.SetPostedList(first);
    EXPECT_TRUE(second->IsEmpty()) << "the former present list is emptied";
    EXPECT_NE(creator.GetPostedList(), first) << "copied, not adopted";
    ASSERT_EQ(creator.GetPostedList()->GetCount(), 2u);
    EXPECT_EQ(creator.GetPostedList()->Back(), first->Back());
    creator.SetPostedList(nullptr);
    EXPECT_TRUE(creator.GetPostedList()->IsEmpty());
    third = creator.Post(this->path, false);
    EXPECT_EQ(PostBy(copy, this->path), PostBy(creator, this->path));
    third = creator.GetPostedList();
    EXPECT_EQ(IdOf([&] { creator.Post(this->inchPath, true); }), 5033u);
    EXPECT_EQ(third->GetCount(), 3u);
    EXPECT_EQ(creator.GetPostedList() == third, TestFixture::kAxes == 6) << "only six axes keep it";
    last = creator.Post(this->path, true);
    creator.ClearPostedList();
    EXPECT_TRUE(last->IsEmpty());
    last = creator.Post(this->path, true);
  }
  EXPECT_TRUE(last->IsEmpty()) << "emptied with the creator";
  EXPECT_EQ(first->Back().GetExtendedId(), 7u);
  EXPECT_EQ(third->GetCount(), 3u);
}

TYPED_TEST(EachCreator, ChecksNothingWithoutAFirstPassAndTheSetUpWithoutMoves) {
  this->par.SetLimitsCheck(kUnknownCheck);
  this->origin.x = kNaN;
  TypeParam creator = this->Creator();
  cadcam::zvToolPath none(kInch);
  EXPECT_TRUE(creator.Post(none, false)->IsEmpty());
  none.push_back(misc::MakeAutoPointer<cadcam::zvTPPass>());
  none.push_back(this->path.Path().front());
  EXPECT_TRUE(creator.Post(none, false)->IsEmpty()) << "an empty first pass hides a full second";

  const PathBuilder slice = PathBuilder().Contour({});
  EXPECT_EQ(Post(*this, PathBuilder(kInch).Contour({})).id, 5033u);
  EXPECT_EQ(Post(*this, slice).id, 5039u);
  this->origin.x = 0;
  EXPECT_EQ(Post(*this, slice).id, 5046u);
  this->par.SetLimitsCheck(zvKDRParam::checkAllAxes);
  this->par.SetAlignToolpath(true);
  if constexpr (TestFixture::kAxes == 6) this->machDef.SetThirdAngle(kNaN);
  EXPECT_EQ(Post(*this, slice).id, 0u);
}

TYPED_TEST(EachCreator, TellsTheFirstFaultOfTheOrderAndLeavesWhatWasPosted) {
  using Shop = Workshop<TypeParam>;
  const auto good = Move5({}, Shop::Tool(10));
  const auto turned = Move5({1, 0, 0}, Shop::Tool(11));
  const auto zero = Move5({}, {});
  const auto noNumber = Move5({0, kNaN, 0}, Shop::Tool(10));
  const auto plain = misc::MakeAutoPointer<cadcam::zvCNCMove>();
  PathBuilder::Moves ahead(20, good);
  ahead[10] = turned;
  ahead[15] = nullptr;

  const struct {
    const char* name;
    PathBuilder::Moves moves;
    std::uint32_t id;
    std::size_t left;  // in the list; six axes have none then
    std::function<void(Shop&)> change = {};
  } cases[] = {
      {"none", {good, turned}, 0, 2},
      {"units", {nullptr}, 5032, 0, [](Shop& s) { s.machDef.SetUnits(kInch); }},
      {"set-up", {nullptr}, 5039, 0, [](Shop& s) { s.toolLength = kNaN; }},
      {"null", {good, nullptr}, kNullPointer, 0},
      {"null that is read ahead of its turn", ahead, kNullPointer, 0},
      {"no number wherever it stands", {good, zero, noNumber}, 5039, 0},
      {"no number behind a plain move", {good, plain, noNumber}, 5039, 0},
      {"plain move", {good, turned, plain}, 2503, 2},
      {"unknown check",
       {good, turned},
       5046,
       2,
       [](Shop& s) { s.par.SetLimitsCheck(kUnknownCheck); }},
  };
  for (const auto& c : cases) {
    Shop shop;
    if (c.change) c.change(shop);
    const auto outcome = Post(shop, PathBuilder().Contour(c.moves));
    EXPECT_EQ(outcome.id, c.id) << c.name;
    EXPECT_EQ(outcome.lines.size(), c.id != 0 && Shop::kAxes == 6 ? 0 : c.left) << c.name;
  }
  EXPECT_EQ(Post(*this, this->inchPath).id, 5033u);
  EXPECT_EQ(Post(*this, PathBuilder().Contour({good, zero}).Link(6, {turned})).id, 2637u);
  EXPECT_EQ(Post(*this, PathBuilder().Contour({noNumber}).Link(6, {turned})).id, 5039u);
}

// Whatever the parameters and limits are, a posting ends: with a list, or with an error.
TYPED_TEST(EachCreator, EndsOnAbsurdParametersAndLimits) {
  using Shop = Workshop<TypeParam>;
  // clang-format off
  const std::function<void(Shop&, double)> fields[] = {
      [](Shop& s, double odd) { s.par.SetMaxAngleStep(odd); },
      [](Shop& s, double odd) { s.par.SetInterpolateByDistance(true); s.par.SetInterpolationDistance(odd); },
      [](Shop& s, double odd) { s.par.SetMaxAngleJump(odd); },
      [](Shop& s, double odd) { s.par.SetRetractDistance(odd); },
      [](Shop& s, double odd) { s.par.SetLimitTolerance(odd); },
      [](Shop& s, double odd) { s.par.SetFirstMovePreferredAngle(odd); },
      [](Shop& s, double odd) { s.SetRange(odd, 360); },
      [](Shop& s, double odd) { s.SetRange(-360, odd); },
      [](Shop& s, double odd) { if constexpr (Shop::kAxes > 4) s.machDef.SetMinSecondAngle(odd); },
      [](Shop& s, double odd) { if constexpr (Shop::kAxes > 4) s.machDef.SetMaxSecondAngle(odd); },
      [](Shop& s, double odd) { s.machDef.SetMinLimits({odd, -500, -500}); },
      [](Shop& s, double odd) { s.machDef.SetMaxLimits({500, odd, 500}); },
  };
  // clang-format on
  const auto turns = Shop::Path(180, 5);
  for (const double odd : {0.0, -1.0, 1e-300, 1e300, kNaN, kInfinity, -kInfinity})
    for (const auto& set : fields)
      for (const bool isChecked : {false, true}) {
        Shop shop;
        shop.SetRange(-360, 360);
        if (isChecked) shop.par.SetLimitsCheck(zvKDRParam::checkAllAxes);
        set(shop, odd);
        const auto outcome = Post(shop, turns);
        const bool isLimit = isChecked && outcome.id >= 5010 && outcome.id <= 5019;
        EXPECT_TRUE(outcome.id == 0 || outcome.id == 5039 || isLimit)
            << outcome.id << ' ' << odd << ' ' << &set - fields;
        EXPECT_LT(outcome.lines.size(), 100000u) << odd << ' ' << &set - fields;
      }
}

TYPED_TEST(EachCreator, MarksSingleMovesAndRefusesWhatAPathRefuses) {
  const TypeParam creator = this->Creator();
  const auto expectMarked = [](const zvPostedMove& line) {
    EXPECT_EQ(line.GetPartPosition(), Point(1, 2, 3));
    EXPECT_EQ(line.GetFeed(), 700);
    EXPECT_EQ(line.GetType(), zvPostedMove::link2);
    EXPECT_EQ(line.GetExtendedId(), 7u);
    EXPECT_EQ(line.GetSourceIndex(), 0);
    EXPECT_TRUE(line.IsInserted());
  };
  const auto move = Move5({1, 2, 3}, TestFixture::Tool(40), 700);
  const auto within = creator.PostMoveWithinMachLimits(move, zvPostedMove::link2);
  expectMarked(*within.first);
  if constexpr (TestFixture::kAxes > 4) {
    const auto [first, mirror] = creator.PostMove(move, zvPostedMove::link2);
    for (const zvPostedMove* line : {&first, &mirror}) expectMarked(*line);
    expectMarked(*within.second);
    expectMarked(creator.PostMove2(move, zvPostedMove::link2).first);
  } else {
    expectMarked(creator.PostMove(move, zvPostedMove::link2));
    EXPECT_TRUE(within.second.IsNull());
  }
  const bool isTurned = TestFixture::kAxes != 3;
  const std::pair<cadcam::zvMovePointer, std::uint32_t> refused[] = {
      {nullptr, kNullPointer},
      {Move5({0, kNaN, 0}, {0, 0, 1}), 5039},
      {Move5({}, {0, kInfinity, 1}), 5039},
      {Move5({}, {}), isTurned ? 2189 : 0},  // of three axes orientations are not looked at
      {misc::MakeAutoPointer<cadcam::zvCNCMove>(), 2503}};
  const auto type = zvPostedMove::noLink;
  for (const auto& [bad, id] : refused) {
    EXPECT_EQ(IdOf([&, &move = bad] { creator.PostMove(move, type); }), id);
    EXPECT_EQ(IdOf([&, &move = bad] { creator.PostMoveWithinMachLimits(move, type); }), id);
  }
  this->par.SetLimitsCheck(kUnknownCheck);
  const TypeParam unknown = this->Creator();
  EXPECT_EQ(IdOf([&] { unknown.PostMove(move, type); }), 0u);
  EXPECT_EQ(IdOf([&] { unknown.PostMoveWithinMachLimits(move, type); }), isTurned ? 5046u : 0u);
}

TYPED_TEST(EachCreator, APathToleranceGoesWithCopiesAndTheFacadeAndCanBeTakenBack) {
  constexpr bool kIs3 = TestFixture::kAxes == 3;  // whose lines hold any tolerance
  const post::zvPathTolerance tolerance(kIs3 ? 1e-300 : 0.01, kIs3 ? 1e300 : 0.1);
  const auto turning = TestFixture::Path(20, 7);
  TypeParam creator = this->Creator();
  const Outcome plain = PostBy(creator, turning);
  creator.SetPathTolerance(tolerance);
  const Outcome held = PostBy(creator, turning);
  EXPECT_EQ(held == plain, kIs3);
  EXPECT_TRUE(held.report.IsHeld());
  EXPECT_EQ(PostBy(creator, turning, true).lines, Small(held.lines));
  TypeParam copy(creator);
  EXPECT_TRUE(PostBy(copy, turning) == held);
  zvKDR5AxBase facade(this->machDef, this->control, this->par, this->origin, this->toolLength);
  facade.SetPathTolerance(tolerance);
  EXPECT_EQ(facade.Post(turning).GetCount(), held.lines.size());
  EXPECT_TRUE(facade.GetToleranceReport().IsHeld());
  facade.SetPathTolerance({});
  EXPECT_EQ(facade.Post(turning).GetCount(), plain.lines.size());
  creator.SetPathTolerance({});
  EXPECT_TRUE(PostBy(creator, turning) == plain);
}

TYPED_TEST(EachCreator, CopiesMachineAndParametersAndRefersToTheRest) {
  using Pointer = misc::zvAutoPointer<post::zvMachDef>;
  this->toolLength = 5;
  TypeParam creator = this->Creator();
  EXPECT_EQ(&creator.GetPartOrigin(), &this->origin);
  EXPECT_EQ(&creator.GetControlDef(), &this->control);
  EXPECT_EQ(creator.GetToolLengthCompensationValue(), 5);
  const auto make = [&](const Pointer& definition) {
    return TypeParam(definition, this->control, this->par, this->origin, this->toolLength);
  };
  TypeParam byPointer = make(this->machDef.Clone());
  const auto expected = PostBy(creator, this->path);
  EXPECT_EQ(PostBy(byPointer, this->path), expected);
  this->machDef.SetUnits(kInch);
  this->machDef.SetSpindleDirection({0, 0, 2});
  this->par.SetLimitsCheck(kUnknownCheck);
  EXPECT_EQ(PostBy(creator, this->path), expected);

  creator.SetMachDef(this->machDef);
  byPointer.SetMachDef(this->machDef.Clone());
  EXPECT_EQ(this->machDef.GetSpindleDirection(), Point(0, 0, 2)) << "the caller's object stays";
  auto bad = this->machDef;
  bad.SetSpindleDirection({});
  bad.SetUnits(kMetric);
  const Pointer other =
      TestFixture::kAxes == 3 ? post::zv4axMachDef().Clone() : post::zv3axMachDef().Clone();
  for (TypeParam* one : {&creator, &byPointer}) {
    EXPECT_EQ(IdOf([&] { one->SetMachDef(bad); }), 2189u);
    EXPECT_EQ(IdOf([&] { one->SetMachDef(other); }), 5043u);
    EXPECT_EQ(IdOf([&] { one->SetMachDef(Pointer()); }), kNullPointer);
    EXPECT_EQ(one->GetMachDef().GetSpindleDirection(), Point(0, 0, 1));
    EXPECT_EQ(PostBy(*one, this->path).id, 5032u) << "as the one before the refused";
    one->GetMachDefPtr()->SetUnits(kMetric);
    EXPECT_EQ(one->GetMachDefPtr()->GetUnits(), kInch) << "a copy is given";
  }
  EXPECT_EQ(IdOf([&] { make(bad.Clone()); }), 2189u);
  EXPECT_EQ(IdOf([&] { make(other); }), 5043u);
  EXPECT_EQ(IdOf([&] { make(nullptr); }), kNullPointer);
}

template <class C>
struct AligningCreator : EachCreator<C> {};
using Aligning = testing::Types<zvPosted3axTPCreator, zvPosted4axTPCreator>;
TYPED_TEST_SUITE(AligningCreator, Aligning);

TYPED_TEST(AligningCreator, KeepsAnAlignmentUntilAnotherReplacesIt) {
  constexpr bool kIs3 = TestFixture::kAxes == 3;
  this->par.SetAlignToolpath(true);
  TypeParam creator = this->Creator();
  EXPECT_FALSE(creator.IsAlignMatrixValide());
  PathBuilder::Moves askew;
  for (const double x : {0.0, 0.1, 0.2})
    askew.push_back(Move5({}, {kIs3 ? 1 : x, 0, kIs3 ? 0. : 1}));
  creator.Post(PathBuilder().Contour(askew), true);
  const auto matrix = creator.GetAlignMatrix();
  ASSERT_TRUE(matrix);
  // What fits is turned by the old matrix, and so no longer fits.
  EXPECT_EQ(PostBy(creator, this->path).id, kIs3 ? 5029u : 5030u);
  EXPECT_EQ(creator.GetAlignMatrix(), matrix);
  const auto single = creator.PostMove(Move5({1, 2, 3}, {1, 0, 0}), zvPostedMove::noLink);
  EXPECT_LT((single.GetPartPosition() - *matrix * Point(1, 2, 3)).Length(), 1e-12);
  EXPECT_LT((single.GetOrientation() - *matrix * Point(1, 0, 0)).Length(), 1e-12);

  const TypeParam copy(creator);
  EXPECT_NE(copy.GetAlignMatrix(), matrix);
  EXPECT_EQ(*copy.GetAlignMatrix(), *matrix);
  creator.SetAlignMatrix(nullptr);
  EXPECT_EQ(PostBy(creator, this->path).id, 0u);
}

// A temporary bound to a reference would be gone at the first use.
template <class T, class MachDef, class Control, class Par, class Origin>
constexpr bool kTakes = std::is_constructible_v<T, MachDef, Control, Par, Origin, double>;
template <class T, class M, class C = post::zv5axControlDef, class P = zvKDRParam>
constexpr bool kRefuses =
    kTakes<T, M, const C&, const P&, const Point&>&& kTakes<T, M, C&, P&, Point&> &&
    !kTakes<T, M, const C&, P, const Point&> && !kTakes<T, M, C, const P&, const Point&> &&
    !kTakes<T, M, const C&, const P&, Point> && !kTakes<T, M, const C&, const P&, const Point>;
template <class T, class MachDef>
constexpr bool kRefusesTemporaries =
    kRefuses<T, const MachDef&>&& kRefuses<T, misc::zvAutoPointer<post::zvMachDef>>;
static_assert(kRefusesTemporaries<zvPosted3axTPCreator, post::zv3axMachDef>);
static_assert(kRefusesTemporaries<zvPosted4axTPCreator, post::zv4axMachDef>);
static_assert(kRefusesTemporaries<zvPosted5axTPCreator, post::zv5axMachDef>);
static_assert(kRefusesTemporaries<zvPosted6axTPCreator, post::zv6axMachDef>);
static_assert(kRefusesTemporaries<zvKDR5AxBase, post::zvMachDef>);

template <class T, class MachDef>
constexpr bool kMakerRefuses =
    std::is_constructible_v<T, const MachDef&, zvKDRParam&, Point&, double> &&
    !std::is_constructible_v<T, const MachDef&, zvKDRParam, Point&, double> &&
    !std::is_constructible_v<T, const MachDef&, zvKDRParam&, Point, double>;
static_assert(kMakerRefuses<post::zvPosted4axMoveMaker, post::zv4axMachDef>);
static_assert(kMakerRefuses<post::zv5axMoveSolver, post::zv5axMachDef>);
static_assert(
    !std::is_constructible_v<post::zvPosted3axMoveMaker, const post::zv3axMachDef&, Point, double>);

}  // namespace
}  // namespace tests
