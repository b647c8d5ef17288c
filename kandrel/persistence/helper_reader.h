// zvBIHelper: reads what the records of toolpaths and of postings share.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/basic_types_reader.h>
#include <kandrel/misc/units_factory.h>

namespace cadcam {

/// Reads points and units through a reader of primitives, which outlives it.
class KANDREL_API zvBIHelper {
 public:
  using Point = zvTPoint3d<double>;
  using Units = measures::zvUnitsFactory::Units;

  /// The reader of primitives is the caller's and outlives this one.
  explicit zvBIHelper(misc::zvBIBasicTypes& basic) : m_basic(basic) {}

  /// Three doubles.
  void ReadVector(Point& value) {
    Point read;
    m_basic.ReadDouble(read.x).ReadDouble(read.y).ReadDouble(read.z);
    value = read;
  }
  /// An int. Throws zvmeasuresException 2141 for other units than metric and inch.
  void ReadUnits(Units& value);

 private:
  misc::zvBIBasicTypes& m_basic;
};

}  // namespace cadcam
