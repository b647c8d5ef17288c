// zvBO2dGeometry: writes curves in the plane.
#pragma once

#include <kandrel/cadcam/curves/curves2d.h>
#include <kandrel/misc/basic_types_writer.h>
#include <kandrel/misc/export.h>

namespace geoDef {

/// Writes what zvBI2dGeometry reads, and ellipses, which it refuses. What misc::zvBOBasicTypes
/// throws passes.
template <class T>
class KANDREL_API zvBO2dGeometry {
 public:
  /// The writer of primitives is the caller's and outlives this one.
  explicit zvBO2dGeometry(misc::zvBOBasicTypes& basic) : m_basic(basic) {}

  /// Behind the number of its class.
  void Write(const zv2dContour<T>& contour);
  void Write(const zv2dPolyLine<T>& line);

  /// Writes one element of a contour by the record of its class: a visitor for std::visit.
  class KANDREL_API zvBinGeom {
   public:
    /// The writer of primitives is the caller's and outlives this one.
    explicit zvBinGeom(misc::zvBOBasicTypes& basic) : m_basic(basic) {}
    /// Each writes the number of its class and then its numbers; angles are in degrees.
    void operator()(const zv2dPoint<T>& point);
    void operator()(const zv2dLine<T>& line);
    void operator()(const zv2dArc<T>& arc);
    void operator()(const zv2dContour<T>& contour);
    void operator()(const zv2dPolyLine<T>& line);
    void operator()(const zv2dParabola<T>& parabola);
    void operator()(const zv2dEllipse<T>& ellipse);

   private:
    void WriteNumber(T value) { m_basic.WriteDouble(static_cast<double>(value)); }

    misc::zvBOBasicTypes& m_basic;
  };

 private:
  misc::zvBOBasicTypes& m_basic;
};

extern template class zvBO2dGeometry<double>;

}  // namespace geoDef
