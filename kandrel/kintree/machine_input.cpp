#include <kandrel/kintree/detail/machine_interpreter.h>
#include <kandrel/kintree/machine_file_reader.h>
#include <kandrel/kintree/machine_input.h>

zvXMLInputSurround::MachDefPointer zvXMLInputSurround::GetMachDef() {
  Visit();
  return m_machDef;
}

const zvXMLInputSurround::Names& zvXMLInputSurround::GetAxisName() {
  Visit();
  return m_axisNames;
}

void zvXMLInputSurround::Visit() {
  if (m_visited) return;
  m_rotAxisFound.clear();
  m_tranAxisFound.clear();
  const auto metric =
      misc::MakeAutoPointer<measures::zvUnitsFactory::Units>(measures::zvUnitsFactory::metric);
  const auto machine = kintree::zvV2XMLReader(m_path).Read(metric);
  kintree::detail::zvXMLInputInterpreter interpreter(*machine, m_requestedNames, m_spindleDirection,
                                                     m_rotAxisFound, m_tranAxisFound);
  for (const kintree::mkdKinematicNode& node : machine->GetTree()) {
    const kintree::mkdKinematicObject& object = *node.GetValue();
    object.AcceptVisitor(interpreter);
  }
  interpreter.Finish();
  m_machDef = interpreter.MakeMachDef();
  m_axisNames = interpreter.GetAxisNames();
  m_version = machine->GetVersion();
  m_machine = machine;
  m_visited = true;
}
