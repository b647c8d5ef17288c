#include "kandrel-post/machine/description.h"

#include <fmt/format.h>
#include <kandrel/kintree/machine_overwrite.h>
#include <kandrel/kintree/machine_reader.h>
#include <kandrel/misc/text.h>
#include <kandrel/post/model/post_exception.h>

#include <algorithm>
#include <filesystem>
#include <utility>
#include <vector>

#include "kandrel-post/host/errors.h"
#include "kandrel-post/machine/values.h"

namespace kandrel_post {

namespace {

constexpr const char* kWhat = "a machine description";

// What overwriting writes, by the keys of JSON.
std::vector<std::pair<std::string, std::string>> WrittenValues(const MachineValues& values) {
  const auto vector = [](const post::zvMachDef::Point& p) {
    return fmt::format("[{}, {}, {}]", p.x, p.y, p.z);
  };
  std::vector<std::pair<std::string, std::string>> written = {
      {"minLimits", vector(values.minLimits)}, {"maxLimits", vector(values.maxLimits)}};
  for (int i = 0; i < values.RotaryCount(); ++i) {
    const RotaryValues& rotary = values.rotary[static_cast<std::size_t>(i)];
    const auto add = [&](const char* key, std::string value) {
      written.emplace_back(fmt::format("rotary[{}].{}", i, key), std::move(value));
    };
    add("direction", vector(rotary.direction));
    add("pivot", vector(rotary.pivot));
    if (i == 2) break;
    add("min", fmt::format("{}", rotary.min));
    add("max", fmt::format("{}", rotary.max));
  }
  return written;
}

bool Lacks(const Machine& machine, const std::string& key) {
  const auto& absent = machine.absentKeys;
  return std::find(absent.begin(), absent.end(), key) != absent.end();
}

}  // namespace

Machine ReadMachineDescription(const std::string& fileName) {
  const std::filesystem::path path(fileName);
  zvMachDefReader reader(PathOf(fileName, kWhat));
  // The library takes more endings than one, and looks for other settings files than expected then.
  if (path.extension() != ".xml")
    NamingFile(fileName, [] {
      throw zvKandrelException(
          zvKandrelException::kWrongXml,
          misc::zvException(0, L"The ending .xml has to be in small letters, as has .kds."));
    });
  try {
    Machine machine{.name = path.stem().string(), .builder = reader.Read()};
    machine.objects = reader.GetMachine();
    return machine;
  } catch (...) {
    ThrowInFile(misc::ToUtf8(reader.GetFileAtEnd()));
  }
}

void OverwriteMachineDescription(const std::string& fileName, const Machine& machine) {
  const std::wstring path = PathOf(fileName, kWhat);
  std::vector<std::wstring> names;
  if (!Lacks(machine, "names")) names = machine.builder.GetAxisNames();
  NamingFile(fileName,
             [&] { zvXMLOverwrite(path, machine.builder.GetMachDef(), names).Overwrite(); });
  const std::filesystem::path settings = std::filesystem::path(fileName).replace_extension(".kds");
  std::error_code ignored;
  if (std::filesystem::exists(settings, ignored))
    Note(fmt::format("{} stands beside it: posting takes from there what its kind says",
                     settings.string()));
}

void NoteDefaultsWritten(const Machine& machine, const std::string& jsonFile) {
  for (const auto& [key, value] : WrittenValues(ValuesOf(*machine.builder.GetMachDef()))) {
    const bool isAbsent =
        Lacks(machine, key) || (key.starts_with("rotary") && Lacks(machine, "rotary"));
    if (isAbsent) Note(fmt::format("{} has no {}: the default counts, {}", jsonFile, key, value));
  }
}

}  // namespace kandrel_post
