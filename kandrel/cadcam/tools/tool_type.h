// zvToolType: what all tools of a type share, as data.
#pragma once

#include <kandrel/cadcam/curves/point2d.h>
#include <kandrel/cadcam/tools/tool_parameters.h>
#include <kandrel/cadcam/tools/tool_part.h>
#include <kandrel/misc/auto_pointer.h>

#include <cstdint>
#include <span>
#include <string_view>

namespace cadcam {

class zvTypedRevolvedTool;
struct zvToolValues;

/// Diameter and base length of a shoulder.
struct zvToolShoulder {
  double diameter = 0;
  double baseLength = 0;
};

/// A type of typed tools; there is one object for each class.
struct zvToolType {
  using Points = std::span<const geoDef::zv2dPoint<double>>;
  using ToolPointer = misc::zvAutoPointer<zvTypedRevolvedTool>;

  /// Of the class, "zvEndMill".
  std::string_view name{};
  /// One length serves as flute length and shoulder length; where two are given, it is the first.
  bool hasOneLength = false;
  /// What the class's checks are wrapped in; 0 where they come unwrapped.
  std::uint32_t failure = 0;
  /// Of the default tool, which is metric: numbers, and the profiles of holder and arbor.
  zvToolNumbers defaults{};
  Points holder{};
  Points arbor{};
  /// Makes the numbers consistent and checks them, after the checks that all types share; null
  /// where there is nothing to check.
  void (*check)(zvToolNumbers& numbers, const zvArborDefinition<double>& arbor) = nullptr;
  /// The shoulder of numbers that have passed the checks; null where it has the tool's diameter and
  /// flute length.
  zvToolShoulder (*shoulder)(const zvToolNumbers& numbers) = nullptr;

  /// The parameters it has of its own, in the order of its constructors. A barrel mill has the
  /// first of them in front of the diameter.
  std::span<const zvToolParameter> parameters{};
  /// Makers of the default tool, and of one of given values with all checks.
  ToolPointer (*makeDefault)() = nullptr;
  ToolPointer (*make)(const zvToolValues& values) = nullptr;
};

}  // namespace cadcam
