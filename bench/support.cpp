#include "bench/support.h"

#include <malloc.h>

#include <fstream>
#include <string>

namespace bench {

namespace {

double StatusBytes(const std::string& key) {
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word)
    if (word == key) {
      double kilobytes = 0;
      status >> kilobytes;
      return kilobytes * 1024;
    }
  return 0;
}

}  // namespace

double ResidentBytes() {
  return StatusBytes("VmRSS:");
}

double PeakResidentBytes() {
  return StatusBytes("VmHWM:");
}

void ResetPeak() {
  std::ofstream("/proc/self/clear_refs") << 5;
}

void TrimHeap() {
  malloc_trim(0);
}

}  // namespace bench
