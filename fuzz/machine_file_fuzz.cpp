// zvV2XMLReader on any bytes. A machine that it makes is written, and what was written is read as
// the same objects again, unless it names preprocessors: their files are sought in another folder.
#include <kandrel/kintree/machine_file_reader.h>
#include <kandrel/kintree/machine_file_writer.h>
#include <kandrel/kintree/message_hook.h>
#include <kandrel/misc/exception.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>

namespace {

using Machine = kintree::zvV2XMLReader::Machine;

Machine Read(std::string bytes) {
  return kintree::zvV2XMLReader(L"/nowhere/m.xml").ReadBytes(std::move(bytes), nullptr);
}

// The bytes of a machine's file; none for a machine that was nested as deep as a file may be, but
// without the root that a written one has.
std::string Written(const kintree::zvKintreeMachDef& machine) {
  try {
    return kintree::zvV2XMLWriter(machine, L"/nowhere/m.xml").GetBytes();
  } catch (const misc::zvException& e) {
    if (e.GetMessage() != L"A machine file can't hold objects so deep below each other")
      std::abort();
    return {};
  }
}

// The names of the objects, each with that of the object above it.
std::wstring ObjectsOf(const kintree::zvKintreeMachDef& machine) {
  std::wstring text;
  for (const kintree::mkdKinematicNode& node : machine.GetTree()) {
    const kintree::accessortreenode place(node);
    if (const auto* parent = place.GetParentObject()) text += parent->GetName() + L'/';
    text += place.GetObject()->GetName() + L'\n';
  }
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kintree::SetMessageHook([](const std::wstring&) {});
  Machine machine;
  try {
    machine = Read(std::string(reinterpret_cast<const char*>(data), size));
  } catch (const misc::zvException&) {
    return 0;  // refused, which is what most inputs are for
  }
  const std::string written = Written(*machine);
  if (written.empty() || !machine->GetPreprocessors().empty()) return 0;
  const Machine again = Read(written);
  if (ObjectsOf(*again) != ObjectsOf(*machine)) std::abort();
  if (again->GetCollisionChecks().size() != machine->GetCollisionChecks().size()) std::abort();
  return 0;
}
