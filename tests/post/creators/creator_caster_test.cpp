#include <kandrel/post/creators/creator_caster.h>
#include <tests/support/every_creator.h>
#include <tests/support/throws_id.h>

namespace {

using Caster = zvPostedTPCreatorCaster;
using Pointer = Caster::Pointer;
using tests::IdOf;

template <int kAxes, class T>
decltype(auto) CastTo(T& creator) {
  if constexpr (kAxes == 3) return Caster::SafeCast3ax(creator);
  if constexpr (kAxes == 4) return Caster::SafeCast4ax(creator);
  if constexpr (kAxes == 5) return Caster::SafeCast5ax(creator);
  if constexpr (kAxes == 6) return Caster::SafeCast6ax(creator);
}

// All three forms give the object itself, its count shared, or fail with `id`.
template <int kAxes>
void Expect(Pointer creator, std::uint32_t id) {
  const auto expectShared = [&](const auto& cast) {
    EXPECT_EQ(cast.Get(), creator.Get());
    EXPECT_EQ(creator.UseCount(), 2u);
  };
  const zvPostedTPCreator& object = *creator;
  EXPECT_EQ(IdOf([&] { EXPECT_EQ(&CastTo<kAxes>(object), &object); }), id) << kAxes;
  EXPECT_EQ(IdOf([&] { expectShared(CastTo<kAxes>(std::as_const(creator))); }), id) << kAxes;
  EXPECT_EQ(IdOf([&] { expectShared(CastTo<kAxes>(creator)); }), id) << kAxes;
  EXPECT_EQ(creator.UseCount(), 1u);
}

// A creator under another instance type than its class' own.
template <class C>
struct Retyped : C {
  Retyped(const C& creator, int type) : C(creator) {
    this->SetInstanceType(static_cast<zvPostedTPCreator::InstanceType>(type));
  }
};

template <class C>
struct CreatorCaster : testing::Test, tests::Workshop<C> {};
TYPED_TEST_SUITE(CreatorCaster, tests::EveryCreator);

TYPED_TEST(CreatorCaster, GoesByTheInstanceTypeAlone) {
  constexpr int kOwn = TestFixture::kAxes;
  const TypeParam creator = this->Creator();
  const auto as = [&](int type) {
    return Pointer(misc::MakeAutoPointer<Retyped<TypeParam>>(creator, type));
  };
  for (const int axes : {3, 4, 5, 6}) Expect<kOwn>(as(axes - 2), axes == kOwn ? 0 : 5043);
  for (const int other : {5, -1, 1000}) Expect<kOwn>(as(other), 0);
  Expect<kOwn>(as(0), 2503);
  Expect<kOwn == 6 ? 3 : kOwn + 1>(misc::MakeAutoPointer<TypeParam>(creator), 5043);
  Pointer null;
  EXPECT_EQ(IdOf([&] { CastTo<kOwn>(null); }), tests::kNullPointer);
  EXPECT_EQ(IdOf([&] { CastTo<kOwn>(std::as_const(null)); }), tests::kNullPointer);

  Pointer kept = misc::MakeAutoPointer<TypeParam>(creator);
  const auto cast = CastTo<kOwn>(kept);
  kept = nullptr;
  EXPECT_EQ(cast.UseCount(), 1u);
  EXPECT_EQ(cast->GetInstanceType(), kOwn - 2);
}

static_assert(!std::is_default_constructible_v<Caster>);
static_assert(std::is_same_v<decltype(Caster::SafeCast5ax(std::declval<const Pointer&>())),
                             const misc::zvAutoPointer<zvPosted5axTPCreator>>);

}  // namespace
