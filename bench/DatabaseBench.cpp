#include <benchmark/benchmark.h>
#include <plist/plist.h>

#include "base/Dictionary.h"
#include "bench/LargeDatabase.h"
#include "database/QXEDManager.h"
#include "platform/PropertyList.h"

namespace halvarin::bench {
namespace {

void reportBytes(benchmark::State& state, const Data& data) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(data.size()));
}

void decipherLargeContainer(benchmark::State& state) {
  const Data& container = largeContainer();
  for (auto _ : state) {
    benchmark::DoNotOptimize(QXEDManager().dataFromSerializedData(container));
  }
  reportBytes(state, container);
}
BENCHMARK(decipherLargeContainer)->Unit(benchmark::kMillisecond);

void parseLargePropertyList(benchmark::State& state) {
  const Data& list = largePropertyList();
  for (auto _ : state) {
    benchmark::DoNotOptimize(platform::parsePropertyList(list));
  }
  reportBytes(state, list);
}
BENCHMARK(parseLargePropertyList)->Unit(benchmark::kMillisecond);

/// What the property-list library needs by itself, for comparison.
void parseLargePropertyListByLibraryAlone(benchmark::State& state) {
  const Data& list = largePropertyList();
  for (auto _ : state) {
    plist_t root = nullptr;
    plist_from_memory(list.view().data(), static_cast<std::uint32_t>(list.size()), &root);
    plist_free(root);
  }
  reportBytes(state, list);
}
BENCHMARK(parseLargePropertyListByLibraryAlone)->Unit(benchmark::kMillisecond);

/// One model of 176. Most of it is the allocator's, which puts the tidying of what a parse freed
/// off to the next larger block: from 0.3 ms with none left over to 20 ms and more.
void readOneModelOfLargePropertyList(benchmark::State& state) {
  DictionaryRef database;
  for (auto _ : state) {
    state.PauseTiming();
    database = platform::parsePropertyList(largePropertyList()).dictionary();
    state.ResumeTiming();
    const DictionaryRef model = database->get("Model99,1").dictionary();
    benchmark::DoNotOptimize(model->get("Sensors").dictionary()->count());
  }
}
BENCHMARK(readOneModelOfLargePropertyList)->Unit(benchmark::kMicrosecond);

/// From the container's bytes to the sensors of one model: what a facade's making does before it
/// asks the controller, against the number of models that the database has. `perModel` is the time
/// over that number.
void openDatabaseOfModels(benchmark::State& state) {
  const Data container = containerOfModels(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    const auto list = QXEDManager().dataFromSerializedData(container);
    const DictionaryRef database = platform::parsePropertyList(*list).dictionary();
    const DictionaryRef model = database->get("Model7,1").dictionary();
    benchmark::DoNotOptimize(model->get("Sensors").dictionary()->count());
  }
  state.counters["perModel"] = benchmark::Counter(
      static_cast<double>(state.range(0)),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(openDatabaseOfModels)
    ->Arg(10)
    ->Arg(50)
    ->Arg(176)
    ->Arg(1000)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace halvarin::bench
