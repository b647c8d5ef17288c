#include <kandrel/misc/tolerances.h>
#include <kandrel/post/geometry/four_axis_kinematics.h>

#include <cmath>

namespace post {

using Point = zv4axKinematics::Point;

zv4axKinematics::zv4axKinematics(const zv4axMachDef& machDef, const Point& partOrigin,
                                 double toolLengthCompensation)
    : m_cone(machDef),
      m_isIdentity(machDef.IsIdentityTransform()),
      m_inverseAxes(*machDef.GetInverseAxisMatrix()),
      m_axes(machDef.GetAxisMatrix()),
      m_partOrigin(&partOrigin) {
  zv4axConstants& c = m_constants;
  c.isOnTable = machDef.GetRotaryOnWorkpiece() != 0;
  c.spindle = machDef.GetSpindleDirection();
  c.axis = c.isOnTable ? machDef.GetRotationDirection() : -machDef.GetRotationDirection();
  c.pivot = machDef.GetRotationPivot();
  c.toolVector = toolLengthCompensation * c.spindle;
  c.alongSquared = m_cone.GetCosine() * m_cone.GetCosine();
  c.spindleCrossAxis = Cross(c.spindle, c.axis);
}

zv4axMachDef zv4axKinematics::MachDef() const {
  const zv4axMachDef other;
  return {m_constants.isOnTable ? 1 : 0,
          other.GetUnits(),
          m_constants.spindle,
          m_cone.GetAxis(),
          m_constants.pivot,
          other.GetMinAngle(),
          other.GetMaxAngle(),
          other.GetMinLimits(),
          other.GetMaxLimits(),
          m_axes * Point{1, 0, 0},
          m_axes * Point{0, 1, 0},
          m_axes * Point{0, 0, 1}};
}

Point zvOrientationCone::Onto(const Point& dir_tool) const {
  if (Holds(dir_tool)) return dir_tool;
  const double along = Dot(dir_tool, m_axis);
  Point across = dir_tool - along * m_axis;
  // Next to the axis any turn is as near as another: what is left there is rounding.
  if (across.SquaredLength() <= misc::kEqual * misc::kEqual) return m_spindle;
  across = across.Normalized();
  // Once more: the rest along the axis has grown with the length.
  across = (across - Dot(across, m_axis) * m_axis).Normalized();
  // Unit vectors of the cone are k a + sqrt(1 - k^2) e with e square to the axis a.
  return m_cosine * m_axis + m_sine * across;
}

Point zv4axKinematics::PartPosition(const Point& p_mach, double deg) const noexcept {
  const zvTurn back = zvTurn::OfDegrees(deg).Reversed();
  const Point p = m_isIdentity ? p_mach : m_axes * p_mach;
  const zv4axConstants& c = m_constants;
  if (c.isOnTable) return RotateOffLine(p - c.toolVector, c.axis, c.pivot, back) - *m_partOrigin;
  return p - *m_partOrigin - c.pivot - RotateOffLine(c.toolVector, c.axis, {}, back);
}

Point zv4axKinematics::Orientation(double deg) const noexcept {
  const Point t =
      RotateOffLine(m_constants.spindle, m_constants.axis, {}, zvTurn::OfDegrees(deg).Reversed());
  return t / t.Length();
}

}  // namespace post
