// zvXMLVersionValidator, zvXMLVersion1_3Validator: bring machines of old files up to date.
#pragma once

#include <kandrel/kintree/kintree_mach_def.h>
#include <kandrel/kintree/machine_visitors.h>
#include <kandrel/misc/export.h>

#include <string>

namespace kintree {

/// Gives a machine what files of its version didn't hold.
class KANDREL_API zvXMLVersionValidator {
 public:
  virtual ~zvXMLVersionValidator() = default;
  /// Looks at the machine. Throws what is wrong with it.
  virtual void Validate() = 0;

 protected:
  /// The machine outlives the object.
  zvXMLVersionValidator(zvKintreeMachDef& machine, std::wstring machineFileName);
  zvXMLVersionValidator(const zvXMLVersionValidator&) = default;

  /// What it was made with, for the derived class.
  zvKintreeMachDef& GetMachine() const noexcept { return m_machine; }
  const std::wstring& GetMachineFileName() const noexcept { return m_machineFileName; }

 private:
  zvKintreeMachDef& m_machine;
  std::wstring m_machineFileName;
};

/// A machine with a transform "workpiece_transform" and no toolpath gets an empty one below it,
/// with the name "toolpath", and the schema toolpath.scm from the folder of the machine file. Files
/// of version 1.3 had none; machines of other versions are treated alike.
class KANDREL_API zvXMLVersion1_3Validator final : public zvXMLVersionValidator {
 public:
  /// Refers to the machine, which outlives it; the name of its file is for the texts of exceptions.
  zvXMLVersion1_3Validator(zvKintreeMachDef& machine, std::wstring machineFileName);

  /// Throws zvMachineSimulatorException kDuplicateIdentifier where another object has that name.
  /// Linear in the objects.
  void Validate() override;
};

/// Looks for a toolpath and for the transform that it belongs below.
class KANDREL_API zvMachDefVisitorFor1_3XML final : public mkdMSHelperKOVisitor {
 public:
  /// The machine outlives the object.
  zvMachDefVisitorFor1_3XML(zvKintreeMachDef& machine, std::wstring machineFileName);

  /// Both as of the last walk or visit: true after a toolpath; null without the transform.
  bool HasToolpath() const noexcept { return m_hasToolpath; }
  const mkdKinematicObjectPointer& GetTransform() const noexcept { return m_transform; }
  /// As given to the constructor.
  const std::wstring& GetMachineFileName() const noexcept { return m_machineFileName; }

  using mkdMSHelperKOVisitor::Visit;
  void Visit(mkdCoordinateTransform& object) override;
  void Visit(mkdToolpathGeometry& object) override;

 private:
  bool m_hasToolpath = false;
  mkdKinematicObjectPointer m_transform;
  std::wstring m_machineFileName;
};

}  // namespace kintree
