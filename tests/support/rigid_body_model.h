// A machine as rigid bodies, written from physics: what carries the part, what carries the tool.
// It includes nothing of the library and has arithmetic of its own, so that the two can't share a
// mistake.
#pragma once

#include <array>

namespace tests::rigid {

using Vector = std::array<double, 3>;

Vector Add(const Vector& a, const Vector& b);
Vector Subtract(const Vector& a, const Vector& b);
Vector Times(const Vector& a, double f);
double Norm(const Vector& a);
Vector Unit(const Vector& a);
double Distance(const Vector& a, const Vector& b);

/// What a pose is: where the tool tip stands and where the tool points, from the tip up.
struct Pose {
  Vector tip;
  Vector axis;
};

double Cosine(const Vector& a, const Vector& b);

/// The linear axes carry the spindle along their directions; the part stands at its origin.
struct LinearMachine {
  std::array<Vector, 3> axes{Vector{1, 0, 0}, Vector{0, 1, 0}, Vector{0, 0, 1}};
  Vector spindle{0, 0, 1};
  Vector partOrigin{};
  double toolLength = 0;

  /// The pose in a frame at the part's origin with the machine's directions, for slide positions.
  Pose At(const Vector& slides) const;
};

/// A unit quaternion: w + (x, y, z).
struct Quaternion {
  double w = 1;
  Vector v{};

  static Quaternion OfTurn(const Vector& direction, double deg);
  Quaternion Conjugate() const { return {w, Times(v, -1)}; }
  friend Quaternion operator*(const Quaternion& a, const Quaternion& b);
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

  Motion At(double deg) const;
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
  Pose At(const Vector& slides, double firstDeg, double secondDeg) const;
};

/// Two rotary axes as above and a third under the part, which rides on it. The machine is described
/// as it stands with the third axis at `thirdStands` degrees: there it changes nothing.
struct ThirdAxisMachine {
  RotaryMachine rotary;
  Joint third;
  double thirdStands = 0;

  Pose At(const Vector& slides, double firstDeg, double secondDeg, double thirdDeg) const;
};

/// Linear axes and one rotary one, on the table or in the head. The slides carry the head.
struct OneTurnMachine {
  LinearMachine linear;
  /// A table's pivot is a place in the machine. A head's is how far the slides' reference lies from
  /// the middle of the joint, which stays where it is on the carriage.
  Joint joint;
  bool turnsTool = false;

  /// The pose in the part's own frame, wherever table and head have taken part and tool.
  Pose At(const Vector& slides, double deg) const;
};

}  // namespace tests::rigid
