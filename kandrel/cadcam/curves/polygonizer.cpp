#include <kandrel/cadcam/curves/polygonizer.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace geoDef {

namespace {

[[noreturn]] void RefuseTolerance() {
  throw misc::zvException(0, L"Polygonization tolerance is invalid.");
}

// Gathers the points of one contour.
template <class T>
class Chords {
 public:
  Chords(const zv2dGeometryPolygonizer<T>& polygonizer, T tolerance)
      : m_polygonizer(polygonizer), m_tolerance(tolerance) {}

  std::vector<zv2dPoint<T>> Take() { return std::move(m_points); }

  void operator()(const zv2dPoint<T>& point) { Join(point); }

  void operator()(const zv2dLine<T>& line) {
    Join(line.start);
    m_points.push_back(line.end);
  }

  void operator()(const zv2dPolyLine<T>& line) {
    if (line.points.empty()) return;
    Join(line.points.front());
    m_points.insert(m_points.end(), line.points.begin() + 1, line.points.end());
  }

  void operator()(const zv2dArc<T>& arc) {
    const T start = arc.GetStartAngle(), sweep = arc.GetSweepAngle();
    const T step = m_polygonizer.LargestStep(arc.GetRadius());
    AddChords(std::fabs(sweep) / step, [&](T i, T n) {
      return arc.PointAt(i == n ? arc.GetEndAngle() : start + i * sweep / n);
    });
  }

  // A chord over a step dt of a quadratic P leaves it by |P''| dt^2 / 8; here |P''| = 2 |dy|.
  void operator()(const zv2dParabola<T>& parabola) {
    if (!(m_tolerance > 0)) RefuseTolerance();
    const zv2dPoint<T> d = parabola.end - parabola.vertex;
    AddChords(std::sqrt(std::fabs(d.y) / m_tolerance) / 2, [&](T i, T n) {
      if (i == n) return parabola.end;
      const T t = i / n;
      return parabola.vertex + zv2dPoint<T>{t * d.x, t * t * d.y};
    });
  }

  // It is the unit circle under the linear map of its half diameters, which lengthens nothing by
  // more than its largest singular value: so the step of a circle of that radius serves.
  void operator()(const zv2dEllipse<T>& ellipse) {
    const zv2dPoint<T> u = ellipse.first - ellipse.centre;
    const zv2dPoint<T> v = ellipse.second - ellipse.centre;
    const T largest = (std::hypot(u.x + v.y, u.y - v.x) + std::hypot(u.x - v.y, u.y + v.x)) / 2;
    constexpr T kTurn(misc::kFullTurnDeg);
    AddChords(kTurn / m_polygonizer.LargestStep(largest), [&](T i, T n) {
      if (i == 0 || i == n) return ellipse.first;
      const misc::zvSineAndCosine t = misc::SineAndCosineOfDegrees(i * kTurn / n);
      return ellipse.centre + T(t.cosine) * u + T(t.sine) * v;
    });
  }

  void operator()(const zv2dContour<T>& contour) {
    for (const zv2dElement<T>& element : contour.GetElements()) std::visit(*this, element);
  }

 private:
  // The point at which an element begins; the element before may have ended there.
  void Join(const zv2dPoint<T>& point) {
    if (!m_points.empty()) {
      const zv2dPoint<T> gap = point - m_points.back();
      if (std::fabs(gap.x) <= misc::kEqual && std::fabs(gap.y) <= misc::kEqual) return;
    }
    m_points.push_back(point);
  }

  template <class PointOf>
  void AddChords(T wanted, const PointOf& pointOf) {
    const T n = std::max(std::ceil(wanted), T(1));
    if (!(n - 1 <= m_left)) RefuseTolerance();
    m_left -= n - 1;
    Join(pointOf(0, n));
    const int count = static_cast<int>(n);
    // At least doubled, so that many elements take linear time.
    const std::size_t size = m_points.size() + static_cast<std::size_t>(count);
    if (size > m_points.capacity()) m_points.reserve(std::max(size, 2 * m_points.capacity()));
    for (int i = 1; i <= count; ++i) m_points.push_back(pointOf(i, n));
  }

  const zv2dGeometryPolygonizer<T>& m_polygonizer;
  T m_tolerance;
  T m_left{misc::kMostChords};  // beyond the one that each element has
  std::vector<zv2dPoint<T>> m_points;
};

}  // namespace

template <class T>
T zv2dGeometryPolygonizer<T>::LargestStep(T radius) const {
  if (!(std::fabs(radius) >= misc::kEqual)) throw misc::zvException(0, L"Arc radius is invalid.");
  const T share = m_tolerance / radius;
  const T step = 2 * misc::kDegreesPerRadian * misc::ArcCosine(share > 1 ? T(0) : 1 - share);
  if (!(step >= misc::kEqual)) RefuseTolerance();
  return step;
}

template <class T>
zv2dPolyLine<T> zv2dGeometryPolygonizer<T>::Polygonize(const zv2dContour<T>& contour) const {
  Chords<T> chords(*this, m_tolerance);
  chords(contour);
  return {chords.Take()};
}

template class zv2dGeometryPolygonizer<double>;

}  // namespace geoDef
