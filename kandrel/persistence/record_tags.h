// The numbers by which records say what follows.
#pragma once

#include <cstdint>

namespace persistence {

/// Sections of a toolpath.
inline constexpr std::int32_t kContourTag = 0;
inline constexpr std::int32_t kLinkTag = 1;

/// Moves of a toolpath.
inline constexpr std::int32_t k5axMoveTag = 1;
inline constexpr std::int32_t k3axMoveTag = 2;

/// Solids of tools.
inline constexpr std::int32_t kRevolvedSolid = 0;
inline constexpr std::int32_t kExtrudedSolid = 1;
inline constexpr std::int32_t kMeshSolid = 2;

/// Curves in the plane.
inline constexpr std::int32_t kPointTag = 0;
inline constexpr std::int32_t kLineTag = 1;
inline constexpr std::int32_t kArcTag = 2;
inline constexpr std::int32_t kSplineTag = 3;
inline constexpr std::int32_t kCurveContourTag = 4;
inline constexpr std::int32_t kPolyLineTag = 5;
inline constexpr std::int32_t kClosedContourTag = 6;
inline constexpr std::int32_t kParabolaTag = 7;
inline constexpr std::int32_t kEllipseTag = 8;
inline constexpr std::int32_t kBezierTag = 9;

}  // namespace persistence
