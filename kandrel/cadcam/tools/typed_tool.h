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
  static constexpr zvToolParameter kParameter = Parameter;
  static constexpr auto kField = Field;

 protected:
  auto Number() const noexcept { return static_cast<const Tool&>(*this).GetNumbers().*Field; }
};

template <class Tool>
struct zvHasCornerRadius
    : zvToolParameterBase<Tool, &zvToolNumbers::cornerRadius, zvToolParameter::cornerRadius> {
  using Value = double;
  double GetCornerRadius() const noexcept { return this->Number(); }
};
template <class Tool>
struct zvHasCornerRadiusType : zvToolParameterBase<Tool, &zvToolNumbers::cornerRadiusType,
                                                   zvToolParameter::cornerRadiusType> {
  using Value = cornerRadiusType;
  cornerRadiusType GetCornerRadiusType() const noexcept { return this->Number(); }
};
template <class Tool>
struct zvHasOutsideDiameter
    : zvToolParameterBase<Tool, &zvToolNumbers::outsideDiameter, zvToolParameter::outsideDiameter> {
  using Value = double;
  double GetOutsideDiameter() const noexcept { return this->Number(); }
};
template <class Tool>
struct zvHasTaperAngle
    : zvToolParameterBase<Tool, &zvToolNumbers::taperAngle, zvToolParameter::taperAngle> {
  using Value = double;
  double GetTaperAngle() const noexcept { return this->Number(); }
};
template <class Tool>
struct zvHasRadius : zvToolParameterBase<Tool, &zvToolNumbers::radius, zvToolParameter::radius> {
  using Value = double;
  double GetRadius() const noexcept { return this->Number(); }
};
template <class Tool>
struct zvHasTipAngle
    : zvToolParameterBase<Tool, &zvToolNumbers::tipAngle, zvToolParameter::tipAngle> {
  using Value = double;
  double GetTipAngle() const noexcept { return this->Number(); }
};
template <class Tool>
struct zvHasShoulderAngle
    : zvToolParameterBase<Tool, &zvToolNumbers::shoulderAngle, zvToolParameter::shoulderAngle> {
  using Value = double;
  double GetShoulderAngle() const noexcept { return this->Number(); }
};
template <class Tool>
struct zvHasTipRadius
    : zvToolParameterBase<Tool, &zvToolNumbers::tipRadius, zvToolParameter::tipRadius> {
  using Value = double;
  double GetTipRadius() const noexcept { return this->Number(); }
};
template <class Tool>
struct zvHasProfileRadius
    : zvToolParameterBase<Tool, &zvToolNumbers::profileRadius, zvToolParameter::profileRadius> {
  using Value = double;
  double GetProfileRadius() const noexcept { return this->Number(); }
};
template <class Tool>
struct zvHasUpperDiameter
    : zvToolParameterBase<Tool, &zvToolNumbers::upperDiameter, zvToolParameter::upperDiameter> {
  using Value = double;
  double GetUpperDiameter() const noexcept { return this->Number(); }
};
template <class Tool>
struct zvHasNeckDiameter
    : zvToolParameterBase<Tool, &zvToolNumbers::neckDiameter, zvToolParameter::neckDiameter> {
  using Value = double;
  double GetNeckDiameter() const noexcept { return this->Number(); }
};
template <class Tool>
struct zvHasThreadParameter
    : zvToolParameterBase<Tool, &zvToolNumbers::threadParameter, zvToolParameter::threadParameter> {
  using Value = std::uint32_t;
  std::uint32_t GetThreadParameter() const noexcept { return this->Number(); }
};

/// Base of the class `Tool` with the parameters `P`, in the order of its constructors. The class
/// has a static member `kType`, its row of data.
template <class Tool, template <class> class... P>
class KANDREL_API zvTypedTool : public zvTypedRevolvedTool, public P<Tool>... {
 public:
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
  zvTypedToolOf(double diameter, const Holder& holder, double shoulderLength, double fluteLength,
                const Arbor& arbor, typename P<Tool>::Value... own, Units units)
      : Base(Base::ValuesOf(diameter, holder, shoulderLength, fluteLength, arbor, own..., units)) {}
  zvTypedToolOf(double diameter, const Holder& holder, double shoulderLength, double fluteLength,
                const Arbor& arbor, typename P<Tool>::Value... own,
                const zvShoulderDefinitionExtender& shoulder, Units units)
      : Base(Base::WithShoulder(
            Base::ValuesOf(diameter, holder, shoulderLength, fluteLength, arbor, own..., units),
            shoulder)) {}
};

}  // namespace cadcam
