#include <gtest/gtest.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/exception.h>
#include <tests/support/throws_id.h>

#include <memory>
#include <thread>
#include <vector>

namespace misc {
namespace {

using tests::ThrowsId;

struct Counted {
  explicit Counted(int v = 0) : value(v) { ++living; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
  virtual ~Counted() { --living; }
  int value;
  static inline int living = 0;
};

struct Second {
  virtual ~Second() = default;
  int second = 2;
};

struct Both : Counted, Second {
  using Counted::Counted;
};

static_assert(sizeof(zvAutoPointer<Counted>) == 2 * sizeof(void*));
static_assert(!std::is_convertible_v<zvAutoPointer<Second>, zvAutoPointer<Both>>);
static_assert(!std::is_convertible_v<Counted*, zvAutoPointer<Counted>>);

TEST(AutoPointer, NullIsReportedWhereItIsUsed) {
  const std::vector<zvAutoPointer<Counted>> nulls = {
      {}, nullptr, zvAutoPointer<Counted>(static_cast<Counted*>(nullptr))};
  for (const zvAutoPointer<Counted>& null : nulls) {
    zvAutoPointer<Counted> copy(null);
    EXPECT_TRUE(copy.IsNull());
    EXPECT_FALSE(copy);
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(copy.Get(), nullptr);
    EXPECT_EQ(copy.UseCount(), 0u);
    EXPECT_TRUE(ThrowsId<zvException>([&] { copy->value = 1; }, 0, L"Accessing NULL pointer"));
    EXPECT_TRUE(ThrowsId<zvException>([&] { (*copy).value = 1; }, 0, L"Accessing NULL pointer"));
    EXPECT_TRUE(
        ThrowsId<zvException>([&] { copy.ReleaseOwnership(); }, 0, L"Accessing NULL pointer"));
  }
}

TEST(AutoPointer, TheObjectDiesOnceWithItsLastReference) {
  auto first = MakeAutoPointer<Counted>(7);
  {
    const zvAutoPointer<Counted> copy = first;
    EXPECT_EQ(first.UseCount(), 2u);
    EXPECT_EQ(copy.Get(), first.Get());
    zvAutoPointer<Counted> moved = std::move(first);
    EXPECT_TRUE(first.IsNull());
    EXPECT_EQ(moved.UseCount(), 2u);
    first = std::move(moved);
  }
  EXPECT_EQ(Counted::living, 1);
  EXPECT_EQ(first.UseCount(), 1u);
  EXPECT_EQ(first->value, 7);
  first = MakeAutoPointer<Counted>(8);
  EXPECT_EQ(Counted::living, 1);
  first = nullptr;
  EXPECT_EQ(Counted::living, 0);
}

TEST(AutoPointer, AssignsToItselfAndToItsOwnCopy) {
  auto pointer = MakeAutoPointer<Counted>(1);
  zvAutoPointer<Counted>& alias = pointer;
  pointer = alias;
  EXPECT_EQ(pointer.UseCount(), 1u);
  pointer = std::move(alias);
  EXPECT_EQ(pointer.UseCount(), 1u);
  zvAutoPointer<Counted> copy = pointer;
  pointer = copy;
  EXPECT_EQ(pointer.UseCount(), 2u);
  EXPECT_EQ(Counted::living, 1);
}

struct Link {
  zvAutoPointer<Link> next;
};

TEST(AutoPointer, AssignsFromInsideTheObjectThatItReleases) {
  auto head = MakeAutoPointer<Link>();
  head->next = MakeAutoPointer<Link>();
  Link* second = head->next.Get();
  head = head->next;
  EXPECT_EQ(head.Get(), second);
  EXPECT_EQ(head.UseCount(), 1u);
  head->next = MakeAutoPointer<Link>();
  Link* third = head->next.Get();
  head = std::move(head->next);
  EXPECT_EQ(head.Get(), third);
}

TEST(AutoPointer, ABaseSharesTheBlockAtItsOwnAddress) {
  auto both = MakeAutoPointer<Both>(5);
  zvAutoPointer<Second> second = both;
  const zvAutoPointer<const Counted> constant = both;
  EXPECT_NE(static_cast<void*>(second.Get()), static_cast<void*>(both.Get()));
  EXPECT_EQ(second.Get(), static_cast<Second*>(both.Get()));
  EXPECT_EQ(second->second, 2);
  EXPECT_EQ(constant->value, 5);
  EXPECT_EQ(both.UseCount(), 3u);
  both = nullptr;
  EXPECT_EQ(Counted::living, 1);
  zvAutoPointer<Second> last = zvAutoPointer<Both>(nullptr);
  EXPECT_TRUE(last.IsNull());
  last = MakeAutoPointer<Both>(6);
  EXPECT_EQ(Counted::living, 2);
}

TEST(AutoPointer, TheBaseReleasesTheWholeObject) {
  zvAutoPointer<Second> last = MakeAutoPointer<Both>(6);
  EXPECT_EQ(Counted::living, 1);
  last = nullptr;
  EXPECT_EQ(Counted::living, 0);
}

TEST(AutoPointer, GivesAnObjectTheAddressOfAnotherOfItsClasses) {
  zvAutoPointer<Counted> counted = MakeAutoPointer<Both>(6);
  Second* address = dynamic_cast<Second*>(counted.Get());
  zvAutoPointer<Second> second(counted, address);
  EXPECT_EQ(second.Get(), address);
  EXPECT_EQ(counted.UseCount(), 2u);
  counted = nullptr;
  EXPECT_EQ(Counted::living, 1);
  second = zvAutoPointer<Second>(counted, second.Get());  // of a null pointer
  EXPECT_EQ(second.Get(), nullptr);
  EXPECT_EQ(Counted::living, 0);
}

TEST(AutoPointer, AReleasedObjectOutlivesEveryReference) {
  std::unique_ptr<Counted> owner;
  {
    const auto pointer = MakeAutoPointer<Counted>(3);
    const zvAutoPointer<Counted> copy = pointer;
    copy.ReleaseOwnership();
    owner.reset(pointer.Get());
  }
  EXPECT_EQ(Counted::living, 1);
  EXPECT_EQ(owner->value, 3);
}

// Blocks made on one thread and freed on others, more than a thread keeps in stock, while the
// threads that made them have ended.
TEST(AutoPointer, OutlivesTheThreadThatMadeIt) {
  std::vector<std::vector<zvAutoPointer<int>>> made(4);
  std::vector<std::thread> makers;
  for (std::vector<zvAutoPointer<int>>& mine : made)
    makers.emplace_back([&mine] {
      for (int i = 0; i < 20000; ++i) mine.push_back(MakeAutoPointer<int>(i));
    });
  for (std::thread& thread : makers) thread.join();
  std::vector<std::thread> users;
  for (std::size_t t = 0; t < made.size(); ++t)
    users.emplace_back([&mine = made[t]] {
      const std::vector<zvAutoPointer<int>> copies = mine;
      for (int i = 0; i < 20000; ++i) {
        ASSERT_EQ(*copies[static_cast<std::size_t>(i)], i);
        ASSERT_EQ(copies[static_cast<std::size_t>(i)].UseCount(), 2u);
      }
      mine.erase(mine.begin(), mine.begin() + 15000);
    });
  for (std::thread& thread : users) thread.join();
  for (const std::vector<zvAutoPointer<int>>& mine : made) {
    ASSERT_EQ(mine.size(), 5000u);
    for (std::size_t i = 0; i < mine.size(); ++i) {
      ASSERT_EQ(*mine[i], static_cast<int>(i) + 15000);
      ASSERT_EQ(mine[i].UseCount(), 1u);
    }
  }
}

// Made and released while the thread's stock of blocks is gone: after main, and late in a thread.
zvAutoPointer<int> s_releasedAfterMain = MakeAutoPointer<int>(4);

struct UsesPointersWhenItEnds {
  ~UsesPointersWhenItEnds() {
    const auto late = MakeAutoPointer<int>(9);
    if (*late != 9 || *pointer != 1) std::abort();
    pointer = nullptr;
  }
  zvAutoPointer<int> pointer;
};

TEST(AutoPointer, WorksWhileAThreadEnds) {
  EXPECT_EQ(*s_releasedAfterMain, 4);
  std::thread([] {
    // Constructed before the thread's stock, so destroyed after it.
    thread_local UsesPointersWhenItEnds uses;
    uses.pointer = MakeAutoPointer<int>(1);
  }).join();
}

}  // namespace
}  // namespace misc
