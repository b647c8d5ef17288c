// Contours to try things on, and plain measures of them.
#pragma once

#include <kandrel/cadcam/curves/curves2d.h>
#include <tests/support/seeded.h>

namespace tests::curves {

using Point = geoDef::zv2dPoint<double>;
using Line = geoDef::zv2dLine<double>;
using Arc = geoDef::zv2dArc<double>;
using Parabola = geoDef::zv2dParabola<double>;
using Ellipse = geoDef::zv2dEllipse<double>;
using PolyLine = geoDef::zv2dPolyLine<double>;
using Contour = geoDef::zv2dContour<double>;
using Element = geoDef::zv2dElement<double>;

inline Point RandomPoint(Seeded& random, double size) {
  return {random.Real(-size, size), random.Real(-size, size)};
}

/// Two to six elements, each of which begins where the one before ends; parabolas and ellipses too
/// where asked for.
inline Contour RandomContour(Seeded& random, bool withUncut) {
  Contour contour;
  Point at = RandomPoint(random, 10);
  for (int i = random.Integer(2, 6); i > 0; --i) {
    const Point to = RandomPoint(random, 10);
    switch (random.Integer(0, withUncut ? 4 : 2)) {
      case 0:
        contour.Add(Line{at, to});
        break;
      case 1:
        contour.Add(PolyLine{{at, RandomPoint(random, 10), to}});
        break;
      case 2: {
        const double quarter = 90.0 * random.Integer(0, 3);
        const double start = random.Chance(0.5) ? quarter : random.Real(0, 360);
        const double sweep = random.Chance(0.3) ? quarter - 180 : random.Real(-360, 360);
        const Arc at0({}, random.Real(0.5, 8), start, sweep);
        contour.Add(Arc(at - at0.PointAt(start), at0.GetRadius(), start, sweep));
        break;
      }
      case 3:
        contour.Add(Parabola{at, to});
        break;
      default:
        contour.Add(Ellipse{RandomPoint(random, 10), at, to});
    }
    at = *EndPoint(contour);
  }
  return contour;
}

inline double Distance(const Point& a, const Point& b) {
  return std::hypot(a.x - b.x, a.y - b.y);
}

/// Of lines, polylines and arcs.
inline double LengthOf(const Contour& contour) {
  double length = 0;
  for (const Element& element : Walk(contour)) {
    if (const auto* line = std::get_if<Line>(&element)) length += Distance(line->start, line->end);
    if (const auto* arc = std::get_if<Arc>(&element))
      length += arc->GetRadius() * std::fabs(arc->GetSweepAngle()) * std::acos(-1.0) / 180;
    if (const auto* lines = std::get_if<PolyLine>(&element))
      for (std::size_t i = 1; i < lines->points.size(); ++i)
        length += Distance(lines->points[i - 1], lines->points[i]);
  }
  return length;
}

/// The integral of x dy.
inline double AreaUnder(const std::vector<Point>& points) {
  double area = 0;
  for (std::size_t i = 1; i < points.size(); ++i)
    area += (points[i].x + points[i - 1].x) * (points[i].y - points[i - 1].y) / 2;
  return area;
}

/// The mirror image in which x and y have changed places.
inline Contour Swapped(const Contour& contour) {
  const auto swap = [](const Point& p) { return Point{p.y, p.x}; };
  Contour swapped;
  for (const Element& element : Walk(contour)) {
    if (const auto* point = std::get_if<Point>(&element)) swapped.Add(swap(*point));
    if (const auto* line = std::get_if<Line>(&element))
      swapped.Add(Line{swap(line->start), swap(line->end)});
    if (const auto* arc = std::get_if<Arc>(&element))
      swapped.Add(Arc(swap(arc->GetCentre()), arc->GetRadius(),
                      std::fmod(450 - arc->GetStartAngle(), 360), -arc->GetSweepAngle()));
    if (const auto* parabola = std::get_if<Parabola>(&element))
      swapped.Add(Parabola{swap(parabola->vertex), swap(parabola->end)});
    if (const auto* e = std::get_if<Ellipse>(&element))
      swapped.Add(Ellipse{swap(e->centre), swap(e->first), swap(e->second)});
    if (const auto* lines = std::get_if<PolyLine>(&element)) {
      PolyLine other;
      for (const Point& p : lines->points) other.points.push_back(swap(p));
      swapped.Add(other);
    }
  }
  return swapped;
}

/// The same elements, with numbers that differ by no more than `tolerance`.
inline testing::AssertionResult Near(const Contour& a, const Contour& b, double tolerance) {
  const auto numbers = [](const Contour& contour) {
    std::vector<double> n;
    const auto add = [&](const Point& p) { n.insert(n.end(), {p.x, p.y}); };
    for (const Element& element : contour.GetElements()) {
      n.push_back(1000.0 * static_cast<double>(element.index()));
      if (const auto* arc = std::get_if<Arc>(&element)) {
        add(arc->GetCentre());
        n.insert(n.end(), {arc->GetRadius(), arc->GetStartAngle(), arc->GetSweepAngle()});
        continue;
      }
      if (const auto* lines = std::get_if<PolyLine>(&element))
        for (const Point& p : lines->points) add(p);
      add(*StartPoint(element));
      add(*EndPoint(element));
    }
    return n;
  };
  const auto x = numbers(a), y = numbers(b);
  if (x.size() != y.size()) return testing::AssertionFailure() << x.size() << " != " << y.size();
  for (std::size_t i = 0; i < x.size(); ++i)
    // Angles and lengths of the size of 100.
    if (!(std::fabs(x[i] - y[i]) <= 1000 * tolerance))
      return testing::AssertionFailure() << "number " << i << ": " << x[i] << ", " << y[i];
  return testing::AssertionSuccess();
}

}  // namespace tests::curves
