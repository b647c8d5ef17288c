#include <kandrel/misc/basic_types_reader.h>
#include <kandrel/misc/exception.h>
#include <kandrel/misc/file_streams.h>
#include <kandrel/misc/pack/compressed_streams.h>
#include <kandrel/misc/std_streams.h>
#include <kandrel/persistence/cadcam_types_reader.h>
#include <kandrel/persistence/cadcam_types_writer.h>
#include <kandrel/persistence/detail/source_references.h>
#include <kandrel/persistence/log_file.h>
#include <kandrel/persistence/versions.h>
#include <kandrel/post/creators/creator_caster.h>

#include <optional>
#include <type_traits>
#include <utility>

namespace {

constexpr std::uint32_t kTag = persistence::Tag("KDR ");
constexpr std::uint32_t kKnowsSources = 184;

// Creators of 3 and 4 axes store their alignment matrix, the others have none.
template <class Creator>
constexpr bool kHasMatrix =
    std::is_same_v<Creator, zvPosted3axTPCreator> || std::is_same_v<Creator, zvPosted4axTPCreator>;

// All but the posted moves.
template <class Source>
void WriteRun(misc::zvBinOutputStream& stream, const Source& source,
              const cadcam::zvToolPath& toolpath, const cadcam::zvTool& tool) {
  {
    misc::zvBOBasicTypes header(stream, false);
    persistence::WriteHeader(header, kTag);
  }
  zvBOKDRParams(stream, false) << source;
  cadcam::zvBOCadcamTypes out(stream);
  out.WriteTool(tool);
  out.WriteToolPath(toolpath);
}

// Opens a file as a container and reads four bytes of it; false for a plain file.
bool Probe(const std::wstring& path, std::optional<pack::zvCompressedInputFileStream>& stream) {
  try {
    stream.emplace(path);
    std::uint32_t tag = 0;
    misc::zvBIBasicTypes(*stream, false, false, false).ReadUnsigned(tag);
    return true;
  } catch (const misc::zvException& e) {
    if (e.GetMessage() != L"Magic error!") throw;
    return false;
  }
}

}  // namespace

void zvKDROutput::Write(misc::zvBinOutputStream& stream, const CreatorPointer& creator,
                        const cadcam::zvToolPath& toolpath, const cadcam::zvTool& tool) {
  WriteRun(stream, creator, toolpath, tool);
  post::zvBOPostTypes out(stream);
  WithOwnClass(creator, [&]<class Creator>(const Creator& own) {
    out.Write(own.GetPostedList());
    if constexpr (kHasMatrix<Creator>) out.Write(own.GetAlignMatrix());
  });
}

void zvKDROutput::Write(misc::zvBinOutputStream& stream, const zvKDR5AxBase& base,
                        const cadcam::zvToolPath& toolpath, const post::zvPostedTP& posted,
                        const cadcam::zvTool& tool) {
  WriteRun(stream, base, toolpath, tool);
  post::zvBOPostTypes(stream).Write(posted);
}

zvKDROutput::zvKDROutput(misc::zvBinOutputStream& stream, const CreatorPointer& creator,
                         const cadcam::zvToolPath& toolpath, const cadcam::zvTool& tool) {
  Write(stream, creator, toolpath, tool);
}

zvKDROutput::zvKDROutput(misc::zvBinOutputStream& stream, const zvKDR5AxBase& base,
                         const cadcam::zvToolPath& toolpath, const post::zvPostedTP& posted,
                         const cadcam::zvTool& tool) {
  Write(stream, base, toolpath, posted, tool);
}

zvKDROutput::zvKDROutput(const std::wstring& path, const CreatorPointer& creator,
                         const cadcam::zvToolPath& toolpath, const cadcam::zvTool& tool) {
  pack::zvCompressedOutputFileStream stream(path, pack::zvCompressedOutputFileStream::kZlib);
  Write(stream, creator, toolpath, tool);
  stream.Close();
}

zvKDROutput::zvKDROutput(const std::wstring& path, const zvKDR5AxBase& base,
                         const cadcam::zvToolPath& toolpath, const post::zvPostedTP& posted,
                         const cadcam::zvTool& tool) {
  misc::zvOFStream file(path, std::ios::out | std::ios::binary);
  misc::zvStdOutputStream stream(&file);
  Write(stream, base, toolpath, posted, tool);
  stream.Flush();  // a full disk shows only here
}

bool zvKDRInput::IsFileCompress(const std::wstring& path) {
  std::optional<pack::zvCompressedInputFileStream> stream;
  return Probe(path, stream);
}

zvKDRInput::zvKDRInput(misc::zvBinInputStream& stream) {
  Read(stream);
}

zvKDRInput::zvKDRInput(const std::wstring& path) {
  std::optional<pack::zvCompressedInputFileStream> compressed;
  if (Probe(path, compressed)) {
    // What was decompressed for the probe is not decompressed once more.
    misc::zvByteWindow& window = compressed->GetWindow();
    if (window.next != nullptr)
      window.next -= sizeof(std::uint32_t);
    else
      compressed.emplace(path);
    Read(*compressed);
  } else {
    misc::zvIFStream file(path, std::ios::in | std::ios::binary);
    misc::zvStdInputStream stream(&file);
    Read(stream);
  }
}

void zvKDRInput::Read(misc::zvBinInputStream& stream) {
  const auto [tag, version, wideStrings, sizes64] = persistence::ReadHeader(stream, kTag);
  m_params = misc::MakeAutoPointer<zvBIKDRParams>(stream, version, false, m_lostData, wideStrings,
                                                  sizes64);
  *m_params >> m_creator;
  m_lostData = m_params->GetLostData();
  cadcam::zvBICadcamTypes2 in(stream, version, false, &m_lostData, wideStrings, sizes64);
  post::zvBIPostTypes postTypes(stream, version, false, &m_lostData, wideStrings, sizes64);
  in.ReadTool(m_tool, m_params->GetMachDef()->GetUnits());
  m_toolpath = misc::MakeAutoPointer<cadcam::zvToolPath>(measures::zvUnitsFactory::metric);
  in.ReadToolPath(*m_toolpath);
  const std::uint32_t fileVersion = version;
  WithOwnClass(m_creator, [&]<class Creator>(Creator& own) {
    misc::zvMemoryPoolProvider provider;
    auto list = misc::MakeAutoPointer<typename Creator::List>(provider);
    postTypes.ReadList(list);
    if (list->IsEmpty()) list = nullptr;
    post::zvAlignMatrix matrix;
    if constexpr (kHasMatrix<Creator>) postTypes.ReadAlignMatrix(matrix);
    if (fileVersion < kKnowsSources) persistence::FixReferenceBetweenTPAndpTP(*m_toolpath, list);
    // The fresh creator's list is this one, and not a copy: half the memory.
    own.GetPostedList() = list;
    if constexpr (kHasMatrix<Creator>) own.SetAlignMatrix(matrix);
  });
}

const post::zvPostedTP& zvKDRInput::GetPosted5axTP() {
  WithOwnClass(m_creator, [&]<class Creator>(const Creator& own) {
    if (!own.GetPostedList()) return;
    for (const typename Creator::Move& move : *own.GetPostedList())
      m_posted.PushBack(misc::MakeAutoPointer<typename Creator::Move>(move));
  });
  return m_posted;
}
