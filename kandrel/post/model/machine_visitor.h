// zvMachineVisitor: a slot for each class of machine definition.
#pragma once

#include <kandrel/misc/export.h>

namespace post {

class zvMachDef;
class zv3axMachDef;
class zv4axMachDef;
class zv5axMachDef;
class zv6axMachDef;

/// A definition calls the slot of its own class: zvMachDef::AcceptVisitor.
class KANDREL_API zvMachineVisitor {
 public:
  /// The slots: one for each class.
  virtual void Visit(const zv6axMachDef& machDef) = 0;
  virtual void Visit(const zv5axMachDef& machDef) = 0;
  virtual void Visit(const zv4axMachDef& machDef) = 0;
  virtual void Visit(const zv3axMachDef& machDef) = 0;
  /// For a definition of no known class; it refuses.
  virtual void Visit(const zvMachDef& machDef) = 0;

 protected:
  ~zvMachineVisitor() = default;
};

}  // namespace post
