// zvCNCMoveVisitor and zvCNCMoveVisitorSetter: find out of which class a toolpath move is.
#pragma once

#include <kandrel/misc/export.h>

namespace cadcam {

class zvCNCMove;
class zv3axMove;
class zv5axMove;

/// Visits moves that it may not change. A visitor that has no use for a plain zvCNCMove throws from
/// its last slot.
class KANDREL_API zvCNCMoveVisitor {
 public:
  /// A move calls the one of its own class, through AcceptVisitor.
  virtual void Visit(const zv5axMove& move) = 0;
  virtual void Visit(const zv3axMove& move) = 0;
  virtual void Visit(const zvCNCMove& move) = 0;

 protected:
  ~zvCNCMoveVisitor() = default;
};

/// Visits moves that it may change.
class KANDREL_API zvCNCMoveVisitorSetter {
 public:
  /// A move calls the one of its own class, through AcceptVisitor.
  virtual void Visit(zv5axMove& move) = 0;
  virtual void Visit(zv3axMove& move) = 0;
  virtual void Visit(zvCNCMove& move) = 0;

 protected:
  ~zvCNCMoveVisitorSetter() = default;
};

}  // namespace cadcam
