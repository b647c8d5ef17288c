#include <kandrel/cadcam/stl/stl_file.h>
#include <kandrel/misc/tolerances.h>

#include <cmath>
#include <limits>
#include <utility>

namespace cadcam {

template <class T>
zvTPoint3d<T> NormalFromFile(const zvTPoint3d<T>& stored,
                             const std::array<zvTPoint3d<T>, 3>& corners) noexcept {
  constexpr double kRounding = 4.0 * std::numeric_limits<float>::epsilon();  // of the square
  const zvTPoint3d<double> normal(stored.x, stored.y, stored.z);
  if (std::abs(normal.SquaredLength() - 1) <= kRounding) return stored;
  const double length = normal.Length();
  if (!(length >= misc::kNoNormal && length <= std::numeric_limits<double>::max()))
    return TriangleNormal(corners[0], corners[1], corners[2]);
  return {static_cast<T>(normal.x / length), static_cast<T>(normal.y / length),
          static_cast<T>(normal.z / length)};
}

template <class T>
bool zvSTLFile<T>::BeginSolid() noexcept {
  return !std::exchange(m_isInSolid, true);
}

template <class T>
bool zvSTLFile<T>::BeginFacet(const Point& normal) noexcept {
  if (m_isInFacet) return false;
  m_isInFacet = true;
  m_normal = normal;
  return true;
}

template <class T>
bool zvSTLFile<T>::BeginLoop() noexcept {
  if (m_isInLoop) return false;
  m_isInLoop = true;
  m_cornerCount = 0;
  return true;
}

template <class T>
bool zvSTLFile<T>::AddVertex(const Point& vertex) noexcept {
  if (!(m_isInSolid && m_isInFacet && m_isInLoop)) return false;
  if (m_cornerCount < m_corners.size()) m_corners[m_cornerCount++] = vertex;
  return true;
}

template <class T>
bool zvSTLFile<T>::EndLoop() {
  if (!m_isInLoop) return false;
  if (m_cornerCount == m_corners.size())
    m_mesh.AddTriangle(m_corners, NormalFromFile(m_normal, m_corners));
  m_isInLoop = false;
  return true;
}

template <class T>
bool zvSTLFile<T>::EndFacet() noexcept {
  return std::exchange(m_isInFacet, false);
}

template <class T>
bool zvSTLFile<T>::EndSolid() noexcept {
  if (!m_isInSolid) return false;
  m_isInSolid = false;
  m_isEndReached = true;
  return true;
}

template KANDREL_API zvTPoint3d<float> NormalFromFile(
    const zvTPoint3d<float>&, const std::array<zvTPoint3d<float>, 3>&) noexcept;
template KANDREL_API zvTPoint3d<double> NormalFromFile(
    const zvTPoint3d<double>&, const std::array<zvTPoint3d<double>, 3>&) noexcept;
template class zvSTLFile<float>;
template class zvSTLFile<double>;

}  // namespace cadcam
