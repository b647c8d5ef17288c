#include <gtest/gtest.h>
#include <kandrel/post/creators/creator_caster.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/support/throws_id.h>

#include <functional>
#include <type_traits>

namespace {

using Caster = zvPostedTPCreatorCaster;
using Pointer = Caster::Pointer;
using post::zvPostException;
using tests::ThrowsId;
using tests::ThrowsNull;

// What creators refer to.
const post::zv5axControlDef kControl;
const post::zvKDRParam kPar(measures::zvUnitsFactory::metric);
const cadcam::zvTPoint3d<double> kOrigin;

// A creator under another instance type than its class' own, unless that is asked for.
constexpr int kOwnType = -2;
template <class Creator>
class Retyped : public Creator {
 public:
  template <class MachDef>
  Retyped(const MachDef& machDef, int type) : Creator(machDef, kControl, kPar, kOrigin, 0) {
    if (type != kOwnType) this->SetInstanceType(static_cast<zvPostedTPCreator::InstanceType>(type));
  }
};

Pointer Make(int axes, int type) {
  post::zv6axMachDef six;
  six.SetThirdRotationDirection({0, 1, 0});
  switch (axes) {
    case 3:
      return misc::MakeAutoPointer<Retyped<zvPosted3axTPCreator>>(post::zv3axMachDef(), type);
    case 4:
      return misc::MakeAutoPointer<Retyped<zvPosted4axTPCreator>>(post::zv4axMachDef(), type);
    case 5:
      return misc::MakeAutoPointer<Retyped<zvPosted5axTPCreator>>(post::zv5axMachDef(), type);
    default:
      return misc::MakeAutoPointer<Retyped<zvPosted6axTPCreator>>(six, type);
  }
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

const Cast kCasts[] = {KANDREL_TEST_CAST(SafeCast3ax), KANDREL_TEST_CAST(SafeCast4ax),
                       KANDREL_TEST_CAST(SafeCast5ax), KANDREL_TEST_CAST(SafeCast6ax)};
#undef KANDREL_TEST_CAST

// `id` 0: passes.
void Expect(const Cast& cast, Pointer creator, std::uint32_t id) {
  const std::function<void()> forms[] = {[&] { cast.reference(*creator); },
                                         [&] { cast.constPointer(creator); },
                                         [&] { cast.pointer(creator); }};
  for (const auto& form : forms)
    if (id == 0)
      form();
    else
      EXPECT_TRUE(ThrowsId<zvPostException>(form, id));
  EXPECT_EQ(creator.UseCount(), 1u);
}

TEST(CreatorCaster, TheInstanceTypeAloneDecides) {
  for (int axes = 3; axes <= 6; ++axes) {
    SCOPED_TRACE(axes);
    const Cast& own = kCasts[axes - 3];
    for (int cast = 3; cast <= 6; ++cast)
      Expect(kCasts[cast - 3], Make(axes, kOwnType), cast == axes ? 0 : 5043);
    Expect(own, Make(axes, (axes - 2) % 4 + 1), 5043);
    for (const int other : {5, -1, 1000}) Expect(own, Make(axes, other), 0);
    Expect(own, Make(axes, 0), 2503);
    Pointer null;
    EXPECT_TRUE(ThrowsNull([&] { own.constPointer(null); }));
    EXPECT_TRUE(ThrowsNull([&] { own.pointer(null); }));
  }
}

TEST(CreatorCaster, ACastPointerKeepsTheCreator) {
  Pointer creator = Make(3, kOwnType);
  const auto cast = Caster::SafeCast3ax(creator);
  creator = nullptr;
  EXPECT_EQ(cast.UseCount(), 1u);
  EXPECT_EQ(cast->GetInstanceType(), zvPostedTPCreator::instance3ax);
  static_assert(!std::is_default_constructible_v<Caster>);
  static_assert(std::is_same_v<decltype(Caster::SafeCast5ax(std::declval<const Pointer&>())),
                               const misc::zvAutoPointer<zvPosted5axTPCreator>>);
}

}  // namespace
