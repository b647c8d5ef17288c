// zvMathDefException and zvWMException: failures of the polynomial code and of its adapters.
#pragma once

#include <kandrel/misc/exception.h>
#include <kandrel/misc/export.h>

#include <cstdint>

namespace mathdef {

/// Failures of polynomials; the texts stand in mathdef_exception.cpp. An id without a row has the
/// text "Unknown error."; id 0 has a row of its own, "Unknown exception.".
class KANDREL_API zvMathDefException : public misc::zvExceptionOf<zvMathDefException> {
 public:
  /// Names of the ids that are thrown by name.
  enum Id : std::uint32_t {
    kIndexOutOfRange = 2504,
    kNegativeDegree = 2505,
  };

  /// `previous` becomes the first cause.
  explicit zvMathDefException(std::uint32_t id, const misc::zvException* previous = nullptr);

  /// All ids that have a text.
  static misc::zvMessageTable Table() noexcept;
};

/// As zvMathDefException with fewer rows; 7051 has another text.
class KANDREL_API zvWMException : public misc::zvExceptionOf<zvWMException> {
 public:
  /// `previous` becomes the first cause.
  explicit zvWMException(std::uint32_t id, const misc::zvException* previous = nullptr);

  /// All ids that have a text.
  static misc::zvMessageTable Table() noexcept;
};

}  // namespace mathdef
