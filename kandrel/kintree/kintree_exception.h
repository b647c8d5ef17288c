// zvKintreeException and its family: failures of the kinematic tree and of machine files.
#pragma once

#include <kandrel/misc/exception.h>
#include <kandrel/misc/export.h>

#include <cstdint>
#include <string>

namespace exceptions {

/// Section of the host's message texts that this family asks for (misc::MessageText), and the
/// texts that stand in for it without a host.
inline constexpr const wchar_t* kErrorMessages = L"ErrorMessages";
KANDREL_API misc::zvMessageTable ErrorMessages() noexcept;

/// Plain carrier of a code and a text.
class KANDREL_API zvKintreeException : public misc::zvExceptionOf<zvKintreeException> {
 public:
  /// Takes what misc::zvException takes.
  using zvExceptionOf::zvExceptionOf;
};

/// What a machine file says doesn't make sense at one of its elements. The text names the element's
/// tag and identifier, then the message.
class KANDREL_API zvKintreeMachDefSemanticException
    : public misc::zvExceptionOf<zvKintreeMachDefSemanticException, zvKintreeException> {
 public:
  /// `tag` and `identifier` name the place in the file; `message` says what is wrong with it.
  zvKintreeMachDefSemanticException(const std::wstring& tag, const std::wstring& identifier,
                                    const std::wstring& message, std::uint32_t code,
                                    const misc::zvException* previous = nullptr);
};

/// A file that could not be opened, read or written. Its id is 0; GetDetail() gives the access. The
/// text of any other number ends in "Unknown error.".
class KANDREL_API zvFileAccessException
    : public misc::zvExceptionOf<zvFileAccessException, zvKintreeException> {
 public:
  /// What was tried.
  enum Access : int { kOpen = 0, kRead = 1, kWrite = 2 };

  /// `previous` is the cause, or null.
  zvFileAccessException(const std::wstring& fileName, Access access,
                        const misc::zvException* previous = nullptr);
};

}  // namespace exceptions

namespace kintree {

/// A request that the machine can't meet. Its id is the reason; any reason without a text has
/// "Unknown error.". A detail that isn't empty follows the text as " (detail)",
/// of its first 1000 characters.
class KANDREL_API zvMachineSimulatorException
    : public misc::zvExceptionOf<zvMachineSimulatorException, exceptions::zvKintreeException> {
 public:
  /// Its id.
  enum Reason : std::uint32_t {
    kObjectNotFound = 0,
    kInvalidParent = 1,
    kInvalidAxis = 2,
    kInvalidObject = 3,
    kDuplicateIdentifier = 5,
  };

  /// A reason beyond these has no text. `previous` is the cause, or null.
  explicit zvMachineSimulatorException(std::uint32_t reason, const std::wstring& detail = {},
                                       const misc::zvException* previous = nullptr);
};

}  // namespace kintree
