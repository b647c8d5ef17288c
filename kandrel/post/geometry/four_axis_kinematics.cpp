#include <kandrel/misc/tolerances.h>
#include <kandrel/post/geometry/four_axis_kinematics.h>

#include <cmath>

namespace post {

using Point = zv4axKinematics::Point;

zv4axKinematics::zv4axKinematics(const zv4axMachDef& machDef, const Point& partOrigin,
                                 double toolLengthCompensation)
    : m_cone(machDef),
      m_isOnTable(machDef.GetRotaryOnWorkpiece() != 0),
      m_spindle(machDef.GetSpindleDirection()),
      m_axis(m_isOnTable ? machDef.GetRotationDirection() : -machDef.GetRotationDirection()),
      m_pivot(machDef.GetRotationPivot()),
      m_toolVector(toolLengthCompensation * m_spindle),
      m_alongSquared(m_cone.GetCosine() * m_cone.GetCosine()),
      m_spindleCrossAxis(Cross(m_spindle, m_axis)),
      m_isIdentity(machDef.IsIdentityTransform()),
      m_inverseAxes(*machDef.GetInverseAxisMatrix()),
      m_axes(machDef.GetAxisMatrix()),
      m_partOrigin(&partOrigin) {}

Point zvOrientationCone::Onto(const Point& dir_tool) const {
  if (Holds(dir_tool)) return dir_tool;
  const double along = Dot(dir_tool, m_axis);
  Point across = dir_tool - along * m_axis;
  // Next to the axis any turn is as near as another: what is left there is rounding.
  if (across.SquaredLength() <= misc::kEqual * misc::kEqual) return m_spindle;
  across = across.Normalized();
  // Once more: the rest along the axis has grown with the length.
  across = (across - Dot(across, m_axis) * m_axis).Normalized();
  return m_cosine * m_axis + m_sine * across;
}

Point zv4axKinematics::PartPosition(const Point& p_mach, double deg) const noexcept {
  const zvTurn back = zvTurn::OfDegrees(deg).Reversed();
  const Point p = m_isIdentity ? p_mach : m_axes * p_mach;
  if (m_isOnTable) return RotateOffLine(p - m_toolVector, m_axis, m_pivot, back) - *m_partOrigin;
  return p - *m_partOrigin - m_pivot - RotateOffLine(m_toolVector, m_axis, {}, back);
}

Point zv4axKinematics::Orientation(double deg) const noexcept {
  const Point t = RotateOffLine(m_spindle, m_axis, {}, zvTurn::OfDegrees(deg).Reversed());
  return t / t.Length();
}

}  // namespace post
