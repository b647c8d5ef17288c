#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posted_toolpath.h>
#include <kandrel/post/model/posted_visitor.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace post {
namespace {

using tests::ThrowsId;
using Extent = std::vector<double>;
using MovePointer = zvPostedTP::MovePointer;
using Point = zvPostedMove::Point;

// A move with the machine position (v, v + 1, v + 2), the part position 10 further on each axis.
template <class Move, class... Own>
MovePointer At(double v, Own... own) {
  return misc::MakeAutoPointer<Move>(Point(v, v + 1, v + 2), Point(v + 10, v + 11, v + 12), Point(),
                                     own..., 0.0, false, zvPostedMove::noLink);
}
constexpr auto Three = At<zvPosted3axMove>;
constexpr auto Four = At<zvPosted4axMove, double>;
constexpr auto Five = At<zvPosted5axMove, double, double, std::uint32_t>;
constexpr auto Six = At<zvPosted6axMove, double, double, double, std::uint32_t>;

TEST(PostedToolpath, SharesItsMovesAndClearsThemAlone) {
  zvPostedTP path;
  const MovePointer a = Three(1), b = Three(2);
  path.PushBack(b);
  const auto inserted = path.Insert(path.Begin(), a);
  EXPECT_EQ(inserted, path.Begin());
  EXPECT_EQ(a.UseCount(), 2u);
  const zvPostedTP copy = path;
  EXPECT_EQ(std::vector(copy.Begin(), copy.End()), (std::vector{a, b}));
  EXPECT_FALSE(path.HasAlignMatrix());
  const auto matrix = misc::MakeAutoPointer<cadcam::zvMatrix<double, 4, 4>>();
  path.SetAlignMatrix(matrix);
  EXPECT_TRUE(path.HasAlignMatrix());
  path.Clear();
  EXPECT_EQ(path.GetCount(), 0u);
  EXPECT_EQ(path.GetAlignMatrix(), matrix);
}

// clang-format off
TEST(PostedToolpath, ExtentsFoldPositionsAndAngles) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  // The extents of machine positions; those of part positions are 10 more on the linear axes.
  const struct {
    const char* name;
    std::vector<MovePointer> moves;
    Extent min, max;
  } cases[] = {
      {"nothing", {}, {}, {}},
      {"3 axes", {Three(5), Three(-2), Three(7)}, {-2, -1, 0}, {7, 8, 9}},
      {"4 axes", {Four(5, -370), Four(6, 20)}, {5, 6, 7, -370}, {6, 7, 8, 20}},
      {"5 axes", {Five(5, 1, -2, 0u), Five(4, 700, -4, 0u), Five(6, -5, 0, 0u)}, {4, 5, 6, -5, -4}, {6, 7, 8, 700, 0}},
      {"6 axes add nothing", {Six(-9, 1, 2, 3, 0u), Three(5), Six(99, 1, 2, 3, 0u)}, {5, 6, 7}, {5, 6, 7}},
      // The first move decides the size.
      {"more axes later", {Three(5), Five(4, 1, 2, 0u), Four(6, 3)}, {4, 5, 6}, {6, 7, 8}},
      {"fewer later", {Five(5, 1, 2, 0u), Three(4), Four(6, -3)}, {4, 5, 6, -3, 2}, {6, 7, 8, 1, 2}},
      {"a later NaN", {Three(1), Three(nan), Three(0)}, {0, 1, 2}, {1, 2, 3}},
  };
  // clang-format on
  const auto onPart = [](Extent extent) {
    for (std::size_t i = 0; i < std::min<std::size_t>(3, extent.size()); ++i) extent[i] += 10;
    return extent;
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    zvPostedTP path;
    for (const MovePointer& move : c.moves) path.PushBack(move);
    EXPECT_EQ(path.GetMachMin(), c.min);
    EXPECT_EQ(path.GetMachMax(), c.max);
    EXPECT_EQ(path.GetPartMin(), onPart(c.min));
    EXPECT_EQ(path.GetPartMax(), onPart(c.max));
  }
}

TEST(PostedToolpath, RefusesToFoldNullMovesAndMovesOfNoClass) {
  for (const auto extent : {&zvPostedTP::GetMachMin, &zvPostedTP::GetMachMax,
                            &zvPostedTP::GetPartMin, &zvPostedTP::GetPartMax}) {
    zvPostedTP null, plain;
    null.PushBack(nullptr);
    plain.PushBack(misc::MakeAutoPointer<zvPostedMove>(true));
    EXPECT_TRUE(tests::ThrowsNull([&] { (null.*extent)(); }));
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { (plain.*extent)(); }, 2503));
  }
}

TEST(PostedVisitor, WritesTheClassOrTheFirstMoveOverWhatItFinds) {
  int type = 99;
  zvPostedVisitorMoveType visitor(type);
  const std::pair<MovePointer, int> cases[] = {
      {Six(0, 1, 2, 3, 0u), 3}, {Three(0), 0}, {Five(0, 0, 0, 0u), 2}, {Four(0, 0), 1}};
  for (const auto& [move, expected] : cases) {
    move->AcceptVisitor(visitor);
    EXPECT_EQ(type, expected);
  }
  EXPECT_TRUE(ThrowsId<misc::zvException>([&] { zvPostedMove(true).AcceptVisitor(visitor); }, 2183,
                                          L"Abstract function called"));
  Extent extent{-1000, 1000};
  zvPostedVisitorMachMin fold(extent);
  EXPECT_TRUE(ThrowsId<zvPostException>([&] { zvPostedMove(true).AcceptVisitor(fold); }, 2503));
  EXPECT_EQ(extent, (Extent{-1000, 1000}));
  Four(5, 8)->AcceptVisitor(fold);
  EXPECT_EQ(extent, (Extent{5, 6, 7, 8}));
}

}  // namespace
}  // namespace post
