// zvSolidDefinitionCloner, zvRevolvedSolidExtractor, zvCasting2SolidDefinitionChecker and
// zvRevolvedSolidVisitor: what is asked of a solid whatever its kind.
#pragma once

#include <kandrel/cadcam/tools/solid_definition.h>
#include <kandrel/cadcam/tools/solid_visitor.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>

namespace cadcam {

/// Base of what has something to do with revolved solids alone and lets the others pass.
template <class T>
class zvRevolvedSolidVisitor : public zvSolidDefinitionVisitor<T> {
 public:
  void Visit(const zvMeshSolidDefinition<T>&) override {}
  void Visit(const zvExtrudedSolidDefinition<T>&) override {}
  void Visit(const zvRevolvedSolidDefinition<T>& solid) override = 0;
  void Visit(const zvSolidDefinition<T>&) override {}
};

/// Makes a deep copy of any solid it visits.
template <class T>
class zvSolidDefinitionCloner : public zvSolidDefinitionVisitor<T> {
 public:
  void Visit(const zvMeshSolidDefinition<T>& solid) override { Keep(solid); }
  void Visit(const zvExtrudedSolidDefinition<T>& solid) override { Keep(solid); }
  void Visit(const zvRevolvedSolidDefinition<T>& solid) override { Keep(solid); }
  void Visit(const zvSolidDefinition<T>& solid) override { Keep(solid); }

  /// The copy of the solid visited last; null before.
  const misc::zvAutoPointer<zvSolidDefinition<T>>& GetClone() const noexcept { return m_clone; }

 private:
  void Keep(const zvSolidDefinition<T>& solid) { m_clone = solid.Clone(); }

  misc::zvAutoPointer<zvSolidDefinition<T>> m_clone;
};

/// Takes revolved solids alone. The others it refuses: zvcadcamException 2172 "Couldn't handle mesh
/// solid definition", 2171 "Couldn't handle extruded solid definition", and 2177 "Couldn't handle
/// solid definition" for a class beyond the three.
template <class T>
class KANDREL_API zvCasting2SolidDefinitionChecker : public zvSolidDefinitionVisitor<T> {
 public:
  void Visit(const zvMeshSolidDefinition<T>& solid) override;
  void Visit(const zvExtrudedSolidDefinition<T>& solid) override;
  void Visit(const zvRevolvedSolidDefinition<T>& solid) override { m_solid = &solid; }
  void Visit(const zvSolidDefinition<T>& solid) override;

  /// The revolved solid visited last, which the caller still owns; null before.
  const zvRevolvedSolidDefinition<T>* GetSolid() const noexcept { return m_solid; }

 private:
  const zvRevolvedSolidDefinition<T>* m_solid = nullptr;
};

/// Hands out the revolved solid that it visits; refuses the others as the checker does.
template <class T>
class zvRevolvedSolidExtractor : public zvCasting2SolidDefinitionChecker<T> {
 public:
  /// The solid as a revolved one; it lives as long as the solid does. Throws as the visits.
  static const zvRevolvedSolidDefinition<T>& Extract(const zvSolidDefinition<T>& solid) {
    zvRevolvedSolidExtractor extractor;
    solid.AcceptVisitor(extractor);
    return *extractor.GetSolid();
  }
};

extern template class zvCasting2SolidDefinitionChecker<double>;

}  // namespace cadcam
