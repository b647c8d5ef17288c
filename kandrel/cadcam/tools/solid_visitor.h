// zvSolidDefinitionVisitor and zvSolidDefinitionVisitorGetter: find out of which kind a solid is.
#pragma once

namespace cadcam {

template <class T>
class zvSolidDefinition;
template <class T>
class zvRevolvedSolidDefinition;
template <class T>
class zvExtrudedSolidDefinition;
template <class T>
class zvMeshSolidDefinition;

/// Visits solids that it may not change. A solid calls the slot of its own class, through
/// AcceptVisitor; the last one is for a class beyond these, and most visitors refuse it.
template <class T>
class zvSolidDefinitionVisitor {
 public:
  virtual ~zvSolidDefinitionVisitor() = default;
  /// The slots: one for each class, and the last for a class beyond these.
  virtual void Visit(const zvMeshSolidDefinition<T>& solid) = 0;
  virtual void Visit(const zvExtrudedSolidDefinition<T>& solid) = 0;
  virtual void Visit(const zvRevolvedSolidDefinition<T>& solid) = 0;
  virtual void Visit(const zvSolidDefinition<T>& solid) = 0;
};

/// Gets at solids to change them.
template <class T>
class zvSolidDefinitionVisitorGetter {
 public:
  virtual ~zvSolidDefinitionVisitorGetter() = default;
  /// The slots: one for each class, and the last for a class beyond these.
  virtual void Visit(zvMeshSolidDefinition<T>& solid) = 0;
  virtual void Visit(zvExtrudedSolidDefinition<T>& solid) = 0;
  virtual void Visit(zvRevolvedSolidDefinition<T>& solid) = 0;
  virtual void Visit(zvSolidDefinition<T>& solid) = 0;
};

}  // namespace cadcam
