// Machine definitions of all classes as JSON text.
#pragma once

#include <string>
#include <string_view>

#include "kandrel-post/machine/machine.h"

namespace kandrel_post {

/// Makes a machine without a name. A missing key takes the definition's default; a missing
/// "axes" 3. Whatever is malformed, unknown, doubled or of the wrong type fails with error 0 and
/// `<name>:<line>: <what was expected>`; a definition that makes no machine fails with the error of
/// the definition's class.
Machine ParseMachine(std::string_view text, const std::string& name);

/// The same from a file, whose name the machine has.
Machine ReadMachineFile(const std::string& fileName);

/// The definition in the form that ParseMachine takes, all keys present. Fails with error 0 for a
/// number that is infinite or not a number, for which JSON has no form.
std::string MachineToJson(const Machine& machine);

}  // namespace kandrel_post
