#include <gtest/gtest.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/model/posted_toolpath.h>
#include <tests/support/throws_id.h>

namespace post {
namespace {

using Point = zvPostedMove::Point;
using Extent = std::vector<double>;

template <class Move, class... Angles>
zvPostedTP::MovePointer MakeMove(const Point& machine, const Point& part, Angles... angles) {
  return misc::MakeAutoPointer<Move>(machine, part, Point(0, 0, 1), angles..., 0.0, false,
                                     zvPostedMove::noLink);
}

TEST(PostedToolpath, SharesItsMovesAndInsertsThem) {
  zvPostedTP path;
  const auto a = MakeMove<zvPosted3axMove>({1, 0, 0}, {});
  const auto b = MakeMove<zvPosted3axMove>({2, 0, 0}, {});
  path.PushBack(b);
  const auto inserted = path.Insert(path.Begin(), a);
  EXPECT_EQ(inserted, path.Begin());
  ASSERT_EQ(path.GetCount(), 2u);
  EXPECT_EQ(*path.Begin(), a);
  EXPECT_EQ(a.UseCount(), 2u);
  const zvPostedTP copy = path;
  EXPECT_EQ(*copy.Begin(), a);
  EXPECT_EQ(std::next(copy.Begin(), 2), copy.End());
}

TEST(PostedToolpath, ExtentsCoverPositionsAndAngles) {
  zvPostedTP path;
  EXPECT_EQ(path.GetMachMin(), Extent());
  EXPECT_EQ(path.GetPartMax(), Extent());
  path.PushBack(MakeMove<zvPosted5axMove>({1, -2, 3}, {10, 20, 30}, 700.0, -5.0, 0u));
  path.PushBack(MakeMove<zvPosted5axMove>({-1, 2, 3}, {11, 19, 30}, 10.0, 5.0, 0u));
  EXPECT_EQ(path.GetMachMin(), (Extent{-1, -2, 3, 10, -5}));
  EXPECT_EQ(path.GetMachMax(), (Extent{1, 2, 3, 700, 5}));
  EXPECT_EQ(path.GetPartMin(), (Extent{10, 19, 30, 10, -5}));
  EXPECT_EQ(path.GetPartMax(), (Extent{11, 20, 30, 700, 5}));

  zvPostedTP fourAxes;
  fourAxes.PushBack(MakeMove<zvPosted4axMove>({1, 2, 3}, {}, -400.0));
  EXPECT_EQ(fourAxes.GetMachMin(), (Extent{1, 2, 3, -400}));
}

TEST(PostedToolpath, RefusesNullMovesAndMovesOfNoClass) {
  zvPostedTP path;
  path.PushBack(nullptr);
  EXPECT_TRUE(
      tests::ThrowsId<misc::zvException>([&] { path.GetMachMin(); }, 0, L"Accessing NULL pointer"));
  path.Clear();
  path.PushBack(misc::MakeAutoPointer<zvPostedMove>(true));
  EXPECT_TRUE(tests::ThrowsId<zvPostException>([&] { path.GetPartMin(); }, 2503,
                                               L"Use of a member function of an abstract class."));
}

TEST(PostedToolpath, ClearKeepsTheAlignment) {
  zvPostedTP path;
  EXPECT_FALSE(path.HasAlignMatrix());
  const auto matrix = misc::MakeAutoPointer<cadcam::zvMatrix<double, 4, 4>>();
  path.SetAlignMatrix(matrix);
  path.PushBack(MakeMove<zvPosted3axMove>({}, {}));
  path.Clear();
  EXPECT_EQ(path.GetCount(), 0u);
  EXPECT_EQ(path.GetAlignMatrix(), matrix);
}

}  // namespace
}  // namespace post
