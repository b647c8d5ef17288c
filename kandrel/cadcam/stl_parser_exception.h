// zvParserException and zvSTLParserException: failures of the text parser and of STL files.
#pragma once

#include <kandrel/misc/exception.h>
#include <kandrel/misc/export.h>

#include <cstdint>
#include <string>

namespace cadcam {

/// 6250 "Parser not implemented !" and 6251 "Unknown keyword !", thrown by the base parser's
/// operations. An id without a row has the text "Unknown error.".
class KANDREL_API zvParserException : public misc::zvExceptionOf<zvParserException> {
 public:
  /// `previous` becomes the first cause.
  explicit zvParserException(std::uint32_t id, const misc::zvException* previous = nullptr);

  /// All ids that have a text.
  static misc::zvMessageTable Table() noexcept;

 protected:
  zvParserException(std::uint32_t id, std::wstring text, const misc::zvException* previous);
};

/// The texts stand in stl_parser_exception.cpp; an id without a row, 3500 (no such file) among
/// them, has the text "Unknown error.".
class KANDREL_API zvSTLParserException
    : public misc::zvExceptionOf<zvSTLParserException, zvParserException> {
 public:
  /// `previous` becomes the first cause.
  explicit zvSTLParserException(std::uint32_t id, const misc::zvException* previous = nullptr);

  /// All ids that have a text.
  static misc::zvMessageTable Table() noexcept;
};

}  // namespace cadcam
