// What the classes of typed tools check, where several share it, and how their rows are written.
#pragma once

#include <kandrel/cadcam/curves/point2d.h>
#include <kandrel/cadcam/tools/tool_parameters.h>
#include <kandrel/cadcam/tools/tool_type.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>

namespace cadcam::detail {

using Point = geoDef::zv2dPoint<double>;

/// Of 45 degrees, which most chamfers have, exactly 1: sine and cosine are rounded apart.
inline double TanDeg(double deg) {
  if (deg == 45) return 1;
  const misc::zvSineAndCosine turn = misc::SineAndCosineOfDegrees(deg);
  return turn.sine / turn.cosine;
}

/// Throws the parameter's id when its number lies out of the range of its row.
void RequireRange(const zvToolNumbers& n, zvToolParameter parameter);
/// The same with a highest number of the type's own.
void RequireRange(const zvToolNumbers& n, zvToolParameter parameter, double highest);

/// Makes the corner radius and its type agree: none makes the radius 0, full makes it `full`, and
/// one that is given and smaller than `noneBelow` is none. Throws 2109 for an unknown type.
void NormalizeCorner(zvToolNumbers& n, double full, double noneBelow);
/// As most types have it: for them, full is no corner at all.
inline void NormalizeCorner(zvToolNumbers& n) {
  NormalizeCorner(n, 0, misc::kToolParameterEqual);
}

/// 2117 and 2125: twice the corner radius is at most the diameter, or the flute length, to 1e-6 of
/// the radius.
void RequireCornerInDiameter(const zvToolNumbers& n);
void RequireCornerInFlute(const zvToolNumbers& n);

/// 2112: the cone of the tip ends below the shoulder length.
void RequireTipInShoulder(const zvToolNumbers& n);

/// The arc of a barrel mill's flank: its centre, whose height is that of the widest point, and the
/// square of how far above it the flutes end; below 0 or without a number where there is no barrel.
struct BarrelFlank {
  Point centre;
  double riseSquared;
};
BarrelFlank BarrelFlankOf(const zvToolNumbers& n);

/// Completes the row of a class by what its constructors say.
template <class Tool>
constexpr zvToolType TypeOf(zvToolType type) {
  type.parameters = Tool::kParameters;
  type.makeDefault = [] { return zvToolType::ToolPointer(misc::MakeAutoPointer<Tool>()); };
  type.make = [](const zvToolValues& values) {
    return zvToolType::ToolPointer(misc::MakeAutoPointer<Tool>(values));
  };
  return type;
}

/// Profiles of default holders and arbors.
inline constexpr Point kHolder[] = {{8, 0}, {23, 0}, {25, 2}, {25, 30}};
inline constexpr Point kNoHolder[] = {{0, 0}, {0, 0}};
inline constexpr Point kArborOf10[] = {{5, 0}, {5, 35}, {8, 45}};
inline constexpr Point kArborOf8[] = {{4, 0}, {4, 35}, {8, 45}};
inline constexpr Point kShortArbor[] = {{0.5, 0}, {0.5, 1}};

}  // namespace cadcam::detail
