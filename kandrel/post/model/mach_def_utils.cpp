#include <kandrel/post/model/mach_def_utils.h>
#include <kandrel/post/model/post_exception.h>

#include <cstdint>

namespace post {

namespace {

using MachDefPointer = misc::zvAutoPointer<zvMachDef>;

// The checker has made sure of the class, so the cast itself needs no check.
template <class T>
const T& CheckedCast(const zvMachDef& machDef, zvMachDef::NumbersOfAxes expected) {
  zvMachDefUtils::zvCastingRevolvedChecker checker(expected);
  machDef.AcceptVisitor(checker);
  return static_cast<const T&>(machDef);
}

template <class T>
misc::zvAutoPointer<T> CheckedCast(const MachDefPointer& machDef,
                                   zvMachDef::NumbersOfAxes expected) {
  CheckedCast<T>(*machDef, expected);
  return {machDef, static_cast<T*>(machDef.Get())};
}

}  // namespace

void zvMachDefUtils::RequireUnits(const zvMachDef& machDef,
                                  measures::zvUnitsFactory::Units pathUnits) {
  if (machDef.GetUnits() == pathUnits) return;
  throw zvPostException(pathUnits == measures::zvUnitsFactory::metric
                            ? zvPostException::kMetricPathOnInchMachine
                            : zvPostException::kInchPathOnMetricMachine);
}

const zv3axMachDef& zvMachDefUtils::As3ax(const zvMachDef& machDef) {
  return CheckedCast<zv3axMachDef>(machDef, zvMachDef::threeAxes);
}
const zv4axMachDef& zvMachDefUtils::As4ax(const zvMachDef& machDef) {
  return CheckedCast<zv4axMachDef>(machDef, zvMachDef::fourAxes);
}
const zv5axMachDef& zvMachDefUtils::As5ax(const zvMachDef& machDef) {
  return CheckedCast<zv5axMachDef>(machDef, zvMachDef::fiveAxes);
}
const zv6axMachDef& zvMachDefUtils::As6ax(const zvMachDef& machDef) {
  return CheckedCast<zv6axMachDef>(machDef, zvMachDef::sixAxes);
}

zv3axMachDef zvMachDefUtils::Cast3ax(const zvMachDef& machDef) {
  return As3ax(machDef);
}
zv4axMachDef zvMachDefUtils::Cast4ax(const zvMachDef& machDef) {
  return As4ax(machDef);
}
zv5axMachDef zvMachDefUtils::Cast5ax(const zvMachDef& machDef) {
  return As5ax(machDef);
}
zv6axMachDef zvMachDefUtils::Cast6ax(const zvMachDef& machDef) {
  return As6ax(machDef);
}

misc::zvAutoPointer<zv3axMachDef> zvMachDefUtils::Cast3ax(const MachDefPointer& machDef) {
  return CheckedCast<zv3axMachDef>(machDef, zvMachDef::threeAxes);
}
misc::zvAutoPointer<zv4axMachDef> zvMachDefUtils::Cast4ax(const MachDefPointer& machDef) {
  return CheckedCast<zv4axMachDef>(machDef, zvMachDef::fourAxes);
}
misc::zvAutoPointer<zv5axMachDef> zvMachDefUtils::Cast5ax(const MachDefPointer& machDef) {
  return CheckedCast<zv5axMachDef>(machDef, zvMachDef::fiveAxes);
}
misc::zvAutoPointer<zv6axMachDef> zvMachDefUtils::Cast6ax(const MachDefPointer& machDef) {
  return CheckedCast<zv6axMachDef>(machDef, zvMachDef::sixAxes);
}

int zvMachDefUtils::GetNumberOfAxes(const MachDefPointer& machDef) {
  switch (machDef->GetNumbersOfAxes()) {
    case zvMachDef::threeAxes:
    case zvMachDef::fourAxes:
    case zvMachDef::fiveAxes:
    case zvMachDef::sixAxes:
      return machDef->GetNumbersOfAxes() + 3;
  }
  throw zvPostException(zvPostException::kUnknownMachine);
}

void zvMachDefUtils::zvCastingRevolvedChecker::Visit(const zv6axMachDef&) {
  Require(zvMachDef::sixAxes);
}
void zvMachDefUtils::zvCastingRevolvedChecker::Visit(const zv5axMachDef&) {
  Require(zvMachDef::fiveAxes);
}
void zvMachDefUtils::zvCastingRevolvedChecker::Visit(const zv4axMachDef&) {
  Require(zvMachDef::fourAxes);
}
void zvMachDefUtils::zvCastingRevolvedChecker::Visit(const zv3axMachDef&) {
  Require(zvMachDef::threeAxes);
}
void zvMachDefUtils::zvCastingRevolvedChecker::Visit(const zvMachDef&) {
  throw zvPostException(zvPostException::kAbstractMember);
}

void zvMachDefUtils::zvCastingRevolvedChecker::Require(zvMachDef::NumbersOfAxes visited) const {
  if (visited != m_expected) throw zvPostException(zvPostException::kWrongCast);
}

namespace {

std::int32_t FiveAxisKindOf(const zv6axMachDef& machDef) {
  const std::int32_t first = machDef.GetFirstOnWorkpiece();
  const std::int32_t second = machDef.GetSecondOnWorkpiece();
  if (first == 0 && second == 0) return zv5axMachDef::kBothInHead;
  if (first == 1 && second == 1) return zv5axMachDef::kBothOnTable;
  return zv5axMachDef::kFirstOnTable;
}

}  // namespace

zv5axMachDef Get5axMachDef(const zv6axMachDef& machDef) {
  return {FiveAxisKindOf(machDef),
          machDef.GetUnits(),
          machDef.GetSpindleDirection(),
          machDef.GetFirstRotationDirection(),
          machDef.GetSecondRotationDirection(),
          machDef.GetFirstRotationPivot(),
          machDef.GetSecondRotationPivot(),
          machDef.GetMinFirstAngle(),
          machDef.GetMinSecondAngle(),
          machDef.GetMaxFirstAngle(),
          machDef.GetMaxSecondAngle(),
          machDef.GetMinLimits(),
          machDef.GetMaxLimits(),
          machDef.GetXAxisDirection(),
          machDef.GetYAxisDirection(),
          machDef.GetZAxisDirection()};
}

}  // namespace post
