#include <gtest/gtest.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>
#include <tests/post/model/mach_def_samples.h>
#include <tests/support/throws_id.h>

#include <functional>

namespace post {
namespace {

using tests::Fields;
using tests::OddMachDef;
using tests::ThrowsId;
using tests::ThrowsNull;
using MachDefPointer = misc::zvAutoPointer<zvMachDef>;
using Utils = zvMachDefUtils;

template <class M, class Cast>
void PointersShareTheObjectAndValuesCopyIt(const M& machDef, Cast cast) {
  MachDefPointer clone = machDef.Clone();
  EXPECT_EQ(Fields(cast(*clone)), Fields(machDef));
  const misc::zvAutoPointer<M> shared = cast(clone);
  EXPECT_EQ(shared.Get(), clone.Get());
  EXPECT_EQ(clone.UseCount(), 2u);
  clone = nullptr;
  EXPECT_EQ(Fields(*shared), Fields(machDef)) << "outlives the pointer it was made from";
}

TEST(MachDefUtils, PointersShareTheObjectAndValuesCopyIt) {
  const auto check = [](const auto& m, auto cast) {
    PointersShareTheObjectAndValuesCopyIt(m, cast);
  };
  check(tests::Make3ax(), [](const auto& m) { return Utils::Cast3ax(m); });
  check(tests::Make4ax(), [](const auto& m) { return Utils::Cast4ax(m); });
  check(tests::Make5ax(), [](const auto& m) { return Utils::Cast5ax(m); });
  check(tests::Make6ax(), [](const auto& m) { return Utils::Cast6ax(m); });
}

TEST(MachDefUtils, CastsRefuseOtherClassesAndNull) {
  const MachDefPointer all[] = {tests::Make3ax().Clone(), tests::Make4ax().Clone(),
                                tests::Make5ax().Clone(), tests::Make6ax().Clone()};
  const std::function<void(const MachDefPointer&)> casts[] = {
      [](const MachDefPointer& m) { Utils::Cast3ax(m); },
      [](const MachDefPointer& m) { Utils::Cast4ax(m); },
      [](const MachDefPointer& m) { Utils::Cast5ax(m); },
      [](const MachDefPointer& m) { Utils::Cast6ax(m); },
      [](const MachDefPointer& m) { Utils::Cast3ax(*m); },
      [](const MachDefPointer& m) { Utils::Cast4ax(*m); },
      [](const MachDefPointer& m) { Utils::Cast5ax(*m); },
      [](const MachDefPointer& m) { Utils::Cast6ax(*m); },
  };
  for (std::size_t to = 0; to < 8; ++to) {
    SCOPED_TRACE(to);
    for (std::size_t from = 0; from < 4; ++from) {
      // The class decides, not the number of axes that it claims.
      all[from]->SetNumbersOfAxes(static_cast<zvMachDef::NumbersOfAxes>(to % 4));
      if (from == to % 4)
        EXPECT_NO_THROW(casts[to](all[from]));
      else
        EXPECT_TRUE(ThrowsId<zvPostException>([&] { casts[to](all[from]); }, 5043)) << from;
    }
    const MachDefPointer odd(new OddMachDef(static_cast<zvMachDef::NumbersOfAxes>(to % 4)));
    EXPECT_TRUE(ThrowsId<zvPostException>([&] { casts[to](odd); }, 2503));
    EXPECT_TRUE(ThrowsNull([&] { casts[to](nullptr); }));
  }
}

TEST(MachDefUtils, NumberOfAxes) {
  for (int value : {-1, 0, 1, 2, 3, 4, 1000}) {
    const MachDefPointer odd(new OddMachDef(static_cast<zvMachDef::NumbersOfAxes>(value)));
    if (value >= 0 && value <= 3)
      EXPECT_EQ(Utils::GetNumberOfAxes(odd), value + 3);
    else
      EXPECT_TRUE(ThrowsId<zvPostException>([&] { Utils::GetNumberOfAxes(odd); }, 5031)) << value;
  }
  EXPECT_TRUE(ThrowsNull([] { Utils::GetNumberOfAxes(nullptr); }));
}

}  // namespace
}  // namespace post
