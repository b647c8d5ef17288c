#include <kandrel/kintree/detail/machine_output.h>
#include <kandrel/kintree/machine_file_reader.h>
#include <kandrel/kintree/machine_file_writer.h>
#include <kandrel/kintree/machine_overwrite.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>

#include <utility>

zvXMLOverwrite::zvXMLOverwrite(const std::wstring& xmlPath, const MachDefPointer& machDef,
                               Names axisNames)
    : m_path(xmlPath), m_machDef(machDef), m_axisNames(std::move(axisNames)) {
  const auto axes = static_cast<std::size_t>(post::zvMachDefUtils::GetNumberOfAxes(m_machDef));
  if (m_axisNames.empty()) {
    m_axisNames = {L"X", L"Y", L"Z", L"C", L"B", L"D"};
    m_axisNames.resize(axes);
  }
  if (m_axisNames.size() != axes)
    throw post::zvPostException(post::zvPostException::kAxisNameCount);
}

void zvXMLOverwrite::Overwrite() {
  const auto metric =
      misc::MakeAutoPointer<measures::zvUnitsFactory::Units>(measures::zvUnitsFactory::metric);
  const auto machine = kintree::zvV2XMLReader(m_path).Read(metric);
  kintree::detail::zvXMLOutputInterpreter interpreter(*m_machDef, m_axisNames);
  for (const kintree::mkdKinematicNode& node : machine->GetTree())
    node.GetValue()->AcceptVisitor(interpreter);
  kintree::zvV2XMLWriter(*machine, m_path).Write();
}
