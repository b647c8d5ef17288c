#include <gtest/gtest.h>
#include <kandrel/misc/final.h>
#include <kandrel/misc/math_exception.h>

#include <limits>
#include <map>
#include <type_traits>

namespace misc {
namespace {

TEST(MathException, PrefixesItsDetailByKind) {
  std::map<int, std::wstring> prefixes = {
      {0, L"Division by zero: "},
      {1, L"Matrix not square: "},
      {2, L"Incompatible vectors: "},
      {3, L"Incompatible matrices: "},
      {4, L"Matrix and vector are incompatible: "},
      {5, L"Matrix creation parameters are invalid: "},
      {6, L"Vector creation parameters are invalid: "},
      {7, L"Determinant is zero, cannot find matrix inverse: "},
      {8, L"Incompatible pair of matrices for this operation: "},
  };
  using Limits = std::numeric_limits<int>;
  for (const int kind : {9, -1, Limits::min(), Limits::max()})
    prefixes[kind] = L"Undefined MATH EXCEPTION TYPE!!! Please review zvMathException: ";
  for (const auto& [kind, prefix] : prefixes) {
    const zvMathException e(L"why", kind);
    EXPECT_EQ(e.GetId(), kind >= 0 && kind <= 8 ? 7101u + static_cast<unsigned>(kind) : 7100u);
    EXPECT_EQ(e.GetMessage(), prefix + L"why");
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
