// zvTool and zvRevolvedTool: what all cutting tools have.
#pragma once

#include <kandrel/cadcam/tools/solid_users.h>
#include <kandrel/cadcam/tools/tool_part.h>
#include <kandrel/cadcam/tools/tool_visitor.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/measurable.h>

namespace cadcam {

/// A cutting tool, from its tip upwards: what cuts, up to the flute length; the rest of its own
/// body, up to the shoulder length; then the arbor; and the holder from the arbor's end. Lengths,
/// also those of its parts, are in the tool's units; angles in degrees.
///
/// 1. A tool that can't be is refused by its constructor, with a coded message. Default
///    constructors check nothing: some defaults would be refused. A copy is made without a check.
/// 2. Tools don't change, but for their units. Parts that come in other units than the tool are
///    converted to the tool's.
/// 3. A number at the very edge of what a check takes may lie beyond it once the units have
///    changed: the slack of the checks is the same in all units, and rounding moves the rest.
///    Validate may then refuse what a constructor has taken; a revolved tool remembers that it has
///    passed.
/// 4. Where a check compares, a number that is none fails it. Infinite numbers pass what they
///    satisfy.
class KANDREL_API zvTool : public measures::zvMeasurable {
 public:
  using Units = measures::zvUnitsFactory::Units;
  using Holder = zvHolderDefinition<double>;
  using Arbor = zvArborDefinition<double>;

  /// Holder and arbor, which belong to the tool, and the length from the tip to the arbor, in the
  /// tool's units.
  virtual const Holder& GetHolder() const = 0;
  virtual const Arbor& GetArbor() const = 0;
  virtual double GetShoulderLength() const = 0;
  /// The arbor's height plus the shoulder length.
  virtual double GetTotalLength() const;
  /// From the tip to where it ceases to cut, in the tool's units.
  virtual double GetFluteLength() const = 0;
  /// Both call the visitor's slot of the tool's own class or branch.
  virtual void AcceptVisitor(zvToolBranchVisitor& visitor) const = 0;
  virtual void AcceptVisitor(zvToolVisitor& visitor) const = 0;
  /// The diameter in the tool's units; 0 for a lathe tool.
  virtual double GetDiameter() const = 0;

  /// Throw what zvHolderValidation and zvArborValidation report of a revolved solid. Of an extruded
  /// one and a mesh they throw the report of a radius for an x or y that is no number, and that of
  /// a height for a z; a part that isn't defined passes.
  virtual void ValidateHolder(const Holder& holder) const;
  virtual void ValidateArbor(const Arbor& arbor) const;

  /// True when the tool has a shoulder other than that which follows from its class.
  virtual bool HasShoulderDefinition() const { return false; }

  /// Check a length against the tool's others. They throw zvcadcamException 2105 "Invalid tool
  /// diameter" unless it is above 0; 2103 "Invalid flute length" unless it is above 0 and at most
  /// the shoulder length, and 2107 "Invalid shoulder length" unless it is at least the flute
  /// length, both to 1e-6.
  virtual void ValidateDiameter(double diameter) const;
  virtual void ValidateFluteLength(double fluteLength) const;
  virtual void ValidateShoulderLength(double shoulderLength) const;

  /// A new copy, as its own class.
  virtual misc::zvAutoPointer<zvTool> Clone() const = 0;
  /// Throws what the constructor that takes all values throws for those of this tool, which may
  /// come from a default constructor.
  virtual void Validate() const = 0;

 protected:
  using zvMeasurable::zvMeasurable;
};

/// A tool that turns about its axis.
class KANDREL_API zvRevolvedTool : public zvTool {
 public:
  /// Check a solid as ValidateHolder and ValidateArbor say.
  class KANDREL_API HolderValidator : public zvRevolvedSolidVisitor<double> {
   public:
    using zvRevolvedSolidVisitor::Visit;
    void Visit(const zvMeshSolidDefinition<double>& solid) override;
    void Visit(const zvExtrudedSolidDefinition<double>& solid) override;
    void Visit(const zvRevolvedSolidDefinition<double>& solid) override;
  };
  /// The same of an arbor.
  class KANDREL_API ArborValidator : public zvRevolvedSolidVisitor<double> {
   public:
    using zvRevolvedSolidVisitor::Visit;
    void Visit(const zvMeshSolidDefinition<double>& solid) override;
    void Visit(const zvExtrudedSolidDefinition<double>& solid) override;
    void Visit(const zvRevolvedSolidDefinition<double>& solid) override;
  };

  /// True for a tool that a constructor has checked, and for its copies, also in other units.
  bool HasPassedChecks() const noexcept { return m_checks == Checks::all; }

  const Holder& GetHolder() const override { return m_holder; }
  const Arbor& GetArbor() const override { return m_arbor; }

 protected:
  /// Whether a constructor checks its values.
  enum class Checks { none, all };

  /// With checks: throws zvcadcamException 2106 "Couldn't construct a zvRevolvedTool object",
  /// caused by what ValidateHolder and ValidateArbor throw.
  zvRevolvedTool(Holder holder, Arbor arbor, Units units, Checks checks);

  void Scale(Units, double) override {}
  void SetUnitsOfParts(Units units, bool keepNumbers) override;

 private:
  Checks m_checks;
  Holder m_holder;
  Arbor m_arbor;
};

}  // namespace cadcam
