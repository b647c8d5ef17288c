#include <gtest/gtest.h>
#include <kandrel/post/post_exception.h>
#include <kandrel/post/posted_move.h>
#include <kandrel/post/posted_visitor.h>
#include <tests/support/throws_id.h>

#include <limits>
#include <memory>
#include <vector>

namespace post {
namespace {

using tests::ThrowsId;
using Extent = std::vector<double>;
using MovePointer = std::shared_ptr<const zvPostedMove>;

MovePointer Three(double v) {
  return std::make_shared<zvPosted3axMove>(zvPostedMove::Point(v, v + 1, v + 2),
                                           zvPostedMove::Point(v + 10, v + 11, v + 12),
                                           zvPostedMove::Point(), 0, false, zvPostedMove::noLink);
}
MovePointer Four(double v, double angle) {
  return std::make_shared<zvPosted4axMove>(
      zvPostedMove::Point(v, v + 1, v + 2), zvPostedMove::Point(v + 10, v + 11, v + 12),
      zvPostedMove::Point(), angle, 0, false, zvPostedMove::noLink);
}
MovePointer Five(double v, double first, double second) {
  return std::make_shared<zvPosted5axMove>(
      zvPostedMove::Point(v, v + 1, v + 2), zvPostedMove::Point(v + 10, v + 11, v + 12),
      zvPostedMove::Point(), first, second, 0u, 0, false, zvPostedMove::noLink);
}
MovePointer Six(double v) {
  return std::make_shared<zvPosted6axMove>(
      zvPostedMove::Point(v, v, v), zvPostedMove::Point(v, v, v), zvPostedMove::Point(),
      zvPosted6axMove::Angles{v, v, v}, 0u, 0, false, zvPostedMove::noLink);
}

template <class Visitor>
Extent Fold(const std::vector<MovePointer>& moves) {
  Extent extent;
  Visitor visitor(extent);
  for (const MovePointer& move : moves) move->AcceptVisitor(visitor);
  return extent;
}

TEST(PostedVisitor, MoveTypeNamesTheClass) {
  int type = 99;
  zvPostedVisitorMoveType visitor(type);
  const std::pair<MovePointer, int> cases[] = {
      {Six(0), 3}, {Three(0), 0}, {Five(0, 0, 0), 2}, {Four(0, 0), 1}};
  for (const auto& [move, expected] : cases) {
    move->AcceptVisitor(visitor);
    EXPECT_EQ(type, expected);
  }
}

TEST(PostedVisitor, PlainMovesAreRefused) {
  const zvPostedMove plain(true);
  int type = 99;
  zvPostedVisitorMoveType typeVisitor(type);
  EXPECT_TRUE(ThrowsId<misc::zvException>([&] { plain.AcceptVisitor(typeVisitor); }, 2183,
                                          L"Abstract function called"));
  EXPECT_EQ(type, 99);
  Extent extent{1, 2};
  const auto refuses = [&](zvPostedVisitor&& visitor) {
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { plain.AcceptVisitor(visitor); }, 2503,
                                          L"Use of a member function of an abstract class."));
    EXPECT_EQ(extent, (Extent{1, 2}));
  };
  refuses(zvPostedVisitorMachMin(extent));
  refuses(zvPostedVisitorMachMax(extent));
  refuses(zvPostedVisitorPartMin(extent));
  refuses(zvPostedVisitorPartMax(extent));
}

struct ExtentCase {
  const char* name;
  std::vector<MovePointer> moves;
  Extent machMin, machMax, partMin, partMax;
};

TEST(PostedVisitor, ExtentsFoldPositionsAndAngles) {
  const ExtentCase cases[] = {
      {"nothing", {}, {}, {}, {}, {}},
      {"3 axes", {Three(5), Three(-2), Three(7)}, {-2, -1, 0}, {7, 8, 9}, {8, 9, 10}, {17, 18, 19}},
      {"4 axes",
       {Four(5, -370), Four(6, 20)},
       {5, 6, 7, -370},
       {6, 7, 8, 20},
       {15, 16, 17, -370},
       {16, 17, 18, 20}},
      {"5 axes",
       {Five(5, 1, -2), Five(4, 3, -4), Five(6, -5, 0)},
       {4, 5, 6, -5, -4},
       {6, 7, 8, 3, 0},
       {14, 15, 16, -5, -4},
       {16, 17, 18, 3, 0}},
      {"6 axes add nothing", {Six(1), Six(2)}, {}, {}, {}, {}},
      {"6 axes between others",
       {Six(-9), Three(5), Six(99)},
       {5, 6, 7},
       {5, 6, 7},
       {15, 16, 17},
       {15, 16, 17}},
      // The first move decides the size.
      {"more axes later",
       {Three(5), Five(4, 1, 2), Four(6, 3)},
       {4, 5, 6},
       {6, 7, 8},
       {14, 15, 16},
       {16, 17, 18}},
      {"fewer axes later",
       {Five(5, 1, 2), Three(4), Four(6, -3)},
       {4, 5, 6, -3, 2},
       {6, 7, 8, 1, 2},
       {14, 15, 16, -3, 2},
       {16, 17, 18, 1, 2}},
  };
  for (const ExtentCase& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(Fold<zvPostedVisitorMachMin>(c.moves), c.machMin);
    EXPECT_EQ(Fold<zvPostedVisitorMachMax>(c.moves), c.machMax);
    EXPECT_EQ(Fold<zvPostedVisitorPartMin>(c.moves), c.partMin);
    EXPECT_EQ(Fold<zvPostedVisitorPartMax>(c.moves), c.partMax);
  }
}

TEST(PostedVisitor, LaterNansDoNotSpoilAnExtent) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(Fold<zvPostedVisitorMachMin>({Three(1), Three(nan), Three(0)}), (Extent{0, 1, 2}));
  EXPECT_EQ(Fold<zvPostedVisitorMachMax>({Three(1), Three(nan), Three(0)}), (Extent{1, 2, 3}));
}

}  // namespace
}  // namespace post
