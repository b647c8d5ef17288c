#include <kandrel/misc/math_exception.h>

#include <cstdint>

namespace misc {

namespace {

constexpr zvMessageRow kPrefixes[] = {
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
static_assert(IsSortedById(kPrefixes));

constexpr const wchar_t* kUnknownPrefix =
    L"Undefined MATH EXCEPTION TYPE!!! Please review zvMathException: ";

std::uint32_t IdOfKind(int kind) {
  return kind >= 0 && kind <= 8 ? 7101 + static_cast<std::uint32_t>(kind) : 7100;
}

}  // namespace

zvMathException::zvMathException(const std::wstring& detail, int kind, const zvException* previous)
    : zvExceptionOf(
          IdOfKind(kind),
          FindMessage(kPrefixes, static_cast<std::uint32_t>(kind), kUnknownPrefix) + detail,
          previous) {}

}  // namespace misc
