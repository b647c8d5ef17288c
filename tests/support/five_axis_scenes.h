// Random 5-axis machines, and the same machines as rigid bodies.
#pragma once

#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/geometry/five_axis_solver.h>
#include <kandrel/post/model/mach_def.h>
#include <tests/support/scenes.h>
#include <tests/support/testing.h>

namespace tests {

/// A machine in the words of a definition; everything else is the default.
struct FiveAxisSetup : LinearSetup {
  using Creator = zvPosted5axTPCreator;

  std::int32_t kind = 3;
  Point first{0, 0, 1};
  Point second{1, 0, 0};
  Point firstPivot{};
  Point secondPivot{};
  Range firstRange{-100000, 100000};
  Range secondRange{-100000, 100000};

  post::zv5axMachDef MachDef() const {
    const auto& [minFirst, maxFirst] = firstRange;
    const auto& [minSecond, maxSecond] = secondRange;
    return {kind,      units,    spindle,   first, second, firstPivot, secondPivot, minFirst,
            minSecond, maxFirst, maxSecond, low,   high,   axes[0],    axes[1],     axes[2]};
  }
  rigid::Machine Model() const {
    using Axis = rigid::Machine::RotaryAxis;
    rigid::Machine model = LinearSetup::Model();
    const rigid::Vector pivot = ToVector(secondPivot);
    const Axis one{{ToVector(first), ToVector(firstPivot)}, 0}, other{{ToVector(second), pivot}, 1};
    if (kind == 1) {  // a head's second pivot is measured from the nose, its first from the second
      model.heads = {{{ToVector(first), ToVector(firstPivot + secondPivot)}, 0}, other};
    } else if (kind != 0 && kind != 3) {  // 2, and any other number
      model.tables = {one};
      model.heads = {other};
    } else {  // the first table rides on the second
      model.tables = {other, one};
    }
    model.slidesTellTip = kind == 0;
    return model;
  }
  double Reach() const { return firstPivot.Length() + secondPivot.Length(); }
};

struct FiveAxisScene : Scene<FiveAxisSetup> {
  // What these make refers to the scene.
  post::zv5axMoveSolver Solver() const&& = delete;
  post::zv5axKinematics Kinematics() const&& = delete;

  post::zv5axMoveSolver Solver() const& { return {machine.MachDef(), par, origin, toolLength}; }
  post::zv5axKinematics Kinematics() const& {
    post::zv5axMachDef machDef = machine.MachDef();
    machDef.Normalize();
    return {machDef, origin, toolLength};
  }
};

/// Orthogonal, nutating or generally skew rotary axes; any pivots, origin and tool length.
inline FiveAxisScene RandomScene(Seeded& random) {
  FiveAxisScene scene;
  FiveAxisSetup& m = scene.machine;
  m.kind = random.Integer(0, 3);
  const auto anySense = [&] { return random.Chance(0.5) ? 1.0 : -1.0; };
  const int sort = random.Integer(0, 2);
  if (sort == 0) {  // along the coordinates
    const std::array<Point, 3> units = m.axes;
    const std::size_t first =
        random.Chance(0.7) ? 2 : static_cast<std::size_t>(random.Integer(0, 1));
    m.first = units[first] * anySense();
    m.second = units[first == 0 ? 1 : 0] * anySense();
  } else if (sort == 1) {  // nutating: the second axis at 45 degrees to spindle and first axis
    m.first = {0, 0, anySense()};
    m.second = {0, anySense(), 1};
  } else {
    do {
      m.spindle = AnyVector(random);
      m.first = AnyVector(random);
      m.second = AnyVector(random);
    } while (std::fabs(Dot(m.first.Normalized(), m.second.Normalized())) > 0.9 ||
             std::fabs(Dot(m.spindle.Normalized(), m.second.Normalized())) > 0.9);
  }
  DrawSlides(random, m.axes);
  m.firstPivot = random.Vector(500);
  m.secondPivot = random.Vector(500);
  DrawSetup(random, scene);
  return scene;
}

}  // namespace tests
