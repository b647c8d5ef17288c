#include <kandrel/kintree/detail/machine_output.h>
#include <kandrel/kintree/machine_file_reader.h>
#include <kandrel/kintree/machine_file_writer.h>
#include <kandrel/kintree/machine_overwrite.h>
#include <kandrel/kintree/message_hook.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>

#include <utility>

namespace {

using measures::zvUnitsFactory;

const wchar_t* InWords(zvUnitsFactory::Units units) {
  return units == zvUnitsFactory::inch ? L"inch" : L"metric";
}

// Whether reading has made the first pivot another than that of the file.
bool HasRelativePivot(const post::zvMachDef& machDef) {
  if (machDef.GetNumbersOfAxes() != post::zvMachDef::fiveAxes) return false;
  const post::zv5axMachDef& five = post::zvMachDefUtils::As5ax(machDef);
  return five.GetFiveAxisKind() == post::zv5axMachDef::kBothInHead &&
         !five.GetSecondRotationPivot().IsZero();
}

}  // namespace

zvXMLOverwrite::zvXMLOverwrite(const std::wstring& xmlPath, const MachDefPointer& machDef,
                               Names axisNames)
    : m_path(xmlPath), m_referred(&machDef), m_axisNames(std::move(axisNames)) {
  CheckNames();
}

zvXMLOverwrite::zvXMLOverwrite(const std::wstring& xmlPath, MachDefPointer&& machDef,
                               Names axisNames)
    : m_path(xmlPath), m_kept(std::move(machDef)), m_axisNames(std::move(axisNames)) {
  CheckNames();
}

void zvXMLOverwrite::CheckNames() {
  const auto axes = static_cast<std::size_t>(post::zvMachDefUtils::GetNumberOfAxes(MachDef()));
  if (m_axisNames.empty()) {
    m_axisNames = {L"X", L"Y", L"Z", L"C", L"B", L"D"};
    m_axisNames.resize(axes);
  }
  if (m_axisNames.size() != axes)
    throw post::zvPostException(
        post::zvPostException::kAxisNameCount,
        misc::zvException(0, L"The machine has " + std::to_wstring(axes) + L" axes and " +
                                 std::to_wstring(m_axisNames.size()) + L" names."));
}

void zvXMLOverwrite::Overwrite() {
  const auto metric = misc::MakeAutoPointer<zvUnitsFactory::Units>(zvUnitsFactory::metric);
  const auto machine = kintree::zvV2XMLReader(m_path).Read(metric);
  kintree::detail::zvXMLOutputInterpreter interpreter(*MachDef(), m_axisNames);
  for (const kintree::mkdKinematicNode& node : machine->GetTree())
    node.GetValue()->AcceptVisitor(interpreter);
  const auto units = MachDef()->GetUnits();
  if (units != machine->GetUnits())
    kintree::TellUser(std::wstring(L"The machine is ") + InWords(units) +
                      L" and the machine file is " + InWords(machine->GetUnits()) +
                      L": the machine's numbers are written as they are.");
  const std::wstring missing = interpreter.GetMissing();
  if (!missing.empty())
    kintree::TellUser(L"The machine file has no axis " + missing +
                      L": what the machine says of it is not written.");
  if (HasRelativePivot(*MachDef()))
    kintree::TellUser(
        L"Both rotary axes are in the head: the first pivot is written as the machine has it, "
        L"relative to the second. Where it comes from this file the axis has moved.");
  kintree::zvV2XMLWriter(*machine, m_path).Write();
}
