// zv2dGeometryPolygonizer: curves in the plane as points that straight lines join.
#pragma once

#include <kandrel/cadcam/curves/curves2d.h>
#include <kandrel/misc/export.h>

namespace geoDef {

/// Replaces curves by chords that stay within a tolerance of them, in length.
template <class T>
class KANDREL_API zv2dGeometryPolygonizer {
 public:
  /// `tolerance` is the largest distance between a curve and its chords, in the unit of the points.
  explicit zv2dGeometryPolygonizer(T tolerance) : m_tolerance(tolerance) {}

  /// The largest turn of one chord of a circle, degrees: 2 acos(1 - tolerance / radius), as the
  /// chord of a turn s leaves the circle by radius (1 - cos(s / 2)); at a tolerance above the
  /// radius 180. Throws zvException, id 0, "Arc radius is invalid." for a radius below 1e-12 in
  /// size, and "Polygonization tolerance is invalid." for a step below 1e-12 or without a number:
  /// that of a tolerance of 0, below 0, NaN, or below 1e-16 of the radius.
  T LargestStep(T radius) const;

  /// The points of a contour from its start to its end; those where elements join, to 1e-12 in x
  /// and y, are there once. An arc gives ceil(sweep / LargestStep) equal chords, at least one; its
  /// points at whole quarter turns are exact. Throws as LargestStep for an arc or ellipse in it,
  /// and "Polygonization tolerance is invalid." where a parabola or the number of chords asks for
  /// it: beyond one for each, the curves of a contour have at most misc::kMostChords in all, so
  /// that no tolerance, however small, takes more than 48 MiB for them.
  zv2dPolyLine<T> Polygonize(const zv2dContour<T>& contour) const;

 private:
  T m_tolerance;
};

}  // namespace geoDef
