// zvPostException and zvKandrelException: failures of the posting layer.
#pragma once

#include <kandrel/misc/exception.h>

namespace post {

/// Failures of posting; the texts stand in post_exception.cpp. An id without a row has the text
/// "Unknown exception.".
class KANDREL_API zvPostException : public misc::zvExceptionOf<zvPostException> {
 public:
  /// `detail` is carried and not interpreted.
  explicit zvPostException(std::uint32_t id, int detail = 0);
  zvPostException(std::uint32_t id, const misc::zvException& previous);

  static misc::zvMessageTable Table() noexcept;
};

}  // namespace post

/// Failures of the façade and of files. An id without a row has the text "Unknown error.".
class KANDREL_API zvKandrelException : public misc::zvExceptionOf<zvKandrelException> {
 public:
  /// `detail` is carried and not interpreted.
  explicit zvKandrelException(std::uint32_t id, int detail = 0);
  zvKandrelException(std::uint32_t id, const misc::zvException& previous);

  static misc::zvMessageTable Table() noexcept;
};
