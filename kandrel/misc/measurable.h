// zvMeasurable: base of whatever holds lengths.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/misc/units_factory.h>

namespace measures {

/// Knows the unit system of its lengths and rescales them when the system changes.
class KANDREL_API zvMeasurable {
 public:
  virtual ~zvMeasurable();

  /// The unit system that all lengths of the object are in.
  zvUnitsFactory::Units GetUnits() const noexcept { return m_units; }

  /// Changes the unit system. With `keepNumbers` only the label changes; otherwise all lengths are
  /// multiplied by the factor between the two systems, once, and nothing happens when they are
  /// equal, not even to parts that are in others. Throws zvmeasuresException 2141 for units other
  /// than metric and inch.
  void SetUnits(zvUnitsFactory::Units units, bool keepNumbers = false);

 protected:
  /// Throws zvmeasuresException 2141 for units other than metric and inch.
  explicit zvMeasurable(zvUnitsFactory::Units units);
  zvMeasurable(const zvMeasurable&) = default;
  zvMeasurable& operator=(const zvMeasurable&) = default;

  /// Multiplies all lengths of the object by `factor`; GetUnits still gives the old system.
  virtual void Scale(zvUnitsFactory::Units newUnits, double factor) = 0;
  /// Hands SetUnits on to whatever the object holds that is measurable itself; called by it after
  /// Scale.
  virtual void SetUnitsOfParts(zvUnitsFactory::Units units, bool keepNumbers);

 private:
  zvUnitsFactory::Units m_units;
};

}  // namespace measures
