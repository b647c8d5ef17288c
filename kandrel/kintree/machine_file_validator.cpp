#include <kandrel/kintree/detail/machine_file_schema.h>
#include <kandrel/kintree/detail/machine_file_values.h>
#include <kandrel/kintree/machine_file_validator.h>

#include <utility>

namespace kintree {

zvXMLVersionValidator::zvXMLVersionValidator(zvKintreeMachDef& machine,
                                             std::wstring machineFileName)
    : m_machine(machine), m_machineFileName(std::move(machineFileName)) {}

zvXMLVersion1_3Validator::zvXMLVersion1_3Validator(zvKintreeMachDef& machine,
                                                   std::wstring machineFileName)
    : zvXMLVersionValidator(machine, std::move(machineFileName)) {}

void zvXMLVersion1_3Validator::Validate() {
  zvKintreeMachDef& machine = GetMachine();
  zvMachDefVisitorFor1_3XML visitor(machine, GetMachineFileName());
  visitor.Walk();
  if (visitor.HasToolpath() || !visitor.GetTransform()) return;
  const auto units = machine.GetUnits();
  machine.AddObject(
      misc::MakeAutoPointer<mkdToolpathGeometry>(
          L"toolpath", misc::MakeAutoPointer<zvToolPathGraphic<float>>(units), L"", units),
      visitor.GetTransform());
  const std::wstring folder = detail::FolderOf(GetMachineFileName());
  const std::wstring schema = detail::PathOf(folder, detail::kSchemaFile);
  machine.SetSchema(schema);
  machine.AddFile(schema);
}

zvMachDefVisitorFor1_3XML::zvMachDefVisitorFor1_3XML(zvKintreeMachDef& machine,
                                                     std::wstring machineFileName)
    : mkdMSHelperKOVisitor(machine), m_machineFileName(std::move(machineFileName)) {}

void zvMachDefVisitorFor1_3XML::Visit(mkdCoordinateTransform& object) {
  if (object.GetName() == L"workpiece_transform")
    m_transform = GetMachine().GetObject(object.GetName());
}

void zvMachDefVisitorFor1_3XML::Visit(mkdToolpathGeometry&) {
  m_hasToolpath = true;
}

}  // namespace kintree
