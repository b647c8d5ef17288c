// The MACHINE argument of the command line.
#pragma once

#include <string>

#include "kandrel-post/machine/machine.h"

namespace kandrel_post {

/// Makes the machine of a MACHINE argument: preset:NAME, a .json or a .kds file. Throws UsageError
/// for an argument of another form or an unknown preset, and what the readers of files throw.
Machine LoadMachine(const std::string& argument);

}  // namespace kandrel_post
