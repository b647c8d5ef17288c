// Machine definitions in which every number is another one, and their fields as one flat list.
#pragma once

#include <kandrel/post/mach_def.h>

#include <vector>

namespace tests {

using Point = post::zvMachDef::Point;
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

using Numbers = std::vector<double>;

inline void Append(Numbers& to, const Point& p) {
  to.insert(to.end(), {p.x, p.y, p.z});
}

inline Numbers BaseFields(const post::zvMachDef& m) {
  Numbers n{static_cast<double>(m.GetUnits())};
  Append(n, m.GetSpindleDirection());
  n.push_back(m.GetNumbersOfAxes());
  for (const Point* p : {&m.GetMinLimits(), &m.GetMaxLimits(), &m.GetXAxisDirection(),
                         &m.GetYAxisDirection(), &m.GetZAxisDirection()})
    Append(n, *p);
  n.push_back(m.IsIdentityTransform() ? 1 : 0);
  return n;
}

inline Numbers OwnFields(const post::zv3axMachDef&) {
  return {};
}

inline Numbers OwnFields(const post::zv4axMachDef& m) {
  Numbers n{static_cast<double>(m.GetRotaryOnWorkpiece())};
  Append(n, m.GetRotationDirection());
  Append(n, m.GetRotationPivot());
  n.insert(n.end(), {m.GetMinAngle(), m.GetMaxAngle()});
  return n;
}

inline Numbers OwnFields(const post::zv5axMachDef& m) {
  Numbers n{static_cast<double>(m.GetFiveAxisKind())};
  for (const Point* p : {&m.GetFirstRotationDirection(), &m.GetSecondRotationDirection(),
                         &m.GetFirstRotationPivot(), &m.GetSecondRotationPivot()})
    Append(n, *p);
  n.insert(n.end(), {m.GetMinFirstAngle(), m.GetMinSecondAngle(), m.GetMaxFirstAngle(),
                     m.GetMaxSecondAngle()});
  return n;
}

inline Numbers OwnFields(const post::zv6axMachDef& m) {
  Numbers n{static_cast<double>(m.GetFiveAxisKind())};
  for (const Point* p : {&m.GetFirstRotationDirection(), &m.GetSecondRotationDirection(),
                         &m.GetThirdRotationDirection(), &m.GetFirstRotationPivot(),
                         &m.GetSecondRotationPivot(), &m.GetThirdRotationPivot()})
    Append(n, *p);
  n.insert(n.end(),
           {m.GetMinFirstAngle(), m.GetMinSecondAngle(), m.GetMaxFirstAngle(),
            m.GetMaxSecondAngle(), m.GetThirdAngle(), static_cast<double>(m.GetFirstOnWorkpiece()),
            static_cast<double>(m.GetSecondOnWorkpiece()),
            static_cast<double>(m.GetThirdOnWorkpiece())});
  return n;
}

template <class M>
Numbers Fields(const M& machDef) {
  Numbers n = BaseFields(machDef);
  const Numbers own = OwnFields(machDef);
  n.insert(n.end(), own.begin(), own.end());
  return n;
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
