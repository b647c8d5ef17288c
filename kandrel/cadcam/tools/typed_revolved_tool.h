// zvTypedRevolvedTool: base of the tools that are told by named numbers.
#pragma once

#include <kandrel/cadcam/tools/tool.h>
#include <kandrel/cadcam/tools/tool_parameters.h>
#include <kandrel/cadcam/tools/tool_type.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/measurable.h>

#include <optional>

namespace cadcam {

/// A revolved tool of one of the 21 types of tool_types.h. It cuts up to the flute length; from
/// there its shoulder reaches up to a length of its own; then comes the shank, up to the shoulder
/// length.
class KANDREL_API zvTypedRevolvedTool : public zvRevolvedTool {
 public:
  /// The shoulder of a tool: a diameter, and how far from the tip it reaches, in its units.
  class KANDREL_API zvShoulderDefinitionExtender final : public measures::zvMeasurable {
   public:
    /// Throws zvmeasuresException 2141 for unknown units, and as the setters do.
    zvShoulderDefinitionExtender(double shoulderDiameter, double shoulderBaseLength, Units units);

    /// The diameter, and how far from the tip the shoulder reaches, in the definition's units.
    double GetShoulderDiameter() const noexcept { return m_diameter; }
    double GetShoulderBaseLength() const noexcept { return m_baseLength; }
    /// Throw zvcadcamException 2185 for a diameter and 2186 for a length that is not above 1e-12.
    void SetShoulderDiameter(double shoulderDiameter);
    void SetShoulderBaseLength(double shoulderBaseLength);

   protected:
    void Scale(Units newUnits, double factor) override;

   private:
    friend class zvTypedRevolvedTool;
    zvShoulderDefinitionExtender(const zvToolShoulder& unchecked, Units units);

    double m_diameter;
    double m_baseLength;
  };

  double GetDiameter() const override { return m_numbers.diameter; }
  double GetFluteLength() const override { return m_numbers.fluteLength; }
  double GetShoulderLength() const override { return m_numbers.shoulderLength; }
  /// The shoulder that the tool has of its own, or that its type derives from the parameters.
  const zvShoulderDefinitionExtender& GetShoulderDefinition() const noexcept { return m_shoulder; }

  /// True when the shoulder differs by more than 1e-12 from the type's own.
  bool HasShoulderDefinition() const override;

  /// What all tools of its type share.
  const zvToolType& GetType() const noexcept { return *m_type; }
  /// All numbers by name; those the type hasn't got are 0.
  const zvToolNumbers& GetNumbers() const noexcept { return m_numbers; }
  /// All that the tool is made of; with a shoulder where HasShoulderDefinition is true. Made again
  /// of these it is the same.
  zvToolValues GetValues() const;

  void Validate() const override;

 protected:
  /// The default of the type, unchecked.
  explicit zvTypedRevolvedTool(const zvToolType& type);

  /// Throws, in this order: zvmeasuresException 2141 for unknown units; zvcadcamException 2106 for
  /// holder and arbor, as zvRevolvedTool; 2158 "Couldn't construct a zvTypedRevolvedTool object",
  /// caused by 2105, 2103 or 2107 of the three numbers common to all (zvTool), by 2185 or 2186 of a
  /// shoulder, or by 2187 for one whose base length is not from the flute length to the shoulder
  /// length, to 1e-12; and the id of the type, caused by what its own checks throw. A shoulder that
  /// follows from the type's numbers is checked with these.
  zvTypedRevolvedTool(const zvToolType& type, const zvToolValues& values);

  void Scale(Units newUnits, double factor) override;
  void SetUnitsOfParts(Units units, bool keepNumbers) override;

 private:
  zvToolShoulder TypesShoulder() const;
  void ValidateShoulder() const;
  void RunOwnChecks();

  const zvToolType* m_type;
  zvToolNumbers m_numbers;
  zvShoulderDefinitionExtender m_shoulder;
};

/// What a typed tool is made of. A shoulder, if there is one, replaces that of the type.
struct zvToolValues {
  zvToolNumbers numbers;
  zvTool::Holder holder;
  zvTool::Arbor arbor;
  std::optional<zvTypedRevolvedTool::zvShoulderDefinitionExtender> shoulder{};
  zvTool::Units units = measures::zvUnitsFactory::metric;
};

}  // namespace cadcam
