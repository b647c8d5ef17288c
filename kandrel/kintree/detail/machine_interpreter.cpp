#include <kandrel/kintree/detail/machine_interpreter.h>
#include <kandrel/kintree/geometry.h>
#include <kandrel/kintree/held_tool.h>
#include <kandrel/post/model/post_exception.h>

#include <algorithm>
#include <utility>

namespace kintree::detail {

using post::zvPostException;

namespace {

constexpr std::wstring_view kTool = L"tool";
constexpr std::wstring_view kWorkpiece[] = {L"workpiece", L"werkstueck"};
constexpr std::wstring_view kLinearNames[] = {L"X", L"Y", L"Z"};

zvXMLInputInterpreter::Point ToDouble(const cadcam::zvTPoint3d<float>& p) {
  return {p.x, p.y, p.z};
}

zvXMLInputInterpreter::Point BaseVector(std::size_t slot) {
  zvXMLInputInterpreter::Point base;
  base[static_cast<int>(slot)] = 1;
  return base;
}

bool IsAlong(const zvXMLInputInterpreter::Point& direction, std::size_t slot) {
  return direction == BaseVector(slot) || direction == -BaseVector(slot);
}

// Of ASCII letters: identifiers of other ones are none of the words.
std::wstring LowerCase(std::wstring text) {
  for (wchar_t& c : text)
    if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
  return text;
}

bool IsWorkpiece(std::wstring_view name) {
  return std::find(std::begin(kWorkpiece), std::end(kWorkpiece), name) != std::end(kWorkpiece);
}

}  // namespace

zvXMLInputInterpreter::zvXMLInputInterpreter(const zvKintreeMachDef& machine,
                                             const Names& requestedNames,
                                             const Point& spindleDirection, Names& rotAxisFound,
                                             Names& tranAxisFound)
    : m_machine(machine),
      m_requestedNames(requestedNames),
      m_rotAxisFound(rotAxisFound),
      m_tranAxisFound(tranAxisFound),
      m_namesGiven(!requestedNames.empty()) {
  for (std::size_t i = 0; i < 3; ++i) m_linear[i].direction = BaseVector(i);
  if (!m_namesGiven) return;
  // The same error for a list that is too short: deliberate, there is no other for it.
  if (requestedNames.size() < 3 || requestedNames.size() > 6)
    throw zvPostException(zvPostException::kTooManyTranslationsInFile);
  m_spindle = spindleDirection;
}

bool zvXMLInputInterpreter::Carries(const mkdAxis& axis, std::wstring_view word) const {
  if (axis.GetName() == word) return true;
  const auto below = mkdKinematicTree::Below(m_machine.GetNode(axis.GetName()));
  return std::any_of(below.begin(), below.end(), [&](const mkdKinematicNode& node) {
    return node.GetValue()->GetName() == word;
  });
}

bool zvXMLInputInterpreter::CarriesAny(const mkdAxis& axis) const {
  return Carries(axis, kTool) || Carries(axis, kWorkpiece[0]) || Carries(axis, kWorkpiece[1]);
}

// An axis that moves the workpiece drives the tool the opposite way. Its zeros take the sign too:
// deliberate, so stored forms hold them.
zvXMLInputInterpreter::Point zvXMLInputInterpreter::SignedDirection(const mkdAxis& axis) const {
  const Point direction = ToDouble(axis.GetInitialDirection());
  return Carries(axis, kTool) ? direction : direction * -1.0;
}

void zvXMLInputInterpreter::TakeRotary(const mkdRotationalAxis& axis, std::size_t slot) {
  m_rotary[slot] = {ToDouble(axis.GetInitialDirection()), ToDouble(axis.GetPivot()),
                    axis.GetMinimum(), axis.GetMaximum()};
  m_axisNames.push_back(axis.GetName());
  m_rotaryCount = m_rotaryCount == 0 ? 1 : 2;
}

void zvXMLInputInterpreter::Visit(const mkdRotationalAxis& axis) {
  m_rotAxisFound.push_back(axis.GetName());
  if (!m_namesGiven) {
    if (!CarriesAny(axis)) return;
    if (m_rotaryCount > 1) throw zvPostException(zvPostException::kTooManyRotationsInFile);
    TakeRotary(axis, static_cast<std::size_t>(m_rotaryCount));
    return;
  }
  for (std::size_t i = 3; i < m_requestedNames.size(); ++i) {
    if (m_requestedNames[i] != axis.GetName()) continue;
    // A list may have six names, but there are slots for two rotary axes: the axis of the sixth is
    // refused as a third one is without names. Deliberate.
    if (i - 3 >= m_rotary.size()) throw zvPostException(zvPostException::kTooManyRotationsInFile);
    TakeRotary(axis, i - 3);
  }
}

void zvXMLInputInterpreter::Visit(const mkdTranslationalAxis& axis) {
  m_tranAxisFound.push_back(axis.GetName());
  // With names the count stays 0, and the last axis of all decides: deliberate.
  if (m_tranCount == 0) m_units = axis.GetUnits();
  if (!m_namesGiven) {
    if (!CarriesAny(axis)) return;
    if (m_tranCount == m_records.size())
      throw zvPostException(zvPostException::kTooManyTranslationsInFile);
    m_records[m_tranCount++] = {axis.GetName(), SignedDirection(axis), axis.GetMinimum(),
                                axis.GetMaximum()};
    return;
  }
  for (std::size_t i = 0; i < 3; ++i) {
    if (m_requestedNames[i] != axis.GetName()) continue;
    m_linear[i].minimum = axis.GetMinimum();
    m_linear[i].maximum = axis.GetMaximum();
    m_axisNames[i] = axis.GetName();
    if (HasDirections(m_machine.GetVersion())) m_linear[i].direction = SignedDirection(axis);
    if (m_isFound[i]) throw zvPostException(zvPostException::kDuplicateAxisInFile);
    m_isFound[i] = true;
  }
}

void zvXMLInputInterpreter::Visit(const mkdHeldTool& tool) {
  if (m_workpieceSeen || LowerCase(tool.GetName()) != kTool) return;
  m_toolSeen = true;
  m_rotaryOnWorkpiece = m_rotaryCount == 0;
  m_fiveAxisKind = 3 - m_rotaryCount;
}

void zvXMLInputInterpreter::Visit(const mkdWorkPiece& workpiece) {
  if (!IsWorkpiece(LowerCase(workpiece.GetName()))) return;
  if (m_toolSeen) {
    if (m_rotaryCount == 2 && m_fiveAxisKind >= 2) ExchangeRotaries();
    return;
  }
  m_workpieceSeen = true;
  m_rotaryOnWorkpiece = m_rotaryCount != 0;
  m_fiveAxisKind = m_rotaryCount + 1;
  if (m_rotaryCount == 2) ExchangeRotaries();
}

void zvXMLInputInterpreter::ExchangeRotaries() {
  if (m_namesGiven) return;  // their order is that of the names
  std::swap(m_rotary[0], m_rotary[1]);
  std::swap(m_axisNames[3], m_axisNames[4]);
}

std::size_t zvXMLInputInterpreter::SlotByName(std::size_t record) const {
  const std::wstring& name = m_records[record].name;
  for (std::size_t slot = 0; slot < 3; ++slot)
    if (name == kLinearNames[slot] && m_records[(record + 1) % 3].name != name &&
        m_records[(record + 2) % 3].name != name)
      return slot;
  return kNone;
}

std::size_t zvXMLInputInterpreter::SlotByDirection(std::size_t record,
                                                   const std::array<std::size_t, 3>& slots) const {
  for (std::size_t slot = 0; slot < 3; ++slot)
    if (slots[slot] == kNone && IsAlong(m_records[record].direction, slot) &&
        !IsAlong(m_records[(record + 1) % 3].direction, slot) &&
        !IsAlong(m_records[(record + 2) % 3].direction, slot))
      return slot;
  return kNone;
}

void zvXMLInputInterpreter::Finish() {
  if (m_namesGiven) {
    if (m_isFound != std::array{true, true, true})
      throw zvPostException(zvPostException::kMissingTranslationInFile);
    return;
  }
  std::array<std::size_t, 3> slots{kNone, kNone, kNone};  // the record of each
  std::size_t left = 0 + 1 + 2;
  for (std::size_t record = 0; record < 3; ++record) {
    std::size_t slot = SlotByName(record);
    if (slot != kNone && slots[slot] != kNone)
      throw zvPostException(zvPostException::kDuplicateAxisInFile);
    if (slot == kNone) slot = SlotByDirection(record, slots);
    if (slot == kNone) continue;
    slots[slot] = record;
    left -= record;
  }
  if (std::count(slots.begin(), slots.end(), kNone) > 1)
    throw zvPostException(zvPostException::kMissingTranslationInFile);
  std::replace(slots.begin(), slots.end(), kNone, left);
  // One that was ignored may be lost here, for another that then stands there twice: deliberate.
  if (m_tranAxisFound.size() < 3) m_tranAxisFound.resize(3);
  for (std::size_t slot = 0; slot < 3; ++slot) {
    const Translation& record = m_records[slots[slot]];
    const Point direction =
        HasDirections(m_machine.GetVersion()) ? record.direction : m_linear[slot].direction;
    m_linear[slot] = {record.name, direction, record.minimum, record.maximum};
    m_axisNames[slot] = record.name;
    m_tranAxisFound[slot] = record.name;
  }
}

misc::zvAutoPointer<post::zvMachDef> zvXMLInputInterpreter::MakeMachDef() const {
  const Point low(m_linear[0].minimum, m_linear[1].minimum, m_linear[2].minimum);
  const Point high(m_linear[0].maximum, m_linear[1].maximum, m_linear[2].maximum);
  const Point& x = m_linear[0].direction;
  const Point& y = m_linear[1].direction;
  const Point& z = m_linear[2].direction;
  const auto& [first, second] = m_rotary;
  switch (m_rotaryCount) {
    case 0:
      return misc::MakeAutoPointer<post::zv3axMachDef>(m_units, m_spindle, low, high, x, y, z);
    case 1:
      return misc::MakeAutoPointer<post::zv4axMachDef>(
          static_cast<std::int32_t>(m_rotaryOnWorkpiece), m_units, m_spindle, first.direction,
          first.pivot, first.minimum, first.maximum, low, high, x, y, z);
    default:
      break;
  }
  // With both axes in the head the first pivot counts from the second.
  const Point pivot = m_fiveAxisKind == 1 ? first.pivot - second.pivot : first.pivot;
  return misc::MakeAutoPointer<post::zv5axMachDef>(
      m_fiveAxisKind, m_units, m_spindle, first.direction, second.direction, pivot, second.pivot,
      first.minimum, second.minimum, first.maximum, second.maximum, low, high, x, y, z);
}

}  // namespace kintree::detail
