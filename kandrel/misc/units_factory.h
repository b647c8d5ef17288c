// zvUnitsFactory: the unit systems of lengths and the factors between them.
#pragma once

#include <kandrel/misc/exception.h>
#include <kandrel/misc/export.h>

#include <cstdint>

namespace measures {

/// Failures of units: 2141 "Unknown Units", 2146 "Undefined ScaleFactor".
class KANDREL_API zvmeasuresException : public misc::zvExceptionOf<zvmeasuresException> {
 public:
  /// Names of the ids that are thrown by name.
  enum Id : std::uint32_t {
    kUnknownUnits = 2141,
    kUndefinedScale = 2146,
  };

  /// `previous` becomes the first cause.
  explicit zvmeasuresException(std::uint32_t id, const misc::zvException* previous = nullptr);

  /// All ids that have a text.
  static misc::zvMessageTable Table() noexcept;
};

/// The unit systems of lengths. Angles are degrees in both.
class KANDREL_API zvUnitsFactory {
 public:
  /// Files may bring other values; what takes units says what it does with them.
  enum Units : std::int32_t {
    metric = 1,  ///< millimetres
    inch = 2,
  };

  /// True for metric and inch.
  static constexpr bool IsKnown(Units units) noexcept { return units == metric || units == inch; }

  /// Returns what a length in `from` is multiplied by to be in `to`. Throws zvmeasuresException
  /// 2146 for a pair of which not both are known and that are not equal.
  static double GetScaleFactor(Units from, Units to);
};

}  // namespace measures
