#include <kandrel/misc/basic_types_writer.h>
#include <kandrel/persistence/helper_reader.h>
#include <kandrel/persistence/log_parts.h>
#include <kandrel/persistence/log_setup.h>
#include <kandrel/persistence/post_types_reader.h>
#include <kandrel/persistence/post_types_writer.h>
#include <kandrel/persistence/versions.h>

#include <cstdint>
#include <string>
#include <utility>

namespace {

constexpr std::uint32_t kMachineTag = persistence::Tag("KDRM");
constexpr std::uint32_t kControlTag = persistence::Tag("KDRC");
constexpr std::uint32_t kParametersTag = persistence::Tag("KDRP");
constexpr std::uint32_t kToolTag = persistence::Tag("KDRT");
constexpr std::uint32_t kWriterTag = persistence::Tag("KDRW");
constexpr std::uint32_t kAllTag = persistence::Tag("KDRA");

void PutHeader(misc::zvBinOutputStream& stream, std::uint32_t tag) {
  misc::zvBOBasicTypes out(stream, false);
  persistence::WriteHeader(out, tag);
}

// A file of one record of postings.
template <class Record>
void Save(misc::zvBinOutputStream& stream, std::uint32_t tag, const Record& record) {
  PutHeader(stream, tag);
  post::zvBOPostTypes(stream).Write(record);
}

template <class ReadRecord>
zvKDRBinaryIOManager::LostData Load(misc::zvBinInputStream& stream, std::uint32_t tag,
                                    const ReadRecord& readRecord) {
  const persistence::FileHeader header = persistence::ReadHeader(stream, tag);
  zvKDRBinaryIOManager::LostData lostData;
  post::zvBIPostTypes in(stream, header.version, false, &lostData, header.wideStrings,
                         header.sizes64);
  readRecord(in);
  return lostData;
}

}  // namespace

void zvKDRBinaryIOManager::SaveMachineDefinition(misc::zvBinOutputStream& stream,
                                                 const post::zvMachDef& machDef) {
  Save(stream, kMachineTag, machDef);
}

zvKDRBinaryIOManager::LostData zvKDRBinaryIOManager::LoadMachineDefinition(
    misc::zvBinInputStream& stream, misc::zvAutoPointer<post::zvMachDef>& machDef) {
  return Load(stream, kMachineTag, [&](post::zvBIPostTypes& in) { in.ReadMachDef(machDef); });
}

void zvKDRBinaryIOManager::SaveControlDefinition(misc::zvBinOutputStream& stream,
                                                 const post::zv5axControlDef& control) {
  Save(stream, kMachineTag, control);
}

zvKDRBinaryIOManager::LostData zvKDRBinaryIOManager::LoadControlDefinition(
    misc::zvBinInputStream& stream, post::zv5axControlDef& control) {
  return Load(stream, kControlTag, [&](post::zvBIPostTypes& in) { in.ReadControl(control); });
}

void zvKDRBinaryIOManager::SaveKandrelParams(misc::zvBinOutputStream& stream,
                                             const post::zvKDRParam& par) {
  Save(stream, kMachineTag, par);
}

zvKDRBinaryIOManager::LostData zvKDRBinaryIOManager::LoadKandrelParams(
    misc::zvBinInputStream& stream, misc::zvAutoPointer<post::zvKDRParam>& par) {
  return Load(stream, kParametersTag, [&](post::zvBIPostTypes& in) {
    auto read = misc::MakeAutoPointer<post::zvKDRParam>(measures::zvUnitsFactory::metric);
    in.ReadParameters(*read);
    par = std::move(read);
  });
}

void zvKDRBinaryIOManager::SaveToolParams(misc::zvBinOutputStream& stream, const double& value) {
  PutHeader(stream, kToolTag);
  misc::zvBOBasicTypes(stream, false).WriteDouble(value);
}

void zvKDRBinaryIOManager::LoadToolParams(misc::zvBinInputStream& stream, double& value) {
  const persistence::FileHeader header = persistence::ReadHeader(stream, kToolTag);
  misc::zvBIBasicTypes(stream, false, header.wideStrings, header.sizes64).ReadDouble(value);
}

void zvKDRBinaryIOManager::SaveWriterParams(misc::zvBinOutputStream& stream,
                                            const zvKDRWriterParam& par) {
  SerializeWriter(stream, par);
}

void zvKDRBinaryIOManager::LoadWriterParams(misc::zvBinInputStream& stream,
                                            misc::zvAutoPointer<zvKDRWriterParam>& par) {
  DeserializeWriter(stream, par);
}

void zvKDRBinaryIOManager::SerializeWriter(misc::zvBinOutputStream& stream,
                                           const zvKDRWriterParam& par) {
  PutHeader(stream, kWriterTag);
  misc::zvBOBasicTypes out(stream, false);
  out.WriteInt(par.GetUnits());
  out.WriteByte(par.GetOutputAbsoluteMachineCoordsFlag());
  out.WriteInt(par.GetProgNo());
  out.WriteStrings(par.GetAxisNames());
  out.WriteString(par.GetToolComment());
  out.WriteString(par.GetToolPathComment());
  out.WriteInt(par.GetToolNumber());
  out.WriteInt(par.GetStartLineNo());
  out.WriteInt(par.GetLineNoIncrement());
  out.WriteInt(par.GetSpindleSpeed());
  out.WriteByte(static_cast<std::uint8_t>(par.GetOutputCoordinatesType()));
}

void zvKDRBinaryIOManager::DeserializeWriter(misc::zvBinInputStream& stream,
                                             misc::zvAutoPointer<zvKDRWriterParam>& par) {
  const persistence::FileHeader header = persistence::ReadHeader(stream, kWriterTag);
  misc::zvBIBasicTypes in(stream, false, header.wideStrings, header.sizes64);
  auto units = measures::zvUnitsFactory::metric;
  cadcam::zvBIHelper(in).ReadUnits(units);
  auto read = misc::MakeAutoPointer<zvKDRWriterParam>(units);
  const auto readInt = [&] {
    std::int32_t value = 0;
    in.ReadInt(value);
    return value;
  };
  const auto readString = [&] {
    std::wstring text;
    in.ReadString(text);
    return text;
  };
  bool isAbsolute = false;
  in.ReadBool(isAbsolute);
  read->SetOutputAbsoluteMachineCoordsFlag(isAbsolute);
  read->SetProgNo(readInt());
  std::uint32_t count = 0;
  in.ReadUnsigned(count);
  std::vector<std::wstring> names;
  for (std::uint32_t i = 0; i < count; ++i) names.push_back(readString());
  // As many as there are: the file doesn't say for how many axes they are.
  read->SetAxisNames(names, static_cast<unsigned>(names.size()));
  read->SetToolComment(readString());
  read->SetToolPathComment(readString());
  read->SetToolNumber(readInt());
  read->SetStartLineNo(readInt());
  read->SetLineNoIncrement(readInt());
  read->SetSpindleSpeed(readInt());
  signed char type = 0;
  in.ReadChar(type);
  read->SetOutputCoordinatesType(  // with its sign: NOLINTNEXTLINE(bugprone-signed-char-misuse)
      static_cast<zvKDRWriterParam::OutputCoordinatesType>(type));
  par = std::move(read);
}

void zvKDRBinaryIOManager::SaveAllKandrelParams(misc::zvBinOutputStream& stream,
                                                const zvKDR5AxBase& base,
                                                const zvKDRWriterParam& par) {
  PutHeader(stream, kAllTag);
  zvBOKDRParams(stream, false) << base;
  SerializeWriter(stream, par);
}

zvKDRBinaryIOManager::LostData zvKDRBinaryIOManager::LoadAllKandrelParams(
    misc::zvBinInputStream& stream, misc::zvAutoPointer<zvKDR5AxBase>& base,
    misc::zvAutoPointer<zvKDRWriterParam>& par) {
  const persistence::FileHeader header = persistence::ReadHeader(stream, kAllTag);
  zvBIKDRParams in(stream, header.version, false, {}, header.wideStrings, header.sizes64);
  misc::zvAutoPointer<zvKDR5AxBase> read;
  in >> read;
  DeserializeWriter(stream, par);
  base = std::move(read);
  return in.GetLostData();
}
