#include <benchmark/benchmark.h>
#include <plist/plist.h>

#include <chrono>

#include "bench/MachineFor.h"
#include "database/QXEDManager.h"
#include "platform/OwnImage.h"
#include "sensors/QXHalvarin.h"
#include "smc/QXSMCInterface.h"

namespace halvarin::bench {
namespace {

using Seconds = std::chrono::duration<double>;

template <typename Work>
double secondsOf(const Work& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return Seconds(std::chrono::steady_clock::now() - start).count();
}

/// What a facade cannot be made without: deciphering, the property-list library's own parse of the
/// same bytes, and reading every key.
double secondsOfNeededWork(QXSMCInterface& smc) {
  std::optional<Data> list;
  const double decipher = secondsOf([&] {
    list = QXEDManager().dataFromSerializedData(
        platform::ownImageSection("__TEXT", "__sensors_plist"));
  });
  const double parse = secondsOf([&] {
    plist_t root = nullptr;
    plist_from_memory(list->view().data(), static_cast<std::uint32_t>(list->size()), &root);
    plist_free(root);
  });
  const double read = secondsOf([&] { smc.listKeysWithData(); });
  return decipher + parse + read;
}

/// Making the facade from the embedded database on a 900-key machine, and how that compares with
/// the work that it cannot do without, measured in the same run.
void createFacade(benchmark::State& state) {
  installLaptop();
  const auto smc = QXSMCInterface::sharedSMC();
  double made = 0;
  double needed = 0;
  for (auto _ : state) {
    made += secondsOf([] { benchmark::DoNotOptimize(QXHalvarin::init()); });
    state.PauseTiming();
    needed += secondsOfNeededWork(*smc);
    state.ResumeTiming();
  }
  state.counters["ratioToNeededWork"] = made / needed;
}
BENCHMARK(createFacade)->Unit(benchmark::kMillisecond);

void listKeysOfController(benchmark::State& state) {
  installLaptop();
  const auto smc = QXSMCInterface::sharedSMC();
  for (auto _ : state) {
    benchmark::DoNotOptimize(smc->listSMCKeys());
  }
}
BENCHMARK(listKeysOfController)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace halvarin::bench
