// zvTypedTool and the parameters of tools as bases: what the classes of typed tools are put
// together of.
#pragma once

#include <kandrel/cadcam/tools/tool_parameters.h>
#include <kandrel/cadcam/tools/tool_type.h>
#include <kandrel/cadcam/tools/tool_visitor.h>
#include <kandrel/cadcam/tools/typed_revolved_tool.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>

#include <array>
#include <cstdint>

namespace cadcam {

/// Each of these gives a tool the getter of one parameter, under the parameter's name.
template <class Tool, auto Field, zvToolParameter Parameter>
struct zvToolParameterBase {
  /// Which parameter it is, and where the tool's numbers hold it.
  static constexpr zvToolParameter kParameter = Parameter;
  /// The member of zvToolNumbers that holds it.
  static constexpr auto kField = Field;

 protected:
  /// The tool's own number.
  auto Number() const noexcept { return static_cast<const Tool&>(*this).GetNumbers().*Field; }
};

/// The getter of `cornerRadius`, a length in the tool's units.
template <class Tool>
struct zvHasCornerRadius
    : zvToolParameterBase<Tool, &zvToolNumbers::cornerRadius, zvToolParameter::cornerRadius> {
  using Value = double;
  /// The tool's own number, in its units.
  double GetCornerRadius() const noexcept { return this->Number(); }
};
/// The getter of `cornerRadiusType`.
template <class Tool>
struct zvHasCornerRadiusType : zvToolParameterBase<Tool, &zvToolNumbers::cornerRadiusType,
                                                   zvToolParameter::cornerRadiusType> {
  using Value = cornerRadiusType;
  /// The tool's own kind of corner.
  cornerRadiusType GetCornerRadiusType() const noexcept { return this->Number(); }
};
/// The getter of `outsideDiameter`, a length in the tool's units.
template <class Tool>
struct zvHasOutsideDiameter
    : zvToolParameterBase<Tool, &zvToolNumbers::outsideDiameter, zvToolParameter::outsideDiameter> {
  using Value = double;
  /// The tool's own number, in its units.
  double GetOutsideDiameter() const noexcept { return this->Number(); }
};
/// The getter of `taperAngle`, in degrees.
template <class Tool>
struct zvHasTaperAngle
    : zvToolParameterBase<Tool, &zvToolNumbers::taperAngle, zvToolParameter::taperAngle> {
  using Value = double;
  /// The tool's own angle in degrees.
  double GetTaperAngle() const noexcept { return this->Number(); }
};
/// The getter of `radius`, a length in the tool's units.
template <class Tool>
struct zvHasRadius : zvToolParameterBase<Tool, &zvToolNumbers::radius, zvToolParameter::radius> {
  using Value = double;
  /// The tool's own number, in its units.
  double GetRadius() const noexcept { return this->Number(); }
};
/// The getter of `tipAngle`, in degrees.
template <class Tool>
struct zvHasTipAngle
    : zvToolParameterBase<Tool, &zvToolNumbers::tipAngle, zvToolParameter::tipAngle> {
  using Value = double;
  /// The tool's own angle in degrees.
  double GetTipAngle() const noexcept { return this->Number(); }
};
/// The getter of `shoulderAngle`, in degrees.
template <class Tool>
struct zvHasShoulderAngle
    : zvToolParameterBase<Tool, &zvToolNumbers::shoulderAngle, zvToolParameter::shoulderAngle> {
  using Value = double;
  /// The tool's own angle in degrees.
  double GetShoulderAngle() const noexcept { return this->Number(); }
};
/// The getter of `tipRadius`, a length in the tool's units.
template <class Tool>
struct zvHasTipRadius
    : zvToolParameterBase<Tool, &zvToolNumbers::tipRadius, zvToolParameter::tipRadius> {
  using Value = double;
  /// The tool's own number, in its units.
  double GetTipRadius() const noexcept { return this->Number(); }
};
/// The getter of `profileRadius`, a length in the tool's units.
template <class Tool>
struct zvHasProfileRadius
    : zvToolParameterBase<Tool, &zvToolNumbers::profileRadius, zvToolParameter::profileRadius> {
  using Value = double;
  /// The tool's own number, in its units.
  double GetProfileRadius() const noexcept { return this->Number(); }
};
/// The getter of `upperDiameter`, a length in the tool's units.
template <class Tool>
struct zvHasUpperDiameter
    : zvToolParameterBase<Tool, &zvToolNumbers::upperDiameter, zvToolParameter::upperDiameter> {
  using Value = double;
  /// The tool's own number, in its units.
  double GetUpperDiameter() const noexcept { return this->Number(); }
};
/// The getter of `neckDiameter`, a length in the tool's units.
template <class Tool>
struct zvHasNeckDiameter
    : zvToolParameterBase<Tool, &zvToolNumbers::neckDiameter, zvToolParameter::neckDiameter> {
  using Value = double;
  /// The tool's own number, in its units.
  double GetNeckDiameter() const noexcept { return this->Number(); }
};
/// The getter of `threadParameter`, a count.
template <class Tool>
struct zvHasThreadParameter
    : zvToolParameterBase<Tool, &zvToolNumbers::threadParameter, zvToolParameter::threadParameter> {
  using Value = std::uint32_t;
  /// The tool's own count.
  std::uint32_t GetThreadParameter() const noexcept { return this->Number(); }
};

/// Base of the class `Tool` with the parameters `P`, in the order of its constructors. The class
/// has a static member `kType`, its row of data.
template <class Tool, template <class> class... P>
class KANDREL_API zvTypedTool : public zvTypedRevolvedTool, public P<Tool>... {
 public:
  /// The parameters that the class has, in the order of its constructors.
  static constexpr std::array<zvToolParameter, sizeof...(P)> kParameters{P<Tool>::kParameter...};

  void AcceptVisitor(zvToolBranchVisitor& visitor) const override {
    visitor.Visit(static_cast<const zvTypedRevolvedTool&>(*this));
  }
  void AcceptVisitor(zvToolVisitor& visitor) const override {
    visitor.Visit(static_cast<const Tool&>(*this));
  }
  misc::zvAutoPointer<zvTool> Clone() const override {
    return misc::MakeAutoPointer<Tool>(static_cast<const Tool&>(*this));
  }

  /// The type's default, unchecked.
  zvTypedTool() : zvTypedRevolvedTool(Tool::kType) {}
  /// Of values by name; those that the type hasn't got count for nothing. Throws as
  /// zvTypedRevolvedTool says.
  explicit zvTypedTool(const zvToolValues& values) : zvTypedRevolvedTool(Tool::kType, values) {}

 protected:
  /// The arguments of a constructor as values by name; and the same with a shoulder.
  static zvToolValues ValuesOf(double diameter, const Holder& holder, double shoulderLength,
                               double fluteLength, const Arbor& arbor,
                               typename P<Tool>::Value... own, Units units) {
    zvToolValues values{.numbers = {.diameter = diameter,
                                    .fluteLength = fluteLength,
                                    .shoulderLength = shoulderLength},
                        .holder = holder,
                        .arbor = arbor,
                        .units = units};
    ((values.numbers.*P<Tool>::kField = own), ...);
    return values;
  }
  /// The same values with a shoulder of the tool's own.
  static zvToolValues WithShoulder(zvToolValues values,
                                   const zvShoulderDefinitionExtender& shoulder) {
    values.shoulder = shoulder;
    return values;
  }
};

/// zvTypedTool with the constructors that most classes have: diameter, holder, shoulder length,
/// flute length, arbor, the parameters of the class, and the units; in the second form with a
/// shoulder in front of the units.
template <class Tool, template <class> class... P>
class KANDREL_API zvTypedToolOf : public zvTypedTool<Tool, P...> {
  using Base = zvTypedTool<Tool, P...>;

 public:
  using Base::Base;
  using typename Base::Arbor;
  using typename Base::Holder;
  using typename Base::Units;
  using typename Base::zvShoulderDefinitionExtender;

  zvTypedToolOf() = default;
  /// The tool with these values, lengths in `units` and angles in degrees. Throws as
  /// zvTypedRevolvedTool says.
  zvTypedToolOf(double diameter, const Holder& holder, double shoulderLength, double fluteLength,
                const Arbor& arbor, typename P<Tool>::Value... own, Units units)
      : Base(Base::ValuesOf(diameter, holder, shoulderLength, fluteLength, arbor, own..., units)) {}
  /// The same with a shoulder of the tool's own.
  zvTypedToolOf(double diameter, const Holder& holder, double shoulderLength, double fluteLength,
                const Arbor& arbor, typename P<Tool>::Value... own,
                const zvShoulderDefinitionExtender& shoulder, Units units)
      : Base(Base::WithShoulder(
            Base::ValuesOf(diameter, holder, shoulderLength, fluteLength, arbor, own..., units),
            shoulder)) {}
};

}  // namespace cadcam
