// Machines with all that a creator refers to, and the same machines as rigid bodies.
#pragma once

#include <kandrel/misc/units_factory.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/posting_parameters.h>
#include <tests/support/points.h>
#include <tests/support/rigid_body_model.h>
#include <tests/support/seeded.h>
#include <tests/support/testing.h>

namespace tests {

inline rigid::Vector ToVector(const Point& p) {
  return {p.x, p.y, p.z};
}
inline Point ToPoint(const rigid::Vector& v) {
  return {v[0], v[1], v[2]};
}

using post::zv5axControlDef;
using post::zvKDRParam;
using Range = std::pair<double, double>;

/// How a control writes the rotary axes, by the numbers of angleLimit.
inline zv5axControlDef Wrapping(double first, double second) {
  zv5axControlDef control;
  control.SetFirstAxisLimit(static_cast<zv5axControlDef::angleLimit>(first));
  control.SetSecondAxisLimit(static_cast<zv5axControlDef::angleLimit>(second));
  return control;
}
/// Steps are divided by their length too.
inline void DivideByDistance(zvKDRParam& par, double distance) {
  par.SetInterpolateByDistance(true);
  par.SetInterpolationDistance(distance);
}

/// What the definitions of all machines have, with the same defaults.
struct LinearSetup {
  Point spindle{0, 0, 1};
  std::array<Point, 3> axes{Point{1, 0, 0}, Point{0, 1, 0}, Point{0, 0, 1}};
  Point low{-100000, -100000, -100000};
  Point high{100000, 100000, 100000};
  measures::zvUnitsFactory::Units units = measures::zvUnitsFactory::metric;

  rigid::Machine Model() const {
    rigid::Machine model;
    for (std::size_t i = 0; i < 3; ++i) model.axes[i] = ToVector(axes[i]);
    model.spindle = ToVector(spindle);
    return model;
  }
};

/// What a creator refers to, kept alive beside it.
template <class MachineSetup>
struct Scene {
  using Setup = MachineSetup;
  using Creates = typename Setup::Creator;

  Setup machine;
  zv5axControlDef control;
  zvKDRParam par{measures::zvUnitsFactory::metric};
  Point origin;
  double toolLength = 0;

  Creates Creator() const&& = delete;  // it refers to the scene
  Creates Creator() const& { return {machine.MachDef(), control, par, origin, toolLength}; }

  rigid::Machine Model() const {
    rigid::Machine model = machine.Model();
    model.partOrigin = ToVector(origin);
    model.toolLength = toolLength;
    return model;
  }
  /// Where the model's tool points in the part at these angles, degrees.
  template <class... Degrees>
  Point Tool(Degrees... degs) const {
    return ToPoint(Model().At({}, degs...).axis);
  }
  /// The length against which errors of positions are measured.
  double Size() const { return 1 + origin.Length() + std::fabs(toolLength) + machine.Reach(); }
};

/// The definition of a scene's machine, that of six axes where there is one.
template <class AnyScene>
auto MachDefOf(const AnyScene& scene) {
  if constexpr (requires { scene.thirdAngle; })
    return scene.MachDef();
  else
    return scene.machine.MachDef();
}

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

/// With nine decimals, as files have it.
inline Point Rounded(const Point& p) {
  const auto round = [](double x) { return std::round(x * 1e9) / 1e9; };
  return {round(p.x), round(p.y), round(p.z)};
}

/// Slides that are no right angles to each other, in some draws.
inline void DrawSlides(Seeded& random, std::array<Point, 3>& axes) {
  if (!random.Chance(0.4)) return;
  do {
    for (Point& axis : axes) axis = AnyVector(random);
  } while (std::fabs(Dot(Cross(axes[0], axes[1]), axes[2])) <= 0.3);
}

/// Any origin and tool length.
template <class AnyScene>
void DrawSetup(Seeded& random, AnyScene& scene) {
  scene.origin = random.Vector(300);
  scene.toolLength = random.Chance(0.2) ? 0 : random.Real(-50, 300);
}

}  // namespace tests
