// zvMeshFactory: a surface from lines of points side by side.
#pragma once

#include <kandrel/cadcam/mesh.h>
#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/export.h>

#include <vector>

namespace cadcam {

/// Joins neighbouring profiles into triangles. T is float or double.
template <class T>
class KANDREL_API zvMeshFactory {
 public:
  using Profile = std::vector<zvTPoint3d<T>>;
  using Units = measures::zvUnitsFactory::Units;

  /// Throws zvException, id 0, "zvMeshFactory::ValidateProfiles -> Profile list must contain at
  /// least two profiles!" and then "zvMeshFactory::ValidateProfiles -> All profiles must contain
  /// the same number of points!".
  static void ValidateProfiles(const std::vector<Profile>& profiles);

  /// Two triangles between each two neighbouring points of neighbouring profiles. Their outside is
  /// where, with the profile pointing up, the next profile lies to the right.
  ///
  /// A point that equals its neighbour in the profile, or that of the same place in the profile
  /// before or in the first one, is one vertex with it, and triangles with two equal corners are
  /// left out: so a profile list that ends with its first profile closes, and does so at points on
  /// the axis. Throws as ValidateProfiles. Linear.
  static zvTMesh<T> Create(const std::vector<Profile>& profiles, Units units);
};

extern template class zvMeshFactory<float>;
extern template class zvMeshFactory<double>;

}  // namespace cadcam
