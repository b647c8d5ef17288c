#include "kandrel-post/machine/argument.h"

#include <fmt/format.h>

#include <filesystem>
#include <string_view>

#include "kandrel-post/host/errors.h"
#include "kandrel-post/machine/json.h"
#include "kandrel-post/machine/presets.h"
#include "kandrel-post/machine/settings_file.h"

namespace kandrel_post {

Machine LoadMachine(const std::string& argument) {
  constexpr std::string_view kPreset = "preset:";
  if (argument.starts_with(kPreset)) return MakePreset(argument.substr(kPreset.size()));
  std::string ending = std::filesystem::path(argument).extension().string();
  for (char& c : ending)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  if (ending == ".json") return ReadMachineFile(argument);
  if (ending == ".kds") return ReadSettingsFile(argument);
  if (ending == ".xml")
    Fail(fmt::format("{}: machine descriptions in this form are not read yet", argument));
  throw UsageError(fmt::format("{}: preset:NAME, a .json or a .kds file expected as the machine",
                               Printable(argument)));
}

}  // namespace kandrel_post
