// Posting parameters and other values of the command line.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/units_factory.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/path_tolerance.h>
#include <kandrel/post/model/posting_parameters.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "kandrel-post/commands/commands.h"

namespace kandrel_post {

/// Checks a --set argument without applying it. Throws UsageError for an unknown name or a value
/// that is none of the field's kind.
void CheckSetting(std::string_view setting);

/// Applies NAME=VALUE; also throws what the field's setter throws.
void ApplySetting(post::zvKDRParam& par, std::string_view setting);

/// All fields with their values; enumerations are numbers.
using SettingValue = std::variant<bool, std::int32_t, double>;
std::vector<std::pair<std::string_view, SettingValue>> SettingsOf(const post::zvKDRParam& par);

/// "x,y,z". Throws UsageError unless it is three finite numbers.
cadcam::zvTPoint3d<double> ParsePoint(std::string_view text);

/// Nothing unless all of `text` is a finite number.
std::optional<double> FiniteNumber(std::string_view text);

/// Throws UsageError unless `text` is a finite number.
double ParseLength(std::string_view text);

/// "FIRST" or "FIRST,SECOND", each none, 360 or 180. Throws UsageError for anything else.
post::zv5axControlDef ParseControl(std::string_view text);

/// Throws UsageError unless `text` is a finite number above 0.
double ParsePositive(std::string_view text);

/// "TIP", "TIP,AXIS" or "off". Throws UsageError for anything else, and for what is not above 0.
ToleranceOption ParseTolerance(std::string_view text);

/// "TIP" or "TIP,AXIS". Throws UsageError for anything else, and for what is not above 0.
LineToleranceOption ParseLineTolerance(std::string_view text);

/// The tolerance of a run over a path in these units.
post::zvPathTolerance PathToleranceOf(const ToleranceOption& option,
                                      measures::zvUnitsFactory::Units units);

}  // namespace kandrel_post
