// zvPostException and zvKandrelException: failures of the posting layer.
#pragma once

#include <kandrel/misc/exception.h>
#include <kandrel/misc/export.h>

#include <cstdint>

namespace post {

/// Failures of posting; the texts stand in post_exception.cpp. An id without a row has the text
/// "Unknown exception.".
class KANDREL_API zvPostException : public misc::zvExceptionOf<zvPostException> {
 public:
  /// Names of the ids; the text of each stands beside its name in post_exception.cpp.
  enum Id : std::uint32_t {
    kAbstractMember = 2503,
    kOutOfReach = 5000,
    kNullVector = 5001,
    kEqualRotaryAxes = 5002,
    kAxisNameCount = 5003,
    kDuplicateAxisName = 5004,
    kAxisNameCharacters = 5005,
    kOutOfLimits = 5008,
    kPoleTolerance = 5009,
    kXBelowMinimum = 5010,
    kYBelowMinimum = 5011,
    kZBelowMinimum = 5012,
    kFirstRotaryBelowMinimum = 5013,
    kSecondRotaryBelowMinimum = 5014,
    kXAboveMaximum = 5015,
    kYAboveMaximum = 5016,
    kZAboveMaximum = 5017,
    kFirstRotaryAboveMaximum = 5018,
    kSecondRotaryAboveMaximum = 5019,
    kCircularLimit = 5020,
    kRewinding = 5021,
    kHeapCompact = 5022,
    kRewindingOn3Axes = 5023,
    kNullSpindle = 5024,
    kNullRotaryAxis = 5025,
    kNullFirstRotaryAxis = 5026,
    kNullSecondRotaryAxis = 5027,
    kNullThirdRotaryAxis = 5028,
    kNotFor3Axes = 5029,
    kNotFor4Axes = 5030,
    kUnknownMachine = 5031,
    kMetricPathOnInchMachine = 5032,
    kInchPathOnMetricMachine = 5033,
    kNullForBuilder = 5034,
    kShortVectorForBuilder = 5035,
    kDuplicateAxisInFile = 5036,
    kMissingTranslationInFile = 5037,
    kTooManyTranslationsInFile = 5038,
    kInvalidVector = 5039,
    kTooManyRotationsInFile = 5040,
    kOtherRotationsInFile = 5041,
    kFileOutOfStep = 5042,
    kWrongCast = 5043,
    kNotAlignable = 5044,
    kSpindleAxisNotFirst = 5045,
    kUnknownLimits = 5046,
    kNullList = 5047,
    kNotExtended = 5048,
    kUnknownRelativeMove = 5049,
    kUnknownRapidMove = 5050,
    kNoFirstMoveOfRewinding = 5051,
    kUnknownMachineMove = 5052,
    kUnknownRetraction = 5053,
    kNoMoveBeforeRetraction = 5054,
  };

  /// `detail` is carried and not interpreted.
  explicit zvPostException(std::uint32_t id, int detail = 0);
  zvPostException(std::uint32_t id, const misc::zvException& previous);

  /// All ids that have a text, ascending.
  static misc::zvMessageTable Table() noexcept;
};

}  // namespace post

/// Failures of the façade and of files. An id without a row has the text "Unknown error.".
class KANDREL_API zvKandrelException : public misc::zvExceptionOf<zvKandrelException> {
 public:
  /// Names of the ids; the text of each stands beside its name in post_exception.cpp.
  enum Id : std::uint32_t {
    kNoMarker = 2019,
    kUnknownVersion = 2027,
    kAbstractMember = 2503,
    kUnknownMove = 2637,
    kWrongXml = 5300,
  };

  /// `detail` is carried and not interpreted.
  explicit zvKandrelException(std::uint32_t id, int detail = 0);
  zvKandrelException(std::uint32_t id, const misc::zvException& previous);

  /// All ids that have a text, ascending.
  static misc::zvMessageTable Table() noexcept;
};
