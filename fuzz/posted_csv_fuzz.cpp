// The reader of posted lines of anybody, on any bytes: the first says how many rotary axes the
// machine has. What is read is what a verification takes: finite, and with a tool axis.
#include <kandrel/misc/exception.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "kandrel-post/csv/reader.h"

namespace {

void RequireFit(const post::zvPostedLine& line) {
  const bool isFinite = IsFinite(line.p_mach) && IsFinite(line.p_part) && IsFinite(line.dir_tool) &&
                        std::isfinite(line.feed) && std::isfinite(line.degs[0]) &&
                        std::isfinite(line.degs[1]) && std::isfinite(line.degs[2]);
  if (!isFinite || line.dir_tool.IsZero() || line.source < -1) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const int rotaryCount = data[0] % 4;
  const auto* at = reinterpret_cast<const char*>(data + 1);
  std::size_t left = size - 1;
  const auto source = [&](char* buffer, std::size_t bytes) {
    const std::size_t count = std::min(bytes, left);
    std::copy_n(at, count, buffer);
    at += count;
    left -= count;
    return count;
  };
  try {
    kandrel_post::PostedCsvReader reader(source, "posted.csv", rotaryCount);
    post::zvPostedLine line;
    while (reader.Next(line)) RequireFit(line);
    if (left != 0 || reader.GetBytesRead() != size - 1) std::abort();
  } catch (const misc::zvException&) {
    // Refused, which is what most inputs are for.
  }
  return 0;
}
