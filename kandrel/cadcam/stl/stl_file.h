// zvSTLFile: a mesh under construction while an STL file is read.
#pragma once

#include <kandrel/cadcam/mesh.h>
#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>

#include <array>
#include <cstddef>

namespace cadcam {

/// The normal that a triangle of an STL file gets: the stored one, brought to the length 1; where
/// that is shorter than 1e-6 or not finite, the corners' own (TriangleNormal). A length that is 1
/// but for the rounding of floats stays, so that a file that is read and written keeps its normals.
template <class T>
KANDREL_API zvTPoint3d<T> NormalFromFile(const zvTPoint3d<T>& stored,
                                         const std::array<zvTPoint3d<T>, 3>& corners) noexcept;

/// The triangles read so far, and where in a solid the text stands.
///
/// Each operation that opens or closes something, and AddVertex, returns false and changes nothing
/// where the text may not do that at its place.
template <class T>
class KANDREL_API zvSTLFile {
 public:
  using Point = zvTPoint3d<T>;
  using Units = measures::zvUnitsFactory::Units;

  /// An STL file doesn't tell its units: these are the mesh's.
  explicit zvSTLFile(Units units = measures::zvUnitsFactory::metric) : m_mesh(units) {}

  /// Not within a solid.
  [[nodiscard]] bool BeginSolid() noexcept;
  /// Not within a facet; `normal` is that of its triangles. A solid need not have begun: only
  /// vertices ask for it.
  [[nodiscard]] bool BeginFacet(const Point& normal) noexcept;
  /// Not within a loop.
  [[nodiscard]] bool BeginLoop() noexcept;
  /// Within solid, facet and loop. A loop keeps its first three vertices and drops the others.
  [[nodiscard]] bool AddVertex(const Point& vertex) noexcept;
  /// Within a loop. One that has three vertices becomes a triangle; one with fewer becomes nothing.
  /// Throws as zvTMesh::AddTriangle.
  [[nodiscard]] bool EndLoop();
  /// Within a facet.
  [[nodiscard]] bool EndFacet() noexcept;
  /// Within a solid. The end is reached then: what follows isn't read.
  [[nodiscard]] bool EndSolid() noexcept;

  /// Where the text stands: what has begun and not ended, and whether a solid has ended.
  bool IsInSolid() const noexcept { return m_isInSolid; }
  bool IsInFacet() const noexcept { return m_isInFacet; }
  bool IsInLoop() const noexcept { return m_isInLoop; }
  bool IsEndReached() const noexcept { return m_isEndReached; }

  /// The triangles whose loops have ended so far.
  const zvTMesh<T>& GetMesh() const noexcept { return m_mesh; }
  /// Hands the mesh over; the object is only destroyed afterwards.
  zvTMesh<T> TakeMesh() noexcept { return std::move(m_mesh); }

 private:
  zvTMesh<T> m_mesh;
  Point m_normal;
  std::array<Point, 3> m_corners{};
  std::size_t m_cornerCount = 0;
  bool m_isInSolid = false;
  bool m_isInFacet = false;
  bool m_isInLoop = false;
  bool m_isEndReached = false;
};

extern template class zvSTLFile<float>;
extern template class zvSTLFile<double>;

}  // namespace cadcam
