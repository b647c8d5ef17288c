#include <gtest/gtest.h>
#include <kandrel/misc/range_exception.h>
#include <tests/support/exception_family.h>

namespace misc {
namespace {

TEST(RangeException, NamesTheValueAndTheBoundsThatThereAre) {
  const struct {
    zvRangeException<double> e;
    const wchar_t* text;
  } cases[] = {
      {{-180.5, 180, 200.25}, L"Given value (200.25) is out of range (-180.5, 180)"},
      {{0.1, std::nullopt, -1}, L"Given value (-1) is less than allowed min value (0.1)"},
      {{std::nullopt, 1e308, 1.5e308},
       L"Given value (1.5e+308) is greater than allowed max value (1e+308)"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.e.GetMessage(), c.text);
    EXPECT_EQ(c.e.GetId(), 0u);
    tests::ExpectKeepsItsClass(c.e);
  }
  EXPECT_EQ(cases[0].e.GetValue(), 200.25);
  EXPECT_EQ(cases[0].e.GetMinimum(), -180.5);
  EXPECT_EQ(cases[1].e.GetMaximum(), std::nullopt);
  EXPECT_EQ(zvRangeException<float>(0.f, 1.f, 1.1f).GetMessage(),
            L"Given value (1.1) is out of range (0, 1)");
  EXPECT_EQ(zvRangeException<int>(1, 2, -3).GetMessage(),
            L"Given value (-3) is out of range (1, 2)");
}

TEST(RangeException, NamesAnIndexAndADiscreteValue) {
  const zvException cause(4, L"cause");
  const zvIdxRangeException<std::uint32_t> index(9, 4000000000u, &cause);
  EXPECT_EQ(index.GetMessage(),
            L"Index out of bounds. Max index accepted: 9, index given: 4000000000");
  EXPECT_EQ(index.GetIndex(), 4000000000u);
  tests::ExpectKeepsItsClass(index);
  const zvDiscreteValueException<double> discrete(1.3, &cause);
  EXPECT_EQ(discrete.GetMessage(), L"Discrete variable doesn't support passed value");
  EXPECT_EQ(discrete.GetValue(), 1.3);
  tests::ExpectKeepsItsClass(discrete);
}

}  // namespace
}  // namespace misc
