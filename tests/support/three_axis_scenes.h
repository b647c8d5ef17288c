// Random 3-axis machines, and the same machines as rigid bodies.
#pragma once

#include <kandrel/post/creators/three_axis_creator.h>
#include <tests/support/scenes.h>

namespace tests {

struct ThreeAxisSetup : LinearSetup {
  using Creator = zvPosted3axTPCreator;

  post::zv3axMachDef MachDef() const {
    return {units, spindle, low, high, axes[0], axes[1], axes[2]};
  }
  static double Reach() { return 0; }
};
using ThreeAxisScene = Scene<ThreeAxisSetup>;

inline ThreeAxisScene RandomThreeAxisScene(Seeded& random) {
  ThreeAxisScene scene;
  if (random.Chance(0.7)) scene.machine.spindle = AnyVector(random);
  DrawSlides(random, scene.machine.axes);
  DrawSetup(random, scene);
  return scene;
}

}  // namespace tests
