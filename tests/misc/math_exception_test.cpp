#include <gtest/gtest.h>
#include <kandrel/misc/final.h>
#include <kandrel/misc/math_exception.h>
#include <tests/support/exception_family.h>

#include <limits>
#include <type_traits>

namespace misc {
namespace {

TEST(MathException, PrefixesItsDetailByKind) {
  constexpr const wchar_t* kOther =
      L"Undefined MATH EXCEPTION TYPE!!! Please review zvMathException: ";
  const struct {
    int kind;
    std::uint32_t id;
    const wchar_t* prefix;
  } cases[] = {
      {0, 7101, L"Division by zero: "},
      {1, 7102, L"Matrix not square: "},
      {2, 7103, L"Incompatible vectors: "},
      {3, 7104, L"Incompatible matrices: "},
      {4, 7105, L"Matrix and vector are incompatible: "},
      {5, 7106, L"Matrix creation parameters are invalid: "},
      {6, 7107, L"Vector creation parameters are invalid: "},
      {7, 7108, L"Determinant is zero, cannot find matrix inverse: "},
      {8, 7109, L"Incompatible pair of matrices for this operation: "},
      {9, 7100, kOther},
      {-1, 7100, kOther},
      {std::numeric_limits<int>::min(), 7100, kOther},
      {std::numeric_limits<int>::max(), 7100, kOther},
  };
  const zvException cause(1, L"cause");
  for (const auto& c : cases) {
    const zvMathException e(L"why", c.kind, &cause);
    EXPECT_EQ(e.GetId(), c.id);
    EXPECT_EQ(e.GetMessage(), std::wstring(c.prefix) + L"why");
    tests::ExpectKeepsItsClass(e);
  }
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
