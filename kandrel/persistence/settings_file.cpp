#include <kandrel/misc/file_streams.h>
#include <kandrel/misc/std_streams.h>
#include <kandrel/persistence/post_types_reader.h>
#include <kandrel/persistence/post_types_writer.h>
#include <kandrel/persistence/settings_file.h>
#include <kandrel/persistence/versions.h>

namespace {

constexpr std::uint32_t kTag = persistence::Tag("KDS ");
constexpr std::uint32_t kSpindleRotation = 212;

// The names that a machine has axes for.
std::vector<std::wstring> Trimmed(std::vector<std::wstring> names, const post::zvMachDef& machDef) {
  const post::zvMachDef::NumbersOfAxes numbersOfAxes = machDef.GetNumbersOfAxes();
  if (numbersOfAxes == post::zvMachDef::sixAxes) return names;
  const std::size_t axes = 3 + static_cast<std::size_t>(numbersOfAxes);
  if (names.size() > axes) names.resize(axes);
  return names;
}

}  // namespace

zvKDSInput::zvKDSInput(misc::zvBinInputStream& stream) {
  Deserialize(stream);
}

zvKDSInput::zvKDSInput(const std::wstring& path) {
  misc::zvIFStream file(path, std::ios::in | std::ios::binary);
  misc::zvStdInputStream stream(&file);
  Deserialize(stream);
}

void zvKDSInput::Deserialize(misc::zvBinInputStream& stream) {
  const persistence::FileHeader header = persistence::ReadHeader(stream, kTag);
  m_activateSpindleRotation = header.version >= kSpindleRotation;
  post::zvBIPostTypes in(stream, header.version, false, &m_lostData, header.wideStrings,
                         header.sizes64);
  in.ReadBuilder(m_builder);
  m_builder.SetAxisNames(Trimmed(m_builder.GetAxisNames(), *m_builder.GetMachDef()));
}

zvKDSOutput::zvKDSOutput(misc::zvBinOutputStream& stream, const post::zvMachDefBuilder& builder) {
  Serialize(stream, builder);
}

zvKDSOutput::zvKDSOutput(const std::wstring& path, const post::zvMachDefBuilder& builder) {
  misc::zvOFStream file(path, std::ios::out | std::ios::binary);
  misc::zvStdOutputStream stream(&file);
  Serialize(stream, builder);
  stream.Flush();  // a full disk shows only here
}

void zvKDSOutput::Serialize(misc::zvBinOutputStream& stream,
                            const post::zvMachDefBuilder& builder) {
  {
    misc::zvBOBasicTypes header(stream, false);
    persistence::WriteHeader(header, kTag);
  }
  post::zvBOPostTypes(stream).Write(builder);
}
