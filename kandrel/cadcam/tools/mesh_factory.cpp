#include <kandrel/cadcam/tools/mesh_factory.h>
#include <kandrel/misc/exception.h>

namespace cadcam {

namespace {

void AddUnlessFlat(auto& mesh, const zvMeshCorners& c) {
  if (c[0] != c[1] && c[1] != c[2] && c[2] != c[0]) mesh.AddTriangle(c);
}

}  // namespace

template <class T>
void zvMeshFactory<T>::ValidateProfiles(const std::vector<Profile>& profiles) {
  if (profiles.size() < 2)
    throw misc::zvException(0,
                            L"zvMeshFactory::ValidateProfiles -> Profile list must contain at "
                            L"least two profiles!");
  for (const Profile& profile : profiles)
    if (profile.size() != profiles.front().size())
      throw misc::zvException(0,
                              L"zvMeshFactory::ValidateProfiles -> All profiles must contain the "
                              L"same number of points!");
}

template <class T>
zvTMesh<T> zvMeshFactory<T>::Create(const std::vector<Profile>& profiles, Units units) {
  ValidateProfiles(profiles);
  const std::size_t count = profiles.front().size();
  zvTMesh<T> mesh(units);
  mesh.Reserve(profiles.size() * count, 2 * (profiles.size() - 1) * count);
  using Indices = std::vector<zvMeshIndex>;
  Indices first, before, row(count);
  for (std::size_t i = 0; i < profiles.size(); ++i) {
    const Profile& profile = profiles[i];
    for (std::size_t k = 0; k < count; ++k) {
      if (k > 0 && profile[k] == profile[k - 1])
        row[k] = row[k - 1];
      else if (i > 0 && profile[k] == profiles[i - 1][k])
        row[k] = before[k];
      else if (i > 0 && profile[k] == profiles[0][k])
        row[k] = first[k];
      else
        row[k] = mesh.AddVertex(profile[k]);
    }
    for (std::size_t k = 1; i > 0 && k < count; ++k) {
      AddUnlessFlat(mesh, {before[k - 1], row[k - 1], row[k]});
      AddUnlessFlat(mesh, {before[k - 1], row[k], before[k]});
    }
    before = row;
    if (i == 0) first = row;
  }
  return mesh;
}

template class zvMeshFactory<float>;
template class zvMeshFactory<double>;

}  // namespace cadcam
