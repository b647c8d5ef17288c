#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/misc_exception.h>
#include <tests/support/seeded.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace cadcam {
namespace {

using measures::zvUnitsFactory;
using misc::MakeAutoPointer;
using misc::zvAutoPointer;
using tests::ThrowsNull;
using Tag = std::uint32_t;

// The plain image of a tree: the tags of its moves, nested as sections, slices and passes are.
using Tags = std::vector<Tag>;
using SliceTags = std::vector<Tags>;
using PassTags = std::vector<SliceTags>;
using PathTags = std::vector<PassTags>;

Tags Flat(const Tags& section) {
  return section;
}
template <class Child>
Tags Flat(const std::vector<Child>& level) {
  Tags all;
  for (const Child& child : level)
    for (const Tag tag : Flat(child)) all.push_back(tag);
  return all;
}

// Inserts before the move of number `at`; at the end into the last child, made when there is none.
void InsertPlain(Tags& section, std::size_t at, Tag tag) {
  section.insert(section.begin() + static_cast<std::ptrdiff_t>(at), tag);
}
template <class Child>
void InsertPlain(std::vector<Child>& level, std::size_t at, Tag tag) {
  if (level.empty()) level.emplace_back();
  for (Child& child : level) {
    const std::size_t count = Flat(child).size();
    if (at < count) return InsertPlain(child, at, tag);
    at -= count;
  }
  InsertPlain(level.back(), Flat(level.back()).size(), tag);
}

// Random images with many empty containers at every level, each move with a tag of its own.
template <class Image>
Image RandomImage(tests::Seeded& random, Tag& tag) {
  Image image(static_cast<std::size_t>(random.Integer(0, 3)));
  for (auto& child : image)
    if constexpr (std::is_same_v<Image, Tags>)
      child = tag++;
    else
      child = RandomImage<typename Image::value_type>(random, tag);
  return image;
}

zvMovePointer Move(Tag tag) {
  return MakeAutoPointer<zv3axMove>(zvTPoint3d<double>(), zvTPoint3d<double>(0, 0, 1), 0.0, false,
                                    tag);
}

// Sections are contours and links of type 3 in turn.
void Fill(zvTPSection& section, const Tags& tags) {
  for (const Tag tag : tags) section.AddMove(Move(tag));
}
template <class Level, class Image>
void Fill(Level& level, const Image& image) {
  for (const auto& child : image) {
    if constexpr (!std::is_same_v<Level, zvTPSlice>)
      level.push_back(MakeAutoPointer<typename Level::value_type::element_type>());
    else if (level.size() % 2 == 0)
      level.push_back(MakeAutoPointer<zvTPContour>());
    else
      level.push_back(MakeAutoPointer<zvTPLink>(3u));
    Fill(*level.back(), child);
  }
}
zvToolPath MakePath(const PathTags& tags) {
  zvToolPath path(zvUnitsFactory::metric);
  Fill(path, tags);
  return path;
}

// The image of a tree as its lists stand, without its iterators.
Tags ImageOf(const zvTPSection& section) {
  Tags image;
  for (const zvMovePointer& move : section) image.push_back(move->GetTag());
  return image;
}
template <class Level>
auto ImageOf(const Level& level) {
  std::vector<decltype(ImageOf(*level.front()))> image;
  for (const auto& child : level.Children()) image.push_back(ImageOf(*child));
  return image;
}

template <class It>
Tags TagsBetween(It first, const It& last) {
  Tags tags;
  for (; first != last; ++first) tags.push_back((*first)->GetTag());
  return tags;
}

// Every way of walking over `level` meets the moves `expected`.
template <class Level>
void CheckWalks(Level& level, const Tags& expected) {
  const Tags reversed(expected.rbegin(), expected.rend());
  const auto check = [&](auto& either) {  // constant or not
    ASSERT_EQ(TagsBetween(either.begin(), either.end()), expected);
    ASSERT_EQ(TagsBetween(either.rbegin(), either.rend()), reversed);
    ASSERT_EQ(either.begin() == level.end(), expected.empty());
  };
  check(level);
  check(std::as_const(level));
  ASSERT_EQ(TagsBetween(level.cbegin(), level.cend()), expected);
  ASSERT_EQ(TagsBetween(level.crbegin(), level.crend()), reversed);

  // Both directions by the operators, with the iterators compared at every place.
  std::vector<typename Level::iterator> places;
  for (auto it = level.begin(); it != level.end();) places.push_back(it++);
  places.push_back(level.end());
  ASSERT_EQ(places.size(), expected.size() + 1);
  auto it = level.end();
  for (std::size_t i = expected.size(); i > 0; --i) {
    const auto after = it--;
    ASSERT_TRUE(after == places[i] && it == places[i - 1]);
    ASSERT_EQ((*it)->GetTag(), expected[i - 1]);
    // The neighbour on both sides again, from a place reached backward.
    auto forth = it;
    ASSERT_TRUE(++forth == after && --forth == it);
  }
  ASSERT_TRUE(it == level.begin());
  for (std::size_t i = 0; i < places.size(); ++i)
    for (std::size_t j = 0; j < places.size(); ++j) ASSERT_EQ(places[i] == places[j], i == j);
}

static_assert(std::bidirectional_iterator<zvToolPath::iterator>);
static_assert(std::bidirectional_iterator<zvToolPath::const_iterator>);
static_assert(std::is_convertible_v<zvToolPath::iterator, zvToolPath::const_iterator>);
static_assert(!std::is_constructible_v<zvToolPath::iterator, zvToolPath::const_iterator>);
static_assert(
    std::is_same_v<decltype(*std::declval<zvToolPath::const_iterator>()), const zvMovePointer&>);
static_assert(std::is_nothrow_move_constructible_v<zvToolPath::iterator>);
static_assert(std::is_nothrow_move_assignable_v<zvToolPath::iterator>);

// Adds moves at random places and compares with the plain image.
template <class Level, class Image>
void CheckInsertions(Level& level, Image image, tests::Seeded& random) {
  for (Tag tag = 1000000; tag < 1000012; ++tag) {
    const int count = static_cast<int>(Flat(image).size());
    const int way = random.Integer(0, 5);
    const int at = way == 0 ? count : way <= 2 ? 0 : random.Integer(0, count);
    const auto before = std::next(level.begin(), at);
    InsertPlain(image, static_cast<std::size_t>(at), tag);
    if (way == 0) level.AddMove(Move(tag));
    if (way == 1 || way == 2) level.AddMoveFirst(Move(tag));
    if (way > 2) {
      const auto inserted = level.Insert(before, Move(tag));
      ASSERT_TRUE(inserted == std::next(level.begin(), at) && inserted != level.end());
      ASSERT_TRUE(std::next(inserted) == before) << "an insertion leaves iterators standing";
      ASSERT_EQ(std::next(inserted) == level.end(), at == count);
    }
    ASSERT_EQ(ImageOf(level), image);
    ASSERT_EQ(TagsBetween(level.begin(), level.end()), Flat(image));
  }
}

TEST(ToolPathTree, WalksAndInsertsAsThePlainImageAtEveryLevel) {
  tests::Seeded random;
  Tag tag = 1;
  const auto check = [&](auto&& level, const auto& image) {
    Fill(level, image);
    ASSERT_EQ(ImageOf(level), image);
    CheckWalks(level, Flat(image));
    if constexpr (requires { level.GetMoveCount(); }) {
      ASSERT_EQ(level.GetMoveCount(), Flat(image).size());
    }
    CheckInsertions(level, image, random);
  };
  const int trees = tests::Rounds(500);
  for (int i = 0; i < trees && !HasFatalFailure(); ++i) {
    SCOPED_TRACE(i);
    check(zvToolPath(zvUnitsFactory::metric), RandomImage<PathTags>(random, tag));
    check(zvTPPass(), RandomImage<PassTags>(random, tag));
    check(zvTPSlice(), RandomImage<SliceTags>(random, tag));
    zvTPLink link(2);
    check(static_cast<zvTPSection&>(link), RandomImage<Tags>(random, tag));
  }
}

TEST(ToolPathTree, CopiesOfAnIteratorGoTheirOwnWay) {
  zvToolPath path = MakePath({{{{1, 2}, {3}}}, {{{4}}}});
  auto a = path.begin();
  auto b = std::next(a, 2);
  a = b++;
  const auto& self = a;
  a = self;
  EXPECT_TRUE((*a)->GetTag() == 3 && (*b)->GetTag() == 4 && a->Get() == (*a).Get());
  a = path.begin();
  const zvToolPath::const_iterator c = a++;
  EXPECT_EQ((*c)->GetTag(), 1u);
  *a = Move(9);
  EXPECT_EQ(ImageOf(path), (PathTags{{{{1, 9}, {3}}}, {{{4}}}})) << "a move is replaced in place";
  EXPECT_TRUE(zvToolPath::iterator() == zvToolPath::iterator());
  // The same children, but other lists that hold them.
  zvToolPath copy = path;
  EXPECT_FALSE(copy.begin() == path.begin() || copy.end() == path.end());
}

TEST(CollectionOfContainers, WithoutAChildItRefusesToInsert) {
  using Sections = misc::zvCollectionOfContainers<std::list<zvAutoPointer<zvTPSection>>>;
  const auto expectNone = [](auto& bare) {
    using Error = misc::zvmiscException;
    EXPECT_TRUE(tests::ThrowsId<Error>([&] { bare.Insert(bare.end(), Move(1)); }, 5503));
    EXPECT_TRUE(tests::ThrowsId<Error>([&] { bare.PushFront(Move(1)); }, 5503));
  };
  Sections bare;
  misc::zvCollectionOfContainers<std::list<zvAutoPointer<Sections>>> levels;
  expectNone(bare);
  expectNone(levels);
  bare.push_back(MakeAutoPointer<zvTPContour>());
  for (const Tag tag : {2u, 1u}) bare.PushFront(Move(tag));
  EXPECT_EQ(TagsBetween(bare.begin(), bare.end()), (Tags{1, 2}));
  levels.push_back(MakeAutoPointer<Sections>());
  expectNone(levels);
  EXPECT_EQ(levels.size(), 1u);
}

// The container of number `k`, counted on a walk from the top, becomes null; false without one.
template <class Level>
bool Break(Level& level, int& k) {
  for (auto& child : level.Children()) {
    if (k-- == 0) {
      child = nullptr;
      return true;
    }
    if constexpr (!std::is_same_v<Level, zvTPSlice>)
      if (Break(*child, k)) return true;
  }
  return false;
}

// Whatever needs all of the path, `isWhole` a walk too, meets a null and changes nothing.
void ExpectBroken(zvToolPath& path, bool isWhole) {
  EXPECT_EQ(ThrowsNull([&] { path.GetMoveCount(); }), !isWhole);
  // Half a path in other units must not be left.
  EXPECT_TRUE(ThrowsNull([&] { path.SetUnits(zvUnitsFactory::inch); }));
  EXPECT_EQ(path.GetUnits(), zvUnitsFactory::metric);
}

TEST(ToolPathNull, ANullContainerThrowsAtAnyLevelAndPlace) {
  int containers = 0;
  for (;; ++containers) {
    SCOPED_TRACE(containers);
    zvToolPath path = MakePath({{{{1}, {2}}, {{3}, {4}}}, {{{5}}}, {{{6}}, {{7}, {8}}}});
    const std::vector<zvMovePointer> moves(path.begin(), path.end());
    int k = containers;
    if (!Break(path, k)) break;
    std::size_t met = 0, metBackward = 0;
    auto it = path.end();
    EXPECT_TRUE(ThrowsNull([&] {
      for (it = path.begin(); it != path.end(); ++it) ++met;
    }));
    EXPECT_TRUE(it == path.end()) << "a step that failed ends the walk";
    EXPECT_TRUE(ThrowsNull([&] {
      for (; metBackward < moves.size(); ++metBackward) --it;
    }));
    EXPECT_LT(met + metBackward, moves.size());
    EXPECT_TRUE(metBackward == 0 ? it == path.end()
                                 : it->Get() == moves[moves.size() - metBackward].Get())
        << "a failed step back is undone";
    ExpectBroken(path, false);
  }
  EXPECT_EQ(containers, 16);
}

TEST(ToolPathNull, ANullMoveOrLastChildThrowsWhenUsed) {
  zvToolPath path = MakePath({{{{1, 2}}}});
  path.AddMove(nullptr);
  (*path.begin())->SetPosition({1, 2, 3});
  EXPECT_EQ(std::distance(path.begin(), path.end()), 3);
  ExpectBroken(path, true);
  EXPECT_EQ((*path.begin())->GetPosition(), zvTPoint3d<double>(1, 2, 3));

  for (int level = 0; level < 3; ++level) {
    if (level == 0) path.front()->front()->push_back(nullptr);
    if (level == 1) path.front()->push_back(nullptr);
    if (level == 2) path.push_back(nullptr);
    EXPECT_TRUE(ThrowsNull([&] { path.AddMove(Move(2)); }));
  }
  path.AddMoveFirst(Move(7));
  EXPECT_EQ((*path.begin())->GetTag(), 7u);

  const zvToolPath empty(zvUnitsFactory::metric);
  EXPECT_TRUE(ThrowsNull([&] { **empty.begin(); }));
  EXPECT_TRUE(ThrowsNull([&] { empty.begin()->IsNull(); }));
}

TEST(ToolPathSharing, ACopySharesPassesAndMoves) {
  zvToolPath path = MakePath({{{{1}}}, {{{2}}}});
  zvToolPath copy = path;
  (*copy.begin())->SetTag(7);
  copy.AddMove(Move(3));                        // into the last pass, which both hold
  copy.push_back(MakeAutoPointer<zvTPPass>());  // a pass of the copy alone
  copy.AddMove(Move(4));
  const zvToolPath moved(std::move(copy));
  EXPECT_EQ(ImageOf(path), (PathTags{{{{7}}}, {{{2, 3}}}}));
  EXPECT_EQ(ImageOf(moved), (PathTags{{{{7}}}, {{{2, 3}}}, {{{4}}}}));
  zvToolPath other(zvUnitsFactory::inch);
  other = path;
  EXPECT_EQ(other.GetUnits(), zvUnitsFactory::metric);
  EXPECT_EQ(path.front().UseCount(), 3u);
  other.front()->front()->front()->pop_front();
  EXPECT_EQ(ImageOf(moved), (PathTags{{{{}}}, {{{2, 3}}}, {{{4}}}})) << "from the passes of all";
}

TEST(ToolPathUnits, AChangeScalesEveryReferenceToAMove) {
  zvToolPath path(zvUnitsFactory::inch);
  const zvTPoint3d<double> p{1, 10, 100};
  const auto twice = MakeAutoPointer<zv3axMove>(p, p, 50.0, true);
  const auto plain = MakeAutoPointer<zvCNCMove>(p, p, 50.0, false, 1u, 6.0);
  const auto marked = MakeAutoPointer<zv5axMove>(p, p, p, p, 2u, true, 50.0, false);
  path.AddMove(twice);
  for (int i = 0; i < 2; ++i) path.push_back(MakeAutoPointer<zvTPPass>());
  path.AddMove(plain);
  path.AddMove(marked);
  path.AddMove(twice);
  path.SetUnits(zvUnitsFactory::metric);
  EXPECT_EQ(path.GetUnits(), zvUnitsFactory::metric);
  EXPECT_EQ(plain->GetPosition(), p * 25.4);
  EXPECT_EQ(marked->GetPosition(), p * 25.4);
  EXPECT_EQ(marked->GetExtendedPoint(), p * 25.4);
  EXPECT_EQ(twice->GetPosition(), p * 25.4 * 25.4);
}

// A section that is neither link nor contour.
struct OtherSection : zvTPSection {
  void AcceptVisitor(zvTPSVisitor& visitor) const override {
    visitor.Visit(static_cast<const zvTPSection&>(*this));
  }
};

// After a contour the type of the last link stays.
TEST(SectionVisitors, TellLinksFromContours) {
  const zvTPContour contour;
  const zvTPLink five(5), large(4000000000u);
  const auto check = [&](auto& visitor) {
    using Seen = std::pair<bool, std::uint32_t>;
    std::vector<Seen> seen{{visitor.IsLink(), visitor.GetLinkType()}};
    for (const zvTPSection* section :
         std::initializer_list<const zvTPSection*>{&contour, &five, &contour, &large}) {
      section->AcceptVisitor(visitor);
      seen.emplace_back(visitor.IsLink(), visitor.GetLinkType());
    }
    EXPECT_EQ(seen, (std::vector<Seen>{
                        {true, 0}, {false, 0}, {true, 5}, {false, 5}, {true, 4000000000u}}));
  };
  zvToolPath::zvSectionInfoGetter info;
  check(info);
  EXPECT_TRUE(
      tests::ThrowsId<zvcadcamException>([&] { OtherSection().AcceptVisitor(info); }, 2639));
  zvTPSLinkVisitor linkInfo;
  check(linkInfo);
  OtherSection().AcceptVisitor(linkInfo);
  EXPECT_FALSE(linkInfo.IsLink());
}

TEST(SectionVisitors, AreGivenTheSectionOfEveryMove) {
  zvToolPath path = MakePath({{{{1}, {}, {2}, {3, 4}}}, {{}}, {{{5}, {6}}}});
  path.AddMove(Move(7));  // into the link, as the last section
  path.push_back(MakeAutoPointer<zvTPPass>());
  path.AddMove(Move(8));  // into a contour, as nothing is there
  std::vector<bool> areLinks;
  for (auto it = path.begin(); it != path.end(); ++it) {
    zvTPSLinkVisitor info;
    SectionOf(it).AcceptVisitor(info);
    areLinks.push_back(info.IsLink());
  }
  EXPECT_EQ(areLinks, (std::vector<bool>{false, false, true, true, false, true, true, false}));
}

// A walk that searches its way through the empty sections anew at each step takes minutes here.
TEST(ToolPathLarge, WalksTakeLinearTime) {
  const auto moves = static_cast<Tag>(tests::Rounds(200000));
  Tags all(moves);
  std::iota(all.begin(), all.end(), 0u);
  SliceTags leadingEmpty(moves), scattered(2 * moves), trailingEmpty{all};
  leadingEmpty.push_back(all);
  trailingEmpty.resize(moves);
  for (const Tag i : all) scattered[2 * i] = {i};
  for (const SliceTags& slice : {leadingEmpty, scattered, trailingEmpty}) {
    zvToolPath path = MakePath({{slice}});
    ASSERT_EQ(TagsBetween(path.begin(), path.end()), all);
    ASSERT_EQ(TagsBetween(path.rbegin(), path.rend()), Tags(all.rbegin(), all.rend()));
    path.SetUnits(zvUnitsFactory::inch);
  }
}

}  // namespace
}  // namespace cadcam
