#include "kandrel-post/machine/settings_file.h"

#include <kandrel/persistence/settings_file.h>

#include <filesystem>

#include "kandrel-post/host/errors.h"

namespace kandrel_post {

Machine ReadSettingsFile(const std::string& fileName) {
  const std::wstring path = PathOf(fileName, "a settings file");
  const auto input = NamingFile(fileName, [&] { return zvKDSInput(path); });
  return {std::filesystem::path(fileName).stem().string(), input.GetMachDefBld(),
          input.GetLostData()};
}

}  // namespace kandrel_post
