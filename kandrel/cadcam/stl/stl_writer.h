// WriteBinary, WriteText: write STL files.
#pragma once

#include <kandrel/cadcam/mesh.h>
#include <kandrel/misc/byte_streams.h>
#include <kandrel/misc/export.h>

#include <string>

namespace cadcam {

/// Writes a mesh as a binary STL file: docs/formats/stl.md. Coordinates of a double are rounded to
/// floats. Nothing but an empty mesh and one of a single triangle comes out in a form that LoadSTL
/// wouldn't take for binary.
///
/// Throws zvException, id 0, before anything is written for a coordinate that is not finite, as a
/// float too, and zvmiscException 2157 for more than 2^32 - 1 triangles. The stream's exceptions
/// pass.
template <class T>
KANDREL_API void WriteBinary(misc::zvBinOutputStream& stream, const zvTMesh<T>& mesh);
/// Writes a file, which takes its place when it is complete: until then, and when this throws, a
/// file that was there stays. Throws also as misc::zvBinOutputFile.
template <class T>
KANDREL_API void WriteBinary(const std::wstring& path, const zvTMesh<T>& mesh);

/// Writes a mesh as an STL text, with the shortest numbers that read back to the same T. Throws as
/// WriteBinary, which has floats alone.
template <class T>
KANDREL_API void WriteText(misc::zvBinOutputStream& stream, const zvTMesh<T>& mesh);
template <class T>
KANDREL_API void WriteText(const std::wstring& path, const zvTMesh<T>& mesh);

}  // namespace cadcam
