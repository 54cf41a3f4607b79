#include <benchmark/benchmark.h>

#include <string>

#include "bench/AllocationCount.h"
#include "bench/MachineFor.h"
#include "sensors/QXHalvarin.h"

namespace halvarin::bench {
namespace {

/// One pass over a category of the 900-key laptop without latency: time and allocations per key.
/// Each key's reading takes two allocations, its 32 bytes and its text.
void readCategoryPass(benchmark::State& state, const char* category) {
  installLaptop();
  const auto facade = QXHalvarin::sharedHalvarin();
  const auto keys = static_cast<double>(facade->readSensorsOfType(category, true)->count());
  const std::uint64_t before = allocationCount();
  for (auto _ : state) {
    benchmark::DoNotOptimize(facade->readSensorsOfType(category, true));
  }
  const auto passes = static_cast<double>(state.iterations());
  state.counters["keys"] = keys;
  state.counters["allocationsPerKey"] =
      static_cast<double>(allocationCount() - before) / passes / keys;
  state.counters["secondsPerKey"] =
      benchmark::Counter(passes * keys, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK_CAPTURE(readCategoryPass, temperature, "temperature");
BENCHMARK_CAPTURE(readCategoryPass, power, "power");
BENCHMARK_CAPTURE(readCategoryPass, fans, "fans");

}  // namespace
}  // namespace halvarin::bench
