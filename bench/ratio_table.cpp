#include "bench/ratio_table.h"

#include <benchmark/benchmark.h>

namespace bench {

void Keep(const void* result) {
  benchmark::DoNotOptimize(result);
}

}  // namespace bench
