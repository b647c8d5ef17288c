// Random 4-axis machines, and the same machines as rigid bodies.
#pragma once

#include <kandrel/post/creators/four_axis_creator.h>
#include <kandrel/post/geometry/four_axis_move_maker.h>
#include <tests/support/five_axis_scenes.h>

#include <array>
#include <cmath>
#include <utility>

namespace tests {

/// A machine in the words of a definition; everything else is the default.
struct FourAxisSetup {
  bool onTable = true;
  Point axis{1, 0, 0};
  Point spindle{0, 0, 1};
  Point pivot{};
  std::array<Point, 3> axes{Point{1, 0, 0}, Point{0, 1, 0}, Point{0, 0, 1}};
  std::pair<double, double> range{-100000, 100000};
  Point low{-100000, -100000, -100000};
  Point high{100000, 100000, 100000};
  measures::zvUnitsFactory::Units units = measures::zvUnitsFactory::metric;

  post::zv4axMachDef MachDef() const {
    return {onTable ? 1 : 0, units, spindle, axis,    pivot,   range.first,
            range.second,    low,   high,    axes[0], axes[1], axes[2]};
  }
};

/// What a creator refers to, kept alive beside it.
struct FourAxisScene {
  FourAxisSetup machine;
  post::zv5axControlDef control;
  post::zvKDRParam par{measures::zvUnitsFactory::metric};
  Point origin;
  double toolLength = 0;

  // What these make refers to the scene.
  zvPosted4axTPCreator Creator() const&& = delete;
  post::zvPosted4axMoveMaker Maker() const&& = delete;

  zvPosted4axTPCreator Creator() const& {
    return {machine.MachDef(), control, par, origin, toolLength};
  }
  post::zvPosted4axMoveMaker Maker() const& { return {machine.MachDef(), par, origin, toolLength}; }

  rigid::OneTurnMachine Model() const {
    rigid::OneTurnMachine model;
    for (std::size_t i = 0; i < 3; ++i) model.linear.axes[i] = ToVector(machine.axes[i]);
    model.linear.spindle = ToVector(machine.spindle);
    model.linear.partOrigin = ToVector(origin);
    model.linear.toolLength = toolLength;
    model.joint = {ToVector(machine.axis), ToVector(machine.pivot)};
    model.turnsTool = !machine.onTable;
    return model;
  }
  /// The tool's direction in the part with the axis at `deg`.
  Point DirectionAt(double deg) const { return ToPoint(Model().At({}, deg).axis); }

  /// The length against which errors of positions are measured.
  double Size() const {
    return 1 + origin.Length() + std::fabs(toolLength) + machine.pivot.Length();
  }
};

/// The spindle at `openingDeg` to the rotary axis.
inline Point SpindleAt(const Point& axis, double openingDeg, Seeded& random) {
  const double rad = openingDeg * (3.14159265358979323846 / 180);
  const Point a = axis.Normalized();
  const Point across = Cross(a, Across(a, random));
  return a * std::cos(rad) + across * std::sin(rad);
}

/// A table or a head, its cone flat or of any opening; any pivot, origin and tool length.
inline FourAxisScene RandomFourAxisScene(Seeded& random, bool withSkewSlides = true) {
  FourAxisScene scene;
  FourAxisSetup& m = scene.machine;
  m.onTable = random.Chance(0.5);
  if (random.Chance(0.4)) {  // along the coordinates
    const std::array<Point, 3> units{Point{1, 0, 0}, Point{0, 1, 0}, Point{0, 0, 1}};
    const auto axis = static_cast<std::size_t>(random.Integer(0, 2));
    m.axis = units[axis] * (random.Chance(0.5) ? 1.0 : -1.0);
    m.spindle = units[axis == 2 ? 0 : 2];
  } else {
    constexpr std::array<double, 8> kOpenings{90, 90, 80, 60, 45, 20, 100, 150};
    const double opening = random.Chance(0.8)
                               ? kOpenings[static_cast<std::size_t>(random.Integer(0, 7))]
                               : random.Real(10, 170);
    m.axis = AnyVector(random);
    const double length = random.Real(0.5, 2);
    m.spindle = SpindleAt(m.axis, opening, random) * length;
  }
  if (withSkewSlides && random.Chance(0.4)) {
    for (;;) {
      for (Point& axis : m.axes) axis = AnyVector(random);
      if (std::fabs(Dot(Cross(m.axes[0], m.axes[1]), m.axes[2])) > 0.3) break;
    }
  }
  m.pivot = random.Vector(500);
  scene.origin = random.Vector(300);
  scene.toolLength = random.Chance(0.2) ? 0 : random.Real(-50, 300);
  return scene;
}

}  // namespace tests
