#include "kandrel-post/machine/argument.h"

#include <fmt/format.h>

#include <filesystem>
#include <string_view>

#include "kandrel-post/host/errors.h"
#include "kandrel-post/machine/json.h"
#include "kandrel-post/machine/presets.h"

namespace kandrel_post {

Machine LoadMachine(const std::string& argument) {
  constexpr std::string_view kPreset = "preset:";
  if (argument.starts_with(kPreset)) return MakePreset(argument.substr(kPreset.size()));
  const std::filesystem::path path(argument);
  if (path.extension() == ".json") return ReadMachineFile(argument);
  if (path.extension() == ".xml" || path.extension() == ".kds")
    Fail(fmt::format("{}: machine descriptions in this form are not read yet", argument));
  throw UsageError(
      fmt::format("{}: preset:NAME or a .json file expected as the machine", Printable(argument)));
}

}  // namespace kandrel_post
