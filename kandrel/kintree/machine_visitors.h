// mkdMSHelperKOVisitor, zvKinematicObjectTypeValidator and mkdGeometryChecker: visitors that walk a
// machine, or find out what an object is.
#pragma once

#include <kandrel/kintree/geometry.h>
#include <kandrel/kintree/held_tool.h>
#include <kandrel/kintree/kinematic_axis.h>
#include <kandrel/kintree/kinematic_visitor.h>
#include <kandrel/kintree/kintree_mach_def.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>

namespace kintree {

/// Walks all objects of a machine and does nothing with them: a derived class says what. It
/// overrides the slots that it needs, and names the others with `using`.
class KANDREL_API mkdMSHelperKOVisitor : public mkdKOSimVisitor {
 public:
  /// The machine outlives the object.
  explicit mkdMSHelperKOVisitor(zvKintreeMachDef& machine) : m_machine(machine) {}

  /// Visits the objects in the order of their names, those at root level or below others alike;
  /// with `parent`, only those right below that object. The current node is that of the object
  /// visited. What a visit throws passes. A visit may add objects: those whose names follow are
  /// visited too. It may also walk: its own node is the current one again then. Linear in all
  /// objects, also with `parent`.
  void Walk(const mkdKinematicObject* parent = nullptr);

  void Visit(mkdInitialStock&) override {}
  void Visit(mkdStockGeometry&) override {}
  void Visit(mkdWorkPiece&) override {}
  void Visit(mkdTranslationalAxis&) override {}
  void Visit(mkdRotationalAxis&) override {}
  void Visit(mkdCoordinateTransform&) override {}
  void Visit(mkdHeldTool&) override {}
  void Visit(mkdToolpathGeometry&) override {}
  void Visit(mkdPolygonalGeometry&) override {}
  void Visit(mkdKinematicObject&) override {}

 protected:
  /// The machine, which outlives the visitor.
  zvKintreeMachDef& GetMachine() const noexcept { return m_machine; }

 private:
  zvKintreeMachDef& m_machine;
};

/// Answers whether the object visited last is of a type; here, of none.
class KANDREL_API zvKinematicObjectTypeValidatorBase : public mkdKOConstVisitor {
 public:
  /// Whether the object visited last is of the class asked for.
  bool IsOfType() const noexcept { return m_isOfType; }

  void Visit(const mkdInitialStock&) override { Refuse(); }
  void Visit(const mkdStockGeometry&) override { Refuse(); }
  void Visit(const mkdWorkPiece&) override { Refuse(); }
  void Visit(const mkdTranslationalAxis&) override { Refuse(); }
  void Visit(const mkdRotationalAxis&) override { Refuse(); }
  void Visit(const mkdCoordinateTransform&) override { Refuse(); }
  void Visit(const mkdHeldTool&) override { Refuse(); }
  void Visit(const mkdToolpathGeometry&) override { Refuse(); }
  void Visit(const mkdPolygonalGeometry&) override { Refuse(); }
  /// Throws zvKintreeException, id 0, "Abstract class visited".
  void Visit(const mkdKinematicObject&) override;

 protected:
  /// What the slots call: the object is of the class, or isn't.
  void Accept() noexcept { m_isOfType = true; }
  virtual void Refuse() noexcept { m_isOfType = false; }

 private:
  bool m_isOfType = false;
};

/// Answers whether the object visited last is a T, and keeps a copy of it, which is no part of any
/// tree. T is mkdTranslationalAxis or mkdRotationalAxis.
template <class T>
class KANDREL_API zvKinematicObjectTypeValidator final : public zvKinematicObjectTypeValidatorBase {
 public:
  using zvKinematicObjectTypeValidatorBase::Visit;
  void Visit(const T& object) override {
    m_object = misc::MakeAutoPointer<T>(object);
    Accept();
  }

  /// Null unless IsOfType.
  const misc::zvAutoPointer<T>& GetObject() const noexcept { return m_object; }

 protected:
  void Refuse() noexcept override {
    m_object = nullptr;
    zvKinematicObjectTypeValidatorBase::Refuse();
  }

 private:
  misc::zvAutoPointer<T> m_object;
};

extern template class zvKinematicObjectTypeValidator<mkdTranslationalAxis>;
extern template class zvKinematicObjectTypeValidator<mkdRotationalAxis>;

/// Confirms that a name in a collision group stands for a real object: any object will do, but
/// stock, initial stock, workpiece and plain geometry must have a mesh.
class KANDREL_API mkdGeometryChecker final : public mkdKOConstVisitor {
 public:
  /// False until a visit has passed.
  bool IsChecked() const noexcept { return m_isChecked; }

  /// The first three and the one of mkdPolygonalGeometry throw "Accessing NULL pointer" for an
  /// object without a mesh.
  void Visit(const mkdInitialStock& object) override;
  void Visit(const mkdStockGeometry& object) override;
  void Visit(const mkdWorkPiece& object) override;
  void Visit(const mkdTranslationalAxis&) override { m_isChecked = true; }
  void Visit(const mkdRotationalAxis&) override { m_isChecked = true; }
  void Visit(const mkdCoordinateTransform&) override { m_isChecked = true; }
  void Visit(const mkdHeldTool&) override { m_isChecked = true; }
  void Visit(const mkdToolpathGeometry&) override { m_isChecked = true; }
  void Visit(const mkdPolygonalGeometry& object) override;
  /// Throws zvKintreeException, id 0, "Cannot visit abstract class".
  void Visit(const mkdKinematicObject& object) override;

 private:
  void Check(const mkdPolygonalGeometry& object);

  bool m_isChecked = false;
};

}  // namespace kintree
