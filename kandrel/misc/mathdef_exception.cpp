#include <kandrel/misc/mathdef_exception.h>

namespace mathdef {

namespace {

constexpr misc::zvMessageRow kMathDefRows[] = {
    {0, L"Unknown exception."},
    {zvMathDefException::kIndexOutOfRange, L"Index out of range in WMAdapter"},
    {zvMathDefException::kNegativeDegree, L"Negative Polynom degree"},
    {7050, L"Division by zero in polynom"},
    {7051, L"Different dimmensions of input data in Approx"},
    {7104, L"Incompatible matrices"},
    {7213, L"The new value must be greater than the previous one!"},
    {7214, L"The second value must be greater than the first one!"},
    {7215, L"At least one of the polynomials in the given multipolynomial has the degree to big!"},
};
static_assert(misc::IsSortedById(kMathDefRows));

constexpr misc::zvMessageRow kWMRows[] = {
    {2504, L"Index out of range in WMAdapter"},
    {2505, L"Negative Polynom degree"},
    {7050, L"Division by zero in polynom"},
    {7051, L"Contour triangulation error"},
};
static_assert(misc::IsSortedById(kWMRows));

}  // namespace

zvMathDefException::zvMathDefException(std::uint32_t id, const misc::zvException* previous)
    : zvExceptionOf(id, misc::FindMessage(kMathDefRows, id, misc::kUnknownError), previous) {}

misc::zvMessageTable zvMathDefException::Table() noexcept {
  return kMathDefRows;
}

zvWMException::zvWMException(std::uint32_t id, const misc::zvException* previous)
    : zvExceptionOf(id, misc::FindMessage(kWMRows, id, misc::kUnknownError), previous) {}

misc::zvMessageTable zvWMException::Table() noexcept {
  return kWMRows;
}

}  // namespace mathdef
