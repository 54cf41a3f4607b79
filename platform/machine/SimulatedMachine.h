#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "base/Export.h"
#include "base/Mutex.h"
#include "platform/Clock.h"
#include "platform/machine/ControllerProtocol.h"
#include "platform/machine/KeyTable.h"
#include "platform/machine/Machine.h"
#include "platform/machine/MachineFile.h"
#include "platform/machine/fans/FanModel.h"

namespace halvarin::platform {

class SimulatedFans;

/// Transfers that fail with a status of the platform: those that fit in key, command and number.
struct TransferFault {
  std::optional<FourBytes> key;         // absent: any
  std::optional<std::uint8_t> command;  // absent: any
  std::uint64_t firstCall = 1;          // counted from 1 over all transfers of the machine
  std::uint64_t lastCall = std::numeric_limits<std::uint64_t>::max();
  MachineStatus status = 0;
};

/// How a simulated machine differs from a healthy, infinitely fast one that stands still.
struct Simulation {
  std::shared_ptr<Clock> clock;              // null: the computer's own
  Clock::Duration latency{0};                // waited in every transfer
  std::vector<TransferFault> faults;         // the first that fits counts
  std::optional<std::uint64_t> vanishAfter;  // transfers until the service goes away
  bool readingsMove = false;                 // temperatures, currents and powers swing in time
  std::vector<FanFault> fanFaults;  // of fans that simulatedFans() names; others are ignored
  /// Receives a line for every open, every call that carries a whole record, and every close, in
  /// their order; must not call the machine.
  std::function<void(std::string_view line)> journal;
};

/// A machine made of a key table: it speaks the controller's 80-byte protocol for the commands 5,
/// 6, 8 and 9 and answers the platform's settings. Its fans turn and obey their keys, by the clock.
/// Any thread.
class HALVARIN_EXPORT SimulatedMachine : public Machine {
 public:
  explicit SimulatedMachine(RecordedMachine machine, Simulation simulation = {});
  ~SimulatedMachine() override;
  SimulatedMachine(const SimulatedMachine&) = delete;
  SimulatedMachine& operator=(const SimulatedMachine&) = delete;

  /// Makes a key read the value of its type that is nearest to `number`, from now on. False, and
  /// nothing changed, when there is no such key or no reading of its type is a number.
  [[nodiscard]] bool setReading(std::string_view key, double number);

  /// The transfers so far, failed ones included.
  [[nodiscard]] std::uint64_t transferCount();

  [[nodiscard]] bool hasService(std::string_view serviceClass) override;
  [[nodiscard]] MachineStatus open(std::uint32_t type, std::uint32_t& connection) override;
  [[nodiscard]] MachineStatus call(std::uint32_t connection, std::uint32_t selector,
                                   std::span<const std::uint8_t> request,
                                   std::span<std::uint8_t> reply, std::size_t& replySize) override;
  [[nodiscard]] MachineStatus close(std::uint32_t connection) override;
  [[nodiscard]] Value setting(std::string_view name) override;
  [[nodiscard]] std::string powerSource() override;

 private:
  [[nodiscard]] bool isGone() const HALVARIN_REQUIRES(mutex_);
  [[nodiscard]] MachineStatus faultFor(const ControllerRequest& request) HALVARIN_REQUIRES(mutex_);
  [[nodiscard]] Clock::Duration age() const { return simulation_.clock->now() - start_; }
  [[nodiscard]] ControllerReply answer(const ControllerRequest& request) HALVARIN_REQUIRES(mutex_);
  [[nodiscard]] ControllerReply read(const ControllerRequest& request) HALVARIN_REQUIRES(mutex_);
  [[nodiscard]] ControllerReply write(const ControllerRequest& request) HALVARIN_REQUIRES(mutex_);
  void note(std::string_view line) HALVARIN_REQUIRES(mutex_);

  const std::string model_;
  const std::string processor_;
  const std::uint32_t logicalProcessors_;
  const std::string powerSource_;
  const Simulation simulation_;
  const Clock::Duration start_;
  Mutex mutex_;
  KeyTable keys_ HALVARIN_GUARDED_BY(mutex_);
  const std::unique_ptr<SimulatedFans> fans_ HALVARIN_GUARDED_BY(mutex_);
  std::unordered_set<std::uint32_t> connections_ HALVARIN_GUARDED_BY(mutex_);
  std::uint32_t lastConnection_ HALVARIN_GUARDED_BY(mutex_) = 0;
  std::uint64_t transfers_ HALVARIN_GUARDED_BY(mutex_) = 0;
};

}  // namespace halvarin::platform
