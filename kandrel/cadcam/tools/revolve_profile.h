// zvRevolveProfileSrv: the solid that a profile sweeps around the tool's axis, as triangles.
#pragma once

#include <kandrel/cadcam/curves/curves2d.h>
#include <kandrel/cadcam/mesh.h>
#include <kandrel/misc/export.h>

#include <cstddef>

namespace cadcam {

/// Revolves profiles whose x is the radius and y the height: a profile point (x, y) becomes the
/// points (x cos a, x sin a, y + lift), so that the axis is +z. T, float or double, is what the
/// mesh holds.
///
/// 1. Around the axis stand n copies of the profile, as many as the circle of its largest x needs
///    for the tolerance, at least 8 and a multiple of 4: so the mesh reaches exactly that x to both
///    sides in x and y.
/// 2. The mesh is closed: each side belongs to two triangles, once in each direction. An end off
///    the axis is closed by a point on it. A point from which the profile goes straight back to the
///    one before is left out.
/// 3. Normals point outwards, however the profile runs.
/// 4. Points left of the axis, or less than 1e-12 right of it, are moved onto it.
/// 5. A profile that sweeps no volume gives an empty mesh.
template <class T>
class KANDREL_API zvRevolveProfileSrv {
 public:
  using Profile = geoDef::zv2dPolyLine<double>;
  using Units = measures::zvUnitsFactory::Units;

  /// `tolerance` is how far a circle may lie from its chords, in length; `largestAngle` is the most
  /// that neighbouring copies of the profile may be turned to each other, degrees, 0 for no such
  /// bound.
  explicit zvRevolveProfileSrv(double tolerance, double largestAngle = 0)
      : m_tolerance(tolerance), m_largestAngle(largestAngle) {}

  /// Property 1's n for a largest radius; infinite where the angle asks for it. Throws as
  /// geoDef::zv2dGeometryPolygonizer::LargestStep, and its "Polygonization tolerance is invalid."
  /// for an angle below 0 or without a number.
  double CountAround(double largestRadius) const;

  /// Throws as CountAround; "Polygonization tolerance is invalid." where the mesh would have more
  /// than misc::kMostTriangles; and zvtoolapproximationException, "Unknown error.", for a profile
  /// with a number that is none, or too large for T.
  zvTMesh<T> Revolve(const Profile& profile, Units units, double lift = 0) const;

 private:
  double m_tolerance;
  double m_largestAngle;
};

extern template class zvRevolveProfileSrv<float>;
extern template class zvRevolveProfileSrv<double>;

}  // namespace cadcam
