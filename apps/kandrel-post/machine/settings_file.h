// Settings files (.kds) as machines.
#pragma once

#include <string>

#include "kandrel-post/machine/machine.h"

namespace kandrel_post {

/// The machine of a settings file, with what had to be changed to read it. Throws those of
/// zvKDSInput as a FailureInFile.
Machine ReadSettingsFile(const std::string& fileName);

}  // namespace kandrel_post
