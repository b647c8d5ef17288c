#include <kandrel/cadcam/mesh.h>
#include <kandrel/misc/misc_exception.h>
#include <kandrel/misc/tolerances.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

namespace cadcam {

namespace {

using misc::zvmiscException;

constexpr std::size_t kMostVertices = std::numeric_limits<zvMeshIndex>::max();

template <class T>
zvTPoint3d<double> InDouble(const zvTPoint3d<T>& p) {
  return {static_cast<double>(p.x), static_cast<double>(p.y), static_cast<double>(p.z)};
}

// With the largest component brought to 1 to 2 by a power of two, which rounds nothing, so that
// products of two neither over- nor underflow.
zvTPoint3d<double> NearOne(const zvTPoint3d<double>& edge) {
  const double largest = std::max({std::abs(edge.x), std::abs(edge.y), std::abs(edge.z)});
  if (!(largest > 0 && largest <= std::numeric_limits<double>::max())) return edge;
  const int power = -std::ilogb(largest);
  return {std::scalbn(edge.x, power), std::scalbn(edge.y, power), std::scalbn(edge.z, power)};
}

// What is beyond the type becomes infinite: to convert it is not defined.
template <class T>
T Narrowed(double value) {
  constexpr double kLargest = std::numeric_limits<T>::max();
  if (std::abs(value) > kLargest)
    return static_cast<T>(std::copysign(std::numeric_limits<double>::infinity(), value));
  return static_cast<T>(value);
}

}  // namespace

template <class T>
zvTPoint3d<T> TriangleNormal(const zvTPoint3d<T>& a, const zvTPoint3d<T>& b,
                             const zvTPoint3d<T>& c) noexcept {
  const zvTPoint3d<double> from = InDouble(a);
  zvTPoint3d<double> first = InDouble(b) - from, second = InDouble(c) - from;
  if constexpr (std::is_same_v<T, double>) {  // products of floats are in range
    first = NearOne(first);
    second = NearOne(second);
  }
  const zvTPoint3d<double> normal = Cross(first, second);
  const double length = normal.Length();
  if (!(length > 0 && length <= std::numeric_limits<double>::max())) return {};
  return {static_cast<T>(normal.x / length), static_cast<T>(normal.y / length),
          static_cast<T>(normal.z / length)};
}

template <class T>
zvTMesh<T>::zvTMesh(Units units) : zvMeasurable(units) {
  EmptyBox();
}

template <class T>
zvTMesh<T>::zvTMesh(const zvContainerMesh<T>& container) : zvTMesh(container.units) {
  Reserve(container.points->size(), container.triangles->size());
  for (const Point& point : *container.points) AddVertex(point);
  for (const zvMeshCorners& corners : *container.triangles) AddTriangle(corners);
}

template <class T>
void zvTMesh<T>::Reserve(std::size_t vertices, std::size_t triangles) {
  if (vertices > kMostVertices) throw zvmiscException(zvmiscException::kSizeBeyond32Bits);
  m_vertices.reserve(vertices);
  m_triangles.reserve(triangles);
}

template <class T>
zvMeshIndex zvTMesh<T>::AddVertex(const Point& vertex) {
  CheckRoomFor(1);
  m_vertices.push_back(vertex);
  Enclose(m_vertices.back());  // `vertex` may have been one of the mesh, and gone as it grew
  return static_cast<zvMeshIndex>(m_vertices.size() - 1);
}

template <class T>
void zvTMesh<T>::AddTriangle(const zvMeshCorners& corners, const Point& normal) {
  CheckCorners(corners);
  m_triangles.push_back({corners, normal});
}

template <class T>
void zvTMesh<T>::AddTriangle(const zvMeshCorners& corners) {
  CheckCorners(corners);
  const auto vertex = [&](std::size_t i) {
    return m_vertices[static_cast<std::size_t>(corners[i])];
  };
  m_triangles.push_back({corners, TriangleNormal(vertex(0), vertex(1), vertex(2))});
}

template <class T>
void zvTMesh<T>::AddTriangle(const std::array<Point, 3>& corners, const Point& normal) {
  CheckRoomFor(corners.size());
  const std::size_t first = m_vertices.size();
  const auto index = static_cast<zvMeshIndex>(first);
  const Triangle triangle{{index, index + 1, index + 2}, normal};
  m_vertices.insert(m_vertices.end(), corners.begin(), corners.end());
  try {
    m_triangles.push_back(triangle);
  } catch (...) {
    m_vertices.resize(first);
    throw;
  }
  for (const Point& corner : corners) Enclose(corner);
}

template <class T>
void zvTMesh<T>::Merge(const zvTMesh& other) {
  if (GetUnits() != other.GetUnits())
    throw misc::zvException(0, L"Could not merge two meshes with different units type");
  CheckRoomFor(other.m_vertices.size());
  const std::size_t vertexCount = other.m_vertices.size();  // `other` may be this mesh
  const std::size_t triangleCount = other.m_triangles.size();
  const auto shift = static_cast<zvMeshIndex>(m_vertices.size());
  // All memory comes first, grown as push_back would: many small merges stay linear.
  const auto grow = [](auto& array, std::size_t count) {
    const std::size_t size = array.size() + count;
    if (size > array.capacity()) array.reserve(std::max(size, 2 * array.capacity()));
  };
  grow(m_vertices, vertexCount);
  grow(m_triangles, triangleCount);
  for (std::size_t i = 0; i < vertexCount; ++i) m_vertices.push_back(other.m_vertices[i]);
  for (std::size_t i = 0; i < triangleCount; ++i) {
    Triangle triangle = other.m_triangles[i];
    for (zvMeshIndex& corner : triangle.corners) corner += shift;
    m_triangles.push_back(triangle);
  }
  for (int axis = 0; axis < 3; ++axis) {
    m_minimum[axis] = std::min(m_minimum[axis], other.m_minimum[axis]);
    m_maximum[axis] = std::max(m_maximum[axis], other.m_maximum[axis]);
  }
}

template <class T>
void zvTMesh<T>::Scale(Units /*newUnits*/, double factor) {
  const auto scaled = [&](T value) { return Narrowed<T>(static_cast<double>(value) * factor); };
  EmptyBox();
  for (Point& vertex : m_vertices) {
    vertex = {scaled(vertex.x), scaled(vertex.y), scaled(vertex.z)};
    Enclose(vertex);
  }
}

template <class T>
void zvTMesh<T>::CheckRoomFor(std::size_t vertices) const {
  if (vertices > kMostVertices - m_vertices.size())
    throw zvmiscException(zvmiscException::kSizeBeyond32Bits);
}

template <class T>
void zvTMesh<T>::CheckCorners(const zvMeshCorners& corners) const {
  for (const zvMeshIndex corner : corners)  // a negative one becomes a very large one
    if (static_cast<std::size_t>(corner) >= m_vertices.size())
      throw zvmiscException(zvmiscException::kIndexOutOfBounds);
}

template <class T>
void zvTMesh<T>::EmptyBox() noexcept {
  constexpr auto kBound = static_cast<T>(misc::kEmptyBox);
  m_minimum = {kBound, kBound, kBound};
  m_maximum = -m_minimum;
}

// NaN passes neither comparison.
template <class T>
void zvTMesh<T>::Enclose(const Point& vertex) noexcept {
  for (int axis = 0; axis < 3; ++axis) {
    if (vertex[axis] < m_minimum[axis]) m_minimum[axis] = vertex[axis];
    if (vertex[axis] > m_maximum[axis]) m_maximum[axis] = vertex[axis];
  }
}

template KANDREL_API zvTPoint3d<float> TriangleNormal(const zvTPoint3d<float>&,
                                                      const zvTPoint3d<float>&,
                                                      const zvTPoint3d<float>&) noexcept;
template KANDREL_API zvTPoint3d<double> TriangleNormal(const zvTPoint3d<double>&,
                                                       const zvTPoint3d<double>&,
                                                       const zvTPoint3d<double>&) noexcept;
template class zvTMesh<float>;
template class zvTMesh<double>;

}  // namespace cadcam
