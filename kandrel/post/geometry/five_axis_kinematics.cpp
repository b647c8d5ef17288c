#include <kandrel/misc/tolerances.h>
#include <kandrel/post/geometry/five_axis_kinematics.h>

#include <cmath>

namespace post {

using Point = zv5axKinematics::Point;

zv5axKinematics::zv5axKinematics(const zv5axMachDef& machDef, const Point& partOrigin,
                                 double toolLengthCompensation)
    : m_kind(machDef.GetFiveAxisKind()),
      m_spindle(machDef.GetSpindleDirection()),
      m_first(machDef.GetFirstRotationDirection()),
      m_second(machDef.GetSecondRotationDirection()),
      m_firstPivot(machDef.GetFirstRotationPivot()),
      m_secondPivot(machDef.GetSecondRotationPivot()),
      m_toolVector(toolLengthCompensation * machDef.GetSpindleDirection()),
      m_headSecondPivot(m_toolVector + m_secondPivot),
      m_headFirstPivot(m_firstPivot + m_toolVector + m_secondPivot),
      m_isIdentity(machDef.IsIdentityTransform()),
      m_inverseAxes(*machDef.GetInverseAxisMatrix()),
      m_axes(machDef.GetAxisMatrix()),
      m_partOrigin(&partOrigin) {
  const bool areBothOnTable =
      m_kind == zv5axMachDef::kBothOnTable || m_kind == zv5axMachDef::kBothOnTableLengthLeftOut;
  if (m_kind == zv5axMachDef::kBothInHead) m_first = -m_first;
  if (!areBothOnTable) m_second = -m_second;
}

Point zv5axKinematics::PartPosition(const Point& p_mach, double firstAngle,
                                    double secondAngle) const noexcept {
  const zvTurn first = zvTurn::OfDegrees(firstAngle);
  const zvTurn second = zvTurn::OfDegrees(secondAngle);
  // A rigid motion takes p to o + R p. The columns of R are the images of the unit vectors less o,
  // and R is orthogonal: its inverse is its transpose.
  const Point o = RigidPosition({}, first, second);
  const Point ex = RigidPosition({1, 0, 0}, first, second) - o;
  const Point ey = RigidPosition({0, 1, 0}, first, second) - o;
  const Point ez = RigidPosition({0, 0, 1}, first, second) - o;
  const Point offset = (m_isIdentity ? p_mach : m_axes * p_mach) - o;
  return {Dot(offset, ex), Dot(offset, ey), Dot(offset, ez)};
}

Point zv5axKinematics::Orientation(const zvTurn& first, const zvTurn& second) const noexcept {
  // The part turned by both angles has the tool along the spindle: turned back, the spindle is the
  // tool.
  const Point u = Rotate(m_spindle, m_second, {}, second.Reversed());
  const Point t = Rotate(u, m_first, {}, first.Reversed());
  return t / t.Length();
}

Point zv5axKinematics::OrientationFromAnglesRad(double firstRad, double secondRad) const noexcept {
  return Orientation(zvTurn::OfRadians(firstRad), zvTurn::OfRadians(secondRad));
}

Point zv5axKinematics::OrientationFromAngles(double firstDeg, double secondDeg) const noexcept {
  return Orientation(zvTurn::OfDegrees(firstDeg), zvTurn::OfDegrees(secondDeg));
}

}  // namespace post
