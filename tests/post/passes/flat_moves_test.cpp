#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/flat_moves.h>
#include <tests/support/throws_id.h>
#include <tests/support/toolpath_builders.h>

namespace post {
namespace {

using cadcam::zvcadcamException;
using cadcam::zvToolPath;
using tests::Move3;
using tests::PathBuilder;
using tests::ThrowsId;

// Neither link nor contour.
struct OtherSection : cadcam::zvTPSection {
  void AcceptVisitor(cadcam::zvTPSVisitor& visitor) const override {
    visitor.Visit(static_cast<const zvTPSection&>(*this));
  }
};

zvFlatMoves Flat(const zvToolPath& path) {
  zvFlatMoves moves(path.GetMoveCount());
  Flatten(path, nullptr, moves);
  return moves;
}

TEST(FlatMoves, TheTypeOfAMoveIsThatOfItsSection) {
  const PathBuilder builder =
      PathBuilder().Link(0, {Move3({})}).Contour({Move3({})}).Link(5, {Move3({})});
  const zvToolPath& path = builder;
  zvFlatMoves moves = Flat(path);
  auto it = path.begin();
  for (const auto type : {zvPostedMove::link0, zvPostedMove::noLink, zvPostedMove::link5}) {
    const auto i = static_cast<std::uint64_t>(std::distance(path.begin(), it));
    EXPECT_EQ(PostedMoveTypeAt(it), type);
    EXPECT_EQ(moves[i].second, type);
    EXPECT_EQ(moves[i].first.Get(), it->Get()) << "shared, not copied";
    if (type == zvPostedMove::noLink)
      EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { LinkTypeAt(it); }, 2640));
    else
      EXPECT_EQ(LinkTypeAt(it), type);
    ++it;
  }
}

// A link of unknown type has none; a section of another class cuts, but has none to be asked.
TEST(FlatMoves, UnknownTypesAndMovesThatAreNoneAreRefused) {
  for (const std::uint32_t type : {6u, 4000000000u}) {
    const PathBuilder path = PathBuilder().Link(type, {Move3({})});
    EXPECT_TRUE(ThrowsId<zvKandrelException>([&] { PostedMoveTypeAt(path.Path().begin()); }, 2637));
    EXPECT_TRUE(ThrowsId<zvKandrelException>([&] { Flat(path); }, 2637));
  }
  const PathBuilder builder;
  const auto other = misc::MakeAutoPointer<OtherSection>();
  other->AddMove(Move3({}));
  const zvToolPath& path = builder;
  path.front()->front()->push_back(other);
  EXPECT_EQ(Flat(path)[0].second, zvPostedMove::noLink);
  EXPECT_TRUE(ThrowsId<zvcadcamException>([&] { PostedMoveTypeAt(path.begin()); }, 2639));
  // Nor is a null or an infinite move taken.
  const auto flat = [](const cadcam::zvMovePointer& move) { Flat(PathBuilder().Contour({move})); };
  for (const double bad : {std::nan(""), -HUGE_VAL})
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { flat(Move3({0, bad, 0})); }, 5039));
  EXPECT_TRUE(tests::ThrowsNull([&] { flat(nullptr); }));
}

}  // namespace
}  // namespace post
