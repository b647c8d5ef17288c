// LoadSTL: reads STL files.
#pragma once

#include <kandrel/cadcam/mesh.h>
#include <kandrel/misc/byte_streams.h>
#include <kandrel/misc/export.h>

#include <string>

namespace cadcam {

/// The two forms of an STL file.
enum class zvSTLForm {
  text,
  binary,
};

/// Reads an STL file of either form and returns which it was. The mesh's former content goes, its
/// units stay, since a file tells none; when this throws, it is as it was.
///
/// A file of less than 160 bytes is a text, and so is one whose bytes 80 to 159 hold a word that a
/// text has there: solid, facet, normal, outer, loop, vertex, endloop, endfacet or endsolid. So a
/// binary file with no triangle, or with one, is taken for a text, and refused as one: deliberate,
/// since its first 80 bytes are free and may say "solid". One that is not as long as a binary file
/// with its number of triangles is a text as well where its first 160 bytes are all characters of a
/// text, and begin with "solid" or have "facet" among the first 80: a long name and lines of long
/// numbers may stand so that no word is found.
///
/// Texts are read as zvParserSTL says, binary files as docs/formats/stl.md does; normals are those
/// of NormalFromFile. Throws zvSTLParserException:
/// - 3500 where there is no such file, 3508 for what is no regular file or can't be opened;
/// - 3511 for a binary file whose number of triangles doesn't fit its size: no memory is taken for
///   them before;
/// - 3509 for a coordinate that is not finite, and for a binary file that ends while it is read;
/// - 3501 to 3507 and 3510 for a text, as zvParserSTL, which throws zvParserException 6251 as well;
/// zvmiscException 2157 for more triangles than a mesh holds, 2148 where the system fails to read.
template <class T>
KANDREL_API zvSTLForm LoadSTL(const std::wstring& path, zvTMesh<T>& mesh);

/// The same for the `size` bytes that the stream has left, in the place of a file of that size. The
/// stream's exceptions pass.
template <class T>
KANDREL_API zvSTLForm LoadSTL(misc::zvBinInputStream& stream, misc::zvStreamSize size,
                              zvTMesh<T>& mesh);

}  // namespace cadcam
