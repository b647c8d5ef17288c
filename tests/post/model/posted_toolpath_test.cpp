#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posted_toolpath.h>
#include <kandrel/post/model/posted_visitor.h>
#include <tests/support/number_cases.h>
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
  EXPECT_EQ(std::vector(copy.begin(), copy.end()), (std::vector{a, b}));
  for (MovePointer& move : path) move = a;
  EXPECT_EQ(std::vector(path.Begin(), path.End()), (std::vector{a, a}));
  EXPECT_FALSE(path.HasAlignMatrix());
  const auto matrix = misc::MakeAutoPointer<cadcam::zvMatrix<double, 4, 4>>();
  path.SetAlignMatrix(matrix);
  EXPECT_TRUE(path.HasAlignMatrix());
  path.Clear();
  EXPECT_EQ(path.GetCount(), 0u);
  EXPECT_EQ(path.GetAlignMatrix(), matrix);
}

TEST(PostedToolpath, ExtentsFoldPositionsAndAngles) {
  const auto move = [](const Extent& n) {  // the place and the angles
    return n.size() == 1   ? Three(n[0])
           : n.size() == 2 ? Four(n[0], n[1])
           : n.size() == 3 ? Five(n[0], n[1], n[2], 0u)
                           : Six(n[0], n[1], n[2], n.at(3), 0u);
  };
  const auto onPart = [](Extent extent) {
    for (std::size_t i = 0; i < std::min<std::size_t>(3, extent.size()); ++i) extent[i] += 10;
    return extent;
  };
  for (const tests::NumberCase& c : tests::NumberCases("model/data/extents.txt")) {
    SCOPED_TRACE(c.line);
    zvPostedTP path;
    for (std::size_t i = 2; i < c.groups.size(); ++i) path.PushBack(move(c[i]));
    EXPECT_EQ(path.GetMachMin(), c[0]);
    EXPECT_EQ(path.GetMachMax(), c[1]);
    EXPECT_EQ(path.GetPartMin(), onPart(c[0]));
    EXPECT_EQ(path.GetPartMax(), onPart(c[1]));
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
