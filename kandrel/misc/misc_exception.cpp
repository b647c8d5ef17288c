#include <kandrel/misc/misc_exception.h>

#include <utility>

namespace misc {

namespace {

constexpr zvMessageRow kRows[] = {
    {zvmiscException::kEndOfStream, L"Unexpected end of binary log stream!"},
    {zvmiscException::kIndexOutOfBounds, L"Index out of bounds"},
    {zvmiscException::kEndOfInput, L"Unexpected end of input stream!"},
    {zvmiscException::kEndOfOutput, L"Unexpected end of output stream!"},
    {zvmiscException::kSizeBeyond32Bits, L"Conversion from 64 bytes data to 32 bytes data failed."},
    {2576, L"Conversion from value to string failed."},
    {2577, L"Conversion to ascii failed."},
    {zvmiscException::kStringTooBig, L"String too big. It can not be storred."},
    {zvmiscException::kNoNumber, L"Conversion from string to value failed."},
    {zvmiscException::kNoMessage, L"The requested message doesn't exist!"},
    {zvmiscException::kNoResource, L"The requested resource file couldn't be loaded!"},
    {3602, L"Failed to unload the resource file!"},
    {3603, L"Failed locking specified resource!"},
    {3604, L"Failed loading specified resource!"},
    {3605, L"The requested resource was not found!"},
    {zvmiscException::kInvalidEntry,
     L"Invalid entry found while parsing custom resource ZVMSGMAP!"},
    {zvmiscException::kNotInitialized, L"Resource dll is not initialized!"},
    {zvmiscException::kNoContainer, L"No container available, insertion failed."},
    {6250, L"Parser not implemented !"},
    {6251, L"Unknown keyword !"},
    {7100, L"Undefined MATH EXCEPTION TYPE!!! Please review zvMathException."},
    {7101, L"Division by zero exception"},
    {7102, L"Matrix not square"},
    {7103, L"Incompatible vectors"},
    {7104, L"Incompatible matrices"},
    {7105, L"Matrix and vector are incompatible"},
    {7106, L"Matrix creation parameters are invalid"},
    {7107, L"Vector creation parameters are invalid"},
    {7108, L"Determinant is zero, cannot find matrix inverse"},
    {7109, L"Incompatible pair of matrices for this operation"},
    {8000, L"Unrecognized action string"},
    {8001, L"The given action string is already employed"},
    {8002, L"Given action was not found in action string sheet"},
    {8003, L"No action string found for given file keyword"},
    {8004, L"No keyword found for given action string"},
    {8005, L"A keyword was already assigned for the given action string"},
    {8006, L"Value is out of range."},
    {zvmiscException::kCancelled, L"The operation was cancelled."},
};
static_assert(IsSortedById(kRows));

}  // namespace

zvmiscException::zvmiscException(std::uint32_t id, const zvException* previous)
    : zvExceptionOf(id, FindMessage(kRows, id, kUnknownError), previous) {}

zvmiscException::zvmiscException(std::uint32_t id, std::wstring text, const zvException* previous)
    : zvExceptionOf(id, std::move(text), previous) {}

zvMessageTable zvmiscException::Table() noexcept {
  return kRows;
}

}  // namespace misc
