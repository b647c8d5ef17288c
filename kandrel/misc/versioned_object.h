// zvVersionedObject: the base of geometry that carries a version of its own.
#pragma once

#include <kandrel/misc/export.h>

#include <cstdint>

namespace misc {

/// Holds one number, 0 at first and -1 once it is destroyed. Despite the name it has nothing to do
/// with the versions of files.
class KANDREL_API zvVersionedObject {
 public:
  /// 0 for an object that lives.
  std::int32_t GetVersion() const noexcept { return m_version; }

 protected:
  zvVersionedObject() = default;
  zvVersionedObject(const zvVersionedObject&) = default;
  zvVersionedObject& operator=(const zvVersionedObject&) = default;
  ~zvVersionedObject() { m_version = -1; }

 private:
  std::int32_t m_version = 0;
};

}  // namespace misc
