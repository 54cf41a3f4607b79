#include "bench/TimedMachine.h"

#include <utility>

namespace halvarin::bench {

TimedMachine::TimedMachine(std::shared_ptr<platform::Machine> behind,
                           platform::Clock::Duration latency)
    : behind_(std::move(behind)), latency_(latency) {}

bool TimedMachine::hasService(std::string_view serviceClass) {
  return behind_->hasService(serviceClass);
}

platform::MachineStatus TimedMachine::open(std::uint32_t type, std::uint32_t& connection) {
  return behind_->open(type, connection);
}

platform::MachineStatus TimedMachine::call(std::uint32_t connection, std::uint32_t selector,
                                           std::span<const std::uint8_t> request,
                                           std::span<std::uint8_t> reply, std::size_t& replySize) {
  const auto start = std::chrono::steady_clock::now();
  if (latency_ > platform::Clock::Duration::zero()) {
    clock_.sleepFor(latency_);
  }
  const platform::MachineStatus status =
      behind_->call(connection, selector, request, reply, replySize);
  secondsInTransfers_ +=
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  ++transfers_;
  return status;
}

platform::MachineStatus TimedMachine::close(std::uint32_t connection) {
  return behind_->close(connection);
}

Value TimedMachine::setting(std::string_view name) {
  return behind_->setting(name);
}

std::string TimedMachine::powerSource() {
  return behind_->powerSource();
}

}  // namespace halvarin::bench
