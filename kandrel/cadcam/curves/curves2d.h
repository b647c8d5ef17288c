// The curves in the plane of which tool profiles are made: lines, arcs, parabolas, ellipses,
// polylines, and contours that string them together. All are values; lengths are in the units of
// what holds them, angles in degrees, counted from +x towards +y.
#pragma once

#include <kandrel/cadcam/curves/point2d.h>
#include <kandrel/misc/export.h>

#include <optional>
#include <utility>
#include <variant>
#include <vector>

namespace geoDef {

/// A straight line; its two ends may be one point.
template <class T>
struct zv2dLine {
  zv2dPoint<T> start;
  zv2dPoint<T> end;
  bool operator==(const zv2dLine&) const = default;
};

/// A part of a circle, or all of it. It turns counter-clockwise where the sweep is positive.
template <class T>
class KANDREL_API zv2dArc {
 public:
  /// Centre at the origin, all else 0.
  zv2dArc() = default;
  /// Throws zvRangeException<T> for a radius outside 0 to 1e308, a start angle outside 0 to 360 or
  /// a sweep outside -360 to 360, in this order; all ends of these ranges are inside.
  zv2dArc(const zv2dPoint<T>& centre, T radius, T startAngle, T sweepAngle);

  /// As the constructor took them; angles in degrees, counter-clockwise from +x.
  const zv2dPoint<T>& GetCentre() const noexcept { return m_centre; }
  T GetRadius() const noexcept { return m_radius; }
  T GetStartAngle() const noexcept { return m_startAngle; }
  T GetSweepAngle() const noexcept { return m_sweepAngle; }
  /// Start plus sweep, from -360 to 720.
  T GetEndAngle() const noexcept { return m_startAngle + m_sweepAngle; }

  /// The point at an angle; exactly on the axes through the centre at whole quarter turns.
  zv2dPoint<T> PointAt(T angle) const;

  bool operator==(const zv2dArc&) const = default;

 private:
  zv2dPoint<T> m_centre;
  T m_radius{};
  T m_startAngle{};
  T m_sweepAngle{};
};

/// The part of a parabola from its vertex to its end; its axis is parallel to y:
/// P(t) = vertex + (t dx, t^2 dy) for t from 0 to 1, with (dx, dy) = end - vertex.
template <class T>
struct zv2dParabola {
  zv2dPoint<T> vertex;
  zv2dPoint<T> end;
  bool operator==(const zv2dParabola&) const = default;
};

/// A whole ellipse, from the end of its first half axis and back to it:
/// P(t) = centre + cos t (first - centre) + sin t (second - centre). The two need not be
/// perpendicular: they are conjugate half diameters.
template <class T>
struct zv2dEllipse {
  zv2dPoint<T> centre;
  zv2dPoint<T> first;
  zv2dPoint<T> second;
  bool operator==(const zv2dEllipse&) const = default;
};

/// Points that straight lines join.
template <class T>
struct zv2dPolyLine {
  std::vector<zv2dPoint<T>> points;
  bool operator==(const zv2dPolyLine&) const = default;
};

template <class T>
struct zv2dElement;

/// A string of elements. Nothing forces them to join; a contour may be an element of another.
template <class T>
class zv2dContour {
 public:
  zv2dContour() = default;
  /// Of these elements, in this order.
  explicit zv2dContour(std::vector<zv2dElement<T>> elements) : m_elements(std::move(elements)) {}

  /// The elements in their order.
  const std::vector<zv2dElement<T>>& GetElements() const noexcept { return m_elements; }
  /// Whether there are none.
  bool IsEmpty() const noexcept { return m_elements.empty(); }
  /// Puts an element behind the others.
  void Add(zv2dElement<T> element) { m_elements.push_back(std::move(element)); }

  bool operator==(const zv2dContour&) const = default;

 private:
  std::vector<zv2dElement<T>> m_elements;
};

/// One element of a contour, of whichever class; std::visit tells of which.
template <class T>
struct zv2dElement : std::variant<zv2dPoint<T>, zv2dLine<T>, zv2dArc<T>, zv2dContour<T>,
                                  zv2dPolyLine<T>, zv2dParabola<T>, zv2dEllipse<T>> {
  using variant = std::variant<zv2dPoint<T>, zv2dLine<T>, zv2dArc<T>, zv2dContour<T>,
                               zv2dPolyLine<T>, zv2dParabola<T>, zv2dEllipse<T>>;
  using variant::variant;
  bool operator==(const zv2dElement&) const = default;
};

/// The first and the last point; none where a polyline or a contour has no point.
template <class T>
KANDREL_API std::optional<zv2dPoint<T>> StartPoint(const zv2dElement<T>& element);
template <class T>
KANDREL_API std::optional<zv2dPoint<T>> EndPoint(const zv2dElement<T>& element);
template <class T>
KANDREL_API std::optional<zv2dPoint<T>> StartPoint(const zv2dContour<T>& contour);
template <class T>
KANDREL_API std::optional<zv2dPoint<T>> EndPoint(const zv2dContour<T>& contour);

/// The contour's elements in order, with those of contours in it in their places; so that none of
/// them is a contour. Linear.
template <class T>
KANDREL_API std::vector<zv2dElement<T>> Walk(const zv2dContour<T>& contour);

/// The exact extents, curves between their ends included.
template <class T>
KANDREL_API zv2dBox<T> Extents(const zv2dContour<T>& contour);

/// The contour with all lengths multiplied by `factor`, which is above 0. An arc's radius is cut
/// off at 1e308.
template <class T>
KANDREL_API zv2dContour<T> Scaled(const zv2dContour<T>& contour, T factor);

/// A contour of the lines that join `points`; two points give one line. Empty for less than two.
template <class T>
KANDREL_API zv2dContour<T> LinesThrough(const std::vector<zv2dPoint<T>>& points);

/// Splits a contour at the place from which it first runs above a height: what comes before, and
/// from there on all the rest. Lines are cut by proportion and arcs by angle, all exact; both parts
/// have the cut as their end. An element nowhere above the height by more than 1e-12 isn't cut;
/// without a part above, the second is empty. Parabolas and ellipses have no parts of their own
/// class: one that reaches above goes whole into the second. Contours in the contour are dissolved.
template <class T>
KANDREL_API std::pair<zv2dContour<T>, zv2dContour<T>> SplitAtHeight(const zv2dContour<T>& contour,
                                                                    T height);
/// The same with x in the place of y.
template <class T>
KANDREL_API std::pair<zv2dContour<T>, zv2dContour<T>> SplitAtRadius(const zv2dContour<T>& contour,
                                                                    T radius);

}  // namespace geoDef
