// zvToolCaster: from a tool to the typed revolved tool that it is.
#pragma once

#include <kandrel/cadcam/tools/tool.h>
#include <kandrel/cadcam/tools/tool_visitor.h>
#include <kandrel/cadcam/tools/typed_revolved_tool.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>

namespace cadcam {

/// Casts tools whose class isn't known. All forms give the same object. They throw zvException, id
/// 0, "Illegal casting of zvLatheTool& to zvTypedRevolvedTool& type object", and the same of
/// zvGenericRevolvedTool& and, for a class beyond all, of zvTool&; and "Accessing NULL pointer" for
/// a null pointer.
class KANDREL_API zvToolCaster {
 public:
  /// The visitor that does the work: it keeps the typed tool that it has visited last.
  class KANDREL_API zvCasting2TypedRevolvedChecker : public zvToolVisitor {
   public:
    void Visit(const zvLatheTool& tool) override;
    void Visit(const zvGenericRevolvedTool& tool) override;
    void Visit(const zvConvexTipMill& tool) override;
    void Visit(const zvBarrelMill& tool) override;
    void Visit(const zvTapRH& tool) override;
    void Visit(const zvTapLH& tool) override;
    void Visit(const zvTaperMill& tool) override;
    void Visit(const zvSpotDrill& tool) override;
    void Visit(const zvSpherMill& tool) override;
    void Visit(const zvSlotMill& tool) override;
    void Visit(const zvReamer& tool) override;
    void Visit(const zvRadMill& tool) override;
    void Visit(const zvLolMill& tool) override;
    void Visit(const zvFaceMill& tool) override;
    void Visit(const zvEndMill& tool) override;
    void Visit(const zvDrill& tool) override;
    void Visit(const zvDoveMill& tool) override;
    void Visit(const zvCtrDrill& tool) override;
    void Visit(const zvCSink& tool) override;
    void Visit(const zvCntrBore& tool) override;
    void Visit(const zvChamferMill& tool) override;
    void Visit(const zvBullMill& tool) override;
    void Visit(const zvBoreBar& tool) override;
    void Visit(const zvTool& tool) override;

    /// Null before the first.
    const zvTypedRevolvedTool* GetTool() const noexcept { return m_tool; }

   private:
    const zvTypedRevolvedTool* m_tool = nullptr;
  };

  zvToolCaster() = delete;
  /// The same object; a pointer shares its count.
  static const zvTypedRevolvedTool& Cast(const zvTool& tool);
  static zvTypedRevolvedTool& Cast(zvTool& tool);
  static misc::zvAutoPointer<zvTypedRevolvedTool> Cast(const misc::zvAutoPointer<zvTool>& tool);
};

}  // namespace cadcam
