// Random 6-axis machines, and the same machines as rigid bodies.
#pragma once

#include <kandrel/post/creators/six_axis_creator.h>
#include <tests/support/five_axis_scenes.h>

namespace tests {

/// A 5-axis scene with a third axis that stands still.
struct SixAxisScene : FiveAxisScene {
  /// Not what decides about the sides; the flags are made from `machine.kind`.
  std::int32_t fiveAxisKind = 0;
  Point third{0, 1, 0};
  Point thirdPivot{};
  double thirdAngle = 0;

  post::zv6axMachDef MachDef() const {
    const FiveAxisSetup& m = machine;
    post::zv6axMachDef machDef(fiveAxisKind, m.units, m.spindle, m.first, m.second, third,
                               m.firstPivot, m.secondPivot, thirdPivot, m.firstRange.first,
                               m.secondRange.first, m.firstRange.second, m.secondRange.second,
                               thirdAngle, m.low, m.high, m.axes[0], m.axes[1], m.axes[2]);
    machDef.SetFirstOnWorkpiece(m.kind == 1 ? 0 : 1);
    machDef.SetSecondOnWorkpiece(m.kind == 3 ? 1 : 0);
    return machDef;
  }

  zvPosted6axTPCreator SixAxisCreator() const&& = delete;  // it refers to the scene
  zvPosted6axTPCreator SixAxisCreator() const& {
    return {MachDef(), control, par, origin, toolLength};
  }

  /// The part rides on the third axis, which rides on the tables.
  rigid::Machine SixAxisModel() const {
    rigid::Machine model = Model();
    model.tables.push_back({{ToVector(third), ToVector(thirdPivot)}, 2, thirdAngle});
    return model;
  }
  double Size() const { return FiveAxisScene::Size() + thirdPivot.Length(); }
};

/// RandomScene with a third axis. Kind 0 can't be told by flags.
inline SixAxisScene RandomSixAxisScene(Seeded& random) {
  SixAxisScene scene{RandomScene(random)};
  if (scene.machine.kind == 0) scene.machine.kind = 3;
  scene.fiveAxisKind = random.Integer(-1, 3);
  scene.third = AnyVector(random);
  scene.thirdPivot = random.Vector(500);
  scene.thirdAngle = random.Real(-400, 400);
  return scene;
}

}  // namespace tests
