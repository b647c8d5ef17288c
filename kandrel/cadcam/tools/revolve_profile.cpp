#include <kandrel/cadcam/curves/polygonizer.h>
#include <kandrel/cadcam/tool_approximation_exception.h>
#include <kandrel/cadcam/tools/mesh_factory.h>
#include <kandrel/cadcam/tools/revolve_profile.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/tolerances.h>
#include <kandrel/misc/trigonometry.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace cadcam {

namespace {

template <class T>
using Points = std::vector<geoDef::zv2dPoint<T>>;

[[noreturn]] void RefuseTolerance() {
  throw misc::zvException(0, L"Polygonization tolerance is invalid.");
}

// Leaves out runs along the axis at both ends.
template <class T>
void TrimEnds(Points<T>& points) {
  const auto isOff = [](const geoDef::zv2dPoint<T>& p) { return p.x != 0; };
  const auto last = std::find_if(points.rbegin(), points.rend(), isOff).base();
  if (last != points.end()) points.erase(last + 1, points.end());
  const auto first = std::find_if(points.begin(), points.end(), isOff);
  if (first != points.begin()) points.erase(points.begin(), first - 1);
}

// The profile as the mesh will hold it, in numbers of T: on or right of the axis, without equal
// points in a row and without a run along the axis at its ends.
template <class T>
Points<T> Prepare(const geoDef::zv2dPolyLine<double>& profile, double lift) {
  Points<T> points;
  for (const auto& p : profile.points) {
    const geoDef::zv2dPoint<T> point{p.x <= misc::kEqual ? T(0) : static_cast<T>(p.x),
                                     static_cast<T>(p.y + lift)};
    if (!std::isfinite(point.x) || !std::isfinite(point.y)) throw zvtoolapproximationException(0);
    if (points.empty() || !(points.back() == point)) points.push_back(point);
  }
  TrimEnds(points);
  return points;
}

// Of the sign of the volume that a closed profile sweeps: above 0 where it runs upwards outside.
template <class T>
double SweptVolume(const Points<T>& points) {
  double volume = 0;
  for (std::size_t i = 1; i < points.size(); ++i) {
    const double a = points[i - 1].x, b = points[i].x;
    volume += (a * a + a * b + b * b) * (static_cast<double>(points[i].y) - points[i - 1].y);
  }
  return volume;
}

// Leaves out points from which the profile goes back to the point before.
template <class T>
Points<T> WithoutSpikes(const Points<T>& points) {
  Points<T> kept;
  for (const auto& p : points) {
    if (kept.size() > 1 && kept[kept.size() - 2] == p)
      kept.pop_back();
    else
      kept.push_back(p);
  }
  return kept;
}

}  // namespace

template <class T>
double zvRevolveProfileSrv<T>::CountAround(double largestRadius) const {
  constexpr double kTurn = misc::kFullTurnDeg;
  const double step =
      geoDef::zv2dGeometryPolygonizer<double>(m_tolerance).LargestStep(largestRadius);
  if (!(m_largestAngle >= 0)) RefuseTolerance();
  const double byAngle = m_largestAngle > 0 ? kTurn / m_largestAngle : 0;
  const double count = std::max({std::ceil(kTurn / step), std::ceil(byAngle), 8.0});
  return 4 * std::ceil(count / 4);
}

template <class T>
zvTMesh<T> zvRevolveProfileSrv<T>::Revolve(const Profile& profile, Units units, double lift) const {
  Points<T> points = Prepare<T>(profile, lift);
  if (points.size() < 2) return zvTMesh<T>(units);
  if (points.front().x > 0) points.insert(points.begin(), {0, points.front().y});
  if (points.back().x > 0) points.push_back({0, points.back().y});
  points = WithoutSpikes(points);
  TrimEnds(points);
  const double volume = SweptVolume(points);
  if (volume == 0) return zvTMesh<T>(units);
  if (volume < 0) std::reverse(points.begin(), points.end());

  T largest = 0;
  for (const auto& p : points) largest = std::max(largest, p.x);
  const double count = CountAround(largest);
  if (!(2 * count * static_cast<double>(points.size()) <= misc::kMostTriangles)) RefuseTolerance();
  const auto n = static_cast<std::size_t>(count);
  std::vector<typename zvMeshFactory<T>::Profile> around(n + 1);
  for (std::size_t i = 0; i < n; ++i) {
    const auto turn =
        misc::SineAndCosineOfDegrees(static_cast<double>(i) * misc::kFullTurnDeg / count);
    around[i].reserve(points.size());
    for (const auto& p : points)
      around[i].emplace_back(static_cast<T>(p.x * turn.cosine), static_cast<T>(p.x * turn.sine),
                             p.y);
  }
  around[n] = around[0];
  return zvMeshFactory<T>::Create(around, units);
}

template class zvRevolveProfileSrv<float>;
template class zvRevolveProfileSrv<double>;

}  // namespace cadcam
