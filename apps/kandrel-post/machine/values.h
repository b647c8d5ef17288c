// The values of a machine definition, whatever its class.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/units_factory.h>
#include <kandrel/post/model/mach_def.h>

#include <array>
#include <cstdint>
#include <vector>

namespace kandrel_post {

struct RotaryValues {
  post::zvMachDef::Point direction;
  post::zvMachDef::Point pivot;
  double min = 0;
  double max = 0;

  friend bool operator==(const RotaryValues&, const RotaryValues&) = default;
};

/// All that a definition holds; what its class lacks is left alone.
struct MachineValues {
  int axes = 3;
  measures::zvUnitsFactory::Units units = measures::zvUnitsFactory::metric;
  post::zvMachDef::Point spindle;
  post::zvMachDef::Point minLimits;
  post::zvMachDef::Point maxLimits;
  post::zvMachDef::Point xAxis;
  post::zvMachDef::Point yAxis;
  post::zvMachDef::Point zAxis;
  std::int32_t fiveAxisKind = 0;
  std::int32_t rotaryOnWorkpiece = 0;
  std::array<RotaryValues, 3> rotary;  ///< as many as axes - 3; the third has no limits
  double thirdAngle = 0;
  std::array<std::int32_t, 3> onWorkpiece{};  ///< of a 6-axis machine

  int RotaryCount() const noexcept { return axes - 3; }

  friend bool operator==(const MachineValues&, const MachineValues&) = default;
};

/// The range of an axis: lengths, or degrees.
struct AxisLimits {
  double min;
  double max;
};

/// Of X, Y, Z and the rotary axes; the third rotary axis stands still at its angle.
std::vector<AxisLimits> LimitsOf(const MachineValues& values);

/// The defaults of the class with `axes` axes, 3 to 6.
MachineValues DefaultValues(int axes);

MachineValues ValuesOf(const post::zvMachDef& machDef);

/// A definition through the constructor of its class, with that constructor's checks and errors.
misc::zvAutoPointer<post::zvMachDef> MakeMachDef(const MachineValues& values);

}  // namespace kandrel_post
