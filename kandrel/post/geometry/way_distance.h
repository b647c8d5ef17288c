// zvWaySegment and zvWayArc: how far a tip lies off a straight line, and a tool axis off an arc.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/lanes.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>

#include <algorithm>
#include <cmath>

namespace post {

/// The length of a vector of the kernel's sizes: of one whose square underflows it is 0.
inline double PlainLength(const cadcam::zvTPoint3d<double>& v) noexcept {
  return misc::Sqrt(v.SquaredLength());
}

/// The sum of the coordinates' sizes, which is no less than the length.
inline double SizeOf(const cadcam::zvTPoint3d<double>& p) noexcept {
  return std::fabs(p.x) + std::fabs(p.y) + std::fabs(p.z);
}

/// The angle of a bound of its sine, never too small: up to 0.3 by the series, whose terms from the
/// seventh power on are below 0.06 x^7. From 1 on it says nothing.
inline double AngleOfSine(double sine) noexcept {
  if (sine < 0.3) [[likely]] {
    const double z = sine * sine;
    return sine * (1 + z * (1.0 / 6 + z * (3.0 / 40 + z * 0.06)));
  }
  if (!(sine < 1)) return misc::kPi;
  return misc::ArcTangent(sine, misc::Sqrt((1 - sine) * (1 + sine)));
}

/// The straight line of a way, from which distances of points are taken.
class zvWaySegment {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  /// From one end to the other, which may be one point.
  zvWaySegment(const Point& from, const Point& to) : m_from(from), m_step(to - from) {
    const double squared = m_step.SquaredLength();
    m_inverse = squared > 0 ? 1 / squared : 0;
  }
  /// How far a point is from the segment.
  double Distance(const Point& p) const noexcept { return misc::Sqrt(SquaredDistance(p)); }
  double SquaredDistance(const Point& p) const noexcept {
    return (p - m_from - Along(p) * m_step).SquaredLength();
  }
  /// The part of the segment, in [0, 1], at which it is nearest to a point.
  double Along(const Point& p) const noexcept {
    return std::min(1.0, std::max(0.0, Dot(p - m_from, m_step) * m_inverse));
  }

 private:
  Point m_from;
  Point m_step;
  double m_inverse;
};

/// The sector that the arc of a way spans. A ray where the arc is a point or next to one.
class zvWayArc {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  /// `halfway`: where the tool points halfway through the block.
  zvWayArc(const Point& from, const Point& to, const Point& halfway) : m_from(from), m_to(to) {
    // By the difference: square to both ends however near they are.
    Point normal = Cross(m_from, m_to - m_from);
    double length = PlainLength(normal);
    const bool areOpposite = (m_from + m_to).SquaredLength() <= misc::kOpposite * misc::kOpposite;
    if (areOpposite) {
      normal = Cross(m_from, halfway);
      length = PlainLength(normal);
    }
    m_isRay = !(length > kNoArc);
    if (m_isRay) return;
    m_normal = normal / length;
    m_past = Cross(m_normal, m_from);
    m_before = Cross(m_to, m_normal);
    if (areOpposite) m_before = m_past;
  }

  /// The square of the distance of the unit vector `t` from the sector.
  double SquaredDistance(const Point& t) const noexcept {
    if (IsAbove(t)) return Dot(m_normal, t) * Dot(m_normal, t);
    return std::min(SquaredOffRay(t, m_from), SquaredOffRay(t, m_to));
  }
  /// In radians.
  double Angle(const Point& t) const noexcept {
    const double squared = SquaredDistance(t);
    if (squared < 0.04) [[likely]]
      return AngleOfSine(misc::Sqrt(squared));
    return IsAbove(t) ? AngleOfSine(Height(t)) : std::min(AngleTo(t, m_from), AngleTo(t, m_to));
  }
  /// Whether the arc is a ray, the unit normal of its plane, and how far a point is off that plane.
  bool IsRay() const noexcept { return m_isRay; }
  const Point& GetNormal() const noexcept { return m_normal; }
  double Height(const Point& t) const noexcept { return std::fabs(Dot(m_normal, t)); }
  /// How far a point's foot in the plane lies outside of the ends.
  double Past(const Point& t) const noexcept {
    return std::max({0.0, -Dot(m_past, t), -Dot(m_before, t)});
  }
  /// Whether the tool, turning by `turn` at most on its way between two points, can't turn back as
  /// seen along the arc's ends: then nothing on the way lies past them by more than these. Its rate
  /// is that from point to point, but for turn^3 / 24, and changes by turn^2 / 2 from the middle.
  bool GoesOn(const Point& from, const Point& to, double turn) const noexcept {
    const Point step = to - from;
    const double change = turn * turn * (0.5 + turn / 24);
    return Dot(m_past, step) > change && -Dot(m_before, step) > change;
  }

 private:
  // Rays at a smaller angle, in radians, are one: either serves for both, within kNearSine.
  static constexpr double kNoArc = 1e-9;

  bool IsAbove(const Point& t) const noexcept {
    return !m_isRay && Dot(m_past, t) >= 0 && Dot(m_before, t) >= 0;
  }
  static double SquaredOffRay(const Point& t, const Point& ray) noexcept {
    return (t - std::max(0.0, Dot(t, ray)) * ray).SquaredLength();
  }
  static double AngleTo(const Point& t, const Point& ray) noexcept {
    return misc::ArcTangent(PlainLength(Cross(t, ray)), Dot(t, ray));
  }

  Point m_from;
  Point m_to;
  Point m_normal;
  Point m_past;    // in the plane of the arc, square to its start, towards its end
  Point m_before;  // the same of its end, towards its start
  bool m_isRay = true;
};

}  // namespace post
