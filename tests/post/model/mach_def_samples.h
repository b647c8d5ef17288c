// Machine definitions in which every number is another one, and the fields of their classes.
#pragma once

#include <kandrel/post/model/mach_def.h>
#include <tests/post/model/fields.h>

namespace tests {

using Units = post::zvMachDef::Units;

inline constexpr Units kMetric = measures::zvUnitsFactory::metric;
inline constexpr Units kInch = measures::zvUnitsFactory::inch;

/// What the samples share. The axis system is left-handed and skew, with a simple inverse.
struct Frame {
  Units units = kMetric;
  Point spindle{0, 3, 4};
  Point x{0, 2, 0};
  Point y{1, 0, 0};
  Point z{0, 1, 1};
};

struct Rotary {
  std::int32_t kind = 3;
  Point first{5, 0, 0};
  Point second{0, 0, -6};
  Point third{0, 7, 0};
};

template <class M>
M Make(const Frame& f = {}, const Rotary& r = {}) {
  const Point p{21, 22, 23}, q{24, 25, 26}, s{27, 28, 29}, low{-11, -12, -13}, high{14, 15, 16};
  if constexpr (std::is_same_v<M, post::zv3axMachDef>)
    return {f.units, f.spindle, low, high, f.x, f.y, f.z};
  else if constexpr (std::is_same_v<M, post::zv4axMachDef>)
    return {r.kind, f.units, f.spindle, r.first, p, -31, 33, low, high, f.x, f.y, f.z};
  else if constexpr (std::is_same_v<M, post::zv5axMachDef>)
    return {r.kind, f.units, f.spindle, r.first, r.second, p,   q,   -31,
            -32,    33,      34,        low,     high,     f.x, f.y, f.z};
  else
    return {r.kind, f.units, f.spindle, r.first, r.second, r.third, p,   q,   s,  -31,
            -32,    33,      34,        35,      low,      high,    f.x, f.y, f.z};
}

/// Lengths change with the units, directions are normalised, and what is read has to be finite: of
/// an axis that stands only the angle is.
enum MachineRole { kOther = 0, kLength = 1, kDirection = 2, kRead = 4 };

// clang-format off
template <class M>
FieldTable<M> MachineFields() {
  const double far = 1e5;
  const Numbers zero{0, 0, 0};
  FieldTable<M> table{TESTS_FIELD(M, SpindleDirection, {0, 0, 1}, kDirection | kRead),
                      TESTS_FIELD(M, MinLimits, {-far, -far, -far}, kLength), TESTS_FIELD(M, MaxLimits, {far, far, far}, kLength)};
  const auto add = [&](const FieldTable<M>& more) { table.insert(table.end(), more.begin(), more.end()); };
  constexpr bool kIs6 = std::is_same_v<M, post::zv6axMachDef>;
  if constexpr (std::is_same_v<M, post::zv4axMachDef>)
    add({TESTS_FIELD(M, RotaryOnWorkpiece, {0}), TESTS_FIELD(M, RotationDirection, {0, 0, -1}, kDirection | kRead),
         TESTS_FIELD(M, RotationPivot, zero, kLength | kRead), TESTS_FIELD(M, MinAngle, {-far}), TESTS_FIELD(M, MaxAngle, {far})});
  else if constexpr (!std::is_same_v<M, post::zv3axMachDef>)
    add({TESTS_FIELD(M, FiveAxisKind, {kIs6 ? 0. : 2.}),
         TESTS_FIELD(M, FirstRotationDirection, {0, 0, -1}, kDirection | kRead),
         TESTS_FIELD(M, SecondRotationDirection, kIs6 ? Numbers{-1, 0, 0} : Numbers{0, -1, 0}, kDirection | kRead),
         TESTS_FIELD(M, FirstRotationPivot, zero, kLength | kRead), TESTS_FIELD(M, SecondRotationPivot, zero, kLength | kRead),
         TESTS_FIELD(M, MinFirstAngle, {-far}), TESTS_FIELD(M, MinSecondAngle, {-far}),
         TESTS_FIELD(M, MaxFirstAngle, {far}), TESTS_FIELD(M, MaxSecondAngle, {far})});
  if constexpr (kIs6)
    add({TESTS_FIELD(M, ThirdRotationDirection, zero, kDirection), TESTS_FIELD(M, ThirdRotationPivot, zero, kLength),
         TESTS_FIELD(M, ThirdAngle, {0}), TESTS_FIELD(M, FirstOnWorkpiece, {0}),
         TESTS_FIELD(M, SecondOnWorkpiece, {1}), TESTS_FIELD(M, ThirdOnWorkpiece, {1})});
  return table;
}
// clang-format on

/// What has no setter of its own, then the fields.
template <class M>
Numbers Whole(const M& m) {
  return Flat(m.GetUnits(), m.GetNumbersOfAxes(), m.GetXAxisDirection(), m.GetYAxisDirection(),
              m.GetZAxisDirection(), m.IsIdentityTransform(), Values(MachineFields<M>(), m));
}

}  // namespace tests
