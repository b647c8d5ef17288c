// zvParserException and zvSTLParserException: failures of the text parser and of STL files.
#pragma once

#include <kandrel/misc/exception.h>
#include <kandrel/misc/export.h>

#include <cstdint>
#include <string>

namespace cadcam {

/// 6250 "Parser not implemented !" and 6251 "Unknown keyword !", thrown by the base parser's
/// operations. An id without a row has the text "Unknown error.". GetDetail is the number of the
/// line, from 1, where it is known, else 0.
class KANDREL_API zvParserException : public misc::zvExceptionOf<zvParserException> {
 public:
  /// Names of the ids.
  enum Id : std::uint32_t {
    kNotImplemented = 6250,
    kUnknownKeyword = 6251,
  };

  /// `previous` becomes the first cause.
  explicit zvParserException(std::uint32_t id, const misc::zvException* previous = nullptr,
                             int line = 0);

  /// All ids that have a text.
  static misc::zvMessageTable Table() noexcept;

 protected:
  /// For derived classes: `line` counts from 1; `previous` is the cause, or null.
  zvParserException(std::uint32_t id, std::wstring text, const misc::zvException* previous,
                    int line);
};

/// The texts stand in stl_parser_exception.cpp; an id without a row, 3500 (no such file) among
/// them, has the text "Unknown error.".
class KANDREL_API zvSTLParserException
    : public misc::zvExceptionOf<zvSTLParserException, zvParserException> {
 public:
  /// Names of the ids.
  enum Id : std::uint32_t {
    kMissingFile = 3500,
    kInvalidFormat = 3501,
    kWrongFacet = 3502,
    kWrongOuter = 3503,
    kWrongVertex = 3504,
    kWrongEndLoop = 3505,
    kWrongEndFacet = 3506,
    kWrongEnd = 3507,
    kNotOpened = 3508,
    kWrongTriangle = 3509,
    kInvalidSyntax = 3510,
    kWrongCount = 3511,
  };

  /// `previous` becomes the first cause.
  explicit zvSTLParserException(std::uint32_t id, const misc::zvException* previous = nullptr,
                                int line = 0);

  /// All ids that have a text.
  static misc::zvMessageTable Table() noexcept;
};

}  // namespace cadcam
