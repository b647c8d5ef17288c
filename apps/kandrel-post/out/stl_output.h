// STL files as output of a job.
#pragma once

#include <kandrel/cadcam/mesh.h>
#include <kandrel/cadcam/stl/stl_reader.h>

#include <string>

namespace kandrel_post {

/// Writes a mesh, of float or double, to a file, which takes its place when it is complete; a
/// signal leaves nothing behind either. What it throws is a FailureInFile.
template <class T>
void WriteMesh(const std::string& file, const cadcam::zvTMesh<T>& mesh, cadcam::zvSTLForm form);

}  // namespace kandrel_post
