#include <gtest/gtest.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/exception.h>
#include <tests/support/throws_id.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace misc {
namespace {

using tests::ThrowsNull;

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
    EXPECT_TRUE(copy.IsNull() && !copy && copy == nullptr);
    EXPECT_EQ(copy.Get(), nullptr);
    EXPECT_EQ(copy.UseCount(), 0u);
    EXPECT_TRUE(ThrowsNull([&] { copy->value = 1; }));
    EXPECT_TRUE(ThrowsNull([&] { (*copy).value = 1; }));
    EXPECT_TRUE(ThrowsNull([&] { copy.ReleaseOwnership(); }));
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
  zvAutoPointer<Counted>& alias = first;
  first = alias;
  first = std::move(alias);
  EXPECT_EQ(first.UseCount(), 1u);
  EXPECT_EQ(first->value, 7);
  zvAutoPointer<Counted> copy = first;
  first = copy;
  EXPECT_EQ(first.UseCount(), 2u);
  first = copy = MakeAutoPointer<Counted>(8);
  EXPECT_EQ(Counted::living, 1);
  first = copy = nullptr;
  EXPECT_EQ(Counted::living, 0);
}

struct Link {
  zvAutoPointer<Link> next;
};

TEST(AutoPointer, SwallowsWhatADestructorThrows) {
  struct Thrower {
    ~Thrower() noexcept(false) { throw std::runtime_error("destructor"); }
    Counted member;
  };
  auto pointer = MakeAutoPointer<Thrower>();
  EXPECT_EQ(Counted::living, 1);
  pointer = nullptr;
  EXPECT_EQ(Counted::living, 0);
}

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

TEST(AutoPointer, ABaseSharesTheBlockAtItsOwnAddressAndReleasesTheWhole) {
  auto both = MakeAutoPointer<Both>(5);
  zvAutoPointer<Second> second = both;
  zvAutoPointer<const Counted> constant = both;
  EXPECT_NE(static_cast<void*>(second.Get()), static_cast<void*>(both.Get()));
  EXPECT_EQ(second.Get(), static_cast<Second*>(both.Get()));
  EXPECT_EQ(second->second, 2);
  EXPECT_EQ(constant->value, 5);
  EXPECT_EQ(both.UseCount(), 3u);
  constant = both = nullptr;
  EXPECT_EQ(Counted::living, 1);
  second = MakeAutoPointer<Both>(6);
  EXPECT_EQ(Counted::living, 1);
  second = zvAutoPointer<Both>(nullptr);
  EXPECT_TRUE(second.IsNull());
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
  using Pointers = std::vector<zvAutoPointer<int>>;
  std::vector<Pointers> made(4);
  const auto inThreads = [&](void (*work)(Pointers&)) {
    std::vector<std::thread> threads(made.size());
    for (std::size_t i = 0; i < made.size(); ++i) threads[i] = std::thread(work, std::ref(made[i]));
    for (std::thread& thread : threads) thread.join();
  };
  inThreads([](Pointers& mine) {
    for (int i = 0; i < 20000; ++i) mine.push_back(MakeAutoPointer<int>(i));
  });
  inThreads([](Pointers& mine) {
    const Pointers copies = mine;
    for (int i = 0; i < 20000; ++i) {
      ASSERT_EQ(*copies[static_cast<std::size_t>(i)], i);
      ASSERT_EQ(copies[static_cast<std::size_t>(i)].UseCount(), 2u);
    }
    mine.erase(mine.begin(), mine.begin() + 15000);
  });
  for (const Pointers& mine : made) {
    int expected = 15000;
    for (const auto& pointer : mine) {
      ASSERT_EQ(*pointer, expected++);
      ASSERT_EQ(pointer.UseCount(), 1u);
    }
    ASSERT_EQ(expected, 20000);
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
