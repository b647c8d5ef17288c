#include <gtest/gtest.h>
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/post/model/post_exception.h>
#include <kandrel/post/passes/flat_moves.h>
#include <tests/support/throws_id.h>

#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <limits>

namespace post {
namespace {

using cadcam::zvMovePointer;
using cadcam::zvToolPath;
using cadcam::zvTPSection;
using misc::MakeAutoPointer;
using misc::zvAutoPointer;

// Neither link nor contour.
struct OtherSection : zvTPSection {
  void AcceptVisitor(cadcam::zvTPSVisitor& visitor) const override {
    visitor.Visit(static_cast<const zvTPSection&>(*this));
  }
};

// A toolpath of one slice with one move in each of the sections.
zvToolPath PathOf(std::initializer_list<zvAutoPointer<zvTPSection>> sections) {
  zvToolPath path(measures::zvUnitsFactory::metric);
  path.push_back(MakeAutoPointer<cadcam::zvTPPass>());
  path.front()->push_back(MakeAutoPointer<cadcam::zvTPSlice>());
  for (const auto& section : sections) {
    section->AddMove(MakeAutoPointer<cadcam::zv3axMove>());
    path.front()->front()->push_back(section);
  }
  return path;
}

zvFlatMoves Flat(const zvToolPath& path) {
  zvFlatMoves moves(path.GetMoveCount());
  Flatten(path, nullptr, moves);
  return moves;
}

TEST(FlatMoves, TheTypeOfAMoveIsThatOfItsSection) {
  const zvToolPath path =
      PathOf({MakeAutoPointer<cadcam::zvTPLink>(0u), MakeAutoPointer<cadcam::zvTPContour>(),
              MakeAutoPointer<cadcam::zvTPLink>(5u)});
  zvFlatMoves moves = Flat(path);
  const zvPostedMove::Types expected[] = {zvPostedMove::link0, zvPostedMove::noLink,
                                          zvPostedMove::link5};
  auto it = path.begin();
  for (std::uint64_t i = 0; i < 3; ++i, ++it) {
    EXPECT_EQ(PostedMoveTypeAt(it), expected[i]);
    EXPECT_EQ(moves[i].second, expected[i]);
    EXPECT_EQ(moves[i].first.Get(), it->Get()) << "shared, not copied";
  }
  EXPECT_EQ(LinkTypeAt(path.begin()), zvPostedMove::link0);
  EXPECT_TRUE(tests::ThrowsId<cadcam::zvcadcamException>(
      [&] { LinkTypeAt(std::next(path.begin())); }, 2640, L"Passed move is not part of a link."));
}

// A link of unknown type has none; a section of another class cuts, but has none to be asked.
TEST(FlatMoves, UnknownTypesAreRefused) {
  for (const std::uint32_t type : {6u, 4000000000u}) {
    const zvToolPath path = PathOf({MakeAutoPointer<cadcam::zvTPLink>(type)});
    for (const bool flattens : {false, true})
      EXPECT_TRUE(tests::ThrowsId<zvKandrelException>(
          [&] {
            if (flattens) Flat(path);
            PostedMoveTypeAt(path.begin());
          },
          2637, L"Unknown move type."));
  }
  const zvToolPath path = PathOf({MakeAutoPointer<OtherSection>()});
  EXPECT_EQ(Flat(path)[0].second, zvPostedMove::noLink);
  EXPECT_TRUE(tests::ThrowsId<cadcam::zvcadcamException>([&] { PostedMoveTypeAt(path.begin()); },
                                                         2639, L"Unknown toolpath section type."));
}

TEST(FlatMoves, ANullOrAnInfiniteMoveIsRefused) {
  zvToolPath path = PathOf({MakeAutoPointer<cadcam::zvTPContour>()});
  const zvMovePointer move = *path.begin();
  for (const double bad :
       {std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::infinity()}) {
    move->SetPosition({0, bad, 0});
    EXPECT_TRUE(
        tests::ThrowsId<zvPostException>([&] { Flat(path); }, 5039, L"Invalid vector was passed."));
  }
  *path.begin() = nullptr;
  EXPECT_TRUE(tests::ThrowsNull([&] { Flat(path); }));
}

}  // namespace
}  // namespace post
