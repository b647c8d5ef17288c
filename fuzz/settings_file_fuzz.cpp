// zvKDSInput on any bytes. What it accepts, written and read again, is written as the same bytes,
// unless it had to be changed again: a spindle shorter than 1e-12 counts as parallel to all.
#include <kandrel/misc/exception.h>
#include <kandrel/persistence/settings_file.h>
#include <tests/support/memory_streams.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

std::string Written(const post::zvMachDefBuilder& builder) {
  tests::MemoryOutput out;
  const zvKDSOutput output(out, builder);
  return out.GetBytes();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    tests::MemoryInput in(data, size);
    const zvKDSInput input(in);
    const std::string written = Written(input.GetMachDefBld());
    tests::MemoryInput again(written);
    const zvKDSInput second(again);
    if (second.GetLostData().empty() && Written(second.GetMachDefBld()) != written) std::abort();
  } catch (const misc::zvException&) {
    // Refused, which is what most inputs are for.
  }
  return 0;
}
