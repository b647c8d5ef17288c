#include <kandrel/cadcam/curves/triangulation.h>
#include <kandrel/misc/mathdef_exception.h>
#include <kandrel/misc/tolerances.h>

#include <cmath>

namespace geoDef {

namespace {

constexpr std::uint32_t kTriangulationError = 7051;

[[noreturn]] void Refuse() {
  throw mathdef::zvWMException(kTriangulationError);
}

// Twice the area of a triangle, above 0 where it turns counter-clockwise.
template <class T>
T Turn(const zv2dPoint<T>& a, const zv2dPoint<T>& b, const zv2dPoint<T>& c) {
  return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

template <class T>
bool Cross(const zv2dPoint<T>& a, const zv2dPoint<T>& b, const zv2dPoint<T>& c,
           const zv2dPoint<T>& d) {
  const auto isBetween = [](T first, T second) {
    return (first > 0 && second < 0) || (first < 0 && second > 0);
  };
  return isBetween(Turn(a, b, c), Turn(a, b, d)) && isBetween(Turn(c, d, a), Turn(c, d, b));
}

// What is left of a polygon, as a ring of its corners, counter-clockwise.
template <class T>
class Ring {
 public:
  explicit Ring(const std::vector<zv2dPoint<T>>& polygon, bool isReversed)
      : m_points(polygon), m_next(polygon.size()), m_previous(polygon.size()) {
    const std::size_t n = polygon.size();
    for (std::size_t i = 0; i < n; ++i) {
      m_next[i] = isReversed ? (i + n - 1) % n : (i + 1) % n;
      m_previous[m_next[i]] = i;
    }
  }

  std::size_t Next(std::size_t i) const { return m_next[i]; }
  std::size_t Previous(std::size_t i) const { return m_previous[i]; }
  void Remove(std::size_t i) {
    m_next[m_previous[i]] = m_next[i];
    m_previous[m_next[i]] = m_previous[i];
  }

  // The corner can be cut off: it has an area, in which no other corner lies.
  bool IsEar(std::size_t i) const {
    const zv2dPoint<T>&a = m_points[Previous(i)], &b = m_points[i], &c = m_points[Next(i)];
    if (!(Turn(a, b, c) > 0)) return false;
    for (std::size_t k = Next(Next(i)); k != Previous(i); k = Next(k)) {
      const zv2dPoint<T>& p = m_points[k];
      if (p == a || p == b || p == c) continue;
      if (Turn(a, b, p) >= 0 && Turn(b, c, p) >= 0 && Turn(c, a, p) >= 0) return false;
    }
    return true;
  }

 private:
  const std::vector<zv2dPoint<T>>& m_points;
  std::vector<std::size_t> m_next;
  std::vector<std::size_t> m_previous;
};

}  // namespace

template <class T>
T TwiceArea(const std::vector<zv2dPoint<T>>& polygon) {
  T area = 0;
  for (std::size_t i = 2; i < polygon.size(); ++i)
    area += Turn(polygon[0], polygon[i - 1], polygon[i]);
  return area;
}

template <class T>
std::vector<std::array<std::size_t, 3>> Triangulate(const std::vector<zv2dPoint<T>>& polygon) {
  const std::size_t n = polygon.size();
  const T area = TwiceArea(polygon);
  if (n < 3 || n > misc::kMostCorners || !(std::fabs(area) > 0) || !std::isfinite(area)) Refuse();
  for (std::size_t i = 0; i < n; ++i)
    for (std::size_t k = i + 2; k < n; ++k)
      if (Cross(polygon[i], polygon[i + 1], polygon[k], polygon[(k + 1) % n])) Refuse();

  Ring<T> ring(polygon, area < 0);
  std::vector<char> isEar(n);
  std::vector<std::array<std::size_t, 3>> triangles;
  const auto look = [&](std::size_t i) { isEar[i] = ring.IsEar(i) ? 1 : 0; };
  for (std::size_t i = 0; i < n; ++i) look(i);
  std::size_t at = 0, left = n, passed = 0;
  bool isLookedAtAgain = false;
  while (left > 3) {
    if (!isEar[at]) {
      at = ring.Next(at);
      if (++passed <= left) continue;
      // Cutting an ear off changes no other ears than its neighbours, but for corners that lie on
      // one line.
      if (isLookedAtAgain) Refuse();
      for (std::size_t i = 0; i < left; ++i, at = ring.Next(at)) look(at);
      isLookedAtAgain = true;
      passed = 0;
      continue;
    }
    const std::size_t before = ring.Previous(at), after = ring.Next(at);
    triangles.push_back({before, at, after});
    ring.Remove(at);
    look(before);
    look(after);
    --left;
    passed = 0;
    isLookedAtAgain = false;
    at = ring.Next(after);
  }
  if (!ring.IsEar(at)) Refuse();
  triangles.push_back({ring.Previous(at), at, ring.Next(at)});
  return triangles;
}

template KANDREL_API double TwiceArea(const std::vector<zv2dPoint<double>>&);
template KANDREL_API std::vector<std::array<std::size_t, 3>> Triangulate(
    const std::vector<zv2dPoint<double>>&);

}  // namespace geoDef
