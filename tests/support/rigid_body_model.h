// A machine as rigid bodies, written from physics: what carries the part, what carries the tool.
// It includes nothing of the library and has arithmetic of its own, so that the two can't share a
// mistake.
#pragma once

#include <array>
#include <cmath>

namespace tests::rigid {

using Vector = std::array<double, 3>;

inline Vector Add(const Vector& a, const Vector& b) {
  return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}
inline Vector Subtract(const Vector& a, const Vector& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
inline Vector Times(const Vector& a, double f) {
  return {a[0] * f, a[1] * f, a[2] * f};
}
inline double Norm(const Vector& a) {
  return std::hypot(a[0], a[1], a[2]);
}
inline Vector Unit(const Vector& a) {
  return Times(a, 1 / Norm(a));
}
inline double Distance(const Vector& a, const Vector& b) {
  return Norm(Subtract(a, b));
}

/// What a pose is: where the tool tip stands and where the tool points, from the tip up.
struct Pose {
  Vector tip;
  Vector axis;
};

inline double Cosine(const Vector& a, const Vector& b) {
  return (a[0] * b[0] + a[1] * b[1] + a[2] * b[2]) / (Norm(a) * Norm(b));
}

/// The linear axes carry the spindle along their directions; the part stands at its origin.
struct LinearMachine {
  std::array<Vector, 3> axes{Vector{1, 0, 0}, Vector{0, 1, 0}, Vector{0, 0, 1}};
  Vector spindle{0, 0, 1};
  Vector partOrigin{};
  double toolLength = 0;

  /// The pose in a frame at the part's origin with the machine's directions, for slide positions.
  Pose At(const Vector& slides) const {
    Vector nose{};
    for (int i = 0; i < 3; ++i) nose = Add(nose, Times(axes[i], slides[i]));
    const Vector up = Unit(spindle);
    return {Subtract(Subtract(nose, Times(up, toolLength)), partOrigin), up};
  }
};

/// A unit quaternion: w + (x, y, z).
struct Quaternion {
  double w = 1;
  Vector v{};

  static Quaternion OfTurn(const Vector& direction, double deg) {
    const double half = deg * (3.14159265358979323846 / 360);
    return {std::cos(half), Times(Unit(direction), std::sin(half))};
  }
  Quaternion Conjugate() const { return {w, Times(v, -1)}; }
  friend Quaternion operator*(const Quaternion& a, const Quaternion& b) {
    const Vector across{a.v[1] * b.v[2] - a.v[2] * b.v[1], a.v[2] * b.v[0] - a.v[0] * b.v[2],
                        a.v[0] * b.v[1] - a.v[1] * b.v[0]};
    return {a.w * b.w - a.v[0] * b.v[0] - a.v[1] * b.v[1] - a.v[2] * b.v[2],
            Add(Add(Times(b.v, a.w), Times(a.v, b.w)), across)};
  }
  Vector Turn(const Vector& p) const { return (*this * Quaternion{0, p} * Conjugate()).v; }
};

/// Where a rigid body has gone from where it stood with all axes at zero.
struct Motion {
  Quaternion turn;
  Vector shift{};

  Vector Point(const Vector& p) const { return Add(turn.Turn(p), shift); }
  Vector Direction(const Vector& d) const { return turn.Turn(d); }
  Motion Inverse() const {
    const Quaternion back = turn.Conjugate();
    return {back, Times(back.Turn(shift), -1)};
  }
  /// What `ridden` does while it rides on `carrier`.
  friend Motion operator*(const Motion& carrier, const Motion& ridden) {
    return {carrier.turn * ridden.turn, carrier.Point(ridden.shift)};
  }
};

/// A turning joint: right-handed by degrees about a line through the pivot.
struct Joint {
  Vector direction{0, 0, 1};
  Vector pivot{};

  Motion At(double deg) const {
    const Quaternion turn = Quaternion::OfTurn(direction, deg);
    return {turn, Subtract(pivot, turn.Turn(pivot))};
  }
};

/// Linear axes and two rotary ones. The slides carry the head; the table stands in the machine.
struct RotaryMachine {
  enum class Layout { kTables, kHeads, kTableAndHead };

  Layout layout = Layout::kTables;
  LinearMachine linear;
  /// A table's pivot is a place in the machine; a head's second pivot is told from the nose, its
  /// first from the second, both with all angles at zero.
  Joint first;
  Joint second;
  /// Slide positions tell where the nose stands, or where the tip does.
  bool slidesTellTip = false;

  /// The pose in the part's own frame, wherever table and head have taken part and tool.
  Pose At(const Vector& slides, double firstDeg, double secondDeg) const {
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
};

/// Two rotary axes as above and a third under the part, which rides on it. The machine is described
/// as it stands with the third axis at `thirdStands` degrees: there it changes nothing.
struct ThirdAxisMachine {
  RotaryMachine rotary;
  Joint third;
  double thirdStands = 0;

  Pose At(const Vector& slides, double firstDeg, double secondDeg, double thirdDeg) const {
    const Pose pose = rotary.At(slides, firstDeg, secondDeg);
    const Motion back = third.At(thirdDeg - thirdStands).Inverse();
    const Vector& origin = rotary.linear.partOrigin;
    return {Subtract(back.Point(Add(pose.tip, origin)), origin), back.Direction(pose.axis)};
  }
};

/// Linear axes and one rotary one, on the table or in the head. The slides carry the head.
struct OneTurnMachine {
  LinearMachine linear;
  /// A table's pivot is a place in the machine. A head's is how far the slides' reference lies from
  /// the middle of the joint, which stays where it is on the carriage.
  Joint joint;
  bool turnsTool = false;

  /// The pose in the part's own frame, wherever table and head have taken part and tool.
  Pose At(const Vector& slides, double deg) const {
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
};

}  // namespace tests::rigid
