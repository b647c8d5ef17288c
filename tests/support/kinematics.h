// What the tests say of kinematic trees: objects in one line, and matrices as rigid motions.
#pragma once

#include <kandrel/kintree/geometry.h>
#include <kandrel/kintree/kinematic_axis.h>
#include <kandrel/kintree/kintree_mach_def.h>
#include <tests/support/points.h>
#include <tests/support/rigid_body_model.h>
#include <tests/support/testing.h>
#include <tests/support/toolpath_builders.h>

namespace tests {

using kintree::mkdMatrix;
using FloatVector = kintree::mkdAxis::Vector;

inline misc::zvAutoPointer<kintree::mkdTranslationalAxis> Slide(const std::wstring& name,
                                                                const FloatVector& direction = {
                                                                    1, 0, 0}) {
  return misc::MakeAutoPointer<kintree::mkdTranslationalAxis>(name, direction, kMetric);
}
inline misc::zvAutoPointer<kintree::mkdRotationalAxis> Swivel(const std::wstring& name,
                                                              const FloatVector& direction = {0, 0,
                                                                                              1},
                                                              const FloatVector& pivot = {}) {
  return misc::MakeAutoPointer<kintree::mkdRotationalAxis>(name, direction, pivot, kMetric);
}
inline misc::zvAutoPointer<kintree::mkdCoordinateTransform> Transform(const std::wstring& name) {
  return misc::MakeAutoPointer<kintree::mkdCoordinateTransform>(name, kMetric);
}
inline misc::zvAutoPointer<kintree::mkdPolygonalGeometry> Body(const std::wstring& name) {
  return misc::MakeAutoPointer<kintree::mkdPolygonalGeometry>(
      name, misc::MakeAutoPointer<cadcam::zvTMesh<float>>(), L"", kMetric);
}

inline FloatVector ToFloat(const Point& p) {
  return {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
}

/// The matrix of a shift.
inline mkdMatrix Shift(float x, float y, float z) {
  mkdMatrix shift = mkdMatrix::Identity();
  shift(0, 3) = x;
  shift(1, 3) = y;
  shift(2, 3) = z;
  return shift;
}

/// Where a matrix takes a point, in double; with w = 0 a direction.
inline Point Apply(const mkdMatrix& matrix, const Point& p, double w = 1) {
  cadcam::zvMatrix<double, 4, 4> m;
  for (std::size_t i = 0; i < 4; ++i)
    for (std::size_t j = 0; j < 4; ++j) m(i, j) = double{matrix(i, j)} * (j == 3 ? w : 1);
  return m * p;
}

/// Where the tool of a machine stands as seen from its workpiece.
struct ToolPlace {
  Point tip;
  Point axis;
};
inline ToolPlace PlaceOf(const kintree::mkdKinematicObject& tool,
                         const kintree::mkdKinematicObject& workpiece) {
  cadcam::zvMatrix<double, 4, 4> part;
  for (std::size_t i = 0; i < 4; ++i)
    for (std::size_t j = 0; j < 4; ++j) part(i, j) = workpiece.GetWorldTransform()(i, j);
  const auto toPart = cadcam::Inverse(part);
  const Point tip = toPart * Apply(tool.GetWorldTransform(), {});
  return {tip, toPart * Apply(tool.GetWorldTransform(), {0, 0, 1}) - tip};
}

}  // namespace tests
