#include <gtest/gtest.h>
#include <kandrel/post/mach_def_builder.h>
#include <kandrel/post/mach_def_utils.h>
#include <tests/post/mach_def_samples.h>
#include <tests/support/throws_id.h>

#include <utility>

namespace post {
namespace {

using tests::Fields;
using tests::ThrowsId;
using Names = std::vector<std::wstring>;

constexpr const wchar_t* kNull = L"Accessing NULL pointer";

zvMachDefBuilder Filled() {
  zvMachDefBuilder builder;
  builder.SetKind(7);
  builder.SetAxisNames({L"X", L"Y", L"Z", L"B", L"C"});
  builder.SetMachDef(tests::Make5ax().Clone());
  return builder;
}

void ExpectFilled(const zvMachDefBuilder& builder) {
  EXPECT_EQ(builder.GetKind(), 7);
  EXPECT_EQ(builder.GetAxisNames(), (Names{L"X", L"Y", L"Z", L"B", L"C"}));
  EXPECT_EQ(Fields(zvMachDefUtils::Cast5ax(*builder.GetMachDef())), Fields(tests::Make5ax()));
  EXPECT_EQ(builder.GetMachDef().UseCount(), 1u);
}

TEST(MachDefBuilder, StartsEmpty) {
  const zvMachDefBuilder builder;
  EXPECT_EQ(builder.GetKind(), 0);
  EXPECT_TRUE(builder.GetAxisNames().empty());
  EXPECT_TRUE(builder.GetMachDef().IsNull());
}

TEST(MachDefBuilder, KeepsACloneOfWhatIsPutIn) {
  const misc::zvAutoPointer<zvMachDef> machDef = tests::Make4ax().Clone();
  zvMachDefBuilder builder;
  builder.SetMachDef(machDef);
  EXPECT_NE(builder.GetMachDef().Get(), machDef.Get());
  machDef->SetSpindleDirection({1, 0, 0});
  EXPECT_EQ(Fields(zvMachDefUtils::Cast4ax(*builder.GetMachDef())), Fields(tests::Make4ax()));
  EXPECT_TRUE(ThrowsId<misc::zvException>([&] { builder.SetMachDef(nullptr); }, 0, kNull));
  EXPECT_FALSE(builder.GetMachDef().IsNull());
  builder.SetMachDef(builder.GetMachDef());
  EXPECT_EQ(Fields(zvMachDefUtils::Cast4ax(*builder.GetMachDef())), Fields(tests::Make4ax()));
}

TEST(MachDefBuilder, CopiesOwnADefinitionEach) {
  const zvMachDefBuilder source = Filled();
  zvMachDefBuilder copy(source);
  zvMachDefBuilder assigned;
  assigned = source;
  for (zvMachDefBuilder* other : {&copy, &assigned}) {
    ExpectFilled(*other);
    EXPECT_NE(other->GetMachDef().Get(), source.GetMachDef().Get());
    other->SetKind(1);
    other->SetAxisNames({L"U"});
    other->GetMachDef()->SetMaxLimits({1, 1, 1});
    ExpectFilled(source);
  }
}

TEST(MachDefBuilder, CopyingFromAnEmptyOneFailsAndLeavesTheTarget) {
  zvMachDefBuilder empty;
  empty.SetKind(3);
  EXPECT_TRUE(ThrowsId<misc::zvException>([&] { zvMachDefBuilder copy(empty); }, 0, kNull));
  zvMachDefBuilder target = Filled();
  EXPECT_TRUE(ThrowsId<misc::zvException>([&] { target = empty; }, 0, kNull));
  ExpectFilled(target);
}

TEST(MachDefBuilder, AssignmentToItselfDoesNothing) {
  zvMachDefBuilder filled = Filled();
  const zvMachDef* before = filled.GetMachDef().Get();
  zvMachDefBuilder& filledAgain = filled;
  filled = filledAgain;
  EXPECT_EQ(filled.GetMachDef().Get(), before);
  ExpectFilled(filled);
  filled = std::move(filledAgain);
  ExpectFilled(filled);
  zvMachDefBuilder empty;
  zvMachDefBuilder& emptyAgain = empty;
  EXPECT_NO_THROW(empty = emptyAgain);
}

TEST(MachDefBuilder, MovesHandTheDefinitionOn) {
  zvMachDefBuilder source = Filled();
  const zvMachDef* machDef = source.GetMachDef().Get();
  zvMachDefBuilder moved(std::move(source));
  zvMachDefBuilder target;
  target = std::move(moved);
  EXPECT_EQ(target.GetMachDef().Get(), machDef);
  ExpectFilled(target);
  EXPECT_NO_THROW(target = zvMachDefBuilder());
  EXPECT_TRUE(target.GetMachDef().IsNull());
}

}  // namespace
}  // namespace post
