// Random 5-axis machines, and the same machines as rigid bodies.
#pragma once

#include <kandrel/post/creators/five_axis_creator.h>
#include <kandrel/post/geometry/five_axis_solver.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posting_parameters.h>
#include <tests/support/points.h>
#include <tests/support/rigid_body_model.h>
#include <tests/support/seeded.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace tests {

inline rigid::Vector ToVector(const Point& p) {
  return {p.x, p.y, p.z};
}
inline Point ToPoint(const rigid::Vector& v) {
  return {v[0], v[1], v[2]};
}

/// A machine in the words of a definition; everything else is the default.
struct FiveAxisSetup {
  std::int32_t kind = 3;
  Point first{0, 0, 1};
  Point second{1, 0, 0};
  Point spindle{0, 0, 1};
  Point firstPivot{};
  Point secondPivot{};
  std::array<Point, 3> axes{Point{1, 0, 0}, Point{0, 1, 0}, Point{0, 0, 1}};
  std::pair<double, double> firstRange{-100000, 100000};
  std::pair<double, double> secondRange{-100000, 100000};
  Point low{-100000, -100000, -100000};
  Point high{100000, 100000, 100000};
  measures::zvUnitsFactory::Units units = measures::zvUnitsFactory::metric;

  post::zv5axMachDef MachDef() const {
    return {kind,
            units,
            spindle,
            first,
            second,
            firstPivot,
            secondPivot,
            firstRange.first,
            secondRange.first,
            firstRange.second,
            secondRange.second,
            low,
            high,
            axes[0],
            axes[1],
            axes[2]};
  }
};

/// What a solver or creator refers to, kept alive beside it.
struct FiveAxisScene {
  FiveAxisSetup machine;
  post::zv5axControlDef control;
  post::zvKDRParam par{measures::zvUnitsFactory::metric};
  Point origin;
  double toolLength = 0;

  // What these make refers to the scene.
  post::zv5axMoveSolver Solver() const&& = delete;
  zvPosted5axTPCreator Creator() const&& = delete;
  post::zv5axKinematics Kinematics() const&& = delete;

  post::zv5axMoveSolver Solver() const& { return {machine.MachDef(), par, origin, toolLength}; }
  zvPosted5axTPCreator Creator() const& {
    return {machine.MachDef(), control, par, origin, toolLength};
  }
  post::zv5axKinematics Kinematics() const& {
    post::zv5axMachDef machDef = machine.MachDef();
    machDef.Normalize();
    return {machDef, origin, toolLength};
  }

  rigid::RotaryMachine Model() const {
    using Layout = rigid::RotaryMachine::Layout;
    rigid::RotaryMachine model;
    model.layout = machine.kind == 0 || machine.kind == 3 ? Layout::kTables
                   : machine.kind == 1                    ? Layout::kHeads
                                                          : Layout::kTableAndHead;
    model.slidesTellTip = machine.kind == 0;
    for (std::size_t i = 0; i < 3; ++i) model.linear.axes[i] = ToVector(machine.axes[i]);
    model.linear.spindle = ToVector(machine.spindle);
    model.linear.partOrigin = ToVector(origin);
    model.linear.toolLength = toolLength;
    model.first = {ToVector(machine.first), ToVector(machine.firstPivot)};
    model.second = {ToVector(machine.second), ToVector(machine.secondPivot)};
    return model;
  }

  /// Where the model's tool points in the part at these angles, degrees.
  Point Tool(double first, double second) const {
    return ToPoint(Model().At({}, first, second).axis);
  }

  /// The length against which errors of positions are measured.
  double Size() const {
    return 1 + origin.Length() + std::fabs(toolLength) + machine.firstPivot.Length() +
           machine.secondPivot.Length();
  }
};

/// A unit vector across `p`.
inline Point Across(const Point& p, Seeded& random) {
  for (;;) {
    const Point across = Cross(p, random.UnitVector());
    if (across.Length() > 0.3) return across.Normalized();
  }
}

/// A vector of length 0.5 to 2. Drawn one after the other, so that compilers agree.
inline Point AnyVector(Seeded& random) {
  const double length = random.Real(0.5, 2);
  return random.UnitVector() * length;
}

/// Orthogonal, nutating or generally skew rotary axes; any pivots, origin and tool length.
inline FiveAxisScene RandomScene(Seeded& random, bool withSkewSlides = true) {
  FiveAxisScene scene;
  FiveAxisSetup& m = scene.machine;
  m.kind = random.Integer(0, 3);
  const int sort = random.Integer(0, 2);
  if (sort == 0) {  // along the coordinates
    const std::array<Point, 3> units{Point{1, 0, 0}, Point{0, 1, 0}, Point{0, 0, 1}};
    const std::size_t first =
        random.Chance(0.7) ? 2 : static_cast<std::size_t>(random.Integer(0, 1));
    m.spindle = units[2];
    m.first = units[first] * (random.Chance(0.5) ? 1.0 : -1.0);
    m.second = units[first == 0 ? 1 : 0] * (random.Chance(0.5) ? 1.0 : -1.0);
  } else if (sort == 1) {  // nutating: the second axis at 45 degrees to spindle and first axis
    m.spindle = {0, 0, 1};
    m.first = {0, 0, random.Chance(0.5) ? 1.0 : -1.0};
    m.second = {0, random.Chance(0.5) ? 1.0 : -1.0, 1};
  } else {
    do {
      m.spindle = AnyVector(random);
      m.first = AnyVector(random);
      m.second = AnyVector(random);
    } while (std::fabs(Dot(m.first.Normalized(), m.second.Normalized())) > 0.9 ||
             std::fabs(Dot(m.spindle.Normalized(), m.second.Normalized())) > 0.9);
  }
  if (withSkewSlides && random.Chance(0.4)) {
    for (;;) {
      for (Point& axis : m.axes) axis = AnyVector(random);
      if (std::fabs(Dot(Cross(m.axes[0], m.axes[1]), m.axes[2])) > 0.3) break;
    }
  }
  m.firstPivot = random.Vector(500);
  m.secondPivot = random.Vector(500);
  scene.origin = random.Vector(300);
  scene.toolLength = random.Chance(0.2) ? 0 : random.Real(-50, 300);
  return scene;
}

}  // namespace tests
