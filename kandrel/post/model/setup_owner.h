// zvSetupOwner: keeps alive what a creator or a façade refers to.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>

namespace post {

/// Base of an object that owns a control definition, parameters, a part origin or a machine. What
/// refers to these can hold the owner, and so outlive whoever made it.
class KANDREL_API zvSetupOwner {
 public:
  virtual ~zvSetupOwner();

 protected:
  zvSetupOwner() = default;
  zvSetupOwner(const zvSetupOwner&) = default;
  zvSetupOwner& operator=(const zvSetupOwner&) = default;
};

using zvSetupOwnerPointer = misc::zvAutoPointer<zvSetupOwner>;

}  // namespace post
