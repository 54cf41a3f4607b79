#include <benchmark/benchmark.h>

#include <array>
#include <string>

#include "sensors/LimitVerdict.h"
#include "sensors/ValueDecoder.h"
#include "smc/IntegerReading.h"

namespace halvarin::bench {
namespace {

struct TypeRow {
  const char* type;
  std::int64_t size;
};

constexpr std::array<TypeRow, 12> kTypes{{{"flt ", 4},
                                          {"sp78", 2},
                                          {"fpe2", 2},
                                          {"si16", 2},
                                          {"ui8 ", 1},
                                          {"ui16", 2},
                                          {"ui32", 4},
                                          {"ui64", 8},
                                          {"flag", 1},
                                          {"hex_", 8},
                                          {"ch8*", 32},
                                          {"ioft", 8}}};

void decodeType(benchmark::State& state) {
  const auto [type, size] = kTypes[static_cast<std::size_t>(state.range(0))];
  std::array<std::uint8_t, 32> bytes{0x33, 0x80, 0x48, 0x42, 0x01, 0x02, 0x03, 0x04};
  for (auto _ : state) {
    const std::int64_t value = smcIntegerReading(type, size, bytes);
    benchmark::DoNotOptimize(decodeReading({type, size, value, bytes}));
  }
  state.SetLabel(std::string(type) + " of " + std::to_string(size));
}
BENCHMARK(decodeType)->DenseRange(0, kTypes.size() - 1);

void judgeReading(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(isInsideLimits("51.83", "0", "110", false, true));
  }
}
BENCHMARK(judgeReading);

}  // namespace
}  // namespace halvarin::bench
