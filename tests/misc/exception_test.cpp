#include <kandrel/misc/final.h>
#include <kandrel/misc/math_exception.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/range_exception.h>
#include <tests/support/testing.h>

namespace misc {
namespace {

void Expect(const zvException& e, const wchar_t* text) {
  EXPECT_EQ(e.GetMessage(), text);
  EXPECT_EQ(e.GetId(), 0u);
}

TEST(RangeException, NamesTheValueAndWhatItHadToKeep) {
  const zvRangeException<double> both(-180.5, 180, 200.25);
  Expect(both, L"Given value (200.25) is out of range (-180.5, 180)");
  EXPECT_EQ(both.GetMinimum(), -180.5);
  EXPECT_EQ(both.GetMaximum(), 180);
  EXPECT_EQ(both.GetValue(), 200.25);
  Expect(zvRangeException<double>(0.1, std::nullopt, -1),
         L"Given value (-1) is less than allowed min value (0.1)");
  Expect(zvRangeException<double>(std::nullopt, 1e308, 1.5e308),
         L"Given value (1.5e+308) is greater than allowed max value (1e+308)");
  Expect(zvRangeException<float>(0.f, 1.f, 1.1f), L"Given value (1.1) is out of range (0, 1)");
  Expect(zvRangeException<int>(1, 2, -3), L"Given value (-3) is out of range (1, 2)");
  const zvIdxRangeException<std::uint32_t> index(9, 4000000000u);
  Expect(index, L"Index out of bounds. Max index accepted: 9, index given: 4000000000");
  EXPECT_EQ(index.GetMaximum(), 9u);
  EXPECT_EQ(index.GetIndex(), 4000000000u);
  const zvDiscreteValueException<double> discrete(1.3);
  Expect(discrete, L"Discrete variable doesn't support passed value");
  EXPECT_EQ(discrete.GetValue(), 1.3);
}

// Nothing may derive from a final class: what does so can't be made in any way.
struct Leaf : zvFinal<Leaf> {
  Leaf() = default;
  explicit Leaf(int) {}
};
struct BelowLeaf : Leaf {};
struct Inheriting : Leaf {
  using Leaf::Leaf;
};
struct BelowMathException : zvMathException {
  using zvMathException::zvMathException;
};

static_assert(std::is_default_constructible_v<Leaf> && std::is_constructible_v<Leaf, int> &&
              std::is_copy_constructible_v<Leaf> && std::is_copy_assignable_v<Leaf>);
static_assert(!std::is_default_constructible_v<BelowLeaf>);
static_assert(!std::is_copy_constructible_v<BelowLeaf>);
static_assert(!std::is_constructible_v<Inheriting, int>);
static_assert(std::is_constructible_v<zvMathException, std::wstring, int>);
static_assert(!std::is_constructible_v<BelowMathException, std::wstring, int>);
static_assert(!std::is_constructible_v<BelowMathException, std::wstring, int, const zvException*>);
static_assert(!std::is_default_constructible_v<zvFinalBase<Leaf>>);
static_assert(!std::is_copy_constructible_v<zvFinalBase<Leaf>>);

}  // namespace
}  // namespace misc
