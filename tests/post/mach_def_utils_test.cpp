#include <gtest/gtest.h>
#include <kandrel/post/mach_def_utils.h>
#include <kandrel/post/post_exception.h>
#include <tests/post/mach_def_samples.h>
#include <tests/support/throws_id.h>

#include <functional>

namespace post {
namespace {

using tests::Fields;
using tests::OddMachDef;
using tests::ThrowsId;
using MachDefPointer = misc::zvAutoPointer<zvMachDef>;
using Utils = zvMachDefUtils;

constexpr const wchar_t* kWrongMethod = L"Wrong static method called.";

template <class T>
void ExpectSharedCast(const MachDefPointer& machDef, misc::zvAutoPointer<T> cast) {
  EXPECT_EQ(cast.Get(), machDef.Get());
  EXPECT_EQ(machDef.UseCount(), 2u);
  cast->SetSpindleDirection({0, 1, 0});
  EXPECT_EQ(machDef->GetSpindleDirection(), tests::Point(0, 1, 0));
}

TEST(MachDefUtils, PointersShareTheObjectAndValuesCopyIt) {
  const MachDefPointer all[] = {tests::Make3ax().Clone(), tests::Make4ax().Clone(),
                                tests::Make5ax().Clone(), tests::Make6ax().Clone()};
  EXPECT_EQ(Fields(Utils::Cast3ax(*all[0])), Fields(tests::Make3ax()));
  EXPECT_EQ(Fields(Utils::Cast4ax(*all[1])), Fields(tests::Make4ax()));
  EXPECT_EQ(Fields(Utils::Cast5ax(*all[2])), Fields(tests::Make5ax()));
  EXPECT_EQ(Fields(Utils::Cast6ax(*all[3])), Fields(tests::Make6ax()));
  ExpectSharedCast(all[0], Utils::Cast3ax(all[0]));
  ExpectSharedCast(all[1], Utils::Cast4ax(all[1]));
  ExpectSharedCast(all[2], Utils::Cast5ax(all[2]));
  ExpectSharedCast(all[3], Utils::Cast6ax(all[3]));

  misc::zvAutoPointer<zv5axMachDef> survivor;
  {
    const MachDefPointer machDef = tests::Make5ax().Clone();
    survivor = Utils::Cast5ax(machDef);
  }
  EXPECT_EQ(Fields(*survivor), Fields(tests::Make5ax()));
}

TEST(MachDefUtils, CastsRefuseOtherClassesAndNull) {
  const MachDefPointer all[] = {tests::Make3ax().Clone(), tests::Make4ax().Clone(),
                                tests::Make5ax().Clone(), tests::Make6ax().Clone()};
  const std::function<void(const MachDefPointer&)> casts[] = {
      [](const MachDefPointer& m) { Utils::Cast3ax(m); },
      [](const MachDefPointer& m) { Utils::Cast4ax(m); },
      [](const MachDefPointer& m) { Utils::Cast5ax(m); },
      [](const MachDefPointer& m) { Utils::Cast6ax(m); },
  };
  const std::function<void(const zvMachDef&)> copies[] = {
      [](const zvMachDef& m) { Utils::Cast3ax(m); },
      [](const zvMachDef& m) { Utils::Cast4ax(m); },
      [](const zvMachDef& m) { Utils::Cast5ax(m); },
      [](const zvMachDef& m) { Utils::Cast6ax(m); },
  };
  for (std::size_t to = 0; to < 4; ++to) {
    for (std::size_t from = 0; from < 4; ++from) {
      if (from == to) continue;
      SCOPED_TRACE(testing::Message() << from + 3 << " axes as " << to + 3);
      EXPECT_TRUE(ThrowsId<zvPostException>([&] { casts[to](all[from]); }, 5043, kWrongMethod));
      EXPECT_TRUE(ThrowsId<zvPostException>([&] { copies[to](*all[from]); }, 5043, kWrongMethod));
    }
    // A class of its own is refused whatever number of axes it claims.
    const MachDefPointer odd(new OddMachDef(static_cast<zvMachDef::NumbersOfAxes>(to)));
    const wchar_t* abstract = L"Use of a member function of an abstract class.";
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { casts[to](odd); }, 2503, abstract));
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { copies[to](*odd); }, 2503, abstract));
    EXPECT_TRUE(
        ThrowsId<misc::zvException>([&] { casts[to](nullptr); }, 0, L"Accessing NULL pointer"));
  }
}

TEST(MachDefUtils, TheClassDecidesAboutACastNotTheNumberOfAxes) {
  zv5axMachDef relabelled = tests::Make5ax();
  relabelled.SetNumbersOfAxes(zvMachDef::threeAxes);
  EXPECT_EQ(Utils::Cast5ax(relabelled).GetNumbersOfAxes(), zvMachDef::threeAxes);
  EXPECT_TRUE(ThrowsId<zvPostException>([&] { Utils::Cast3ax(relabelled); }, 5043, kWrongMethod));
}

TEST(MachDefUtils, NumberOfAxes) {
  for (int value : {-1, 0, 1, 2, 3, 4, 1000}) {
    const MachDefPointer odd(new OddMachDef(static_cast<zvMachDef::NumbersOfAxes>(value)));
    if (value >= 0 && value <= 3)
      EXPECT_EQ(Utils::GetNumberOfAxes(odd), value + 3);
    else
      EXPECT_TRUE(ThrowsId<zvPostException>([&] { Utils::GetNumberOfAxes(odd); }, 5031,
                                            L"Machine type is unknown."))
          << value;
  }
  EXPECT_TRUE(ThrowsId<misc::zvException>([] { Utils::GetNumberOfAxes(nullptr); }, 0,
                                          L"Accessing NULL pointer"));
}

}  // namespace
}  // namespace post
