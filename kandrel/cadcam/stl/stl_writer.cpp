#include <kandrel/cadcam/stl/stl_writer.h>
#include <kandrel/misc/byte_files.h>
#include <kandrel/misc/misc_exception.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>
#include <vector>

namespace cadcam {

namespace {

constexpr std::size_t kBlock = 65536;
constexpr std::size_t kHeader = 80;
constexpr std::size_t kTriangle = 50;
constexpr std::size_t kLongestTriangle = 1024;  // of a text: twelve numbers of 24 characters, words

// Gathers bytes and hands them on in blocks.
class Block {
 public:
  explicit Block(misc::zvBinOutputStream& stream) : m_stream(stream), m_bytes(kBlock) {}

  /// So many bytes that are to be filled.
  char* Room(std::size_t size) {
    if (m_bytes.size() - m_used < size) HandOn();
    return m_bytes.data() + m_used;
  }
  void Take(const char* end) { m_used = static_cast<std::size_t>(end - m_bytes.data()); }
  void HandOn() {
    m_stream.Write(m_bytes.data(), m_used);
    m_used = 0;
  }

 private:
  misc::zvBinOutputStream& m_stream;
  std::vector<char> m_bytes;
  std::size_t m_used = 0;
};

char* Put(char* out, std::string_view text) {
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

// `Written` is the type that numbers have in the file, here and below.
template <class Written, class T>
bool IsFiniteAs(const zvTPoint3d<T>& p) {
  constexpr auto kLargest = static_cast<T>(std::numeric_limits<Written>::max());
  return std::abs(p.x) <= kLargest && std::abs(p.y) <= kLargest && std::abs(p.z) <= kLargest;
}

template <class Written, class T>
void CheckMesh(const zvTMesh<T>& mesh) {
  for (const zvTPoint3d<T>& p : mesh.GetVertices())
    if (!IsFiniteAs<Written>(p))
      throw misc::zvException(0, L"A mesh with coordinates that are not finite can't be written");
}

// Calls `write(out, normal, corners)`, which returns the end of what it wrote, for each triangle. A
// normal that is not finite, which no reader would trust, is written as none.
template <class Written, class T, class Write>
void WriteTriangles(Block& block, const zvTMesh<T>& mesh, std::size_t room, const Write& write) {
  const auto vertices = mesh.GetVertices();
  for (const zvTMeshTriangle<T>& triangle : mesh.GetTriangles()) {
    std::array<zvTPoint3d<T>, 3> corners;
    for (std::size_t i = 0; i < corners.size(); ++i)
      corners[i] = vertices[static_cast<std::size_t>(triangle.corners[i])];
    const bool isFinite = IsFiniteAs<Written>(triangle.normal);
    block.Take(write(block.Room(room), isFinite ? triangle.normal : zvTPoint3d<T>(), corners));
  }
}

template <class T>
char* PutFloats(char* out, const zvTPoint3d<T>& p) {
  const std::array<float, 3> values = {static_cast<float>(p.x), static_cast<float>(p.y),
                                       static_cast<float>(p.z)};
  std::memcpy(out, values.data(), sizeof values);
  return out + sizeof values;
}

template <class T>
char* PutLine(char* out, std::string_view words, const zvTPoint3d<T>& p) {
  out = Put(out, words);
  for (const T value : {p.x, p.y, p.z}) {
    *out++ = ' ';
    out = std::to_chars(out, out + 32, value).ptr;
  }
  return Put(out, "\n");
}

template <class Write>
void WriteFile(const std::wstring& path, const Write& write) {
  misc::zvBinOutputFile file(path);
  write(file);
  file.Commit();
}

}  // namespace

template <class T>
void WriteBinary(misc::zvBinOutputStream& stream, const zvTMesh<T>& mesh) {
  CheckMesh<float>(mesh);
  if (mesh.GetTriangles().size() > std::numeric_limits<std::uint32_t>::max())
    throw misc::zvmiscException(misc::zvmiscException::kSizeBeyond32Bits);
  const auto count = static_cast<std::uint32_t>(mesh.GetTriangles().size());
  Block block(stream);
  char* const header = block.Room(kHeader + sizeof count);
  std::memset(header, ' ', kHeader);
  Put(header, "STL File");
  std::memcpy(header + kHeader, &count, sizeof count);
  block.Take(header + kHeader + sizeof count);
  WriteTriangles<float>(block, mesh, kTriangle,
                        [](char* out, const auto& normal, const auto& corners) {
                          out = PutFloats(out, normal);
                          for (const auto& corner : corners) out = PutFloats(out, corner);
                          return Put(out, std::string_view("\0\0", 2));
                        });
  block.HandOn();
}

template <class T>
void WriteText(misc::zvBinOutputStream& stream, const zvTMesh<T>& mesh) {
  CheckMesh<T>(mesh);
  Block block(stream);
  block.Take(Put(block.Room(kLongestTriangle), "solid ascii\n"));
  WriteTriangles<T>(block, mesh, kLongestTriangle,
                    [](char* out, const auto& normal, const auto& corners) {
                      out = PutLine(out, "  facet normal", normal);
                      out = Put(out, "    outer loop\n");
                      for (const auto& corner : corners) out = PutLine(out, "      vertex", corner);
                      return Put(out, "    endloop\n  endfacet\n");
                    });
  block.Take(Put(block.Room(kLongestTriangle), "endsolid\n"));
  block.HandOn();
}

template <class T>
void WriteBinary(const std::wstring& path, const zvTMesh<T>& mesh) {
  WriteFile(path, [&](misc::zvBinOutputStream& stream) { WriteBinary(stream, mesh); });
}

template <class T>
void WriteText(const std::wstring& path, const zvTMesh<T>& mesh) {
  WriteFile(path, [&](misc::zvBinOutputStream& stream) { WriteText(stream, mesh); });
}

template KANDREL_API void WriteBinary(misc::zvBinOutputStream&, const zvTMesh<float>&);
template KANDREL_API void WriteBinary(misc::zvBinOutputStream&, const zvTMesh<double>&);
template KANDREL_API void WriteBinary(const std::wstring&, const zvTMesh<float>&);
template KANDREL_API void WriteBinary(const std::wstring&, const zvTMesh<double>&);
template KANDREL_API void WriteText(misc::zvBinOutputStream&, const zvTMesh<float>&);
template KANDREL_API void WriteText(misc::zvBinOutputStream&, const zvTMesh<double>&);
template KANDREL_API void WriteText(const std::wstring&, const zvTMesh<float>&);
template KANDREL_API void WriteText(const std::wstring&, const zvTMesh<double>&);

}  // namespace cadcam
