// zvTMesh, zvContainerMesh: surfaces made of triangles.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/misc/measurable.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace cadcam {

/// Index of a vertex in its mesh, from 0.
using zvMeshIndex = std::int32_t;

/// The corners of a triangle, counter-clockwise as seen from outside.
using zvMeshCorners = std::array<zvMeshIndex, 3>;

/// A triangle of a mesh: its corners and its normal, a unit vector that points outwards, or 0,0,0
/// for a triangle without an area.
template <class T>
struct zvTMeshTriangle {
  zvMeshCorners corners{};
  zvTPoint3d<T> normal;

  constexpr bool operator==(const zvTMeshTriangle&) const = default;
};

/// Returns the unit normal of the triangle a, b, c by the right-hand rule, worked out in double;
/// 0,0,0 where the corners lie on a line or are not finite, or further apart than a double holds.
template <class T>
KANDREL_API zvTPoint3d<T> TriangleNormal(const zvTPoint3d<T>& a, const zvTPoint3d<T>& b,
                                         const zvTPoint3d<T>& c) noexcept;

/// The plain arrays of a mesh, for what hands meshes on and asks for no more than that. Copies
/// share the arrays; either may be null as long as nobody asks for it.
template <class T>
struct zvContainerMesh {
  misc::zvAutoPointer<std::vector<zvTPoint3d<T>>> points;
  misc::zvAutoPointer<std::vector<zvMeshCorners>> triangles;
  measures::zvUnitsFactory::Units units = measures::zvUnitsFactory::metric;
};

/// Vertices, triangles between them, and the box around the vertices. T is float in machines and
/// double in tools; both are instantiated in the library. A copy is deep; what was moved from is
/// only assigned to or destroyed.
///
/// 1. Every triangle's corners are indices of vertices that are there.
/// 2. Vertices are not compared: equal ones stay apart unless the maker gives one index to both.
/// 3. The box holds all vertices, also those of no triangle; a NaN doesn't show in it. That of a
///    mesh without vertices has the minimum 3e38 and the maximum -3e38 in x, y and z: ask IsEmpty
///    before using it.
/// 4. Rescaling (SetUnits) multiplies vertices and box; normals stay. What a T doesn't hold then
///    becomes infinite.
///
/// An operation that throws leaves the mesh as it was.
template <class T>
class KANDREL_API zvTMesh : public measures::zvMeasurable {
 public:
  using Point = zvTPoint3d<T>;
  using Triangle = zvTMeshTriangle<T>;
  using Units = measures::zvUnitsFactory::Units;

  /// Without vertices. Throws zvmeasuresException 2141 for units other than metric and inch.
  explicit zvTMesh(Units units = measures::zvUnitsFactory::metric);
  /// Copies the arrays of a container and works out the normals. Throws zvException, id 0,
  /// "Accessing NULL pointer" for a null array, and zvmiscException 2052 for an index that is none.
  explicit zvTMesh(const zvContainerMesh<T>& container);

  /// Sets memory aside for a mesh of that many vertices and triangles in all, for makers that know
  /// them. A number from a file is checked against the file's size first. Throws as AddVertex.
  void Reserve(std::size_t vertices, std::size_t triangles);

  /// Adds a vertex and returns its index. Throws zvmiscException 2157 beyond 2^31 - 1 vertices.
  zvMeshIndex AddVertex(const Point& vertex);

  /// Adds a triangle between vertices that are there, with a normal that is taken as it is, or that
  /// of TriangleNormal. Throws zvmiscException 2052 for a corner that is no vertex's index.
  void AddTriangle(const zvMeshCorners& corners, const Point& normal);
  void AddTriangle(const zvMeshCorners& corners);

  /// Adds three vertices and the triangle between them. Throws as AddVertex.
  void AddTriangle(const std::array<Point, 3>& corners, const Point& normal);

  /// Adds vertices and triangles of another mesh, or of this one, behind its own. Throws
  /// zvException, id 0, "Could not merge two meshes with different units type" where the units
  /// differ, and zvmiscException 2157 as AddVertex.
  void Merge(const zvTMesh& other);

  /// True without vertices, and so without triangles.
  bool IsEmpty() const noexcept { return m_vertices.empty(); }

  /// What was added, in that order; valid until the mesh is changed.
  std::span<const Point> GetVertices() const noexcept { return m_vertices; }
  std::span<const Triangle> GetTriangles() const noexcept { return m_triangles; }

  /// Corners of the box around the vertices, in the mesh's units (property 3).
  const Point& GetMinimum() const noexcept { return m_minimum; }
  const Point& GetMaximum() const noexcept { return m_maximum; }

 protected:
  void Scale(Units newUnits, double factor) override;

 private:
  void CheckRoomFor(std::size_t vertices) const;
  void CheckCorners(const zvMeshCorners& corners) const;
  void EmptyBox() noexcept;
  void Enclose(const Point& vertex) noexcept;

  std::vector<Point> m_vertices;
  std::vector<Triangle> m_triangles;
  Point m_minimum;
  Point m_maximum;
};

extern template class zvTMesh<float>;
extern template class zvTMesh<double>;

}  // namespace cadcam
