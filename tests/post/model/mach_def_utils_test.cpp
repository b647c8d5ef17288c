#include <kandrel/post/model/mach_def_builder.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/post/model/mach_def_samples.h>
#include <tests/support/testing.h>
#include <tests/support/throws_id.h>

namespace post {
namespace {

using namespace tests;
using MachDefPointer = misc::zvAutoPointer<zvMachDef>;
using Names = std::vector<std::wstring>;
using Utils = zvMachDefUtils;

// A definition of none of the four classes.
class OddMachDef : public zvMachDef {
 public:
  explicit OddMachDef(int numbersOfAxes) : zvMachDef(static_cast<NumbersOfAxes>(numbersOfAxes)) {}
  MachDefPointer Clone() const override { return misc::MakeAutoPointer<OddMachDef>(*this); }
};

template <class M, class Cast>
void ExpectCastsTo(Cast cast) {
  const auto own = M().GetNumbersOfAxes();
  const auto refuses = [&](const MachDefPointer& machDef, std::uint32_t id) {
    machDef->SetNumbersOfAxes(own);  // the class decides, not what a definition claims
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { cast(machDef); }, id));
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { cast(*machDef); }, id));
  };
  for (const MachDefPointer& machDef : {Make<zv3axMachDef>().Clone(), Make<zv4axMachDef>().Clone(),
                                        Make<zv5axMachDef>().Clone(), Make<zv6axMachDef>().Clone()})
    if (machDef->GetNumbersOfAxes() != own) refuses(machDef, 5043);
  refuses(MachDefPointer(new OddMachDef(own)), 2503);
  EXPECT_TRUE(ThrowsNull([&] { cast(MachDefPointer()); }));
  const MachDefPointer machDef = Make<M>().Clone();
  machDef->SetNumbersOfAxes(static_cast<zvMachDef::NumbersOfAxes>(own ^ 1));
  const misc::zvAutoPointer<M> shared = cast(machDef);
  EXPECT_EQ(shared.Get(), machDef.Get());
  EXPECT_EQ(machDef.UseCount(), 2u);
  EXPECT_EQ(Whole(cast(*machDef)), Whole(*shared));
}

TEST(MachDefUtils, CastsGoByTheClassAndRefuseOthersAndNull) {
  ExpectCastsTo<zv3axMachDef>([](const auto& m) { return Utils::Cast3ax(m); });
  ExpectCastsTo<zv4axMachDef>([](const auto& m) { return Utils::Cast4ax(m); });
  ExpectCastsTo<zv5axMachDef>([](const auto& m) { return Utils::Cast5ax(m); });
  ExpectCastsTo<zv6axMachDef>([](const auto& m) { return Utils::Cast6ax(m); });
}

TEST(MachDefUtils, NumberOfAxes) {
  const auto numberOf = [](int n) {
    return Utils::GetNumberOfAxes(MachDefPointer(new OddMachDef(n)));
  };
  for (int value : {0, 1, 2, 3}) EXPECT_EQ(numberOf(value), value + 3);
  for (int value : {-1, 4}) EXPECT_TRUE(ThrowsId<zvPostException>([&] { numberOf(value); }, 5031));
  EXPECT_TRUE(ThrowsNull([] { Utils::GetNumberOfAxes(nullptr); }));
}

zvMachDefBuilder Filled() {
  zvMachDefBuilder builder;
  builder.SetKind(7);
  builder.SetAxisNames({L"X", L"Y", L"Z", L"B", L"C"});
  const MachDefPointer machDef = Make<zv5axMachDef>().Clone();
  builder.SetMachDef(machDef);
  machDef->SetSpindleDirection({1, 0, 0});  // not the builder's, which keeps a clone
  return builder;
}

void ExpectFilled(const zvMachDefBuilder& builder) {
  EXPECT_EQ(builder.GetKind(), 7);
  EXPECT_EQ(builder.GetAxisNames(), (Names{L"X", L"Y", L"Z", L"B", L"C"}));
  EXPECT_EQ(Whole(Utils::Cast5ax(*builder.GetMachDef())), Whole(Make<zv5axMachDef>()));
  EXPECT_EQ(builder.GetMachDef().UseCount(), 1u);
}

TEST(MachDefBuilder, OwnsADefinitionAloneAndMovesIt) {
  zvMachDefBuilder source = Filled(), assigned;
  assigned = source;
  for (zvMachDefBuilder other : {source, assigned}) {
    ExpectFilled(other);
    other.GetMachDef()->SetMaxLimits({1, 1, 1});
    ExpectFilled(source);
    ExpectFilled(assigned);
  }
  EXPECT_TRUE(ThrowsNull([&] { source.SetMachDef(nullptr); }));
  source.SetMachDef(source.GetMachDef());
  ExpectFilled(source);
  zvMachDefBuilder& again = source;
  source = again;
  source = std::move(again);
  const zvMachDef* machDef = source.GetMachDef().Get();
  zvMachDefBuilder moved(std::move(source)), target, empty;
  target = std::move(moved);
  EXPECT_EQ(target.GetMachDef().Get(), machDef);
  // There is nothing to copy from an empty one, but it can be moved.
  EXPECT_EQ(empty.GetKind(), 0);
  EXPECT_TRUE(empty.GetAxisNames().empty());
  EXPECT_TRUE(ThrowsNull([&] { return zvMachDefBuilder(empty); }));
  EXPECT_TRUE(ThrowsNull([&] { target = empty; }));
  ExpectFilled(target);
  zvMachDefBuilder& emptyAgain = empty;
  EXPECT_NO_THROW(empty = emptyAgain);
  target = zvMachDefBuilder();
  EXPECT_TRUE(target.GetMachDef().IsNull());
}

}  // namespace
}  // namespace post
