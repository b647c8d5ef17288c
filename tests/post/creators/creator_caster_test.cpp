#include <gtest/gtest.h>
#include <kandrel/post/creators/creator_caster.h>
#include <kandrel/post/post_exception.h>
#include <tests/support/throws_id.h>

#include <array>
#include <functional>
#include <type_traits>

namespace {

using Caster = zvPostedTPCreatorCaster;
using Pointer = Caster::Pointer;
using cadcam::zvTPoint3d;
using misc::zvAutoPointer;
using post::zvPostException;
using tests::ThrowsId;

// What creators refer to.
const post::zv5axControlDef kControl;
const post::zvKDRParam kPar(measures::zvUnitsFactory::metric);
const zvTPoint3d<double> kOrigin;

post::zv6axMachDef SixAxes() {
  post::zv6axMachDef machDef;
  machDef.SetThirdRotationDirection({0, 1, 0});
  return machDef;
}

template <class Creator, class MachDef>
Pointer Make(const MachDef& machDef) {
  return misc::MakeAutoPointer<Creator>(machDef, kControl, kPar, kOrigin, 0.0);
}

// A creator under an instance type that is not its class' own.
template <class Creator>
class Retyped : public Creator {
 public:
  template <class MachDef>
  Retyped(const MachDef& machDef, zvPostedTPCreator::InstanceType type)
      : Creator(machDef, kControl, kPar, kOrigin, 0) {
    this->SetInstanceType(type);
  }
};

template <class Creator, class MachDef>
Pointer MakeRetyped(const MachDef& machDef, int type) {
  return misc::MakeAutoPointer<Retyped<Creator>>(
      machDef, static_cast<zvPostedTPCreator::InstanceType>(type));
}

// The three forms of one cast. What they return is the object itself, its count shared.
struct Cast {
  std::function<void(const zvPostedTPCreator&)> reference;
  std::function<void(const Pointer&)> constPointer;
  std::function<void(Pointer&)> pointer;
};

template <class Result>
void ExpectShared(const Result& cast, const Pointer& creator) {
  EXPECT_EQ(cast.Get(), creator.Get());
  EXPECT_EQ(creator.UseCount(), 2u);
}

#define KANDREL_TEST_CAST(name)                                          \
  Cast {                                                                 \
    [](const zvPostedTPCreator& c) { EXPECT_EQ(&Caster::name(c), &c); }, \
        [](const Pointer& c) { ExpectShared(Caster::name(c), c); },      \
        [](Pointer& c) { ExpectShared(Caster::name(c), c); }             \
  }

const std::array<Cast, 4> kCasts{KANDREL_TEST_CAST(SafeCast3ax), KANDREL_TEST_CAST(SafeCast4ax),
                                 KANDREL_TEST_CAST(SafeCast5ax), KANDREL_TEST_CAST(SafeCast6ax)};
#undef KANDREL_TEST_CAST

void ExpectPasses(const Cast& cast, Pointer creator) {
  cast.reference(*creator);
  cast.constPointer(creator);
  cast.pointer(creator);
  EXPECT_EQ(creator.UseCount(), 1u);
}

void ExpectRefuses(const Cast& cast, Pointer creator, std::uint32_t id, const wchar_t* text) {
  EXPECT_TRUE(ThrowsId<zvPostException>([&] { cast.reference(*creator); }, id, text));
  EXPECT_TRUE(ThrowsId<zvPostException>([&] { cast.constPointer(creator); }, id, text));
  EXPECT_TRUE(ThrowsId<zvPostException>([&] { cast.pointer(creator); }, id, text));
  EXPECT_EQ(creator.UseCount(), 1u);
}

TEST(CreatorCaster, EachCastPassesItsOwnClassAlone) {
  const std::array<std::function<Pointer()>, 4> creators{
      [] { return Make<zvPosted3axTPCreator>(post::zv3axMachDef()); },
      [] { return Make<zvPosted4axTPCreator>(post::zv4axMachDef()); },
      [] { return Make<zvPosted5axTPCreator>(post::zv5axMachDef()); },
      [] { return Make<zvPosted6axTPCreator>(SixAxes()); }};
  for (std::size_t i = 0; i < 4; ++i)
    for (std::size_t j = 0; j < 4; ++j) {
      SCOPED_TRACE(testing::Message() << "creator " << i << " cast " << j);
      if (i == j)
        ExpectPasses(kCasts[j], creators[i]());
      else
        ExpectRefuses(kCasts[j], creators[i](), 5043, L"Wrong static method called.");
    }
}

TEST(CreatorCaster, TheInstanceTypeAloneDecides) {
  const std::array<std::function<Pointer(int)>, 4> creators{
      [](int type) { return MakeRetyped<zvPosted3axTPCreator>(post::zv3axMachDef(), type); },
      [](int type) { return MakeRetyped<zvPosted4axTPCreator>(post::zv4axMachDef(), type); },
      [](int type) { return MakeRetyped<zvPosted5axTPCreator>(post::zv5axMachDef(), type); },
      [](int type) { return MakeRetyped<zvPosted6axTPCreator>(SixAxes(), type); }};
  for (std::size_t i = 0; i < 4; ++i) {
    SCOPED_TRACE(i);
    for (const int other : {5, -1, 1000}) ExpectPasses(kCasts[i], creators[i](other));
    ExpectRefuses(kCasts[i], creators[i](0), 2503,
                  L"Use of a member function of an abstract class.");
    const int neighbour = static_cast<int>((i + 1) % 4) + 1;
    ExpectRefuses(kCasts[i], creators[i](neighbour), 5043, L"Wrong static method called.");
  }
}

TEST(CreatorCaster, NullPointersAreRefused) {
  for (const Cast& cast : kCasts) {
    Pointer null;
    EXPECT_TRUE(ThrowsId<misc::zvException>([&] { cast.constPointer(null); }, 0,
                                            L"Accessing NULL pointer"));
    EXPECT_TRUE(
        ThrowsId<misc::zvException>([&] { cast.pointer(null); }, 0, L"Accessing NULL pointer"));
  }
}

TEST(CreatorCaster, ACastPointerKeepsTheCreator) {
  zvAutoPointer<zvPosted3axTPCreator> cast;
  {
    Pointer creator = Make<zvPosted3axTPCreator>(post::zv3axMachDef());
    cast = Caster::SafeCast3ax(creator);
  }
  EXPECT_EQ(cast.UseCount(), 1u);
  EXPECT_EQ(cast->GetInstanceType(), zvPostedTPCreator::instance3ax);
  static_assert(!std::is_default_constructible_v<Caster>);
  static_assert(std::is_same_v<decltype(Caster::SafeCast5ax(std::declval<const Pointer&>())),
                               const zvAutoPointer<zvPosted5axTPCreator>>);
}

}  // namespace
