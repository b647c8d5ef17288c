// What holds for the mesh of every body.
#pragma once

#include <kandrel/cadcam/mesh.h>
#include <tests/support/testing.h>

#include <map>

namespace tests {

template <class T>
cadcam::zvTPoint3d<double> VertexOf(const cadcam::zvTMesh<T>& mesh, cadcam::zvMeshIndex index) {
  const auto& v = mesh.GetVertices()[static_cast<std::size_t>(index)];
  return {v.x, v.y, v.z};
}

/// The volume that a closed mesh encloses, above 0 where its triangles turn outwards.
template <class T>
double VolumeOf(const cadcam::zvTMesh<T>& mesh) {
  double volume = 0;
  for (const auto& t : mesh.GetTriangles()) {
    const auto [a, b, c] = t.corners;
    volume += Dot(VertexOf(mesh, a), Cross(VertexOf(mesh, b), VertexOf(mesh, c))) / 6;
  }
  return volume;
}

/// Every side belongs to two triangles, once in each direction, where vertices of one place count
/// as one; every triangle has three corners, and a normal that fits them; every vertex is used.
template <class T>
testing::AssertionResult IsClosed(const cadcam::zvTMesh<T>& mesh) {
  using Place = std::array<T, 3>;
  std::map<std::pair<Place, Place>, int> sides;
  std::vector<char> isUsed(mesh.GetVertices().size());
  for (const auto& t : mesh.GetTriangles()) {
    std::array<Place, 3> places;
    for (std::size_t i = 0; i < 3; ++i) {
      const auto corner = static_cast<std::size_t>(t.corners[i]);
      const auto& v = mesh.GetVertices()[corner];
      places[i] = {v.x, v.y, v.z};
      isUsed[corner] = 1;
    }
    for (std::size_t i = 0; i < 3; ++i) {
      const Place &from = places[i], &to = places[(i + 1) % 3];
      if (from == to) return testing::AssertionFailure() << "two equal corners at z = " << from[2];
      if (from < to)
        ++sides[{from, to}];
      else
        sides[{to, from}] += 1000000;
    }
    const auto a = VertexOf(mesh, t.corners[0]);
    const auto normal = Cross(VertexOf(mesh, t.corners[1]) - a, VertexOf(mesh, t.corners[2]) - a);
    const cadcam::zvTPoint3d<double> given(t.normal.x, t.normal.y, t.normal.z);
    if (!(Dot(normal, given) > 0.99 * normal.Length()))
      return testing::AssertionFailure() << "normal at z = " << a.z;
  }
  for (const auto& [side, uses] : sides)
    if (uses != 1000001)
      return testing::AssertionFailure()
             << uses % 1000000 << " triangles on one side and " << uses / 1000000
             << " on the other, at z = " << side.first[2] << " to " << side.second[2];
  if (std::count(isUsed.begin(), isUsed.end(), 0) > 0)
    return testing::AssertionFailure() << "vertex without triangle";
  return testing::AssertionSuccess();
}

}  // namespace tests
