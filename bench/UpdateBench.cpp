#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>
#include <vector>

#include "base/ScopeGuard.h"
#include "bench/MachineFor.h"
#include "bench/TimedMachine.h"
#include "platform/MainThread.h"
#include "platform/machine/CurrentMachine.h"
#include "sensors/QXHalvarin.h"

namespace halvarin::bench {
namespace {

using Seconds = std::chrono::duration<double>;

double median(std::vector<double>& values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// One update pass of the 900-key laptop, its notification delivered, with a latency in every
/// transfer (in microseconds): the time of a pass, and which part of it its transfers take, both of
/// the median pass, which a computer that others use too disturbs least. After each wait the
/// processor's caches belong to others, so the own work costs more than without.
void takeUpdatePass(benchmark::State& state) {
  installLaptop();
  const auto facade = QXHalvarin::sharedHalvarin();
  const auto laptop = platform::currentMachine();
  const auto timed =
      std::make_shared<TimedMachine>(laptop, std::chrono::microseconds(state.range(0)));
  platform::setMachine(timed);
  const ScopeGuard restore([&laptop] { platform::setMachine(laptop); });
  std::vector<double> passes;
  std::vector<double> ownTimes;
  std::vector<double> shares;
  for (auto _ : state) {
    const double inTransfersBefore = timed->secondsInTransfers();
    const auto start = std::chrono::steady_clock::now();
    facade->readSensors();
    platform::MainThread::performPending();
    const double seconds = Seconds(std::chrono::steady_clock::now() - start).count();
    const double inTransfers = timed->secondsInTransfers() - inTransfersBefore;
    passes.push_back(seconds);
    ownTimes.push_back(seconds - inTransfers);
    shares.push_back(inTransfers / seconds);
  }
  const double transfers =
      static_cast<double>(timed->transfers()) / static_cast<double>(state.iterations());
  state.counters["transfers"] = transfers;
  state.counters["secondsPerPass"] = median(passes);
  state.counters["ownSecondsPerTransfer"] = median(ownTimes) / transfers;
  state.counters["shareInTransfers"] = median(shares);
}
BENCHMARK(takeUpdatePass)
    ->ArgName("latencyMicroseconds")
    ->Arg(0)
    ->Arg(100)
    ->Iterations(51)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
}  // namespace halvarin::bench
