#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tools/tool_parameters.h>
#include <kandrel/misc/tolerances.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>

namespace cadcam {

namespace {

using Kind = zvToolParameterRow::Kind;
using N = zvToolNumbers;
using E = zvcadcamException;
using misc::kToolParameterEqual;

constexpr double kAny = std::numeric_limits<double>::infinity();
constexpr double kAboveZero = std::numeric_limits<double>::denorm_min();

constexpr auto kRows = std::to_array<zvToolParameterRow>({
    {"cornerRadius", Kind::length, &N::cornerRadius, 0, kAny, kToolParameterEqual,
     E::kCornerRadius},
    {"cornerRadiusType", Kind::cornerRadiusType, &N::cornerRadiusType, 0, 2, 0,
     E::kCornerRadiusType},
    {"outsideDiameter", Kind::length, &N::outsideDiameter, kAboveZero, kAny, 0,
     E::kOutsideNotPositive},
    {"taperAngle", Kind::angle, &N::taperAngle, 0.1, 89, 0, E::kTaperAngle},
    // No range is known for this one but that it is a number.
    {"radius", Kind::length, &N::radius, -kAny, kAny, 0, E::kCornerRadius},
    {"tipAngle", Kind::angle, &N::tipAngle, 1, 180, 0, E::kTipAngle},
    {"shoulderAngle", Kind::angle, &N::shoulderAngle, 1, 180, 0, E::kShoulderAngle},
    {"tipRadius", Kind::length, &N::tipRadius, 0, kAny, kToolParameterEqual, E::kTipRadius},
    {"profileRadius", Kind::length, &N::profileRadius, 0, kAny, kToolParameterEqual,
     E::kProfileRadius},
    {"upperDiameter", Kind::length, &N::upperDiameter, 0, kAny, kToolParameterEqual,
     E::kUpperDiameter},
    {"neckDiameter", Kind::length, &N::neckDiameter, 0, kAny, kToolParameterEqual,
     E::kOutsideDiameter},
    {"threadParameter", Kind::count, &N::threadParameter, 0,
     std::numeric_limits<std::uint32_t>::max(), 0, 0},
});

}  // namespace

std::span<const zvToolParameterRow> ToolParameters() noexcept {
  return kRows;
}

const zvToolParameterRow& RowOf(zvToolParameter parameter) {
  return kRows.at(static_cast<std::size_t>(parameter));
}

std::optional<zvToolParameter> FindToolParameter(std::string_view name) noexcept {
  for (std::size_t i = 0; i < kRows.size(); ++i)
    if (kRows[i].name == name) return static_cast<zvToolParameter>(i);
  return std::nullopt;
}

double GetParameter(const zvToolNumbers& numbers, zvToolParameter parameter) {
  return std::visit([&](auto field) { return static_cast<double>(numbers.*field); },
                    RowOf(parameter).field);
}

bool SetParameter(zvToolNumbers& numbers, zvToolParameter parameter, double value) {
  constexpr double kLargest = std::numeric_limits<std::uint32_t>::max();
  return std::visit(
      [&](auto field) {
        using Value = std::remove_reference_t<decltype(numbers.*field)>;
        if constexpr (!std::is_same_v<Value, double>)
          if (!(value >= 0 && value <= kLargest && std::trunc(value) == value)) return false;
        numbers.*field = static_cast<Value>(value);
        return true;
      },
      RowOf(parameter).field);
}

void ScaleLengths(zvToolNumbers& numbers, double factor) {
  numbers.diameter *= factor;
  numbers.fluteLength *= factor;
  numbers.shoulderLength *= factor;
  for (const zvToolParameterRow& row : kRows)
    if (row.kind == Kind::length) numbers.*std::get<double N::*>(row.field) *= factor;
}

}  // namespace cadcam
