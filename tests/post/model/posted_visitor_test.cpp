#include <gtest/gtest.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posted_move.h>
#include <kandrel/post/model/posted_visitor.h>
#include <tests/support/throws_id.h>

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <memory>
#include <vector>

namespace post {
namespace {

using tests::ThrowsId;
using Extent = std::vector<double>;
using MovePointer = std::shared_ptr<const zvPostedMove>;
using Point = zvPostedMove::Point;

// A move with the machine position (v, v + 1, v + 2), the part position 10 further on each axis.
template <class Move, class... Angles>
MovePointer At(double v, Angles... angles) {
  return std::make_shared<Move>(Point(v, v + 1, v + 2), Point(v + 10, v + 11, v + 12), Point(),
                                angles..., 0, false, zvPostedMove::noLink);
}
MovePointer Three(double v) {
  return At<zvPosted3axMove>(v);
}
MovePointer Four(double v, double angle) {
  return At<zvPosted4axMove>(v, angle);
}
MovePointer Five(double v, double first, double second) {
  return At<zvPosted5axMove>(v, first, second, 0u);
}
MovePointer Six(double v) {
  return At<zvPosted6axMove>(v, v, v, v, 0u);
}

template <class Visitor>
Extent Fold(const std::vector<MovePointer>& moves) {
  Extent extent = moves.empty() ? Extent() : Extent{-1000, 1000};  // the first move takes its place
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
  Extent extent{1, 2};
  zvPostedVisitorMachMin machMin(extent);
  zvPostedVisitorMachMax machMax(extent);
  zvPostedVisitorPartMin partMin(extent);
  zvPostedVisitorPartMax partMax(extent);
  for (zvPostedVisitor* visitor :
       std::initializer_list<zvPostedVisitor*>{&machMin, &machMax, &partMin, &partMax})
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { plain.AcceptVisitor(*visitor); }, 2503));
  EXPECT_EQ(extent, (Extent{1, 2}));
}

TEST(PostedVisitor, ExtentsFoldPositionsAndAngles) {
  // The extents of machine positions; those of part positions are 10 more on the linear axes.
  const struct {
    const char* name;
    std::vector<MovePointer> moves;
    Extent min, max;
  } cases[] = {
      {"nothing", {}, {}, {}},
      {"3 axes", {Three(5), Three(-2), Three(7)}, {-2, -1, 0}, {7, 8, 9}},
      {"4 axes", {Four(5, -370), Four(6, 20)}, {5, 6, 7, -370}, {6, 7, 8, 20}},
      {"5 axes",
       {Five(5, 1, -2), Five(4, 3, -4), Five(6, -5, 0)},
       {4, 5, 6, -5, -4},
       {6, 7, 8, 3, 0}},
      {"6 axes add nothing", {Six(-9), Three(5), Six(99)}, {5, 6, 7}, {5, 6, 7}},
      // The first move decides the size.
      {"more axes later", {Three(5), Five(4, 1, 2), Four(6, 3)}, {4, 5, 6}, {6, 7, 8}},
      {"fewer later", {Five(5, 1, 2), Three(4), Four(6, -3)}, {4, 5, 6, -3, 2}, {6, 7, 8, 1, 2}},
  };
  const auto onPart = [](Extent extent) {
    for (std::size_t i = 0; i < std::min<std::size_t>(3, extent.size()); ++i) extent[i] += 10;
    return extent;
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(Fold<zvPostedVisitorMachMin>(c.moves), c.min);
    EXPECT_EQ(Fold<zvPostedVisitorMachMax>(c.moves), c.max);
    EXPECT_EQ(Fold<zvPostedVisitorPartMin>(c.moves), onPart(c.min));
    EXPECT_EQ(Fold<zvPostedVisitorPartMax>(c.moves), onPart(c.max));
  }
}

TEST(PostedVisitor, LaterNansDoNotSpoilAnExtent) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(Fold<zvPostedVisitorMachMin>({Three(1), Three(nan), Three(0)}), (Extent{0, 1, 2}));
  EXPECT_EQ(Fold<zvPostedVisitorMachMax>({Three(1), Three(nan), Three(0)}), (Extent{1, 2, 3}));
}

}  // namespace
}  // namespace post
