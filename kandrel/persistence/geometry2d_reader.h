// zvBI2dGeometry: reads curves in the plane.
#pragma once

#include <kandrel/cadcam/curves/curves2d.h>
#include <kandrel/misc/basic_types_reader.h>
#include <kandrel/misc/export.h>

#include <cstdint>

namespace geoDef {

/// Reads points, curves and contours, each behind the number of its class.
///
/// Throws zvException, id 0: "Unknown geometric type" for a number that is none or not the one that
/// is wanted, and for contours more than 16 deep in each other; "Please define >> operator for
/// spline.", the same for "closed contour" and "ellipse", and "Please setup a valid Bezier object."
/// for kinds that are known and not read: deliberate, no file has them. An arc out of its ranges is
/// zvRangeException. What misc::zvBIBasicTypes throws passes. Memory grows with what is there.
template <class T>
class KANDREL_API zvBI2dGeometry {
 public:
  /// The reader of primitives is the caller's and outlives this one.
  explicit zvBI2dGeometry(misc::zvBIBasicTypes& basic) : m_basic(basic) {}

  /// Each reads the number of the class and what it wants; throws as the class says.
  zv2dPoint<T> ReadPoint();
  zv2dPolyLine<T> ReadPolyLine();
  zv2dContour<T> ReadContour();

 private:
  T ReadNumber();
  std::int32_t ReadTag();
  void RequireTag(std::int32_t wanted);
  zv2dPoint<T> ReadPointBody();
  zv2dPolyLine<T> ReadPolyLineBody();
  zv2dContour<T> ReadContourBody(int depth);
  zv2dArc<T> ReadArcBody();
  zv2dElement<T> ReadElement(int depth);

  misc::zvBIBasicTypes& m_basic;
};

extern template class zvBI2dGeometry<double>;

}  // namespace geoDef
