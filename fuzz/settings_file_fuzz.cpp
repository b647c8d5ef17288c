// zvKDSInput on any bytes. What it accepts, written and read again, is written as the same bytes.
#include <kandrel/misc/exception.h>
#include <kandrel/persistence/settings_file.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "fuzz/memory_streams.h"

namespace {

std::vector<std::uint8_t> Written(const post::zvMachDefBuilder& builder) {
  fuzz::MemoryOutput out;
  const zvKDSOutput output(out, builder);
  return out.GetBytes();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    fuzz::MemoryInput in(data, size);
    const zvKDSInput input(in);
    const std::vector<std::uint8_t> written = Written(input.GetMachDefBld());
    fuzz::MemoryInput again(written.data(), written.size());
    if (Written(zvKDSInput(again).GetMachDefBld()) != written) std::abort();
  } catch (const misc::zvException&) {
    // Refused, which is what most inputs are for.
  }
  return 0;
}
