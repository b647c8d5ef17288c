#include <kandrel/cadcam/tools/hole_tools.h>
#include <kandrel/cadcam/tools/mills.h>
#include <kandrel/cadcam/tools/tool_caster.h>
#include <kandrel/misc/exception.h>

#include <string>

namespace cadcam {

namespace {

using Checker = zvToolCaster::zvCasting2TypedRevolvedChecker;

[[noreturn]] void Refuse(const wchar_t* from) {
  throw misc::zvException(
      0, std::wstring(L"Illegal casting of ") + from + L"& to zvTypedRevolvedTool& type object");
}

}  // namespace

void Checker::Visit(const zvLatheTool&) {
  Refuse(L"zvLatheTool");
}
void Checker::Visit(const zvGenericRevolvedTool&) {
  Refuse(L"zvGenericRevolvedTool");
}
void Checker::Visit(const zvTool&) {
  Refuse(L"zvTool");
}

void Checker::Visit(const zvConvexTipMill& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvBarrelMill& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvTapRH& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvTapLH& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvTaperMill& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvSpotDrill& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvSpherMill& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvSlotMill& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvReamer& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvRadMill& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvLolMill& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvFaceMill& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvEndMill& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvDrill& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvDoveMill& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvCtrDrill& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvCSink& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvCntrBore& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvChamferMill& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvBullMill& tool) {
  m_tool = &tool;
}
void Checker::Visit(const zvBoreBar& tool) {
  m_tool = &tool;
}

const zvTypedRevolvedTool& zvToolCaster::Cast(const zvTool& tool) {
  Checker checker;
  tool.AcceptVisitor(checker);
  return *checker.GetTool();
}

// The tool itself is not const; the visitor alone may not change it.
zvTypedRevolvedTool& zvToolCaster::Cast(zvTool& tool) {
  return const_cast<zvTypedRevolvedTool&>(Cast(static_cast<const zvTool&>(tool)));
}

misc::zvAutoPointer<zvTypedRevolvedTool> zvToolCaster::Cast(
    const misc::zvAutoPointer<zvTool>& tool) {
  return {tool, &Cast(*tool)};
}

}  // namespace cadcam
