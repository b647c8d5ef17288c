// zvLatheTool: a tool that doesn't turn.
#pragma once

#include <kandrel/cadcam/tools/tool.h>
#include <kandrel/cadcam/tools/tool_part.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>

namespace cadcam {

/// A lathe tool: a solid of any kind, a part in the place of the arbor, and a holder.
class KANDREL_API zvLatheTool final : public zvTool {
 public:
  using Part = zvToolPartDefinition<double>;

  /// Holder and arbor without extent and a solid without points, metric.
  zvLatheTool();
  /// Throws zvmeasuresException 2141 for unknown units, and zvcadcamException 2175 "Couldn't
  /// construct a zvLatheTool object", caused by what ValidateHolder and ValidateArbor throw. Of the
  /// solid nothing is checked.
  zvLatheTool(const Holder& holder, const Arbor& arbor, const Part& solid, Units units);

  const Holder& GetHolder() const override { return m_holder; }
  const Arbor& GetArbor() const override { return m_arbor; }
  /// The solid of the insert, as the constructor took it.
  const Part& GetSolid() const noexcept { return m_solid; }

  /// 0: it is not round.
  double GetDiameter() const override { return 0; }
  /// Both the height of the solid.
  double GetFluteLength() const override { return m_solid.GetHeight(); }
  double GetShoulderLength() const override { return m_solid.GetHeight(); }

  void AcceptVisitor(zvToolBranchVisitor& visitor) const override { visitor.Visit(*this); }
  void AcceptVisitor(zvToolVisitor& visitor) const override { visitor.Visit(*this); }
  misc::zvAutoPointer<zvTool> Clone() const override;
  void Validate() const override;

 protected:
  void Scale(Units, double) override {}
  void SetUnitsOfParts(Units units, bool keepNumbers) override;

 private:
  Holder m_holder;
  Arbor m_arbor;
  Part m_solid;
};

}  // namespace cadcam
