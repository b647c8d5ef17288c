#include "kandrel-post/machine/settings_file.h"

#include <kandrel/misc/text.h>
#include <kandrel/persistence/settings_file.h>

#include <filesystem>

namespace kandrel_post {

Machine ReadSettingsFile(const std::string& fileName) {
  const zvKDSInput input(misc::FromUtf8(fileName));
  return {std::filesystem::path(fileName).stem().string(), input.GetMachDefBld(),
          input.GetLostData()};
}

}  // namespace kandrel_post
