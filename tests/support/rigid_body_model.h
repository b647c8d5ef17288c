// A machine as rigid bodies, written from physics: what carries the part, what carries the tool.
// It includes nothing of the library and has arithmetic of its own, so that the two can't share a
// mistake.
#pragma once

#include <array>
#include <cstddef>
#include <type_traits>
#include <vector>

namespace tests::rigid {

using Vector = std::array<double, 3>;

Vector Add(const Vector& a, const Vector& b);
Vector Times(const Vector& a, double f);

/// What a pose is: where the tool tip stands and where the tool points, from the tip up.
struct Pose {
  Vector tip;
  Vector axis;
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

/// Linear axes and any rotary ones. The slides carry the head; the table stands in the machine.
struct Machine {
  struct RotaryAxis {
    /// A table's pivot is a place in the machine; a head's is measured from the nose, both with all
    /// angles at zero.
    Joint joint;
    std::size_t angle = 0;  // which of the angles is its own
    double standsAt = 0;    // the angle at which it turns nothing
  };

  std::array<Vector, 3> axes{Vector{1, 0, 0}, Vector{0, 1, 0}, Vector{0, 0, 1}};
  Vector spindle{0, 0, 1};
  Vector partOrigin{};
  double toolLength = 0;
  /// Each rides on the one before it: the part on the last table, the tool in the last head.
  std::vector<RotaryAxis> tables{};
  std::vector<RotaryAxis> heads{};
  /// The slide positions are those of the nose, of a place this far off it, or of the tip, wherever
  /// the tool has turned.
  Vector slidesOffNose{};
  bool slidesTellTip = false;

  /// The pose in the part's own frame, wherever table and head have taken part and tool.
  Pose At(const Vector& slides, const std::vector<double>& degs) const;
  template <class... Degrees>
  requires(std::is_arithmetic_v<Degrees>&&...) Pose At(const Vector& slides, Degrees... degs)
  const { return At(slides, std::vector<double>{static_cast<double>(degs)...}); }
};

}  // namespace tests::rigid
