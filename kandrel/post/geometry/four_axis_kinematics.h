// zv4axKinematics: angle and linear axes of a 4-axis machine for a tool tip and an orientation.
#pragma once

#include <kandrel/cadcam/matrix.h>
#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/angles.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/post/geometry/pole.h>
#include <kandrel/post/geometry/turn.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posted_move.h>

#include <cmath>

namespace post {

/// The orientations that a machine reaches: the cone that its spindle sweeps about its rotary axis.
/// All directions are unit vectors.
class KANDREL_API zvOrientationCone {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  /// `machDef` is normalised.
  explicit zvOrientationCone(const zv4axMachDef& machDef)
      : m_axis(machDef.GetRotationDirection()),
        m_spindle(machDef.GetSpindleDirection()),
        m_cosine(Dot(m_spindle, m_axis)),
        m_sine(Cross(m_spindle, m_axis).Length()) {}

  /// Whether a direction lies on it, within 1e-12 of its cosine to the axis.
  bool Holds(const Point& dir_tool) const noexcept {
    return std::fabs(Dot(dir_tool, m_axis) - m_cosine) <= misc::kEqual;
  }
  /// Whether it does but for the decimals of a text: less than 1e-6 rad off.
  bool IsNear(const Point& dir_tool) const {
    return Holds(dir_tool) ||
           (dir_tool - Onto(dir_tool)).SquaredLength() < misc::kDirectionDifferenceSquared;
  }
  /// The direction of the cone that has the same turn; the given one where it lies there; the
  /// spindle for one along the axis, which has no turn.
  Point Onto(const Point& dir_tool) const;
  /// The same for a direction near the cone; any other as it is.
  Point OntoIfNear(const Point& dir_tool) const {
    if (Holds(dir_tool)) [[likely]]
      return dir_tool;
    return IsNear(dir_tool) ? Onto(dir_tool) : dir_tool;
  }

  /// The axis of the cone, a unit vector, and the cosine of the angle between it and the spindle.
  const Point& GetAxis() const noexcept { return m_axis; }
  double GetCosine() const noexcept { return m_cosine; }

 private:
  Point m_axis;
  Point m_spindle;
  double m_cosine;
  double m_sine;
};

/// What the kinematics of one rotary axis compute with, worked out from a machine once.
struct zv4axConstants {
  using Point = cadcam::zvTPoint3d<double>;

  bool isOnTable = false;
  Point spindle;
  Point axis;  ///< reversed for an axis in the head, so that an angle on either side turns the part
  Point pivot;
  Point toolVector;         ///< L s
  double alongSquared = 0;  ///< of the spindle . axis
  Point spindleCrossAxis;   ///< s x a
};

/// Forward and inverse kinematics of a machine with one rotary axis. What a definition means:
///
/// 1. An angle a turns the part by +a (right-handed) about an axis on the table, the tool by +a
///    about one in the head. The spindle sweeps a cone about the axis, of any opening: the machine
///    reaches the orientations on it and no others.
/// 2. On the table the pivot is a point of the axis, and the tool length reaches from the tip to
///    the spindle nose. In the head the tool length reaches from the tip to the axis, and the pivot
///    is added as it stands: a constant offset, as an axis doesn't move with its own angle.
/// 3. Angles are degrees, lengths in the machine's units; p_part in the part's frame, p_mach the
///    positions of the linear axes.
///
/// The part origin is referred to and must outlive the object.
class KANDREL_API zv4axKinematics {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  /// `machDef` is normalised.
  zv4axKinematics(const zv4axMachDef& machDef, const Point& partOrigin,
                  double toolLengthCompensation);
  zv4axKinematics(const zv4axMachDef&, const Point&&, double) = delete;

  /// The angle, in [-180, 180], at which the tool points along a unit vector that lies on the cone.
  /// One within the pole cone of this eps about the spindle counts as along it or against it: the
  /// angle is exactly 0 or 180. Angles below 8.1e-4 degrees come out as 0.
  zvSolvedAngle Angle(const Point& dir_tool, double poleEps) const noexcept {
    const double c = Dot(m_constants.spindle, dir_tool);
    if (zvPoleCone{poleEps}.Holds(c)) [[unlikely]]
      return misc::SafeAcosRad(c) < misc::kPi / 2 ? zvSolvedAngle{0, {1, 0}}
                                                  : zvSolvedAngle{180, {-1, 0}};
    return AngleOfCosine(CosineOfTurn(c), Dot(m_constants.spindleCrossAxis, dir_tool) < 0);
  }

  /// The machine that they are of, with the default's units and limits.
  zv4axMachDef MachDef() const;
  /// What they compute with; the part origin is the caller's.
  const zvOrientationCone& GetCone() const noexcept { return m_cone; }
  const zv4axConstants& GetConstants() const noexcept { return m_constants; }
  const Point& GetPartOrigin() const noexcept { return *m_partOrigin; }

  /// Where the linear axes stand for a tip at `p_part`; the angle in degrees or by its turn, or as
  /// the move has it.
  Point MachinePosition(const Point& p_part, double deg) const noexcept {
    return MachinePosition(p_part, zvTurn::OfDegrees(deg));
  }
  Point MachinePosition(const Point& p_part, const zvTurn& turn) const noexcept {
    const Point q = p_part + *m_partOrigin;
    const Point p_mach =
        m_constants.isOnTable
            ? RotateOffLine(q, m_constants.axis, m_constants.pivot, turn) + m_constants.toolVector
            : q + m_constants.pivot +
                  RotateOffLine(m_constants.toolVector, m_constants.axis, {}, turn.Reversed());
    return OnLinearAxes(p_mach);
  }
  Point MachinePosition(const zvPosted4axMove& move) const noexcept {
    return MachinePosition(move.GetPartPosition(), move.GetRotaryAngle());
  }

  /// The positions of the linear axes for a place in the machine's frame.
  Point OnLinearAxes(const Point& p) const noexcept { return m_isIdentity ? p : m_inverseAxes * p; }

  /// The inverse of MachinePosition, also for skewed and scaled linear axes.
  Point PartPosition(const Point& p_mach, double deg) const noexcept;
  Point PartPosition(const zvPosted4axMove& move) const noexcept {
    return PartPosition(move.GetMachinePosition(), move.GetRotaryAngle());
  }

  /// The tool's orientation in the part's frame, a unit vector.
  Point Orientation(double deg) const noexcept;
  Point Orientation(const zvPosted4axMove& move) const noexcept {
    return Orientation(move.GetRotaryAngle());
  }

 private:
  // Spindle s and tool t make the same cosine k with the axis a. Less their parts along it, s - k a
  // and t - k a, both have the squared length 1 - k^2 and the product c - k^2: the turn about the
  // axis from one to the other has the cosine (c - k^2) / (1 - k^2). Its sine has the sign of
  // (t x s) . a, which is t . (s x a), as the part turns the tool back onto the spindle.
  double CosineOfTurn(double c) const noexcept {
    return (c - m_constants.alongSquared) / (1 - m_constants.alongSquared);
  }

  zvOrientationCone m_cone;
  zv4axConstants m_constants;
  bool m_isIdentity;
  cadcam::zvMatrix<double, 4, 4> m_inverseAxes;
  cadcam::zvMatrix<double, 4, 4> m_axes;
  const Point* m_partOrigin;
};

}  // namespace post
