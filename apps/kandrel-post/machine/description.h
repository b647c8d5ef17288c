// Machine description files (.xml) as machines.
#pragma once

#include <string>

#include "kandrel-post/machine/machine.h"

namespace kandrel_post {

/// The machine of a machine description file and the settings file beside it. Throws those of
/// zvMachDefReader as a FailureInFile, which names the file that is to blame; also for an ending
/// other than ".xml", in small letters.
Machine ReadMachineDescription(const std::string& fileName);

/// Writes limits and rotary geometry of a machine into a machine description file, whose axes have
/// the machine's names, or the default ones of zvXMLOverwrite where it has none. Throws those of
/// zvXMLOverwrite as a FailureInFile.
void OverwriteMachineDescription(const std::string& fileName, const Machine& machine);

/// Notes which of the numbers that were so written the machine's JSON doesn't have.
void NoteDefaultsWritten(const Machine& machine, const std::string& jsonFile);

}  // namespace kandrel_post
