// Writes what the records of toolpaths, tools and postings share.
#pragma once

#include <kandrel/cadcam/point3d.h>

namespace persistence {

/// Three doubles, into a writer of any kind (misc::zvBOBasicTypes, or its Unchecked).
template <class Writer>
void Put(Writer& out, const cadcam::zvTPoint3d<double>& value) {
  out.WriteDouble(value.x);
  out.WriteDouble(value.y);
  out.WriteDouble(value.z);
}

}  // namespace persistence
