#include <kandrel/post/model/setup_owner.h>

namespace post {

zvSetupOwner::~zvSetupOwner() = default;

}  // namespace post
