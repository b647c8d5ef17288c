// zvPostedVisitor: a slot for each class of posted move.
#pragma once

#include <kandrel/misc/export.h>

namespace post {

class zvPostedMove;
class zvPosted3axMove;
class zvPosted4axMove;
class zvPosted5axMove;
class zvPosted6axMove;

/// A move calls the slot of its own class: zvPostedMove::AcceptVisitor.
class KANDREL_API zvPostedVisitor {
 public:
  /// The slots: one for each class.
  virtual void Visit(const zvPosted6axMove& move) = 0;
  virtual void Visit(const zvPosted5axMove& move) = 0;
  virtual void Visit(const zvPosted4axMove& move) = 0;
  virtual void Visit(const zvPosted3axMove& move) = 0;
  /// For a move of no class; it refuses.
  virtual void Visit(const zvPostedMove& move) = 0;

 protected:
  ~zvPostedVisitor() = default;
};

}  // namespace post
