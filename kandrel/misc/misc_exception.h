// zvmiscException: failures of the foundation.
#pragma once

#include <kandrel/misc/exception.h>
#include <kandrel/misc/export.h>

#include <cstdint>
#include <string>

namespace misc {

/// Failures of streams, containers and message resources; the texts stand in misc_exception.cpp.
/// An id without a row has the text "Unknown error.".
class KANDREL_API zvmiscException : public zvExceptionOf<zvmiscException> {
 public:
  /// Names of the ids that are thrown by name.
  enum Id : std::uint32_t {
    kEndOfStream = 2018,
    kIndexOutOfBounds = 2052,
    kEndOfInput = 2148,
    kEndOfOutput = 2149,
    kSizeBeyond32Bits = 2157,
    kStringTooBig = 2578,
    kNoNumber = 2579,
    kNoMessage = 3600,
    kNoResource = 3601,
    kInvalidEntry = 3606,
    kNotInitialized = 3607,
    kNoContainer = 5503,
    kCancelled = 9000,
  };

  /// With the table's text; `previous` becomes the first cause.
  explicit zvmiscException(std::uint32_t id, const zvException* previous = nullptr);
  /// With a text composed by the thrower in place of the table's.
  zvmiscException(std::uint32_t id, std::wstring text, const zvException* previous = nullptr);

  /// All ids that have a text.
  static zvMessageTable Table() noexcept;
};

}  // namespace misc
