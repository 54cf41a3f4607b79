#include "selftest/ProcessorHeater.h"

#include <sys/sysctl.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <thread>

#include "platform/Queue.h"

namespace halvarin {

namespace {

constexpr std::size_t kBrandBytes = 256;  // what is read of a processor's name
constexpr std::string_view kHeatedBrand = "Apple M";

std::atomic<bool> heaterOn{false};

// A name that cannot be read leaves zeros; one that is too long leaves its beginning, which will
// do.
bool isHeatedProcessor() {
  std::array<char, kBrandBytes> brand{};
  std::size_t length = brand.size();
  sysctlbyname("machdep.cpu.brand_string", brand.data(), &length, nullptr, 0);
  return std::string_view(brand.data(), brand.size()).starts_with(kHeatedBrand);
}

// 0 when it is not known.
std::int32_t logicalProcessors() {
  std::int32_t count = 0;
  std::size_t length = sizeof count;
  return sysctlbyname("hw.logicalcpu", &count, &length, nullptr, 0) == 0 ? count : 0;
}

void startJobs(std::int32_t count) {
  const platform::Queue queue(std::string(kHeaterQueueLabel), platform::Queue::Kind::concurrent);
  for (std::int32_t job = 0; job < count; ++job) {
    queue.async([caller = std::this_thread::get_id()] {
      // For want of another thread the caller does the work, and would be kept for good.
      if (std::this_thread::get_id() != caller) {
        heatWhileOn();
      }
    });
  }
}

}  // namespace

void loadCores(bool on) {
  if (!isHeatedProcessor()) {
    return;
  }
  if (!on) {
    heaterOn = false;
    return;
  }
  const std::int32_t processors = logicalProcessors();
  if (processors > 0) {
    heaterOn = true;
    startJobs(processors - 1);
  }
}

bool isHeaterOn() {
  return heaterOn;
}

void heatWhileOn() {
  while (heaterOn) {
    std::rand();
    std::rand();
  }
}

}  // namespace halvarin
