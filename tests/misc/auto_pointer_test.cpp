#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/exception.h>
#include <tests/support/seeded.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

#include <map>
#include <stdexcept>

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

// What a pointer says of itself; `value` 0 for one that is null.
template <class T>
void ExpectIs(const zvAutoPointer<T>& pointer, int value, std::uint32_t uses) {
  ASSERT_EQ(pointer.UseCount(), uses);
  ASSERT_EQ(pointer.IsNull(), value == 0);
  ASSERT_EQ(pointer == nullptr, value == 0);
  ASSERT_EQ(static_cast<bool>(pointer), value != 0);
  ASSERT_EQ(pointer.Get() == nullptr, value == 0);
  const auto fails = [](auto&& use) { return static_cast<bool>(ThrowsNull(use)); };
  ASSERT_EQ(fails([&] { ASSERT_EQ(dynamic_cast<const Both&>(*pointer).value, value); }),
            value == 0);
  ASSERT_EQ(fails([&] { ASSERT_EQ(pointer.operator->(), pointer.Get()); }), value == 0);
  ASSERT_TRUE(value != 0 || fails([&] { pointer.ReleaseOwnership(); }));
}

// Pointers to a class and to a base at another address are assigned at random, beside the numbers
// of the objects that they share.
TEST(AutoPointer, TheObjectDiesOnceWithItsLastReference) {
  tests::Seeded random;
  std::array<zvAutoPointer<Both>, 4> whole;
  std::array<zvAutoPointer<Second>, 4> base;
  std::array<int, 4> wholes{}, bases{};
  Both other;
  for (int i = 1; i < 20000 && !HasFatalFailure(); ++i) {
    const auto a = static_cast<std::size_t>(random.Integer(0, 3));
    const auto b = static_cast<std::size_t>(random.Integer(0, 3));
    Both* const object = base[a].IsNull() ? &other : static_cast<Both*>(base[a].Get());
    const int way = random.Integer(0, 8);
    if (way == 0) whole[a] = MakeAutoPointer<Both>(wholes[a] = i);
    if (way == 1) base[a] = zvAutoPointer<Both>(new Both(bases[a] = i));
    if (way == 2) whole[a] = nullptr, wholes[a] = 0;
    if (way == 3) base[a] = zvAutoPointer<Both>(static_cast<Both*>(nullptr)), bases[a] = 0;
    if (way == 4) whole[a] = whole[b], wholes[a] = wholes[b];
    if (way == 5) whole[a] = std::move(whole[b]), wholes[a] = std::exchange(wholes[b], 0);
    if (way == 6) base[a] = whole[b], bases[a] = wholes[b];
    if (way == 7) base[a] = std::move(base[b]), bases[a] = std::exchange(bases[b], 0);
    // The address of another class of the same object; that of another object is not taken by null.
    if (way == 8) whole[b] = {base[a], object}, wholes[b] = bases[a];
    std::map<int, std::uint32_t> uses;
    for (const auto& values : {wholes, bases})
      for (const int value : values) ++uses[value];
    uses[0] = 0;
    ASSERT_EQ(Counted::living, static_cast<int>(uses.size())) << "with the other one";
    for (std::size_t k = 0; k < 4; ++k) {
      ExpectIs(whole[k], wholes[k], uses[wholes[k]]);
      ExpectIs(base[k], bases[k], uses[bases[k]]);
      ASSERT_EQ(whole[k] == base[a], wholes[k] == bases[a]);
    }
  }
  const zvAutoPointer<const Counted> constant = whole[0] = MakeAutoPointer<Both>(5);
  EXPECT_EQ(constant->value, 5);
  EXPECT_EQ(constant.UseCount(), 2u);
}

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
  struct Link {
    zvAutoPointer<Link> next;
  };
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

// Released after main, when the thread's stock of blocks is gone.
const zvAutoPointer<int> s_releasedAfterMain = MakeAutoPointer<int>(4);

TEST(AutoPointer, OutlivesMain) {
  EXPECT_EQ(*s_releasedAfterMain, 4);
}

}  // namespace
}  // namespace misc
