// Machine description files (.xml) as machines.
#pragma once

#include <string>

#include "kandrel-post/machine/machine.h"

namespace kandrel_post {

/// The machine of a machine description file and the settings file beside it. Throws those of
/// zvMachDefReader as a FailureInFile.
Machine ReadMachineDescription(const std::string& fileName);

/// Writes limits and rotary geometry of a machine into a machine description file, whose axes have
/// the machine's names, or the default ones of zvXMLOverwrite where it has none. Throws those of
/// zvXMLOverwrite as a FailureInFile.
void OverwriteMachineDescription(const std::string& fileName, const Machine& machine);

}  // namespace kandrel_post
