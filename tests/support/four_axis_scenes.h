// Random 4-axis machines, and the same machines as rigid bodies.
#pragma once

#include <kandrel/post/creators/four_axis_creator.h>
#include <kandrel/post/geometry/four_axis_move_maker.h>
#include <tests/support/scenes.h>
#include <tests/support/testing.h>

namespace tests {

/// A machine in the words of a definition; everything else is the default.
struct FourAxisSetup : LinearSetup {
  using Creator = zvPosted4axTPCreator;

  bool onTable = true;
  Point axis{1, 0, 0};
  Point pivot{};
  Range range{-100000, 100000};

  post::zv4axMachDef MachDef() const {
    return {onTable ? 1 : 0, units, spindle, axis,    pivot,   range.first,
            range.second,    low,   high,    axes[0], axes[1], axes[2]};
  }
  rigid::Machine Model() const {
    rigid::Machine model = LinearSetup::Model();
    if (onTable) {
      model.tables = {{{ToVector(axis), ToVector(pivot)}}};
    } else {  // the tool turns about the nose, which the slides' reference lies beside
      model.heads = {{{ToVector(axis), {}}}};
      model.slidesOffNose = ToVector(pivot);
    }
    return model;
  }
  double Reach() const { return pivot.Length(); }
};

struct FourAxisScene : Scene<FourAxisSetup> {
  post::zvPosted4axMoveMaker Maker() const&& = delete;  // it refers to the scene
  post::zvPosted4axMoveMaker Maker() const& { return {machine.MachDef(), par, origin, toolLength}; }
  /// The tool's direction in the part with the axis at `deg`.
  Point DirectionAt(double deg) const { return Tool(deg); }
};

/// The spindle at `openingDeg` to the rotary axis.
inline Point SpindleAt(const Point& axis, double openingDeg, Seeded& random) {
  const double rad = openingDeg * (3.14159265358979323846 / 180);
  const Point a = axis.Normalized();
  const Point across = Cross(a, Across(a, random));
  return a * std::cos(rad) + across * std::sin(rad);
}

/// A table or a head, its cone flat or of any opening; any pivot, origin and tool length.
inline FourAxisScene RandomFourAxisScene(Seeded& random) {
  FourAxisScene scene;
  FourAxisSetup& m = scene.machine;
  m.onTable = random.Chance(0.5);
  if (random.Chance(0.4)) {  // along the coordinates
    const std::array<Point, 3> units = m.axes;
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
  DrawSlides(random, m.axes);
  m.pivot = random.Vector(500);
  DrawSetup(random, scene);
  return scene;
}

}  // namespace tests
