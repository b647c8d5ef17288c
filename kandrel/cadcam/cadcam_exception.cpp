#include <kandrel/cadcam/cadcam_exception.h>

namespace cadcam {

namespace {

constexpr misc::zvMessageRow kRows[] = {
    {2189, L"Can't normalize null vector."},
    {2637, L"Unknown move type."},
    {2639, L"Unknown toolpath section type."},
    {2640, L"Passed move is not part of a link."},
};
static_assert(misc::IsSortedById(kRows));

}  // namespace

zvcadcamException::zvcadcamException(std::uint32_t id, const misc::zvException* previous)
    : zvExceptionOf(id, misc::FindMessage(kRows, id, misc::kUnknownError), previous) {}

misc::zvMessageTable zvcadcamException::Table() noexcept {
  return kRows;
}

}  // namespace cadcam
