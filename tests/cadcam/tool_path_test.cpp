#include <gtest/gtest.h>
#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tool_path.h>
#include <kandrel/misc/misc_exception.h>
#include <tests/support/throws_id.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <list>
#include <random>
#include <type_traits>
#include <utility>
#include <vector>

namespace cadcam {
namespace {

using measures::zvUnitsFactory;
using misc::MakeAutoPointer;
using misc::zvAutoPointer;
using Tag = std::uint32_t;
using Tags = std::vector<Tag>;

// The plain image of a tree: what the moves of each section are called.
using SectionTags = Tags;
using SliceTags = std::vector<SectionTags>;
using PassTags = std::vector<SliceTags>;
using PathTags = std::vector<PassTags>;

std::size_t Count(const Tags& section) {
  return section.size();
}
template <class Child>
std::size_t Count(const std::vector<Child>& level) {
  std::size_t count = 0;
  for (const Child& child : level) count += Count(child);
  return count;
}

void Flatten(const Tags& section, Tags& out) {
  out.insert(out.end(), section.begin(), section.end());
}
template <class Child>
void Flatten(const std::vector<Child>& level, Tags& out) {
  for (const Child& child : level) Flatten(child, out);
}
template <class Level>
Tags Flat(const Level& level) {
  Tags out;
  Flatten(level, out);
  return out;
}

// Inserts before the move of number `at`; at the end into the last child, made when there is none.
void InsertPlain(Tags& section, std::size_t at, Tag tag) {
  section.insert(section.begin() + static_cast<std::ptrdiff_t>(at), tag);
}
template <class Child>
void InsertPlain(std::vector<Child>& level, std::size_t at, Tag tag) {
  if (level.empty()) level.emplace_back();
  for (Child& child : level) {
    const std::size_t count = Count(child);
    if (at < count) return InsertPlain(child, at, tag);
    at -= count;
  }
  InsertPlain(level.back(), Count(level.back()), tag);
}

zvMovePointer Move(Tag tag) {
  return MakeAutoPointer<zv3axMove>(zvTPoint3d<double>(), zvTPoint3d<double>(0, 0, 1), 0.0, false,
                                    tag);
}

void Fill(zvTPSection& section, const SectionTags& tags) {
  for (const Tag tag : tags) section.AddMove(Move(tag));
}
void Fill(zvTPSlice& slice, const SliceTags& tags) {
  for (const SectionTags& section : tags) {
    if (slice.size() % 2 == 0)
      slice.push_back(MakeAutoPointer<zvTPContour>());
    else
      slice.push_back(MakeAutoPointer<zvTPLink>(3u));
    Fill(*slice.back(), section);
  }
}
zvTPPass MakePass(const PassTags& tags) {
  zvTPPass pass;
  for (const SliceTags& slice : tags) {
    pass.push_back(MakeAutoPointer<zvTPSlice>());
    Fill(*pass.back(), slice);
  }
  return pass;
}
zvToolPath MakePath(const PathTags& tags) {
  zvToolPath path(zvUnitsFactory::metric);
  for (const PassTags& pass : tags) path.push_back(MakeAutoPointer<zvTPPass>(MakePass(pass)));
  return path;
}
zvTPSlice MakeSlice(const SliceTags& tags) {
  zvTPSlice slice;
  Fill(slice, tags);
  return slice;
}

// The image of a tree as its lists stand, without its iterators.
SliceTags ImageOf(const zvTPSlice& slice) {
  SliceTags image;
  for (const auto& section : slice.Children()) {
    image.emplace_back();
    for (const zvMovePointer& move : *section) image.back().push_back(move->GetTag());
  }
  return image;
}
PassTags ImageOf(const zvTPPass& pass) {
  PassTags image;
  for (const auto& slice : pass.Children()) image.push_back(ImageOf(*slice));
  return image;
}
PathTags ImageOf(const zvToolPath& path) {
  PathTags image;
  for (const auto& pass : path.Children()) image.push_back(ImageOf(*pass));
  return image;
}

// Random trees with many empty containers at every level, each move with a tag of its own.
class RandomTrees {
 public:
  SliceTags Slice() {
    SliceTags slice(m_engine() % 4);
    for (SectionTags& section : slice)
      for (std::size_t i = m_engine() % 4; i > 0; --i) section.push_back(m_tag++);
    return slice;
  }
  PassTags Pass() {
    PassTags pass(m_engine() % 4);
    for (SliceTags& slice : pass) slice = Slice();
    return pass;
  }
  PathTags Path() {
    PathTags path(m_engine() % 4);
    for (PassTags& pass : path) pass = Pass();
    return path;
  }
  std::size_t Below(std::size_t bound) { return m_engine() % bound; }

 private:
  std::mt19937 m_engine{20240607};
  Tag m_tag = 1;
};

template <class It>
Tags TagsBetween(It first, const It& last) {
  Tags tags;
  for (; first != last; ++first) tags.push_back((*first)->GetTag());
  return tags;
}

// Every way of walking over `level` meets the moves `expected`.
template <class Level>
void CheckWalks(Level& level, const Tags& expected) {
  const Level& constant = level;
  const Tags reversed(expected.rbegin(), expected.rend());
  ASSERT_EQ(TagsBetween(level.begin(), level.end()), expected);
  ASSERT_EQ(TagsBetween(constant.begin(), constant.end()), expected);
  ASSERT_EQ(TagsBetween(level.cbegin(), level.cend()), expected);
  ASSERT_EQ(TagsBetween(level.rbegin(), level.rend()), reversed);
  ASSERT_EQ(TagsBetween(constant.rbegin(), constant.rend()), reversed);
  ASSERT_EQ(TagsBetween(level.crbegin(), level.crend()), reversed);
  ASSERT_EQ(level.begin() == level.end(), expected.empty());
  ASSERT_EQ(constant.begin() == level.end(), expected.empty()) << "mixed constness";

  // Both directions by the operators, with the iterators compared at every place.
  std::vector<typename Level::iterator> places;
  auto it = level.begin();
  for (const Tag tag : expected) {
    ASSERT_TRUE(it != level.end());
    places.push_back(it);
    const auto before = it++;
    ASSERT_EQ((*before)->GetTag(), tag);
    ASSERT_TRUE(before == places.back());
    ASSERT_FALSE(before == it);
  }
  ASSERT_TRUE(it == level.end());
  for (std::size_t i = expected.size(); i > 0; --i) {
    const auto after = it--;
    ASSERT_FALSE(after == it);
    ASSERT_TRUE(it == places[i - 1]);
    ASSERT_EQ((*it)->GetTag(), expected[i - 1]);
    // The neighbour on both sides again, from a place reached backward.
    auto forth = it;
    ASSERT_TRUE(++forth == after);
    ASSERT_TRUE(--forth == it);
  }
  ASSERT_TRUE(it == level.begin());
  for (std::size_t i = 0; i < places.size(); ++i)
    for (std::size_t j = 0; j < places.size(); ++j) ASSERT_EQ(places[i] == places[j], i == j);
}

static_assert(std::bidirectional_iterator<zvToolPath::iterator>);
static_assert(std::bidirectional_iterator<zvToolPath::const_iterator>);
static_assert(std::is_convertible_v<zvToolPath::iterator, zvToolPath::const_iterator>);
static_assert(!std::is_constructible_v<zvToolPath::iterator, zvToolPath::const_iterator>);
static_assert(std::is_same_v<decltype(*std::declval<zvToolPath::iterator>()), zvMovePointer&>);
static_assert(
    std::is_same_v<decltype(*std::declval<zvToolPath::const_iterator>()), const zvMovePointer&>);
static_assert(std::is_nothrow_move_constructible_v<zvToolPath::iterator>);
static_assert(std::is_nothrow_move_assignable_v<zvToolPath::iterator>);

TEST(ToolPathWalk, MeetsTheMovesOfChosenTrees) {
  const PathTags trees[] = {
      {},
      {{}},
      {{{}}},
      {{{{}}}},
      {{{{1}}}},
      {{{}, {{}}, {{}, {1, 2}}}},
      {{}, {{}, {{}, {}}}, {{{1}, {}, {}}, {}}, {}, {{}}, {{{}, {2}}}, {{{}}}},
      {{{{1}}, {{2}}}, {{{3}, {4}}}},
  };
  for (const PathTags& tree : trees) {
    zvToolPath path = MakePath(tree);
    CheckWalks(path, Flat(tree));
    EXPECT_EQ(path.GetMoveCount(), Count(tree));
  }
}

TEST(ToolPathWalk, MeetsTheMovesOfRandomTreesAtEveryLevel) {
  RandomTrees random;
  for (int i = 0; i < 300 && !HasFatalFailure(); ++i) {
    SCOPED_TRACE(i);
    const PathTags tree = random.Path();
    zvToolPath path = MakePath(tree);
    ASSERT_EQ(ImageOf(path), tree);
    CheckWalks(path, Flat(tree));
    ASSERT_EQ(path.GetMoveCount(), Count(tree));
    const PassTags passTags = random.Pass();
    zvTPPass pass = MakePass(passTags);
    CheckWalks(pass, Flat(passTags));
    const SliceTags sliceTags = random.Slice();
    zvTPSlice slice = MakeSlice(sliceTags);
    CheckWalks(slice, Flat(sliceTags));
  }
}

TEST(ToolPathWalk, CopiesOfAnIteratorGoTheirOwnWay) {
  zvToolPath path = MakePath({{{{1, 2}, {3}}}, {{{4}}}});
  auto a = path.begin();
  auto b = a;
  ++b;
  ++b;
  EXPECT_EQ((*a)->GetTag(), 1u);
  EXPECT_EQ((*b)->GetTag(), 3u);
  a = b;
  ++b;
  EXPECT_EQ((*a)->GetTag(), 3u);
  EXPECT_EQ((*b)->GetTag(), 4u);
  const auto& self = a;
  a = self;
  EXPECT_EQ((*a)->GetTag(), 3u);
  a = path.end();
  EXPECT_TRUE(a == path.end());
  a = path.begin();
  EXPECT_TRUE(a == path.begin());
  zvToolPath::const_iterator c = a;
  ++a;
  EXPECT_EQ((*c)->GetTag(), 1u);
  EXPECT_EQ(a->Get(), (*a).Get());
  EXPECT_TRUE(zvToolPath::iterator() == zvToolPath::iterator());
  // The same children, but other lists that hold them.
  zvToolPath copy = path;
  EXPECT_FALSE(copy.begin() == path.begin());
  EXPECT_FALSE(copy.end() == path.end());
}

TEST(ToolPathWalk, AMoveCanBeReplacedInPlace) {
  zvToolPath path = MakePath({{{{1}, {2}}}});
  auto it = path.begin();
  *++it = Move(9);
  EXPECT_EQ(ImageOf(path), (PathTags{{{{1}, {9}}}}));
}

TEST(ToolPathWalk, TellsTheSectionOfEveryMove) {
  zvToolPath path = MakePath({{{{1}, {}, {2}, {3, 4}}}, {{}}, {{{5}, {6}}}});
  std::vector<std::pair<Tag, bool>> seen;
  for (auto it = path.begin(); it != path.end(); ++it) {
    zvToolPath::zvSectionInfoGetter info;
    SectionOf(it).AcceptVisitor(info);
    seen.emplace_back((*it)->GetTag(), info.IsLink());
    EXPECT_EQ(info.GetLinkType(), info.IsLink() ? 3u : 0u);
  }
  EXPECT_EQ(seen, (std::vector<std::pair<Tag, bool>>{
                      {1, false}, {2, false}, {3, true}, {4, true}, {5, false}, {6, true}}));
}

// Inserts at random places of a tree and compares with its plain image.
template <class Level, class Image>
void CheckInsertions(Level& level, Image image, RandomTrees& random) {
  for (Tag tag = 1000000; tag < 1000012; ++tag) {
    const std::size_t count = Count(image);
    const std::size_t at = random.Below(count + 1);
    const auto before = std::next(level.begin(), static_cast<std::ptrdiff_t>(at));
    const bool atEnd = before == level.end();
    const auto inserted = level.Insert(before, Move(tag));
    InsertPlain(image, at, tag);
    ASSERT_EQ(ImageOf(level), image);
    ASSERT_EQ((*inserted)->GetTag(), tag);
    ASSERT_TRUE(inserted == std::next(level.begin(), static_cast<std::ptrdiff_t>(at)));
    ASSERT_EQ(inserted == level.begin(), at == 0);
    ASSERT_FALSE(inserted == level.end());
    ASSERT_TRUE(std::next(inserted) == before) << "an insertion leaves iterators standing";
    ASSERT_EQ(std::next(inserted) == level.end(), atEnd);
    ASSERT_EQ(TagsBetween(level.begin(), level.end()), Flat(image));
  }
}

TEST(ToolPathInsert, PutsMovesWhereThePlainImageHasThem) {
  RandomTrees random;
  for (int i = 0; i < 150 && !HasFatalFailure(); ++i) {
    SCOPED_TRACE(i);
    const PathTags tree = random.Path();
    zvToolPath path = MakePath(tree);
    CheckInsertions(path, tree, random);
    const PassTags passTags = random.Pass();
    zvTPPass pass = MakePass(passTags);
    CheckInsertions(pass, passTags, random);
    const SliceTags sliceTags = random.Slice();
    zvTPSlice slice = MakeSlice(sliceTags);
    CheckInsertions(slice, sliceTags, random);
  }
}

struct AddCase {
  PathTags tree, appended, first;
};

TEST(ToolPathInsert, AddsAtTheEndsOfATree) {
  const AddCase cases[] = {
      {{}, {{{{9}}}}, {{{{9}}}}},
      {{{}}, {{{{9}}}}, {{{{9}}}}},
      {{{{}}}, {{{{9}}}}, {{{{9}}}}},
      {{{{{}}}}, {{{{9}}}}, {{{{9}}}}},
      // All empty: the last child, whichever end is asked for.
      {{{}, {}}, {{}, {{{9}}}}, {{}, {{{9}}}}},
      {{{{{}, {}}}, {{}}}, {{{{}, {}}}, {{{9}}}}, {{{{}, {}}}, {{{9}}}}},
      // The end means the last child, the beginning means the first move.
      {{{{{}, {1}, {}}}}, {{{{}, {1}, {9}}}}, {{{{}, {9, 1}, {}}}}},
      {{{}, {{{1}}}, {}}, {{}, {{{1}}}, {{{9}}}}, {{}, {{{9, 1}}}, {}}},
      {{{{{1, 2}}, {{3}}}}, {{{{1, 2}}, {{3, 9}}}}, {{{{9, 1, 2}}, {{3}}}}},
  };
  for (const AddCase& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.tree));
    zvToolPath path = MakePath(c.tree);
    path.AddMove(Move(9));
    EXPECT_EQ(ImageOf(path), c.appended);
    zvToolPath first = MakePath(c.tree);
    first.AddMoveFirst(Move(9));
    EXPECT_EQ(ImageOf(first), c.first);
    zvToolPath front = MakePath(c.tree);
    front.PushFront(Move(9));
    EXPECT_EQ(ImageOf(front), c.first);
    if (c.tree.empty()) continue;
    // The same at the level of the last pass and of its last slice.
    zvTPPass pass = MakePass(c.tree.back());
    pass.AddMove(Move(9));
    EXPECT_EQ(ImageOf(pass), c.appended.back());
    if (c.tree.back().empty()) continue;
    zvTPSlice slice = MakeSlice(c.tree.back().back());
    slice.AddMove(Move(9));
    EXPECT_EQ(ImageOf(slice), c.appended.back().back());
  }
}

TEST(ToolPathInsert, ASectionAddsAtBothEnds) {
  zvTPLink link(2);
  link.AddMove(Move(2));
  link.AddMoveFirst(Move(1));
  link.AddMove(Move(3));
  link.EnsureContainer();
  const auto inserted = link.Insert(std::next(link.begin()), Move(9));
  EXPECT_EQ((*inserted)->GetTag(), 9u);
  EXPECT_EQ(TagsBetween(link.begin(), link.end()), (Tags{1, 9, 2, 3}));
}

// What kind of section it is, as a visitor that throws tells it.
std::pair<bool, std::uint32_t> InfoOf(const zvTPSection& section) {
  zvToolPath::zvSectionInfoGetter info;
  section.AcceptVisitor(info);
  return {info.IsLink(), info.GetLinkType()};
}

TEST(ToolPathInsert, MakesContoursOnlyAndOnlyWhereNothingIs) {
  zvToolPath path(zvUnitsFactory::inch);
  EXPECT_TRUE(path.begin() == path.end());
  path.AddMove(Move(1));
  zvTPSlice& slice = *path.front()->front();
  EXPECT_FALSE(InfoOf(*slice.front()).first);
  slice.push_back(MakeAutoPointer<zvTPLink>(4u));
  path.AddMove(Move(2));
  EXPECT_EQ(ImageOf(path), (PathTags{{{{1}, {2}}}})) << "into the link, as the last section";
  path.EnsureContainer();
  path.front()->EnsureContainer();
  slice.EnsureContainer();
  EXPECT_EQ(ImageOf(path), (PathTags{{{{1}, {2}}}}));
}

using BareSections = misc::zvCollectionOfContainers<std::list<zvAutoPointer<zvTPSection>>>;
using BareLevels = misc::zvCollectionOfContainers<std::list<zvAutoPointer<BareSections>>>;

template <class Bare>
void ExpectNoContainer(Bare& bare) {
  constexpr const wchar_t* kText = L"No container available, insertion failed.";
  using Error = misc::zvmiscException;
  EXPECT_TRUE(tests::ThrowsId<Error>([&] { bare.Insert(bare.end(), Move(1)); }, 5503, kText));
  EXPECT_TRUE(tests::ThrowsId<Error>([&] { bare.PushFront(Move(1)); }, 5503, kText));
}

TEST(CollectionOfContainers, WithoutAChildItRefusesToInsert) {
  BareSections bare;
  ExpectNoContainer(bare);
  bare.push_back(MakeAutoPointer<zvTPContour>());
  bare.PushFront(Move(2));
  bare.PushFront(Move(1));
  EXPECT_EQ(TagsBetween(bare.begin(), bare.end()), (Tags{1, 2}));

  BareLevels levels;
  ExpectNoContainer(levels);
  levels.push_back(MakeAutoPointer<BareSections>());
  ExpectNoContainer(levels);
  EXPECT_EQ(levels.size(), 1u);
}

TEST(CollectionOfContainers, MovesTakeTheChildrenAlong) {
  zvToolPath path = MakePath({{{{1}}}});
  const zvMovePointer move = *path.begin();
  zvToolPath target(std::move(path));
  EXPECT_EQ(ImageOf(target), (PathTags{{{{1}}}}));
  EXPECT_EQ(move.UseCount(), 2u);
  EXPECT_EQ(target.front().UseCount(), 1u);
}

constexpr const wchar_t* kNull = L"Accessing NULL pointer";

TEST(ToolPathNull, ANullContainerThrowsAtAnyLevelAndPlace) {
  const PathTags tree{{{{1}, {2}}, {{3}, {4}}}, {{{5}}}, {{{6}}, {{7}, {8}}}};
  using Breaker = std::function<void(zvToolPath&)>;
  const std::pair<const char*, Breaker> breakers[] = {
      {"first pass", [](zvToolPath& p) { p.front() = nullptr; }},
      {"middle pass", [](zvToolPath& p) { *std::next(p.Children().begin()) = nullptr; }},
      {"last pass", [](zvToolPath& p) { p.back() = nullptr; }},
      {"first slice", [](zvToolPath& p) { p.front()->front() = nullptr; }},
      {"middle slice", [](zvToolPath& p) { p.front()->back() = nullptr; }},
      {"last slice", [](zvToolPath& p) { p.back()->back() = nullptr; }},
      {"first section", [](zvToolPath& p) { p.front()->front()->front() = nullptr; }},
      {"middle section", [](zvToolPath& p) { p.front()->back()->front() = nullptr; }},
      {"last section", [](zvToolPath& p) { p.back()->back()->back() = nullptr; }},
  };
  for (const auto& [name, breakIt] : breakers) {
    SCOPED_TRACE(name);
    zvToolPath path = MakePath(tree);
    std::vector<zvMovePointer> moves(path.begin(), path.end());
    breakIt(path);
    std::size_t met = 0;
    zvToolPath::iterator it;
    const auto forward = [&] {
      for (it = path.begin(); it != path.end(); ++it) ++met;
    };
    EXPECT_TRUE(tests::ThrowsId<misc::zvException>(forward, 0, kNull));
    EXPECT_LT(met, moves.size());
    // A step that failed ends the walk.
    if (met > 0) {
      EXPECT_TRUE(it == path.end());
    }

    std::size_t metBackward = 0;
    it = path.end();
    const auto backward = [&] {
      for (; metBackward < moves.size(); ++metBackward) --it;
    };
    EXPECT_TRUE(tests::ThrowsId<misc::zvException>(backward, 0, kNull));
    EXPECT_LT(met + metBackward, moves.size());
    // A failed step back is undone.
    if (metBackward > 0) {
      EXPECT_EQ(it->Get(), moves[moves.size() - metBackward].Get());
    } else {
      EXPECT_TRUE(it == path.end());
    }

    EXPECT_TRUE(tests::ThrowsId<misc::zvException>([&] { path.GetMoveCount(); }, 0, kNull));
    EXPECT_TRUE(
        tests::ThrowsId<misc::zvException>([&] { path.SetUnits(zvUnitsFactory::inch); }, 0, kNull));
    EXPECT_EQ(path.GetUnits(), zvUnitsFactory::metric);
  }
}

TEST(ToolPathNull, AddingToANullLastChildThrows) {
  zvToolPath path = MakePath({{{{1}}}});
  path.front()->front()->push_back(nullptr);
  EXPECT_TRUE(tests::ThrowsId<misc::zvException>([&] { path.AddMove(Move(2)); }, 0, kNull));
  path.front()->push_back(nullptr);
  EXPECT_TRUE(tests::ThrowsId<misc::zvException>([&] { path.AddMove(Move(2)); }, 0, kNull));
  path.push_back(nullptr);
  EXPECT_TRUE(tests::ThrowsId<misc::zvException>([&] { path.AddMove(Move(2)); }, 0, kNull));
  path.AddMoveFirst(Move(2));
  EXPECT_EQ((*path.begin())->GetTag(), 2u);
}

TEST(ToolPathNull, ANullMoveIsMetAndThrowsWhenUsed) {
  zvToolPath path = MakePath({{{{1, 2}}}});
  path.AddMove(nullptr);
  path.AddMove(Move(3));
  (*path.begin())->SetPosition({1, 2, 3});
  EXPECT_EQ(std::distance(path.begin(), path.end()), 4);
  EXPECT_TRUE(
      tests::ThrowsId<misc::zvException>([&] { TagsBetween(path.begin(), path.end()); }, 0, kNull));
  // Half a path in other units must not be left.
  EXPECT_TRUE(
      tests::ThrowsId<misc::zvException>([&] { path.SetUnits(zvUnitsFactory::inch); }, 0, kNull));
  EXPECT_EQ((*path.begin())->GetPosition(), zvTPoint3d<double>(1, 2, 3));
  EXPECT_EQ(path.GetUnits(), zvUnitsFactory::metric);
}

TEST(ToolPathSharing, ACopySharesPassesAndMoves) {
  zvToolPath path = MakePath({{{{1}}}, {{{2}}}});
  zvToolPath copy = path;
  (*copy.begin())->SetTag(7);
  copy.AddMove(Move(3));                        // into the last pass, which both hold
  copy.push_back(MakeAutoPointer<zvTPPass>());  // a pass of the copy alone
  copy.AddMove(Move(4));
  EXPECT_EQ(ImageOf(path), (PathTags{{{{7}}}, {{{2, 3}}}}));
  EXPECT_EQ(ImageOf(copy), (PathTags{{{{7}}}, {{{2, 3}}}, {{{4}}}}));
  zvToolPath other(zvUnitsFactory::inch);
  other = path;
  EXPECT_EQ(other.GetUnits(), zvUnitsFactory::metric);
  EXPECT_EQ(path.front().UseCount(), 3u);
}

TEST(ToolPathSharing, MovesOutliveTheTreeAndEachOther) {
  zvMovePointer kept;
  {
    zvToolPath path = MakePath({{{{1, 2, 3}, {4}}}});
    kept = *std::next(path.begin());
    EXPECT_EQ(kept.UseCount(), 2u);
    path.front()->front()->pop_front();
    EXPECT_EQ(kept.UseCount(), 1u) << "its section is gone";
    path.AddMove(kept);
    path.AddMoveFirst(kept);
    EXPECT_EQ(kept.UseCount(), 3u);
    EXPECT_EQ(ImageOf(path), (PathTags{{{{2, 4, 2}}}}));
  }
  EXPECT_EQ(kept.UseCount(), 1u);
  EXPECT_EQ(kept->GetTag(), 2u);
}

struct Dying : zv5axMove {
  explicit Dying(int& dead) : m_dead(dead) {}
  ~Dying() override { ++m_dead; }
  int& m_dead;
};

TEST(ToolPathSharing, TheLastTreeDeletesItsMovesOnce) {
  int dead = 0;
  {
    zvToolPath path = MakePath({{{{1}, {}}}, {}});
    const auto move = MakeAutoPointer<Dying>(dead);
    path.AddMove(move);
    path.AddMoveFirst(move);
    path.AddMove(MakeAutoPointer<Dying>(dead));
    const zvToolPath copy = path;
    path.clear();
    EXPECT_EQ(dead, 0);
  }
  EXPECT_EQ(dead, 2);
}

TEST(ToolPathUnits, AChangeScalesEveryReferenceToAMove) {
  constexpr double kToInch = 0.03937007874015748;
  zvToolPath path(zvUnitsFactory::metric);
  const zvTPoint3d<double> p{1, 10, 100};
  const auto three = MakeAutoPointer<zv3axMove>(p, p, 50.0, false, 1u, 6.0);
  const auto plain = MakeAutoPointer<zvCNCMove>(p, p, 50.0, false, 1u, 6.0);
  const auto marked = MakeAutoPointer<zv5axMove>(p, p, p, p, 2u, true, 50.0, false);
  const auto unmarked = MakeAutoPointer<zv5axMove>(p, p, p, p, 2u, false, 50.0, false);
  const auto twice = MakeAutoPointer<zv3axMove>(p, p, 50.0, true);
  path.AddMove(twice);
  path.AddMove(three);
  path.push_back(MakeAutoPointer<zvTPPass>());
  path.push_back(MakeAutoPointer<zvTPPass>());
  path.AddMove(plain);
  path.AddMove(marked);
  path.AddMove(unmarked);
  path.AddMove(twice);

  path.SetUnits(zvUnitsFactory::metric);
  EXPECT_EQ(three->GetPosition(), p);
  path.SetUnits(zvUnitsFactory::inch, true);
  EXPECT_EQ(path.GetUnits(), zvUnitsFactory::inch);
  EXPECT_EQ(three->GetPosition(), p) << "only the label";
  path.SetUnits(zvUnitsFactory::inch);
  EXPECT_EQ(three->GetPosition(), p);
  EXPECT_TRUE(tests::ThrowsId<measures::zvmeasuresException>(
      [&] { path.SetUnits(static_cast<zvUnitsFactory::Units>(3)); }, 2141, L"Unknown Units"));
  EXPECT_EQ(path.GetUnits(), zvUnitsFactory::inch);

  path.SetUnits(zvUnitsFactory::metric);
  EXPECT_EQ(path.GetUnits(), zvUnitsFactory::metric);
  const zvTPoint3d<double> scaled = p * 25.4;
  for (const zvMovePointer& move :
       {zvMovePointer(three), plain, zvMovePointer(marked), zvMovePointer(unmarked)}) {
    EXPECT_EQ(move->GetPosition(), scaled);
    EXPECT_EQ(move->GetOrientation(), p);
    EXPECT_EQ(move->GetFeed(), 50);
  }
  EXPECT_EQ(three->GetStamp(), 6);
  EXPECT_EQ(marked->GetExtendedPoint(), scaled);
  EXPECT_EQ(marked->GetExtendedVector(), p);
  EXPECT_EQ(unmarked->GetExtendedPoint(), p);
  EXPECT_FALSE(unmarked->HasExtendedData());
  EXPECT_EQ(twice->GetPosition(), scaled * 25.4);

  path.SetUnits(zvUnitsFactory::inch);
  EXPECT_EQ(three->GetPosition(), scaled * kToInch);
  EXPECT_NEAR((three->GetPosition() - p).Length(), 0, 1e-13) << "a rounding each way";
}

TEST(ToolPathUnits, OnlyMetricAndInchAreAccepted) {
  EXPECT_EQ(zvToolPath(zvUnitsFactory::metric).GetUnits(), zvUnitsFactory::metric);
  EXPECT_EQ(zvToolPath(zvUnitsFactory::inch).GetUnits(), zvUnitsFactory::inch);
  for (const int units : {0, 3, -1})
    EXPECT_TRUE(tests::ThrowsId<measures::zvmeasuresException>(
        [&] { zvToolPath(static_cast<zvUnitsFactory::Units>(units)); }, 2141, L"Unknown Units"));
}

// A section that is neither link nor contour.
struct OtherSection : zvTPSection {
  void AcceptVisitor(zvTPSVisitor& visitor) const override {
    visitor.Visit(static_cast<const zvTPSection&>(*this));
  }
};

TEST(SectionVisitors, TellLinksFromContours) {
  zvToolPath::zvSectionInfoGetter info;
  zvTPSLinkVisitor linkInfo;
  const auto expect = [&](bool isLink, std::uint32_t type) {
    EXPECT_EQ(info.IsLink(), isLink);
    EXPECT_EQ(info.GetLinkType(), type);
    EXPECT_EQ(linkInfo.IsLink(), isLink);
    EXPECT_EQ(linkInfo.GetLinkType(), type);
  };
  const auto visit = [&](const zvTPSection& section) {
    section.AcceptVisitor(info);
    section.AcceptVisitor(linkInfo);
  };
  expect(true, 0);
  visit(zvTPContour());
  expect(false, 0);
  visit(zvTPLink(5));
  expect(true, 5);
  visit(zvTPContour());
  expect(false, 5);  // the type of the last link stays
  visit(zvTPLink(4000000000u));
  expect(true, 4000000000u);
}

TEST(SectionVisitors, DifferOnAnUnknownSection) {
  zvToolPath::zvSectionInfoGetter info;
  EXPECT_TRUE(tests::ThrowsId<zvcadcamException>([&] { OtherSection().AcceptVisitor(info); }, 2639,
                                                 L"Unknown toolpath section type."));
  zvTPSLinkVisitor linkInfo;
  OtherSection().AcceptVisitor(linkInfo);
  EXPECT_FALSE(linkInfo.IsLink());
}

// A walk that searches its way through the empty sections anew at each step takes minutes here.
TEST(ToolPathLarge, WalksTakeLinearTime) {
  constexpr Tag kMoves = 200000;
  SectionTags all(kMoves);
  for (Tag i = 0; i < kMoves; ++i) all[i] = i;
  SliceTags leadingEmpty(kMoves), scattered, trailingEmpty{all};
  leadingEmpty.push_back(all);
  trailingEmpty.resize(kMoves);
  for (Tag i = 0; i < kMoves; ++i) {
    scattered.push_back({i});
    scattered.emplace_back();
  }
  for (const SliceTags& slice : {leadingEmpty, scattered, trailingEmpty}) {
    zvToolPath path = MakePath({{slice}});
    ASSERT_EQ(TagsBetween(path.begin(), path.end()), all);
    Tag expected = kMoves;
    for (auto it = path.end(); expected > 0; --expected)
      if ((*--it)->GetTag() != expected - 1) break;
    EXPECT_EQ(expected, 0u);
    path.SetUnits(zvUnitsFactory::inch);
  }
}

}  // namespace
}  // namespace cadcam
