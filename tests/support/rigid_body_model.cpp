#include <tests/support/rigid_body_model.h>

#include <cmath>

namespace tests::rigid {

Vector Add(const Vector& a, const Vector& b) {
  return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

Vector Times(const Vector& a, double f) {
  return {a[0] * f, a[1] * f, a[2] * f};
}

namespace {

Vector Unit(const Vector& a) {
  return Times(a, 1 / std::hypot(a[0], a[1], a[2]));
}

Motion Ride(const std::vector<Machine::RotaryAxis>& axes, const std::vector<double>& degs) {
  Motion motion;
  for (const Machine::RotaryAxis& axis : axes)
    motion = motion * axis.joint.At(degs.at(axis.angle) - axis.standsAt);
  return motion;
}

}  // namespace

Pose Machine::At(const Vector& slides, const std::vector<double>& degs) const {
  Vector nose = Times(slidesOffNose, -1);
  for (std::size_t i = 0; i < 3; ++i) nose = Add(nose, Times(axes[i], slides[i]));
  const Motion tool = Ride(heads, degs);  // in the carriage's frame: the nose is its origin
  const Motion back = Ride(tables, degs).Inverse();
  const Vector up = Unit(spindle);
  const Vector tip = Add(nose, tool.Point(Times(up, slidesTellTip ? 0 : -toolLength)));
  return {Add(back.Point(tip), Times(partOrigin, -1)), back.Direction(tool.Direction(up))};
}

Quaternion Quaternion::OfTurn(const Vector& direction, double deg) {
  const double half = deg * (3.14159265358979323846 / 360);
  return {std::cos(half), Times(Unit(direction), std::sin(half))};
}

Quaternion operator*(const Quaternion& a, const Quaternion& b) {
  const Vector across{a.v[1] * b.v[2] - a.v[2] * b.v[1], a.v[2] * b.v[0] - a.v[0] * b.v[2],
                      a.v[0] * b.v[1] - a.v[1] * b.v[0]};
  return {a.w * b.w - a.v[0] * b.v[0] - a.v[1] * b.v[1] - a.v[2] * b.v[2],
          Add(Add(Times(b.v, a.w), Times(a.v, b.w)), across)};
}

Motion Joint::At(double deg) const {
  const Quaternion turn = Quaternion::OfTurn(direction, deg);
  return {turn, Add(pivot, turn.Turn(Times(pivot, -1)))};
}

}  // namespace tests::rigid
