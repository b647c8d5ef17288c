#include <kandrel/kintree/detail/machine_output.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>

#include <span>

namespace kintree::detail {

using post::zvMachDefUtils;
using post::zvPostException;

namespace {

mkdAxis::Vector ToFloat(const post::zvMachDef::Point& p) {
  return {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
}

std::wstring Quoted(std::span<const std::wstring> names) {
  std::wstring text;
  for (const std::wstring& name : names) {
    if (!text.empty()) text += L", ";
    ((text += L'\'') += name) += L'\'';
  }
  return text;
}

// The texts of the ids don't say which axis of the file it is.
[[noreturn]] void ThrowOf(const mkdAxis& axis, zvPostException::Id id, const std::wstring& what) {
  throw zvPostException(
      id, misc::zvException(0, L"The file's axis '" + axis.GetName() + L"' is " + what));
}

}  // namespace

zvXMLOutputInterpreter::zvXMLOutputInterpreter(const post::zvMachDef& machDef,
                                               const std::vector<std::wstring>& names)
    : m_machDef(machDef), m_names(names), m_isMet(names.size()) {
  if (names.size() != 3 + static_cast<std::size_t>(machDef.GetNumbersOfAxes()))
    throw zvPostException(zvPostException::kAxisNameCount);
}

std::wstring zvXMLOutputInterpreter::GetMissing() const {
  std::vector<std::wstring> missing;
  for (std::size_t i = 0; i < m_names.size(); ++i)
    if (!m_isMet[i]) missing.push_back(m_names[i]);
  return Quoted(missing);
}

void zvXMLOutputInterpreter::Visit(mkdTranslationalAxis& axis) {
  if (++m_tranCount > 3)
    ThrowOf(axis, zvPostException::kTooManyTranslationsInFile, L"its fourth translation axis.");
  for (int i = 0; i < 3; ++i) {
    if (axis.GetName() != m_names[static_cast<std::size_t>(i)]) continue;
    axis.SetMinimum(m_machDef.GetMinLimits()[i]);
    axis.SetMaximum(m_machDef.GetMaxLimits()[i]);
    m_isMet[static_cast<std::size_t>(i)] = true;
    return;
  }
  ThrowOf(axis, zvPostException::kMissingTranslationInFile,
          L"none of " + Quoted(std::span(m_names).first(3)) + L".");
}

template <class MachDef>
std::optional<zvXMLOutputInterpreter::Rotary> zvXMLOutputInterpreter::FirstOrSecond(
    const MachDef& m, const std::wstring& name) const {
  if (name == m_names[3])
    return Rotary{m.GetFirstRotationDirection(), m.GetFirstRotationPivot(), m.GetMinFirstAngle(),
                  m.GetMaxFirstAngle()};
  if (name == m_names[4])
    return Rotary{m.GetSecondRotationDirection(), m.GetSecondRotationPivot(), m.GetMinSecondAngle(),
                  m.GetMaxSecondAngle()};
  return std::nullopt;
}

zvXMLOutputInterpreter::Rotary zvXMLOutputInterpreter::RotaryOf(const mkdAxis& axis) const {
  const std::wstring& name = axis.GetName();
  switch (m_machDef.GetNumbersOfAxes()) {
    case post::zvMachDef::fourAxes: {
      const post::zv4axMachDef& m = zvMachDefUtils::As4ax(m_machDef);
      if (m_rotaryCount == 0)
        return {m.GetRotationDirection(), m.GetRotationPivot(), m.GetMinAngle(), m.GetMaxAngle()};
      ThrowOf(axis, zvPostException::kFileOutOfStep,
              L"its second rotary axis, and the machine has one.");
    }
    case post::zvMachDef::fiveAxes:
      if (const auto rotary = FirstOrSecond(zvMachDefUtils::As5ax(m_machDef), name)) return *rotary;
      ThrowOf(axis, zvPostException::kFileOutOfStep,
              L"none of " + Quoted(std::span(m_names).subspan(3)) + L".");
    case post::zvMachDef::sixAxes: {
      const post::zv6axMachDef& m = zvMachDefUtils::As6ax(m_machDef);
      if (const auto rotary = FirstOrSecond(m, name)) return *rotary;
      Rotary rotary;
      if (name == m_names[5]) {
        rotary.direction = m.GetThirdRotationDirection();
        rotary.pivot = m.GetThirdRotationPivot();
      }
      return rotary;
    }
    case post::zvMachDef::threeAxes:
      break;
  }
  ThrowOf(axis, zvPostException::kFileOutOfStep, L"a rotary axis, and the machine has none.");
}

void zvXMLOutputInterpreter::Visit(mkdRotationalAxis& axis) {
  const Rotary rotary = RotaryOf(axis);
  axis.SetPivot(ToFloat(rotary.pivot));
  axis.SetInitialDirection(ToFloat(rotary.direction));
  axis.SetCurrentDirection(ToFloat(rotary.direction));
  axis.SetMinimum(rotary.minimum);
  axis.SetMaximum(rotary.maximum);
  if (++m_rotaryCount > 3)
    ThrowOf(axis, zvPostException::kTooManyRotationsInFile, L"its fourth rotary axis.");
  // The one axis of four has any name.
  const bool isAnyName = m_machDef.GetNumbersOfAxes() == post::zvMachDef::fourAxes;
  for (std::size_t i = 3; i < m_names.size(); ++i)
    if (isAnyName || axis.GetName() == m_names[i]) m_isMet[i] = true;
}

}  // namespace kintree::detail
