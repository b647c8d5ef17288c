#include "kandrel-post/machine/values.h"

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/post/model/post_exception.h>

namespace kandrel_post {

namespace {

class ValuesReader : public post::zvMachineVisitor {
 public:
  void Visit(const post::zv6axMachDef& m) override {
    Common(m, 6);
    values.fiveAxisKind = m.GetFiveAxisKind();
    values.rotary[0] = First(m);
    values.rotary[1] = Second(m);
    values.rotary[2] = {m.GetThirdRotationDirection(), m.GetThirdRotationPivot(), 0, 0};
    values.thirdAngle = m.GetThirdAngle();
    values.onWorkpiece = {m.GetFirstOnWorkpiece(), m.GetSecondOnWorkpiece(),
                          m.GetThirdOnWorkpiece()};
  }
  void Visit(const post::zv5axMachDef& m) override {
    Common(m, 5);
    values.fiveAxisKind = m.GetFiveAxisKind();
    values.rotary[0] = First(m);
    values.rotary[1] = Second(m);
  }
  void Visit(const post::zv4axMachDef& m) override {
    Common(m, 4);
    values.rotaryOnWorkpiece = m.GetRotaryOnWorkpiece();
    values.rotary[0] = {m.GetRotationDirection(), m.GetRotationPivot(), m.GetMinAngle(),
                        m.GetMaxAngle()};
  }
  void Visit(const post::zv3axMachDef& m) override { Common(m, 3); }
  void Visit(const post::zvMachDef&) override {
    throw post::zvPostException(post::zvPostException::kAbstractMember);
  }

  MachineValues values;

 private:
  void Common(const post::zvMachDef& m, int axes) {
    values.axes = axes;
    values.units = m.GetUnits();
    values.spindle = m.GetSpindleDirection();
    values.minLimits = m.GetMinLimits();
    values.maxLimits = m.GetMaxLimits();
    values.xAxis = m.GetXAxisDirection();
    values.yAxis = m.GetYAxisDirection();
    values.zAxis = m.GetZAxisDirection();
  }
  template <class M>
  static RotaryValues First(const M& m) {
    return {m.GetFirstRotationDirection(), m.GetFirstRotationPivot(), m.GetMinFirstAngle(),
            m.GetMaxFirstAngle()};
  }
  template <class M>
  static RotaryValues Second(const M& m) {
    return {m.GetSecondRotationDirection(), m.GetSecondRotationPivot(), m.GetMinSecondAngle(),
            m.GetMaxSecondAngle()};
  }
};

}  // namespace

std::vector<AxisLimits> LimitsOf(const MachineValues& values) {
  std::vector<AxisLimits> limits{{values.minLimits.x, values.maxLimits.x},
                                 {values.minLimits.y, values.maxLimits.y},
                                 {values.minLimits.z, values.maxLimits.z}};
  for (int i = 0; i < values.RotaryCount(); ++i) {
    const RotaryValues& rotary = values.rotary[static_cast<std::size_t>(i)];
    limits.push_back(i < 2 ? AxisLimits{rotary.min, rotary.max}
                           : AxisLimits{values.thirdAngle, values.thirdAngle});
  }
  return limits;
}

MachineValues DefaultValues(int axes) {
  switch (axes) {
    case 4:
      return ValuesOf(post::zv4axMachDef());
    case 5:
      return ValuesOf(post::zv5axMachDef());
    case 6:
      return ValuesOf(post::zv6axMachDef());
    default:
      return ValuesOf(post::zv3axMachDef());
  }
}

MachineValues ValuesOf(const post::zvMachDef& machDef) {
  ValuesReader reader;
  machDef.AcceptVisitor(reader);
  return reader.values;
}

misc::zvAutoPointer<post::zvMachDef> MakeMachDef(const MachineValues& v) {
  const auto& [first, second, third] = v.rotary;
  switch (v.axes) {
    case 4:
      return misc::MakeAutoPointer<post::zv4axMachDef>(
          v.rotaryOnWorkpiece, v.units, v.spindle, first.direction, first.pivot, first.min,
          first.max, v.minLimits, v.maxLimits, v.xAxis, v.yAxis, v.zAxis);
    case 5:
      return misc::MakeAutoPointer<post::zv5axMachDef>(
          v.fiveAxisKind, v.units, v.spindle, first.direction, second.direction, first.pivot,
          second.pivot, first.min, second.min, first.max, second.max, v.minLimits, v.maxLimits,
          v.xAxis, v.yAxis, v.zAxis);
    case 6: {
      auto machDef = misc::MakeAutoPointer<post::zv6axMachDef>(
          v.fiveAxisKind, v.units, v.spindle, first.direction, second.direction, third.direction,
          first.pivot, second.pivot, third.pivot, first.min, second.min, first.max, second.max,
          v.thirdAngle, v.minLimits, v.maxLimits, v.xAxis, v.yAxis, v.zAxis);
      machDef->SetFirstOnWorkpiece(v.onWorkpiece[0]);
      machDef->SetSecondOnWorkpiece(v.onWorkpiece[1]);
      machDef->SetThirdOnWorkpiece(v.onWorkpiece[2]);
      return machDef;
    }
    default:
      return misc::MakeAutoPointer<post::zv3axMachDef>(v.units, v.spindle, v.minLimits, v.maxLimits,
                                                       v.xAxis, v.yAxis, v.zAxis);
  }
}

}  // namespace kandrel_post
