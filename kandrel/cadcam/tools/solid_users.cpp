#include <kandrel/cadcam/cadcam_exception.h>
#include <kandrel/cadcam/tools/solid_users.h>

namespace cadcam {

template <class T>
void zvCasting2SolidDefinitionChecker<T>::Visit(const zvMeshSolidDefinition<T>&) {
  throw zvcadcamException(zvcadcamException::kMeshSolid);
}
template <class T>
void zvCasting2SolidDefinitionChecker<T>::Visit(const zvExtrudedSolidDefinition<T>&) {
  throw zvcadcamException(zvcadcamException::kExtrudedSolid);
}
template <class T>
void zvCasting2SolidDefinitionChecker<T>::Visit(const zvSolidDefinition<T>&) {
  throw zvcadcamException(zvcadcamException::kOtherSolid);
}

template class zvCasting2SolidDefinitionChecker<double>;

}  // namespace cadcam
