#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "platform/Clock.h"
#include "platform/machine/Machine.h"

namespace halvarin::bench {

/// Stands between the platform's calls and another machine: waits in every transfer and adds up the
/// time that transfers take. One thread.
class TimedMachine : public platform::Machine {
 public:
  TimedMachine(std::shared_ptr<platform::Machine> behind, platform::Clock::Duration latency);

  /// The seconds spent inside transfers so far, their latency included.
  [[nodiscard]] double secondsInTransfers() const { return secondsInTransfers_; }
  [[nodiscard]] std::uint64_t transfers() const { return transfers_; }

  [[nodiscard]] bool hasService(std::string_view serviceClass) override;
  [[nodiscard]] platform::MachineStatus open(std::uint32_t type,
                                             std::uint32_t& connection) override;
  [[nodiscard]] platform::MachineStatus call(std::uint32_t connection, std::uint32_t selector,
                                             std::span<const std::uint8_t> request,
                                             std::span<std::uint8_t> reply,
                                             std::size_t& replySize) override;
  [[nodiscard]] platform::MachineStatus close(std::uint32_t connection) override;
  [[nodiscard]] Value setting(std::string_view name) override;
  [[nodiscard]] std::string powerSource() override;

 private:
  const std::shared_ptr<platform::Machine> behind_;
  const platform::Clock::Duration latency_;
  platform::ScaledClock clock_;
  double secondsInTransfers_ = 0;
  std::uint64_t transfers_ = 0;
};

}  // namespace halvarin::bench
