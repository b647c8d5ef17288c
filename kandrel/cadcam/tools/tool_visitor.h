// zvToolVisitor and zvToolBranchVisitor: find out of which class a tool is.
#pragma once

#include <kandrel/misc/export.h>

namespace cadcam {

class zvTool;
class zvLatheTool;
class zvGenericRevolvedTool;
class zvTypedRevolvedTool;
class zvConvexTipMill;
class zvBarrelMill;
class zvTapRH;
class zvTapLH;
class zvTaperMill;
class zvSpotDrill;
class zvSpherMill;
class zvSlotMill;
class zvReamer;
class zvRadMill;
class zvLolMill;
class zvFaceMill;
class zvEndMill;
class zvDrill;
class zvDoveMill;
class zvCtrDrill;
class zvCSink;
class zvCntrBore;
class zvChamferMill;
class zvBullMill;
class zvBoreBar;

/// Visits tools, which it may not change. A tool calls the slot of its own class, through
/// AcceptVisitor; the last one is for a class beyond these, and most visitors refuse it.
class KANDREL_API zvToolVisitor {
 public:
  virtual ~zvToolVisitor() = default;
  /// The slots: one for each class, and the last for a class beyond these.
  virtual void Visit(const zvLatheTool& tool) = 0;
  virtual void Visit(const zvGenericRevolvedTool& tool) = 0;
  virtual void Visit(const zvConvexTipMill& tool) = 0;
  virtual void Visit(const zvBarrelMill& tool) = 0;
  virtual void Visit(const zvTapRH& tool) = 0;
  virtual void Visit(const zvTapLH& tool) = 0;
  virtual void Visit(const zvTaperMill& tool) = 0;
  virtual void Visit(const zvSpotDrill& tool) = 0;
  virtual void Visit(const zvSpherMill& tool) = 0;
  virtual void Visit(const zvSlotMill& tool) = 0;
  virtual void Visit(const zvReamer& tool) = 0;
  virtual void Visit(const zvRadMill& tool) = 0;
  virtual void Visit(const zvLolMill& tool) = 0;
  virtual void Visit(const zvFaceMill& tool) = 0;
  virtual void Visit(const zvEndMill& tool) = 0;
  virtual void Visit(const zvDrill& tool) = 0;
  virtual void Visit(const zvDoveMill& tool) = 0;
  virtual void Visit(const zvCtrDrill& tool) = 0;
  virtual void Visit(const zvCSink& tool) = 0;
  virtual void Visit(const zvCntrBore& tool) = 0;
  virtual void Visit(const zvChamferMill& tool) = 0;
  virtual void Visit(const zvBullMill& tool) = 0;
  virtual void Visit(const zvBoreBar& tool) = 0;
  virtual void Visit(const zvTool& tool) = 0;
};

/// Visits tools by the branch of the family that they are of: the typed ones share a slot.
class KANDREL_API zvToolBranchVisitor {
 public:
  virtual ~zvToolBranchVisitor() = default;
  /// The slots: one for each branch.
  virtual void Visit(const zvLatheTool& tool) = 0;
  virtual void Visit(const zvGenericRevolvedTool& tool) = 0;
  virtual void Visit(const zvTypedRevolvedTool& tool) = 0;
};

}  // namespace cadcam
