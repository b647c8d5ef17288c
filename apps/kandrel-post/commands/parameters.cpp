#include "kandrel-post/commands/parameters.h"

#include <fmt/format.h>
#include <kandrel/misc/text.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <system_error>
#include <type_traits>

#include "kandrel-post/host/errors.h"

namespace kandrel_post {

namespace {

constexpr double kDefaultTipMillimetres = 0.01;
constexpr double kDefaultTipInches = 0.0005;
constexpr double kDefaultAxisTolerance = 0.1;  // degrees

}  // namespace

std::optional<double> FiniteNumber(std::string_view text) {
  double value = 0;
  if (!misc::FromText(text, value) || !std::isfinite(value)) return std::nullopt;
  return value;
}

namespace {

using post::zvKDRParam;

std::optional<bool> Boolean(std::string_view text) {
  if (text == "true") return true;
  if (text == "false") return false;
  return std::nullopt;
}

std::optional<std::int32_t> Integer(std::string_view text) {
  std::int32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return value;
}

struct Field {
  std::string_view name;
  std::string_view kind;
  // False when the text is no value of the field's kind; sets nothing when `par` is null.
  bool (*set)(std::string_view text, zvKDRParam* par);
  SettingValue (*get)(const zvKDRParam& par);
};

template <auto Getter>
SettingValue Get(const zvKDRParam& par) {
  const auto value = (par.*Getter)();
  using Value = std::remove_const_t<decltype(value)>;
  if constexpr (std::is_same_v<Value, bool> || std::is_same_v<Value, double>)
    return value;
  else
    return static_cast<std::int32_t>(value);
}

template <auto Setter>
bool SetBoolean(std::string_view text, zvKDRParam* par) {
  const auto value = Boolean(text);
  if (value && par != nullptr) (par->*Setter)(*value);
  return value.has_value();
}

template <auto Setter>
bool SetDouble(std::string_view text, zvKDRParam* par) {
  const auto value = FiniteNumber(text);
  if (value && par != nullptr) (par->*Setter)(*value);
  return value.has_value();
}

template <class Enumeration, auto Setter>
bool SetInteger(std::string_view text, zvKDRParam* par) {
  const auto value = Integer(text);
  if (value && par != nullptr) (par->*Setter)(static_cast<Enumeration>(*value));
  return value.has_value();
}

constexpr std::string_view kBoolean = "true or false";
constexpr std::string_view kNumber = "a number";
constexpr std::string_view kInteger = "an integer";

constexpr auto kFields = std::to_array<Field>({
    {"firstMoveByRule", kBoolean, &SetBoolean<&zvKDRParam::SetFirstMoveByRule>,
     &Get<&zvKDRParam::GetFirstMoveByRule>},
    {"firstMoveMirror", kBoolean, &SetBoolean<&zvKDRParam::SetFirstMoveMirror>,
     &Get<&zvKDRParam::GetFirstMoveMirror>},
    {"paramUnits", kInteger, &SetInteger<zvKDRParam::Units, &zvKDRParam::SetParamUnits>,
     &Get<&zvKDRParam::GetParamUnits>},
    {"maxAngleJump", kNumber, &SetDouble<&zvKDRParam::SetMaxAngleJump>,
     &Get<&zvKDRParam::GetMaxAngleJump>},
    {"maxAngleStep", kNumber, &SetDouble<&zvKDRParam::SetMaxAngleStep>,
     &Get<&zvKDRParam::GetMaxAngleStep>},
    {"retractDistance", kNumber, &SetDouble<&zvKDRParam::SetRetractDistance>,
     &Get<&zvKDRParam::GetRetractDistance>},
    {"interpolationDistance", kNumber, &SetDouble<&zvKDRParam::SetInterpolationDistance>,
     &Get<&zvKDRParam::GetInterpolationDistance>},
    {"poleAngleTolerance", kNumber, &SetDouble<&zvKDRParam::SetPoleAngleTolerance>,
     &Get<&zvKDRParam::GetPoleAngleTolerance>},
    {"interpolateByDistance", kBoolean, &SetBoolean<&zvKDRParam::SetInterpolateByDistance>,
     &Get<&zvKDRParam::GetInterpolateByDistance>},
    {"limitsCheck", kInteger, &SetInteger<zvKDRParam::LimitsCheck, &zvKDRParam::SetLimitsCheck>,
     &Get<&zvKDRParam::GetLimitsCheck>},
    {"limitTolerance", kNumber, &SetDouble<&zvKDRParam::SetLimitTolerance>,
     &Get<&zvKDRParam::GetLimitTolerance>},
    {"firstMoveRule", kInteger,
     &SetInteger<zvKDRParam::FirstMoveRule, &zvKDRParam::SetFirstMoveRule>,
     &Get<&zvKDRParam::GetFirstMoveRule>},
    {"firstMoveSolutionIndex", kInteger,
     &SetInteger<zvKDRParam::SolutionIndex, &zvKDRParam::SetFirstMoveSolutionIndex>,
     &Get<&zvKDRParam::GetFirstMoveSolutionIndex>},
    {"firstMovePreferredAngle", kNumber, &SetDouble<&zvKDRParam::SetFirstMovePreferredAngle>,
     &Get<&zvKDRParam::GetFirstMovePreferredAngle>},
    {"interpolateRapidMoves", kBoolean, &SetBoolean<&zvKDRParam::SetInterpolateRapidMoves>,
     &Get<&zvKDRParam::GetInterpolateRapidMoves>},
    {"poleHandling", kInteger, &SetInteger<zvKDRParam::PoleHandling, &zvKDRParam::SetPoleHandling>,
     &Get<&zvKDRParam::GetPoleHandling>},
    {"alignToolpath", kBoolean, &SetBoolean<&zvKDRParam::SetAlignToolpath>,
     &Get<&zvKDRParam::GetAlignToolpath>},
    {"interpolationMode", kInteger, &SetInteger<std::int32_t, &zvKDRParam::SetInterpolationMode>,
     &Get<&zvKDRParam::GetInterpolationMode>},
    {"retractToLimits", kBoolean, &SetBoolean<&zvKDRParam::SetRetractToLimits>,
     &Get<&zvKDRParam::GetRetractToLimits>},
});

void Set(std::string_view setting, zvKDRParam* par) {
  const std::size_t equals = setting.find('=');
  const std::string_view name = setting.substr(0, equals);
  const auto field =
      std::find_if(kFields.begin(), kFields.end(), [&](const Field& f) { return f.name == name; });
  if (equals == std::string_view::npos || field == kFields.end()) {
    std::string names;
    for (const Field& f : kFields) names += fmt::format("{}{}", names.empty() ? "" : ", ", f.name);
    throw UsageError(
        fmt::format("{}: NAME=VALUE expected, where NAME is one of {}", Printable(setting), names));
  }
  if (!field->set(setting.substr(equals + 1), par))
    throw UsageError(fmt::format("{}: {} expected", Printable(setting), field->kind));
}

}  // namespace

void CheckSetting(std::string_view setting) {
  Set(setting, nullptr);
}

void ApplySetting(zvKDRParam& par, std::string_view setting) {
  Set(setting, &par);
}

std::vector<std::pair<std::string_view, SettingValue>> SettingsOf(const zvKDRParam& par) {
  std::vector<std::pair<std::string_view, SettingValue>> settings;
  settings.reserve(kFields.size());
  for (const Field& field : kFields) settings.emplace_back(field.name, field.get(par));
  return settings;
}

cadcam::zvTPoint3d<double> ParsePoint(std::string_view text) {
  std::array<double, 3> values{};
  std::string_view rest = text;
  bool good = true;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::size_t comma = rest.find(',');
    const auto value = FiniteNumber(rest.substr(0, comma));
    good = good && value && (comma == std::string_view::npos) == (i == values.size() - 1);
    if (!good) break;
    values[i] = *value;
    rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
  }
  if (!good) throw UsageError(fmt::format("{}: X,Y,Z expected, three numbers", Printable(text)));
  return {values[0], values[1], values[2]};
}

double ParseLength(std::string_view text) {
  const auto value = FiniteNumber(text);
  if (!value) throw UsageError(fmt::format("{}: a number expected", Printable(text)));
  return *value;
}

post::zv5axControlDef ParseControl(std::string_view text) {
  using Control = post::zv5axControlDef;
  const auto limit = [&](std::string_view word) {
    if (word == "none") return Control::angleLimitNone;
    if (word == "360") return Control::angleLimit360;
    if (word == "180") return Control::angleLimit180;
    throw UsageError(fmt::format("{}: none, 360 or 180 expected for each axis", Printable(text)));
  };
  const std::size_t comma = text.find(',');
  Control control;
  control.SetFirstAxisLimit(limit(text.substr(0, comma)));
  if (comma != std::string_view::npos) control.SetSecondAxisLimit(limit(text.substr(comma + 1)));
  return control;
}

double ParsePositive(std::string_view text) {
  const auto value = FiniteNumber(text);
  if (!value || !(*value > 0))
    throw UsageError(fmt::format("{}: a number above 0 expected", Printable(text)));
  return *value;
}

ToleranceOption ParseTolerance(std::string_view text) {
  ToleranceOption option;
  option.isOff = text == "off";
  if (option.isOff) return option;
  const std::size_t comma = text.find(',');
  const auto tip = FiniteNumber(text.substr(0, comma));
  const bool hasAxis = comma != std::string_view::npos;
  const auto axis =
      hasAxis ? FiniteNumber(text.substr(comma + 1)) : std::optional(kDefaultAxisTolerance);
  if (!tip || !axis || !(*tip > 0) || !(*axis > 0))
    throw UsageError(
        fmt::format("{}: TIP, TIP,AXIS or off expected, numbers above 0", Printable(text)));
  option.tip = tip;
  option.axis = axis;
  return option;
}

LineToleranceOption ParseLineTolerance(std::string_view text) {
  const std::size_t comma = text.find(',');
  LineToleranceOption option{ParsePositive(text.substr(0, comma)), {}};
  if (comma != std::string_view::npos) option.axis = ParsePositive(text.substr(comma + 1));
  return option;
}

post::zvPathTolerance PathToleranceOf(const ToleranceOption& option,
                                      measures::zvUnitsFactory::Units units) {
  if (option.isOff) return {};
  const bool isInch = units == measures::zvUnitsFactory::inch;
  return {option.tip.value_or(isInch ? kDefaultTipInches : kDefaultTipMillimetres),
          option.axis.value_or(kDefaultAxisTolerance)};
}

}  // namespace kandrel_post
