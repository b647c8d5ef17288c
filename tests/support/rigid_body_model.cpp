#include <tests/support/rigid_body_model.h>

#include <cmath>

namespace tests::rigid {

Vector Add(const Vector& a, const Vector& b) {
  return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

Vector Subtract(const Vector& a, const Vector& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

Vector Times(const Vector& a, double f) {
  return {a[0] * f, a[1] * f, a[2] * f};
}

double Norm(const Vector& a) {
  return std::hypot(a[0], a[1], a[2]);
}

Vector Unit(const Vector& a) {
  return Times(a, 1 / Norm(a));
}

double Distance(const Vector& a, const Vector& b) {
  return Norm(Subtract(a, b));
}

double Cosine(const Vector& a, const Vector& b) {
  return (a[0] * b[0] + a[1] * b[1] + a[2] * b[2]) / (Norm(a) * Norm(b));
}

Pose LinearMachine::At(const Vector& slides) const {
  Vector nose{};
  for (int i = 0; i < 3; ++i) nose = Add(nose, Times(axes[i], slides[i]));
  const Vector up = Unit(spindle);
  return {Subtract(Subtract(nose, Times(up, toolLength)), partOrigin), up};
}

Pose RotaryMachine::At(const Vector& slides, double firstDeg, double secondDeg) const {
  Vector carriage{};
  for (int i = 0; i < 3; ++i) carriage = Add(carriage, Times(linear.axes[i], slides[i]));
  Motion part;  // of what stands on the table
  Motion tool;  // of what hangs in the head, in the carriage's frame: the nose is its origin
  switch (layout) {
    case Layout::kTables:  // the part rides on the first table, which rides on the second
      part = second.At(secondDeg) * first.At(firstDeg);
      break;
    case Layout::kTableAndHead:
      part = first.At(firstDeg);
      tool = second.At(secondDeg);
      break;
    case Layout::kHeads:  // the tool hangs in the second head, which hangs in the first
      tool = Joint{first.direction, Add(first.pivot, second.pivot)}.At(firstDeg) *
             second.At(secondDeg);
      break;
  }
  const Vector up = Unit(linear.spindle);
  const double reach = slidesTellTip ? 0 : linear.toolLength;
  const Vector tip = Add(carriage, tool.Point(Times(up, -reach)));
  const Motion back = part.Inverse();
  return {Subtract(back.Point(tip), linear.partOrigin), back.Direction(tool.Direction(up))};
}

Pose ThirdAxisMachine::At(const Vector& slides, double firstDeg, double secondDeg,
                          double thirdDeg) const {
  const Pose pose = rotary.At(slides, firstDeg, secondDeg);
  const Motion back = third.At(thirdDeg - thirdStands).Inverse();
  const Vector& origin = rotary.linear.partOrigin;
  return {Subtract(back.Point(Add(pose.tip, origin)), origin), back.Direction(pose.axis)};
}

Pose OneTurnMachine::At(const Vector& slides, double deg) const {
  Vector carriage{};
  for (int i = 0; i < 3; ++i) carriage = Add(carriage, Times(linear.axes[i], slides[i]));
  const Vector up = Unit(linear.spindle);
  if (turnsTool) {
    const Vector axis = Quaternion::OfTurn(joint.direction, deg).Turn(up);
    const Vector middle = Subtract(carriage, joint.pivot);
    const Vector tip = Subtract(middle, Times(axis, linear.toolLength));
    return {Subtract(tip, linear.partOrigin), axis};
  }
  const Motion back = joint.At(deg).Inverse();
  const Vector tip = Subtract(carriage, Times(up, linear.toolLength));
  return {Subtract(back.Point(tip), linear.partOrigin), back.Direction(up)};
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
  return {turn, Subtract(pivot, turn.Turn(pivot))};
}

}  // namespace tests::rigid
