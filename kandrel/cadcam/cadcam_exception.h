// zvcadcamException: failures of toolpaths, geometry and tools.
#pragma once

#include <kandrel/misc/exception.h>

namespace cadcam {

/// The texts stand in cadcam_exception.cpp; an id without a row has the text "Unknown error.".
class KANDREL_API zvcadcamException : public misc::zvExceptionOf<zvcadcamException> {
 public:
  explicit zvcadcamException(std::uint32_t id, const misc::zvException* previous = nullptr);

  static misc::zvMessageTable Table() noexcept;
};

}  // namespace cadcam
