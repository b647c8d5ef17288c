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

inline auto Slide(const std::wstring& name, const FloatVector& direction = {1, 0, 0}) {
  return misc::MakeAutoPointer<kintree::mkdTranslationalAxis>(name, direction, kMetric);
}
inline auto Swivel(const std::wstring& name, const FloatVector& direction = {0, 0, 1},
                   const FloatVector& pivot = {}) {
  return misc::MakeAutoPointer<kintree::mkdRotationalAxis>(name, direction, pivot, kMetric);
}
inline auto Transform(const std::wstring& name) {
  return misc::MakeAutoPointer<kintree::mkdCoordinateTransform>(name, kMetric);
}
inline auto Body(const std::wstring& name) {
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

using WideMatrix = cadcam::zvMatrix<double, 4, 4>;

inline WideMatrix Widened(const mkdMatrix& matrix) {
  WideMatrix wide;
  for (std::size_t i = 0; i < 4; ++i)
    for (std::size_t j = 0; j < 4; ++j) wide(i, j) = matrix(i, j);
  return wide;
}

/// Where a matrix takes a point, in double.
inline Point Apply(const mkdMatrix& matrix, const Point& p) {
  return Widened(matrix) * p;
}

/// What an object puts between the frames above and below it, in double, by the rigid bodies of the
/// tests: of the tree's own numbers, but not of its arithmetic in single precision.
inline WideMatrix ExactLocal(const kintree::mkdKinematicObject& object) {
  WideMatrix local = WideMatrix::Identity();
  if (const auto* axis = dynamic_cast<const kintree::mkdAxis*>(&object)) {
    const FloatVector& d = axis->GetInitialDirection();
    rigid::Motion motion;
    if (const auto* swivel = dynamic_cast<const kintree::mkdRotationalAxis*>(axis)) {
      const FloatVector& p = swivel->GetPivot();
      motion = rigid::Joint{{d.x, d.y, d.z}, {p.x, p.y, p.z}}.At(axis->GetValue());
    } else {
      motion.shift = rigid::Times({d.x, d.y, d.z}, axis->GetValue());
    }
    for (std::size_t j = 0; j < 4; ++j) {
      const rigid::Vector column =
          j == 3 ? motion.shift
                 : motion.Direction({j == 0 ? 1.0 : 0.0, j == 1 ? 1.0 : 0.0, j == 2 ? 1.0 : 0.0});
      for (std::size_t i = 0; i < 3; ++i) local(i, j) = column[i];
    }
  } else if (const auto* fixed = dynamic_cast<const kintree::mkdCoordinateTransform*>(&object)) {
    local = Widened(fixed->GetLocalMatrix());
  }
  return local;
}

/// The world matrix of a node's object in double: what all objects above it do, one after the
/// other, with the axes where they stand.
inline WideMatrix ExactWorld(const kintree::mkdKinematicNode& node) {
  WideMatrix world = WideMatrix::Identity();
  for (const auto* above = node.GetParent(); above != nullptr && !above->GetValue().IsNull();
       above = above->GetParent())
    world = ExactLocal(*above->GetValue()) * world;
  return world;
}

/// Where a tool stands as seen from a workpiece.
struct ToolPlace {
  Point tip;
  Point axis;
};
inline ToolPlace PlaceOf(const WideMatrix& tool, const WideMatrix& workpiece) {
  const WideMatrix toPart = cadcam::Inverse(workpiece);
  const Point tip = toPart * (tool * Point());
  return {tip, toPart * (tool * Point(0, 0, 1)) - tip};
}

}  // namespace tests
