// zvToolNumbers and the table of the parameters that types of tools have of their own.
#pragma once

#include <kandrel/misc/export.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <variant>

namespace cadcam {

/// How the radius of a tool's corner is chosen. Files may bring other values; tools refuse them.
enum class cornerRadiusType : std::uint32_t {
  none = 0,   ///< a sharp corner
  given = 1,  ///< the radius as it is given
  full = 2,   ///< the largest that the tool has room for
};

/// All numbers of a typed tool, whatever its type; those that it doesn't have stay 0. Lengths are
/// in the tool's units, angles in degrees.
struct zvToolNumbers {
  double diameter = 0;
  double fluteLength = 0;     ///< from the tip to where it ceases to cut
  double shoulderLength = 0;  ///< from the tip to the arbor
  double cornerRadius = 0;    ///< between the bottom and the flank
  cadcam::cornerRadiusType cornerRadiusType = cadcam::cornerRadiusType::none;
  double outsideDiameter = 0;         ///< where the tool is widest
  double taperAngle = 0;              ///< between the flank and the axis
  double radius = 0;                  ///< of the concave edge that the tool rounds off
  double tipAngle = 0;                ///< of the whole tip, from flank to flank
  double shoulderAngle = 0;           ///< of the cone behind the flutes, from flank to flank
  double tipRadius = 0;               ///< of the flat arc of the tip
  double profileRadius = 0;           ///< of the arc of the flank
  double upperDiameter = 0;           ///< where the flutes end
  double neckDiameter = 0;            ///< behind the flutes
  std::uint32_t threadParameter = 0;  ///< carried along, without a meaning here

  bool operator==(const zvToolNumbers&) const = default;
};

/// The parameters that types of tools have beside diameter and lengths; rows of ToolParameters().
enum class zvToolParameter {
  cornerRadius,
  cornerRadiusType,
  outsideDiameter,
  taperAngle,
  radius,
  tipAngle,
  shoulderAngle,
  tipRadius,
  profileRadius,
  upperDiameter,
  neckDiameter,
  threadParameter,
};

/// One parameter: where it is kept and what it may be.
struct zvToolParameterRow {
  /// What a parameter is: it decides unit and check.
  enum class Kind { length, angle, cornerRadiusType, count };
  using Field = std::variant<double zvToolNumbers::*, cornerRadiusType zvToolNumbers::*,
                             std::uint32_t zvToolNumbers::*>;

  std::string_view name;  ///< as files and texts write it
  Kind kind;
  Field field;  ///< the member of zvToolNumbers that holds it
  /// A number below `lowest` - `slack` or above `highest`, or one that is none, fails with the
  /// zvcadcamException `id`. Some types have bounds of their own.
  double lowest;
  double highest;
  double slack;
  std::uint32_t id;
};

/// By the order of zvToolParameter.
KANDREL_API std::span<const zvToolParameterRow> ToolParameters() noexcept;
KANDREL_API const zvToolParameterRow& RowOf(zvToolParameter parameter);
/// The parameter of that name, exactly.
KANDREL_API std::optional<zvToolParameter> FindToolParameter(std::string_view name) noexcept;

/// A parameter as a plain number, whatever its kind.
KANDREL_API double GetParameter(const zvToolNumbers& numbers, zvToolParameter parameter);
/// Sets one. Of kinds that are whole numbers it must be from 0 to 2^32 - 1; returns false and sets
/// nothing for any other.
KANDREL_API bool SetParameter(zvToolNumbers& numbers, zvToolParameter parameter, double value);

/// Multiplies all lengths by `factor`.
KANDREL_API void ScaleLengths(zvToolNumbers& numbers, double factor);

}  // namespace cadcam
