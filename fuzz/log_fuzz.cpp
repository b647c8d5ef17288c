// zvKDRInput and the loaders of its siblings on any bytes, by the tag that they begin with. A log
// that is read can be written, and what is read of that is written as as many bytes. Not as the
// same: a creator's machine has directions of unit length, and making them so once more may change
// their last bits.
#include <kandrel/misc/exception.h>
#include <kandrel/persistence/log_file.h>
#include <kandrel/persistence/log_parts.h>
#include <tests/support/memory_streams.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using Manager = zvKDRBinaryIOManager;

std::string Written(const zvKDRInput& log) {
  tests::MemoryOutput out;
  const zvKDROutput output(out, log.GetPostedTPCreator(), *log.GetToolPathPtr(), *log.GetTool());
  return out.GetBytes();
}

void ReadLog(misc::zvBinInputStream& stream) {
  const zvKDRInput log(stream);
  // Small moves of six axes are written without their type, and read again as something else.
  if (log.GetMachDef()->GetNumbersOfAxes() == post::zvMachDef::sixAxes) return;
  std::string written;
  try {
    written = Written(log);
  } catch (const misc::zvException&) {
    return;  // a log without a line: fine to read only
  }
  tests::MemoryInput in(written);
  const zvKDRInput again(in);
  if (Written(again).size() != written.size()) std::abort();
}

void Load(std::string_view tag, misc::zvBinInputStream& stream) {
  misc::zvAutoPointer<post::zvMachDef> machDef;
  misc::zvAutoPointer<post::zvKDRParam> parameters;
  misc::zvAutoPointer<zvKDRWriterParam> writer;
  misc::zvAutoPointer<zvKDR5AxBase> base;
  post::zv5axControlDef control;
  double value = 0;
  if (tag == "KDRM") Manager::LoadMachineDefinition(stream, machDef);
  if (tag == "KDRC") Manager::LoadControlDefinition(stream, control);
  if (tag == "KDRP") Manager::LoadKandrelParams(stream, parameters);
  if (tag == "KDRT") Manager::LoadToolParams(stream, value);
  if (tag == "KDRW") Manager::LoadWriterParams(stream, writer);
  if (tag == "KDRA") Manager::LoadAllKandrelParams(stream, base, writer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 4) return 0;
  try {
    tests::MemoryInput stream(data, size);
    const std::string_view tag(reinterpret_cast<const char*>(data), 4);
    if (tag == "KDR ")
      ReadLog(stream);
    else
      Load(tag, stream);
  } catch (const misc::zvException&) {
    // Refused, which is what most inputs are for.
  }
  return 0;
}
