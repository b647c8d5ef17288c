#include <kandrel/misc/angles.h>
#include <kandrel/misc/host_hooks.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>
#include <kandrel/post/geometry/pole_limits.h>

#include <cmath>
#include <cstdint>
#include <initializer_list>

namespace post {

namespace {

using Point = cadcam::zvTPoint3d<double>;

// Halfway between two angles of [0, 360): those more than 90 degrees apart lie on both sides of the
// seam.
double MiddleOnCircle(double a, double b) {
  if (std::fabs(a - b) > 90) {
    if (a < 180) a += misc::kFullTurnDeg;
    if (b < 180) b += misc::kFullTurnDeg;
  }
  return misc::WrapTo360((a + b) / 2);
}

}  // namespace

// A tip on the pole, turned about the first axis alone.
struct zvLimitKeeper::Place {
  const zv5axKinematics& kinematics;
  const Point& p_part;
  double secondAngle;

  Point At(double firstAngle) const {
    return kinematics.MachinePosition(p_part, firstAngle, secondAngle);
  }
};

zvLimitKeeper::zvLimitKeeper(const zv5axMachDef& machDef)
    : m_pivot(machDef.GetFirstRotationPivot()),
      m_low(machDef.GetMinLimits()),
      m_high(machDef.GetMaxLimits()) {
  const Point& first = machDef.GetFirstRotationDirection();
  const bool alongSpindle =
      std::fabs(std::fabs(Dot(machDef.GetSpindleDirection(), first)) - 1) < misc::kEqual;
  const std::int32_t kind = machDef.GetFiveAxisKind();
  m_active =
      kind == zv5axMachDef::kFirstOnTable || (kind == zv5axMachDef::kBothOnTable && alongSpindle);
  m_hasCircle =
      machDef.IsIdentityTransform() && (first == Point{0, 0, 1} || first == Point{0, 0, -1});
}

bool zvLimitKeeper::IsInside(const Point& p) const noexcept {
  for (int axis = 0; axis < 3; ++axis) {
    if (!(m_low[axis] - misc::kInsideLimits <= p[axis] &&
          p[axis] <= m_high[axis] + misc::kInsideLimits))
      return false;
  }
  return true;
}

bool zvLimitKeeper::KeepInLimits(const zv5axKinematics& kinematics, const Point& p_part,
                                 double lastAngle, double secondAngle, Point& position,
                                 double& firstAngle) const {
  if (!m_active || IsInside(position)) return false;
  const Place place{kinematics, p_part, secondAngle};
  return TurnOnCircle(place, position, firstAngle) || Scan(place, lastAngle, position, firstAngle);
}

// The position moves on a circle about the pivot in X and Y; its foremost point towards -X, X, -Y
// or Y is taken, the first that keeps its own limit. It serves only if it keeps the others too.
bool zvLimitKeeper::TurnOnCircle(const Place& place, Point& position, double& firstAngle) const {
  if (!m_hasCircle) return false;
  const double dx = position.x - m_pivot.x;
  const double dy = position.y - m_pivot.y;
  const double r = std::sqrt(dx * dx + dy * dy);
  Point target = position;
  if (m_pivot.x - r >= m_low.x) {
    target.x = m_pivot.x - r;
    target.y = m_pivot.y;
  } else if (m_pivot.x + r <= m_high.x) {
    target.x = m_pivot.x + r;
    target.y = m_pivot.y;
  } else if (m_pivot.y - r >= m_low.y) {
    target.x = m_pivot.x;
    target.y = m_pivot.y - r;
  } else if (m_pivot.y + r <= m_high.y) {
    target.x = m_pivot.x;
    target.y = m_pivot.y + r;
  } else {
    return false;
  }
  // Seen from the pivot the position turns by what the axis does: the angle is that from where it
  // stands at angle 0 to the target, by their arc tangents about +Z; reversed where the working
  // direction is -Z.
  const Point zero = place.At(0);
  const double fromZero = misc::ArcTangent(zero.y - m_pivot.y, zero.x - m_pivot.x);
  const double toTarget = misc::ArcTangent(target.y - m_pivot.y, target.x - m_pivot.x);
  const double sign = place.kinematics.GetFirstWorkingDirection().z;
  const double angle = misc::WrapTo180(sign * (toTarget - fromZero) * misc::kDegreesPerRadian);
  // Angle and position must belong together, which they don't where the second angle tilts the
  // circle.
  if (!IsInside(target) || !((place.At(angle) - target).Length() <= misc::kNoMotion)) return false;
  position = target;
  firstAngle = angle;
  return true;
}

// Steps round the circle by 2 degrees from 60 before the last angle; between two steps that pass a
// limit plane the point on the plane is looked for.
bool zvLimitKeeper::Scan(const Place& place, double lastAngle, Point& position,
                         double& firstAngle) const {
  const double start = misc::WrapTo360(std::trunc(lastAngle) - 60);
  double before = start;
  Point p_before = place.At(before);
  if (IsInside(p_before)) {
    position = p_before;
    firstAngle = before;
    return true;
  }
  for (int step = 1; step <= 180; ++step) {
    const double angle = misc::WrapTo360(std::trunc(2 * step + start));
    const Point p = place.At(angle);
    if (IsInside(p)) {
      position = p;
      firstAngle = angle;
      return true;
    }
    for (int axis = 0; axis < 3; ++axis)
      for (const double plane : {m_low[axis], m_high[axis]}) {
        const double a = p_before[axis];
        const double b = p[axis];
        if (!((a < plane && plane < b) || (b < plane && plane < a))) continue;
        Point onPlaneBefore = p_before;
        Point onPlane = p;
        onPlaneBefore[axis] = plane;
        onPlane[axis] = plane;
        if (!IsInside(onPlaneBefore) || !IsInside(onPlane)) continue;
        if (Bisect(place, before, angle, axis, plane, position, firstAngle)) return true;
      }
    before = angle;
    p_before = p;
  }
  return false;
}

bool zvLimitKeeper::Bisect(const Place& place, double angle1, double angle2, int axis, double plane,
                           Point& position, double& firstAngle) const {
  const bool rises = place.At(angle1)[axis] < place.At(angle2)[axis];
  for (int round = 0; round < 1024; ++round) {
    const double middle = MiddleOnCircle(angle1, angle2);
    if (middle == angle1 || middle == angle2) break;  // nothing would change any more
    Point p = place.At(middle);
    const double excess = p[axis] - plane;
    if (std::fabs(excess) <= misc::kLimitPlane) {
      p[axis] = plane;
      position = p;
      firstAngle = middle;
      return true;
    }
    // The sign of the excess changes once between the two: the half that keeps the change stays.
    ((excess < 0) == rises ? angle1 : angle2) = middle;
  }
  misc::DebugLine(L"CTheta Error");
  return false;
}

}  // namespace post
