#include "bench/support.h"

#include <benchmark/benchmark.h>
#include <kandrel/misc/platform.h>
#include <malloc.h>

#include <cstddef>
#include <fstream>
#include <string>
#include <vector>

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

void Keep(const void* result) {
  benchmark::DoNotOptimize(result);
}

void Pretouch(double bytes) {
  constexpr std::size_t kBlock = 0x4000000;
  constexpr std::size_t kSmallestPage = 0x1000;
  std::vector<char*> blocks;
  for (double left = bytes; left > 0; left -= kBlock) {
    auto* block = static_cast<char*>(
        misc::platform::AllocatePages(kBlock, kBlock, misc::platform::PageSize::kHuge));
    if (block == nullptr) break;
    for (std::size_t i = 0; i < kBlock; i += kSmallestPage) block[i] = 1;
    blocks.push_back(block);
  }
  for (char* block : blocks) misc::platform::FreePages(block, kBlock);
}

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
