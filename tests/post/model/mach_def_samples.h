// Machine definitions in which every number is another one, and their fields as one flat list.
#pragma once

#include <kandrel/post/model/mach_def.h>
#include <tests/support/numbers.h>

namespace tests {

using Units = post::zvMachDef::Units;

inline constexpr Units kMetric = measures::zvUnitsFactory::metric;
inline constexpr Units kInch = measures::zvUnitsFactory::inch;

// What the samples share. The axis system is left-handed and skew, with a simple inverse.
struct Frame {
  Units units = kMetric;
  Point spindle{0, 3, 4};
  Point minLimits{-11, -12, -13};
  Point maxLimits{14, 15, 16};
  Point x{0, 2, 0};
  Point y{1, 0, 0};
  Point z{0, 1, 1};
};

inline post::zv3axMachDef Make3ax(const Frame& f = {}) {
  return {f.units, f.spindle, f.minLimits, f.maxLimits, f.x, f.y, f.z};
}

inline post::zv4axMachDef Make4ax(const Frame& f = {}, const Point& direction = {0, 0, 2}) {
  return {7,  f.units,     f.spindle,   direction, {21, 22, 23}, -31,
          32, f.minLimits, f.maxLimits, f.x,       f.y,          f.z};
}

struct Rotary {
  std::int32_t kind = 3;
  Point first{5, 0, 0};
  Point second{0, 0, -6};
  Point third{0, 7, 0};
};

inline post::zv5axMachDef Make5ax(const Frame& f = {}, const Rotary& r = {}) {
  return {r.kind, f.units, f.spindle, r.first,     r.second,    {21, 22, 23}, {24, 25, 26}, -31,
          -32,    33,      34,        f.minLimits, f.maxLimits, f.x,          f.y,          f.z};
}

inline post::zv6axMachDef Make6ax(const Frame& f = {}, const Rotary& r = {}) {
  return {r.kind,       f.units,      f.spindle, r.first, r.second, r.third, {21, 22, 23},
          {24, 25, 26}, {27, 28, 29}, -31,       -32,     33,       34,      35,
          f.minLimits,  f.maxLimits,  f.x,       f.y,     f.z};
}

inline Numbers OwnFields(const post::zv3axMachDef&) {
  return {};
}
inline Numbers OwnFields(const post::zv4axMachDef& m) {
  return Flat(m.GetRotaryOnWorkpiece(), m.GetRotationDirection(), m.GetRotationPivot(),
              m.GetMinAngle(), m.GetMaxAngle());
}
inline Numbers OwnFields(const post::zv5axMachDef& m) {
  return Flat(m.GetFiveAxisKind(), m.GetFirstRotationDirection(), m.GetSecondRotationDirection(),
              m.GetFirstRotationPivot(), m.GetSecondRotationPivot(), m.GetMinFirstAngle(),
              m.GetMinSecondAngle(), m.GetMaxFirstAngle(), m.GetMaxSecondAngle());
}
inline Numbers OwnFields(const post::zv6axMachDef& m) {
  return Flat(m.GetFiveAxisKind(), m.GetFirstRotationDirection(), m.GetSecondRotationDirection(),
              m.GetThirdRotationDirection(), m.GetFirstRotationPivot(), m.GetSecondRotationPivot(),
              m.GetThirdRotationPivot(), m.GetMinFirstAngle(), m.GetMinSecondAngle(),
              m.GetMaxFirstAngle(), m.GetMaxSecondAngle(), m.GetThirdAngle(),
              m.GetFirstOnWorkpiece(), m.GetSecondOnWorkpiece(), m.GetThirdOnWorkpiece());
}

template <class M>
Numbers Fields(const M& m) {
  return Flat(m.GetUnits(), m.GetSpindleDirection(), m.GetNumbersOfAxes(), m.GetMinLimits(),
              m.GetMaxLimits(), m.GetXAxisDirection(), m.GetYAxisDirection(), m.GetZAxisDirection(),
              m.IsIdentityTransform(), OwnFields(m));
}

/// A definition of none of the four classes.
class OddMachDef : public post::zvMachDef {
 public:
  explicit OddMachDef(NumbersOfAxes numbersOfAxes) : zvMachDef(numbersOfAxes) {}
  misc::zvAutoPointer<zvMachDef> Clone() const override {
    return misc::MakeAutoPointer<OddMachDef>(*this);
  }
};

}  // namespace tests
