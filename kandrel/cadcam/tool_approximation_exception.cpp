#include <kandrel/cadcam/tool_approximation_exception.h>

namespace cadcam {

namespace {

constexpr misc::zvMessageRow kRows[] = {
    {2176, L"Couldn't handle zvLatheTool object"},
    {zvtoolapproximationException::kInvalidArborProfile, L"Invalid Arbor Profile"},
};
static_assert(misc::IsSortedById(kRows));

}  // namespace

zvtoolapproximationException::zvtoolapproximationException(std::uint32_t id,
                                                           const misc::zvException* previous)
    : zvExceptionOf(id, misc::FindMessage(kRows, id, misc::kUnknownError), previous) {}

misc::zvMessageTable zvtoolapproximationException::Table() noexcept {
  return kRows;
}

}  // namespace cadcam
