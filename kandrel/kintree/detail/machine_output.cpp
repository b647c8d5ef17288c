#include <kandrel/kintree/detail/machine_output.h>
#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>

namespace kintree::detail {

using post::zvMachDefUtils;
using post::zvPostException;

namespace {

mkdAxis::Vector ToFloat(const post::zvMachDef::Point& p) {
  return {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
}

}  // namespace

zvXMLOutputInterpreter::zvXMLOutputInterpreter(const post::zvMachDef& machDef,
                                               const std::vector<std::wstring>& names)
    : m_machDef(machDef), m_names(names) {
  if (names.size() != 3 + static_cast<std::size_t>(machDef.GetNumbersOfAxes()))
    throw zvPostException(zvPostException::kAxisNameCount);
}

void zvXMLOutputInterpreter::Visit(mkdTranslationalAxis& axis) {
  if (++m_tranCount > 3) throw zvPostException(zvPostException::kTooManyTranslationsInFile);
  for (int i = 0; i < 3; ++i) {
    if (axis.GetName() != m_names[static_cast<std::size_t>(i)]) continue;
    axis.SetMinimum(m_machDef.GetMinLimits()[i]);
    axis.SetMaximum(m_machDef.GetMaxLimits()[i]);
    return;
  }
  throw zvPostException(zvPostException::kMissingTranslationInFile);
}

zvXMLOutputInterpreter::Rotary zvXMLOutputInterpreter::RotaryOf(const std::wstring& name) const {
  switch (m_machDef.GetNumbersOfAxes()) {
    case post::zvMachDef::fourAxes: {
      const post::zv4axMachDef& m = zvMachDefUtils::As4ax(m_machDef);
      if (m_rotaryCount == 0)
        return {m.GetRotationDirection(), m.GetRotationPivot(), m.GetMinAngle(), m.GetMaxAngle()};
      break;
    }
    case post::zvMachDef::fiveAxes: {
      const post::zv5axMachDef& m = zvMachDefUtils::As5ax(m_machDef);
      if (name == m_names[3])
        return {m.GetFirstRotationDirection(), m.GetFirstRotationPivot(), m.GetMinFirstAngle(),
                m.GetMaxFirstAngle()};
      if (name == m_names[4])
        return {m.GetSecondRotationDirection(), m.GetSecondRotationPivot(), m.GetMinSecondAngle(),
                m.GetMaxSecondAngle()};
      break;
    }
    case post::zvMachDef::sixAxes: {
      const post::zv6axMachDef& m = zvMachDefUtils::As6ax(m_machDef);
      if (name == m_names[3])
        return {m.GetFirstRotationDirection(), m.GetFirstRotationPivot(), m.GetMinFirstAngle(),
                m.GetMaxFirstAngle()};
      if (name == m_names[4])
        return {m.GetSecondRotationDirection(), m.GetSecondRotationPivot(), m.GetMinSecondAngle(),
                m.GetMaxSecondAngle()};
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
  throw zvPostException(zvPostException::kFileOutOfStep);
}

void zvXMLOutputInterpreter::Visit(mkdRotationalAxis& axis) {
  const Rotary rotary = RotaryOf(axis.GetName());
  axis.SetPivot(ToFloat(rotary.pivot));
  axis.SetInitialDirection(ToFloat(rotary.direction));
  axis.SetCurrentDirection(ToFloat(rotary.direction));
  axis.SetMinimum(rotary.minimum);
  axis.SetMaximum(rotary.maximum);
  if (++m_rotaryCount > 3) throw zvPostException(zvPostException::kTooManyRotationsInFile);
}

}  // namespace kintree::detail
