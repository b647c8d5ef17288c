// Triangulate: the inside of a polygon as triangles.
#pragma once

#include <kandrel/cadcam/curves/point2d.h>
#include <kandrel/misc/export.h>

#include <array>
#include <cstddef>
#include <vector>

namespace geoDef {

/// Twice the area that a polygon encloses, above 0 where it winds counter-clockwise; its last point
/// joins its first.
template <class T>
KANDREL_API T TwiceArea(const std::vector<zv2dPoint<T>>& polygon);

/// Cuts a polygon into triangles, all counter-clockwise however it winds. Each is three indices of
/// its points, and each of its sides belongs to one triangle alone, in the direction that a
/// counter-clockwise polygon has it; no triangle is without area. It may be concave and may have
/// points on straight sides, but no two equal points in a row.
///
/// Throws mathdef::zvWMException 7051 "Contour triangulation error" where sides cross, no area is
/// enclosed, a number is none, or there are more than misc::kMostCorners points. By cutting off
/// ears; quadratic in the number of points.
template <class T>
KANDREL_API std::vector<std::array<std::size_t, 3>> Triangulate(
    const std::vector<zv2dPoint<T>>& polygon);

}  // namespace geoDef
