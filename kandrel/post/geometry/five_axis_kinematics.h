// zv5axKinematics: where the linear axes of a 5-axis machine stand for a tool tip and two angles.
#pragma once

#include <kandrel/cadcam/matrix.h>
#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/geometry/turn.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posted_move.h>

#include <cstdint>

namespace post {

/// Forward and inverse kinematics of a machine with two rotary axes. What a definition means:
///
/// 1. An angle a on the workpiece side turns the part by +a (right-handed) about the axis, on the
///    head side the tool by +a.
/// 2. The first axis acts on the part before the second (kinds 0, 3: the part rides on axis 1 and
///    that on axis 2); in a head (kind 1) axis 1 carries axis 2. Kind 2 and any other number: the
///    part turns about axis 1, the tool about axis 2.
/// 3. In a head the second pivot is relative to the spindle nose at angle zero, the first relative
///    to the second. The tool length reaches from the tip to the nose; kind 0 leaves it out.
/// 4. Angles are degrees, lengths in the machine's units; p_part in the part's frame, p_mach the
///    positions of the linear axes.
///
/// The part origin is referred to and must outlive the object.
class KANDREL_API zv5axKinematics {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  /// `machDef` is normalised.
  zv5axKinematics(const zv5axMachDef& machDef, const Point& partOrigin,
                  double toolLengthCompensation);
  zv5axKinematics(const zv5axMachDef&, const Point&&, double) = delete;

  /// Where the linear axes stand for a tip at `p_part`; the angles in degrees or by their turns, or
  /// as the move has them.
  Point MachinePosition(const Point& p_part, double firstAngle, double secondAngle) const noexcept {
    return MachinePosition(p_part, zvTurn::OfDegrees(firstAngle), zvTurn::OfDegrees(secondAngle));
  }
  Point MachinePosition(const Point& p_part, const zvTurn& first,
                        const zvTurn& second) const noexcept {
    const Point p_mach = RigidPosition(p_part, first, second);
    return m_isIdentity ? p_mach : m_inverseAxes * p_mach;
  }
  Point MachinePosition(const zvPosted5axMove& move) const noexcept {
    return MachinePosition(move.GetPartPosition(), move.GetAngle(0), move.GetAngle(1));
  }

  /// The inverse of MachinePosition. The machine position is taken through the axis matrix first,
  /// so that skewed and scaled axes come out right too; what remains is a rigid motion.
  Point PartPosition(const Point& p_mach, double firstAngle, double secondAngle) const noexcept;
  Point PartPosition(const zvPosted5axMove& move) const noexcept {
    return PartPosition(move.GetMachinePosition(), move.GetAngle(0), move.GetAngle(1));
  }

  /// The tool's orientation in the part's frame, a unit vector. In radians.
  Point OrientationFromAnglesRad(double firstRad, double secondRad) const noexcept;
  /// The same in degrees, and at the angles of a posted move.
  Point OrientationFromAngles(double firstDeg, double secondDeg) const noexcept;
  Point Orientation(const zvPosted5axMove& move) const noexcept {
    return OrientationFromAngles(move.GetAngle(0), move.GetAngle(1));
  }

  /// The directions with the signs that make an angle on either side turn the part: reversed for an
  /// axis in the head.
  const Point& GetFirstWorkingDirection() const noexcept { return m_first; }
  const Point& GetSecondWorkingDirection() const noexcept { return m_second; }

 private:
  // In the directions of the part's axes, whatever those of the machine's. q is the tip as it
  // stands on a table at angle zero; a table turns it. Angles in a head take the tip, here {} with
  // the pivots as seen from it, off where it stands at angle zero: the linear axes, which carry the
  // nose at L s from the tip, make up for that.
  Point RigidPosition(const Point& p_part, const zvTurn& first,
                      const zvTurn& second) const noexcept {
    const Point q = p_part + *m_partOrigin;
    switch (m_kind) {
      case zv5axMachDef::kBothOnTableLengthLeftOut:
        return Rotate(Rotate(q, m_first, m_firstPivot, first), m_second, m_secondPivot, second);
      case zv5axMachDef::kBothOnTable:
        return m_toolVector +
               Rotate(Rotate(q, m_first, m_firstPivot, first), m_second, m_secondPivot, second);
      case zv5axMachDef::kBothInHead:
        return q + m_toolVector -
               Rotate(Rotate({}, m_second, m_headSecondPivot, second.Reversed()), m_first,
                      m_headFirstPivot, first.Reversed());
      default:
        return Rotate(q, m_first, m_firstPivot, first) -
               Rotate({}, m_second, m_headSecondPivot, second.Reversed()) + m_toolVector;
    }
  }
  Point Orientation(const zvTurn& first, const zvTurn& second) const noexcept;

  std::int32_t m_kind;
  Point m_spindle;
  Point m_first;
  Point m_second;
  Point m_firstPivot;
  Point m_secondPivot;
  Point m_toolVector;       // L s
  Point m_headSecondPivot;  // L s + B2
  Point m_headFirstPivot;   // B1 + L s + B2
  bool m_isIdentity;
  cadcam::zvMatrix<double, 4, 4> m_inverseAxes;
  cadcam::zvMatrix<double, 4, 4> m_axes;
  const Point* m_partOrigin;
};

}  // namespace post
