#include <kandrel/cadcam/curves/curves2d.h>
#include <kandrel/misc/range_exception.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>

#include <cmath>

namespace geoDef {

namespace {

template <class T>
using MaybePoint = std::optional<zv2dPoint<T>>;

template <class T>
void RequireRange(T minimum, T maximum, T value) {
  if (!(value >= minimum && value <= maximum))
    throw misc::zvRangeException<T>(minimum, maximum, value);
}

// The ends of each class of element.
template <class T>
struct Ends {
  using Pair = std::pair<MaybePoint<T>, MaybePoint<T>>;

  Pair operator()(const zv2dPoint<T>& point) const { return {point, point}; }
  Pair operator()(const zv2dLine<T>& line) const { return {line.start, line.end}; }
  Pair operator()(const zv2dArc<T>& arc) const {
    return {arc.PointAt(arc.GetStartAngle()), arc.PointAt(arc.GetEndAngle())};
  }
  Pair operator()(const zv2dParabola<T>& parabola) const { return {parabola.vertex, parabola.end}; }
  Pair operator()(const zv2dEllipse<T>& ellipse) const { return {ellipse.first, ellipse.first}; }
  Pair operator()(const zv2dPolyLine<T>& line) const {
    if (line.points.empty()) return {};
    return {line.points.front(), line.points.back()};
  }
  Pair operator()(const zv2dContour<T>& contour) const {
    return {StartPoint(contour), EndPoint(contour)};
  }
};

template <class T>
void AppendWalk(std::vector<zv2dElement<T>>& to, const zv2dContour<T>& contour) {
  for (const zv2dElement<T>& element : contour.GetElements()) {
    if (const auto* inner = std::get_if<zv2dContour<T>>(&element))
      AppendWalk(to, *inner);
    else
      to.push_back(element);
  }
}

// Adds an element to a box.
template <class T>
struct Enclose {
  zv2dBox<T>& box;

  void operator()(const zv2dPoint<T>& point) const { box.Add(point); }
  void operator()(const zv2dLine<T>& line) const {
    box.Add(line.start);
    box.Add(line.end);
  }
  void operator()(const zv2dArc<T>& arc) const {
    const T first = std::min(arc.GetStartAngle(), arc.GetEndAngle());
    const T last = std::max(arc.GetStartAngle(), arc.GetEndAngle());
    box.Add(arc.PointAt(first));
    box.Add(arc.PointAt(last));
    for (int quarter = static_cast<int>(std::ceil(first / 90)); quarter * 90 < last; ++quarter)
      box.Add(arc.PointAt(quarter * 90));
  }
  // Rises or falls all the way from its vertex.
  void operator()(const zv2dParabola<T>& parabola) const {
    box.Add(parabola.vertex);
    box.Add(parabola.end);
  }
  void operator()(const zv2dEllipse<T>& ellipse) const {
    const zv2dPoint<T> u = ellipse.first - ellipse.centre;
    const zv2dPoint<T> v = ellipse.second - ellipse.centre;
    const zv2dPoint<T> reach{std::hypot(u.x, v.x), std::hypot(u.y, v.y)};
    box.Add(ellipse.centre - reach);
    box.Add(ellipse.centre + reach);
  }
  void operator()(const zv2dPolyLine<T>& line) const {
    for (const zv2dPoint<T>& point : line.points) box.Add(point);
  }
  void operator()(const zv2dContour<T>& contour) const {
    for (const zv2dElement<T>& element : contour.GetElements()) std::visit(*this, element);
  }
};

// Multiplies the lengths of an element.
template <class T>
struct Scale {
  T factor;

  zv2dElement<T> operator()(const zv2dPoint<T>& p) const { return p * factor; }
  zv2dElement<T> operator()(const zv2dLine<T>& l) const {
    return zv2dLine<T>{l.start * factor, l.end * factor};
  }
  zv2dElement<T> operator()(const zv2dArc<T>& arc) const {
    const T radius = std::min(arc.GetRadius() * factor, T(misc::kNoValue));
    return zv2dArc<T>(arc.GetCentre() * factor, radius, arc.GetStartAngle(), arc.GetSweepAngle());
  }
  zv2dElement<T> operator()(const zv2dParabola<T>& p) const {
    return zv2dParabola<T>{p.vertex * factor, p.end * factor};
  }
  zv2dElement<T> operator()(const zv2dEllipse<T>& e) const {
    return zv2dEllipse<T>{e.centre * factor, e.first * factor, e.second * factor};
  }
  zv2dElement<T> operator()(zv2dPolyLine<T> line) const {
    for (zv2dPoint<T>& point : line.points) point = point * factor;
    return line;
  }
  zv2dElement<T> operator()(const zv2dContour<T>& contour) const { return Scaled(contour, factor); }
};

}  // namespace

template <class T>
zv2dArc<T>::zv2dArc(const zv2dPoint<T>& centre, T radius, T startAngle, T sweepAngle)
    : m_centre(centre), m_radius(radius), m_startAngle(startAngle), m_sweepAngle(sweepAngle) {
  constexpr T kTurn(misc::kFullTurnDeg);
  RequireRange(T(0), T(misc::kNoValue), radius);
  RequireRange(T(0), kTurn, startAngle);
  RequireRange(-kTurn, kTurn, sweepAngle);
}

template <class T>
zv2dPoint<T> zv2dArc<T>::PointAt(T angle) const {
  const misc::zvSineAndCosine direction = misc::SineAndCosineOfDegrees(angle);
  return {m_centre.x + m_radius * direction.cosine, m_centre.y + m_radius * direction.sine};
}

template <class T>
std::optional<zv2dPoint<T>> StartPoint(const zv2dElement<T>& element) {
  return std::visit(Ends<T>(), element).first;
}

template <class T>
std::optional<zv2dPoint<T>> EndPoint(const zv2dElement<T>& element) {
  return std::visit(Ends<T>(), element).second;
}

template <class T>
std::optional<zv2dPoint<T>> StartPoint(const zv2dContour<T>& contour) {
  for (const zv2dElement<T>& element : contour.GetElements())
    if (const auto point = StartPoint(element)) return point;
  return std::nullopt;
}

template <class T>
std::optional<zv2dPoint<T>> EndPoint(const zv2dContour<T>& contour) {
  const auto& elements = contour.GetElements();
  for (auto element = elements.rbegin(); element != elements.rend(); ++element)
    if (const auto point = EndPoint(*element)) return point;
  return std::nullopt;
}

template <class T>
std::vector<zv2dElement<T>> Walk(const zv2dContour<T>& contour) {
  std::vector<zv2dElement<T>> elements;
  AppendWalk(elements, contour);
  return elements;
}

template <class T>
zv2dBox<T> Extents(const zv2dContour<T>& contour) {
  zv2dBox<T> box;
  Enclose<T>{box}(contour);
  return box;
}

template <class T>
zv2dContour<T> Scaled(const zv2dContour<T>& contour, T factor) {
  zv2dContour<T> scaled;
  for (const zv2dElement<T>& element : contour.GetElements())
    scaled.Add(std::visit(Scale<T>{factor}, element));
  return scaled;
}

template <class T>
zv2dContour<T> LinesThrough(const std::vector<zv2dPoint<T>>& points) {
  zv2dContour<T> lines;
  for (std::size_t i = 1; i < points.size(); ++i) lines.Add(zv2dLine<T>{points[i - 1], points[i]});
  return lines;
}

template class zv2dArc<double>;
template KANDREL_API std::optional<zv2dPoint<double>> StartPoint(const zv2dElement<double>&);
template KANDREL_API std::optional<zv2dPoint<double>> EndPoint(const zv2dElement<double>&);
template KANDREL_API std::optional<zv2dPoint<double>> StartPoint(const zv2dContour<double>&);
template KANDREL_API std::optional<zv2dPoint<double>> EndPoint(const zv2dContour<double>&);
template KANDREL_API std::vector<zv2dElement<double>> Walk(const zv2dContour<double>&);
template KANDREL_API zv2dBox<double> Extents(const zv2dContour<double>&);
template KANDREL_API zv2dContour<double> Scaled(const zv2dContour<double>&, double);
template KANDREL_API zv2dContour<double> LinesThrough(const std::vector<zv2dPoint<double>>&);

}  // namespace geoDef
