#include "kandrel-post/machine/run_log.h"

#include <kandrel/misc/file_streams.h>
#include <kandrel/misc/pack/compressed_streams.h>
#include <kandrel/misc/std_streams.h>
#include <kandrel/misc/text.h>

#include <cstdint>
#include <filesystem>
#include <string_view>
#include <utility>

#include "kandrel-post/host/errors.h"
#include "kandrel-post/out/axis_words.h"
#include "kandrel-post/out/text_sink.h"

namespace kandrel_post {

namespace {

template <class Read>
void WithStream(const std::wstring& path, bool isCompressed, const Read& read) {
  if (isCompressed) {
    pack::zvCompressedInputFileStream stream(path);
    read(stream);
  } else {
    misc::zvIFStream file(path, std::ios::in | std::ios::binary);
    misc::zvStdInputStream stream(&file);
    read(stream);
  }
}

}  // namespace

zvKDRInput ReadLog(const std::string& fileName) {
  const std::wstring path = PathOf(fileName, "a log");
  return NamingFile(fileName, [&] { return zvKDRInput(path); });
}

void ReadTagged(const std::string& fileName,
                const std::function<void(const std::string& tag, std::uint32_t version,
                                         misc::zvBinInputStream& stream)>& read) {
  const std::wstring path = PathOf(fileName, "a log");
  NamingFile(fileName, [&] {
    std::string tag;
    std::uint32_t version = 0;
    const bool isCompressed = zvKDRInput::IsFileCompress(path);
    WithStream(path, isCompressed, [&](misc::zvBinInputStream& stream) {
      std::uint32_t number = 0;
      misc::zvBIBasicTypes(stream, false, false, false).ReadUnsigned(number).ReadUnsigned(version);
      for (; number != 0; number >>= 8) tag += static_cast<char>(number & 0xFF);
    });
    WithStream(path, isCompressed,
               [&](misc::zvBinInputStream& stream) { read(tag, version, stream); });
  });
}

Machine MachineOfLog(const std::string& fileName,
                     const misc::zvAutoPointer<post::zvMachDef>& machDef) {
  Machine machine{std::filesystem::path(fileName).stem().string(), {}};
  machine.builder.SetMachDef(machDef);
  std::vector<std::wstring> names(static_cast<std::size_t>(AxisCount(machine)));
  for (std::size_t i = 0; i < names.size(); ++i) names[i] = misc::FromUtf8(kDefaultAxisNames[i]);
  machine.builder.SetAxisNames(names);
  return machine;
}

void ByteSink::Write(const void* buffer, const misc::zvStreamSize& size) {
  m_sink.Put({static_cast<const char*>(buffer), static_cast<std::size_t>(size)});
}

}  // namespace kandrel_post
