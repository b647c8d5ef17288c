#include <kandrel/kintree/kintree_exception.h>
#include <kandrel/misc/host_hooks.h>

#include <iterator>

namespace exceptions {

namespace {

constexpr misc::zvMessageRow kTexts[] = {
    {10, L"Object not found"},
    {11, L"Invalid parent object"},
    {12, L"Invalid axis"},
    {13, L"Invalid object"},
    {48, L"An object with this identifier already exists"},
    {62, L"File '"},
    {63, L"' "},
    {64, L"could not be opened."},
    {65, L"could not be read."},
    {66, L"could not be written."},
    {70, L"Semantic error in element"},
};
static_assert(misc::IsSortedById(kTexts));

std::wstring Text(std::uint32_t entry) {
  return misc::MessageText(kErrorMessages, entry,
                           misc::FindMessage(kTexts, entry, misc::kUnknownError));
}

std::wstring SemanticText(const std::wstring& tag, const std::wstring& identifier,
                          const std::wstring& message) {
  return Text(70) + L" <" + tag + L">, ID - \" " + identifier + L" \" : " + message;
}

std::wstring FileText(const std::wstring& fileName, zvFileAccessException::Access access) {
  const bool isKnown =
      access >= zvFileAccessException::kOpen && access <= zvFileAccessException::kWrite;
  const std::wstring what =
      isKnown ? Text(64 + static_cast<std::uint32_t>(access)) : std::wstring(misc::kUnknownError);
  return Text(62) + fileName + Text(63) + what;
}

}  // namespace

misc::zvMessageTable ErrorMessages() noexcept {
  return kTexts;
}

zvKintreeMachDefSemanticException::zvKintreeMachDefSemanticException(
    const std::wstring& tag, const std::wstring& identifier, const std::wstring& message,
    std::uint32_t code, const misc::zvException* previous)
    : zvExceptionOf(code, SemanticText(tag, identifier, message), previous) {}

zvFileAccessException::zvFileAccessException(const std::wstring& fileName, Access access,
                                             const misc::zvException* previous)
    : zvExceptionOf(0, FileText(fileName, access), previous, access) {}

}  // namespace exceptions

namespace kintree {

namespace {

// Of a name as long as a file, which each element around a failure would tell again.
constexpr std::size_t kLongestDetail = 1000;

std::wstring ReasonText(std::uint32_t reason, const std::wstring& detail) {
  // The entry of each reason; 4 has none.
  constexpr std::uint32_t kEntries[] = {10, 11, 12, 13, 0, 48};
  if (reason >= std::size(kEntries) || kEntries[reason] == 0) return misc::kUnknownError;
  const std::wstring text = exceptions::Text(kEntries[reason]);
  return detail.empty() ? text : text + L" (" + detail.substr(0, kLongestDetail) + L")";
}

}  // namespace

zvMachineSimulatorException::zvMachineSimulatorException(std::uint32_t reason,
                                                         const std::wstring& detail,
                                                         const misc::zvException* previous)
    : zvExceptionOf(reason, ReasonText(reason, detail), previous) {}

}  // namespace kintree
