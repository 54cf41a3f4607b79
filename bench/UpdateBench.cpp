#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>

#include "base/ScopeGuard.h"
#include "bench/MachineFor.h"
#include "bench/TimedMachine.h"
#include "platform/MainThread.h"
#include "platform/machine/CurrentMachine.h"
#include "sensors/QXHalvarin.h"

namespace halvarin::bench {
namespace {

using Seconds = std::chrono::duration<double>;

/// One update pass of the 900-key laptop, its notification delivered, with a latency in every
/// transfer (in microseconds): the time of a pass, and which part of it its transfers take. After
/// each wait the processor's caches belong to others, so the own work costs more than without.
void takeUpdatePass(benchmark::State& state) {
  installLaptop();
  const auto facade = QXHalvarin::sharedHalvarin();
  const auto laptop = platform::currentMachine();
  const auto timed =
      std::make_shared<TimedMachine>(laptop, std::chrono::microseconds(state.range(0)));
  platform::setMachine(timed);
  const ScopeGuard restore([&laptop] { platform::setMachine(laptop); });
  double seconds = 0;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    facade->readSensors();
    platform::MainThread::performPending();
    seconds += Seconds(std::chrono::steady_clock::now() - start).count();
  }
  const auto passes = static_cast<double>(state.iterations());
  state.counters["transfers"] = static_cast<double>(timed->transfers()) / passes;
  state.counters["secondsPerPass"] = seconds / passes;
  const double transfers = static_cast<double>(timed->transfers());
  state.counters["ownSecondsPerTransfer"] = (seconds - timed->secondsInTransfers()) / transfers;
  state.counters["shareInTransfers"] = timed->secondsInTransfers() / seconds;
}
BENCHMARK(takeUpdatePass)
    ->ArgName("latencyMicroseconds")
    ->Arg(0)
    ->Arg(100)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
}  // namespace halvarin::bench
