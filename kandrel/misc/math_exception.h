// zvMathException: failures of matrix and vector arithmetic.
#pragma once

#include <kandrel/misc/exception.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/final.h>

#include <string>

namespace misc {

/// Its text is the prefix of its kind, then a detail text; its id is 7101 for kind 0 to 7109 for
/// kind 8, and 7100 for any other kind. Nothing may derive from it.
class KANDREL_API zvMathException : public zvExceptionOf<zvMathException>,
                                    private zvFinal<zvMathException> {
 public:
  /// What failed, named after the text that it puts in front.
  enum Kind : int {
    kDivisionByZero = 0,
    kMatrixNotSquare = 1,
    kIncompatibleVectors = 2,
    kIncompatibleMatrices = 3,
    kMatrixAndVectorIncompatible = 4,
    kInvalidMatrixCreation = 5,
    kInvalidVectorCreation = 6,
    kDeterminantIsZero = 7,
    kIncompatibleMatrixPair = 8,
  };

  /// `detail` follows the text of `kind`; `previous` becomes the first cause.
  zvMathException(const std::wstring& detail, int kind, const zvException* previous = nullptr);
};

}  // namespace misc
