#include <kandrel/cadcam/stl/detail/line_reader.h>
#include <kandrel/cadcam/stl/parser_stl.h>
#include <kandrel/cadcam/stl/stl_file.h>
#include <kandrel/cadcam/stl/stl_reader.h>
#include <kandrel/cadcam/stl_parser_exception.h>
#include <kandrel/misc/byte_files.h>
#include <kandrel/misc/platform.h>
#include <kandrel/misc/text.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace cadcam {

namespace {

using misc::zvStreamSize;

constexpr std::size_t kHeader = 80;
constexpr std::size_t kTriangle = 50;
constexpr std::size_t kBlock = 1310;  // triangles that are read at a time: just below 64 KiB

constexpr float kLargestFloat = std::numeric_limits<float>::max();

using Start = std::array<char, 2 * kHeader>;

// The first bytes of a stream, which were read to look at them, and then the stream itself.
class Replayed final : public misc::zvBinInputStream {
 public:
  Replayed(std::string_view start, misc::zvBinInputStream& stream)
      : m_start(start), m_stream(stream) {}

  void Read(void* buffer, zvStreamSize& size) override {
    if (m_start.empty()) return m_stream.Read(buffer, size);
    size = std::min<zvStreamSize>(size, m_start.size());
    std::memcpy(buffer, m_start.data(), size);
    m_start.remove_prefix(size);
  }

 private:
  std::string_view m_start;
  misc::zvBinInputStream& m_stream;
};

// The size that a binary file of so many triangles has.
zvStreamSize BinarySize(std::uint32_t count) {
  return kHeader + sizeof count + zvStreamSize{kTriangle} * count;
}

// A text whose lines are so long that no keyword stands where it is looked for, as doubles and
// names can make them. Nothing else is told by this: a count of triangles has bytes that no text
// has.
bool HasLongLines(std::string_view start) {
  const std::string_view header = start.substr(0, kHeader);
  return (header.starts_with("solid") || header.find("facet") != std::string_view::npos) &&
         std::all_of(start.begin(), start.end(), [](char c) {
           return static_cast<unsigned char>(c) >= ' ' || c == '\t' || c == '\n' || c == '\r';
         });
}

bool IsText(std::string_view start, zvStreamSize size) {
  if (start.size() < 2 * kHeader) return true;
  constexpr const char* kWords[] = {"solid",  "facet",   "normal",   "outer",   "loop",
                                    "vertex", "endloop", "endfacet", "endsolid"};
  const bool hasWord = std::any_of(std::begin(kWords), std::end(kWords), [&](const char* word) {
    return start.substr(kHeader).find(word) != std::string_view::npos;
  });
  std::uint32_t count = 0;
  std::memcpy(&count, start.data() + kHeader, sizeof count);
  return hasWord || (size != BinarySize(count) && HasLongLines(start));
}

void ReadOrThrow(misc::zvBinInputStream& stream, void* buffer, std::size_t size) {
  if (detail::ReadAll(stream, buffer, size) != size)
    throw zvSTLParserException(zvSTLParserException::kWrongTriangle);
}

// The normal, the three corners and two bytes that say nothing.
template <class T>
void AddTriangle(const char* record, zvTMesh<T>& mesh) {
  std::array<float, 12> n;
  std::memcpy(n.data(), record, sizeof n);
  bool areFinite = true;
  for (std::size_t i = 3; i < n.size(); ++i) areFinite &= std::abs(n[i]) <= kLargestFloat;
  if (!areFinite) throw zvSTLParserException(zvSTLParserException::kWrongTriangle);
  const std::array<zvTPoint3d<T>, 3> corners = {zvTPoint3d<T>(n[3], n[4], n[5]),
                                                zvTPoint3d<T>(n[6], n[7], n[8]),
                                                zvTPoint3d<T>(n[9], n[10], n[11])};
  mesh.AddTriangle(corners, NormalFromFile(zvTPoint3d<T>(n[0], n[1], n[2]), corners));
}

template <class T>
void ReadBinary(misc::zvBinInputStream& stream, zvStreamSize size, zvTMesh<T>& mesh) {
  std::array<char, kHeader> header;
  ReadOrThrow(stream, header.data(), header.size());
  std::uint32_t count = 0;
  ReadOrThrow(stream, &count, sizeof count);
  if (size != BinarySize(count)) throw zvSTLParserException(zvSTLParserException::kWrongCount);
  mesh.Reserve(3 * std::size_t{count}, count);
  std::vector<char> block(kBlock * kTriangle);
  for (std::size_t left = count; left > 0;) {
    const std::size_t part = std::min(left, kBlock);
    ReadOrThrow(stream, block.data(), part * kTriangle);
    for (std::size_t i = 0; i < part; ++i) AddTriangle(block.data() + i * kTriangle, mesh);
    left -= part;
  }
}

template <class T>
void ReadText(misc::zvBinInputStream& stream, zvTMesh<T>& mesh) {
  const auto file = misc::MakeAutoPointer<zvSTLFile<T>>(mesh.GetUnits());
  zvParserSTL<T>(file).Parse(stream);
  mesh = file->TakeMesh();
}

}  // namespace

template <class T>
zvSTLForm LoadSTL(const std::wstring& path, zvTMesh<T>& mesh) {
  std::string bytes;
  if (!misc::ToPathBytes(path, bytes) ||
      misc::platform::KindOfFile(bytes.c_str()) == misc::platform::FileKind::kMissing)
    throw zvSTLParserException(zvSTLParserException::kMissingFile);
  std::optional<misc::zvBinInputFile> file;
  try {
    file.emplace(path);
  } catch (const misc::zvException& e) {
    throw zvSTLParserException(zvSTLParserException::kNotOpened, &e);
  }
  return LoadSTL(*file, file->GetSize(), mesh);
}

template <class T>
zvSTLForm LoadSTL(misc::zvBinInputStream& stream, zvStreamSize size, zvTMesh<T>& mesh) {
  Start start;
  const std::size_t wanted = static_cast<std::size_t>(std::min<zvStreamSize>(size, start.size()));
  const std::string_view seen(start.data(), detail::ReadAll(stream, start.data(), wanted));
  Replayed replayed(seen, stream);
  const zvSTLForm form = IsText(seen, size) ? zvSTLForm::text : zvSTLForm::binary;
  zvTMesh<T> read(mesh.GetUnits());
  if (form == zvSTLForm::text)
    ReadText(replayed, read);
  else
    ReadBinary(replayed, size, read);
  mesh = std::move(read);
  return form;
}

template KANDREL_API zvSTLForm LoadSTL(const std::wstring&, zvTMesh<float>&);
template KANDREL_API zvSTLForm LoadSTL(const std::wstring&, zvTMesh<double>&);
template KANDREL_API zvSTLForm LoadSTL(misc::zvBinInputStream&, zvStreamSize, zvTMesh<float>&);
template KANDREL_API zvSTLForm LoadSTL(misc::zvBinInputStream&, zvStreamSize, zvTMesh<double>&);

}  // namespace cadcam
