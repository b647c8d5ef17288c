// zvcadcamException: failures of toolpaths, geometry and tools.
#pragma once

#include <kandrel/misc/exception.h>
#include <kandrel/misc/export.h>

#include <cstdint>

namespace cadcam {

/// The texts stand in cadcam_exception.cpp; an id without a row has the text "Unknown error.".
class KANDREL_API zvcadcamException : public misc::zvExceptionOf<zvcadcamException> {
 public:
  /// Names of the ids that are thrown by name.
  enum Id : std::uint32_t {
    kUnknownVersion = 2027,
    kUnknownSolid = 2183,
    kNullVector = 2189,
    kUnknownMove = 2637,
    kUnknownSection = 2639,
    kNotOfLink = 2640,
    kUnknownType = 2708,
  };

  /// `previous` becomes the first cause.
  explicit zvcadcamException(std::uint32_t id, const misc::zvException* previous = nullptr);

  /// All ids that have a text.
  static misc::zvMessageTable Table() noexcept;
};

}  // namespace cadcam
