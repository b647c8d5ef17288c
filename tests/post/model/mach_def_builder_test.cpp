#include <gtest/gtest.h>
#include <kandrel/post/model/mach_def_builder.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <tests/post/model/mach_def_samples.h>
#include <tests/support/throws_id.h>

#include <utility>

namespace post {
namespace {

using tests::Fields;
using tests::ThrowsNull;
using Names = std::vector<std::wstring>;

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

TEST(MachDefBuilder, KeepsACloneOfWhatIsPutIn) {
  zvMachDefBuilder builder;
  EXPECT_EQ(builder.GetKind(), 0);
  EXPECT_TRUE(builder.GetAxisNames().empty());
  EXPECT_TRUE(builder.GetMachDef().IsNull());
  const misc::zvAutoPointer<zvMachDef> machDef = tests::Make4ax().Clone();
  builder.SetMachDef(machDef);
  machDef->SetSpindleDirection({1, 0, 0});
  EXPECT_TRUE(ThrowsNull([&] { builder.SetMachDef(nullptr); }));
  builder.SetMachDef(builder.GetMachDef());
  EXPECT_EQ(Fields(zvMachDefUtils::Cast4ax(*builder.GetMachDef())), Fields(tests::Make4ax()));
}

TEST(MachDefBuilder, CopiesOwnADefinitionEach) {
  const zvMachDefBuilder source = Filled();
  zvMachDefBuilder copy(source), assigned;
  assigned = source;
  for (zvMachDefBuilder* other : {&copy, &assigned}) {
    ExpectFilled(*other);
    other->SetKind(1);
    other->SetAxisNames({L"U"});
    other->GetMachDef()->SetMaxLimits({1, 1, 1});
    ExpectFilled(source);
  }
}

TEST(MachDefBuilder, CopyingFromAnEmptyOneFailsAndLeavesTheTarget) {
  zvMachDefBuilder empty;
  empty.SetKind(3);
  EXPECT_TRUE(ThrowsNull([&] { return zvMachDefBuilder(empty); }));
  zvMachDefBuilder target = Filled();
  EXPECT_TRUE(ThrowsNull([&] { target = empty; }));
  ExpectFilled(target);
  zvMachDefBuilder& emptyAgain = empty;
  EXPECT_NO_THROW(empty = emptyAgain);
}

TEST(MachDefBuilder, MovesAndAssignmentToItselfKeepTheDefinition) {
  zvMachDefBuilder source = Filled();
  const zvMachDef* machDef = source.GetMachDef().Get();
  zvMachDefBuilder& again = source;
  source = again;
  source = std::move(again);
  zvMachDefBuilder moved(std::move(source)), target;
  target = std::move(moved);
  EXPECT_EQ(target.GetMachDef().Get(), machDef);
  ExpectFilled(target);
  EXPECT_NO_THROW(target = zvMachDefBuilder());
  EXPECT_TRUE(target.GetMachDef().IsNull());
}

}  // namespace
}  // namespace post
