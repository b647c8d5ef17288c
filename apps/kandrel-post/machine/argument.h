// The MACHINE argument of the command line.
#pragma once

#include <string>

#include "kandrel-post/machine/machine.h"

namespace kandrel_post {

/// Makes the machine of a MACHINE argument: preset:NAME or a .json file. Throws UsageError for an
/// argument of another form or an unknown preset, and error 0 for a file that can't be read.
Machine LoadMachine(const std::string& argument);

}  // namespace kandrel_post
