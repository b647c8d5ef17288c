// zvGenericRevolvedTool: a revolved tool that is told by the profiles of its parts.
#pragma once

#include <kandrel/cadcam/tools/tool.h>
#include <kandrel/cadcam/tools/tool_part.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>

namespace cadcam {

/// A tool of a cutting and a non-cutting part, which begins where the cutting part ends.
class KANDREL_API zvGenericRevolvedTool final : public zvRevolvedTool {
 public:
  using Part = zvToolPartDefinition<double>;

  /// A cylinder of diameter 10, of which 20 cut and 20 don't, with an arbor and a holder; metric.
  zvGenericRevolvedTool();
  /// Throws zvmeasuresException 2141 for unknown units; zvcadcamException 2106 for holder and
  /// arbor, as zvRevolvedTool; and 2159 "Couldn't construct a zvGenericRevolvedTool object", caused
  /// by what ValidateCuttingPart and then ValidateNonCuttingPart throw.
  zvGenericRevolvedTool(const Part& cuttingPart, const Part& nonCuttingPart, const Arbor& arbor,
                        const Holder& holder, Units units);

  /// The parts as the constructor took them; heights count from each part's own start.
  const Part& GetCuttingPart() const noexcept { return m_cuttingPart; }
  const Part& GetNonCuttingPart() const noexcept { return m_nonCuttingPart; }

  /// Twice the largest radius of the cutting part.
  double GetDiameter() const override;
  /// The height of the cutting part, and of both parts.
  double GetFluteLength() const override { return m_cuttingPart.GetHeight(); }
  double GetShoulderLength() const override;

  /// Throw "Accessing NULL pointer" for a part that isn't defined, what zvRevolvedSolidExtractor
  /// throws for solids that are not revolved, and what zvCuttingPartValidation and
  /// zvNonCuttingPartValidation report; for a cutting part whose height is not above 0 also
  /// zvcadcamException 2165 "Cutting part's height must be greater than 0".
  virtual void ValidateCuttingPart(const Part& part) const;
  virtual void ValidateNonCuttingPart(const Part& part) const;

  void AcceptVisitor(zvToolBranchVisitor& visitor) const override { visitor.Visit(*this); }
  void AcceptVisitor(zvToolVisitor& visitor) const override { visitor.Visit(*this); }
  misc::zvAutoPointer<zvTool> Clone() const override;
  void Validate() const override;

 protected:
  void SetUnitsOfParts(Units units, bool keepNumbers) override;

 private:
  Part m_cuttingPart;
  Part m_nonCuttingPart;
};

}  // namespace cadcam
