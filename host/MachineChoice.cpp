#include "host/MachineChoice.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <utility>
#include <variant>

#include "base/NumberText.h"
#include "base/PrintableText.h"
#include "host/Exit.h"
#include "platform/Clock.h"
#include "platform/PowerSource.h"
#include "platform/machine/CurrentMachine.h"
#include "platform/machine/MachineFile.h"
#include "platform/machine/MachineSource.h"
#include "platform/machine/SimulatedMachine.h"
#include "platform/machine/fans/FanKeys.h"

namespace halvarin::host {

namespace {

constexpr std::size_t kMostModelCharacters = 24;  // what the platform's call carries

/// What was to be had; ends the program when it could not.
template <typename Wanted>
Wanted available(std::variant<Wanted, std::string> wanted) {
  if (const auto* fault = std::get_if<std::string>(&wanted)) {
    throw ExitError(Exit::noMachine, *fault);
  }
  return std::get<Wanted>(std::move(wanted));
}

platform::RecordedMachine machineToSimulate(const MachineOption& option) {
  auto machine = available(platform::recordedMachine(option));
  if (machine.model.size() > kMostModelCharacters) {
    std::cerr << "halvarin: the model \"" << printable(machine.model) << "\" has more than "
              << kMostModelCharacters
              << " characters and reads as none; add a line \"Model: ...\" to " << option.path
              << "\n";
  }
  return machine;
}

std::function<void(std::string_view)> journalTo(const std::string& path) {
  if (path.empty()) {
    return nullptr;
  }
  auto file = std::make_shared<std::ofstream>(path, std::ios::trunc);
  if (!*file) {
    throw ExitError(Exit::usage,
                    "the journal " + path + " cannot be written: " + std::strerror(errno));
  }
  return [file, path](std::string_view line) {
    const bool wasGood = file->good();
    *file << line << std::endl;
    if (wasGood && !file->good()) {
      std::cerr << "halvarin: the journal " << path << " cannot be written any further\n";
    }
  };
}

/// Sorts the faults into those that the machine starts with and readings to be set on it.
std::vector<ReadingFault> takeFaults(const Options& options, platform::Simulation& simulation) {
  std::vector<ReadingFault> readings;
  for (const FaultOption& fault : options.faults) {
    if (const auto* reading = std::get_if<ReadingFault>(&fault)) {
      readings.push_back(*reading);
    } else if (const auto* status = std::get_if<StatusFault>(&fault)) {
      for (const platform::Command command : {platform::Command::read, platform::Command::write}) {
        platform::TransferFault transfer;
        transfer.key = platform::fourBytes(status->key);
        transfer.command = static_cast<std::uint8_t>(command);
        transfer.status = status->status;
        simulation.faults.push_back(transfer);
      }
    } else if (const auto* fan = std::get_if<platform::FanFault>(&fault)) {
      simulation.fanFaults.push_back(*fan);
    } else {
      simulation.vanishAfter = std::get<VanishFault>(fault).transfers;
    }
  }
  return readings;
}

constexpr const char* kCountKey = "#KEY";
constexpr double kMostListedKeys =
    65536;  // listing takes transfers for each; more would take hours

std::string keyOf(const FaultOption& fault) {
  if (const auto* reading = std::get_if<ReadingFault>(&fault)) {
    return reading->key;
  }
  const auto* status = std::get_if<StatusFault>(&fault);
  return status != nullptr ? status->key : std::string();
}

void checkFan(const platform::RecordedMachine& machine, std::uint32_t fan) {
  const std::vector<std::uint32_t> fans = platform::simulatedFans(machine.keys);
  if (std::find(fans.begin(), fans.end(), fan) != fans.end()) {
    return;
  }
  std::string listed;
  for (const std::uint32_t each : fans) {
    listed += (listed.empty() ? "; its fans are: " : ", ") + std::to_string(each);
  }
  throw ExitError(Exit::usage, "--fault: this machine has no fan " + std::to_string(fan) + listed);
}

void checkFault(const platform::RecordedMachine& machine, const FaultOption& fault) {
  if (const auto* fan = std::get_if<platform::FanFault>(&fault)) {
    checkFan(machine, fan->fan);
  }
  const std::string key = keyOf(fault);
  const bool known = std::any_of(
      machine.keys.begin(), machine.keys.end(),
      [&](const platform::RecordedKey& each) { return each.code == platform::fourBytes(key); });
  // Every machine answers to the name of the count.
  if (!known && !key.empty() && key != kCountKey) {
    throw ExitError(Exit::usage, "--fault: this machine has no key \"" + key + "\"");
  }
  const auto* reading = std::get_if<ReadingFault>(&fault);
  if (reading != nullptr && key == kCountKey && !(reading->number <= kMostListedKeys)) {
    throw ExitError(Exit::usage, "--fault: #KEY counts the keys and can be 65536 at most");
  }
}

}  // namespace

void chooseMachine(const Options& options) {
  if (options.machine.kind == MachineOption::Kind::thisComputer) {
    return;
  }
  if (!platform::machineMayBeChosen()) {
    throw ExitError(Exit::usage,
                    "--machine: here the program works on this computer alone; simulated, recorded "
                    "and served machines need another system than macOS");
  }
  if (options.machine.kind == MachineOption::Kind::socket) {
    platform::setMachine(available(platform::openMachine(options.machine)),
                         std::make_shared<platform::ScaledClock>(options.clockFactor));
    return;
  }
  platform::RecordedMachine recorded = machineToSimulate(options.machine);
  for (const FaultOption& fault : options.faults) {
    checkFault(recorded, fault);
  }
  platform::Simulation simulation;
  const auto clock = std::make_shared<platform::ScaledClock>(options.clockFactor);
  simulation.clock = clock;
  simulation.latency = options.latency;
  simulation.readingsMove = options.machine.kind == MachineOption::Kind::simulated;
  simulation.journal = journalTo(options.journalPath);
  const std::vector<ReadingFault> readings = takeFaults(options, simulation);
  auto machine =
      std::make_shared<platform::SimulatedMachine>(std::move(recorded), std::move(simulation));
  for (const ReadingFault& reading : readings) {
    if (!machine->setReading(reading.key, reading.number)) {
      throw ExitError(Exit::usage,
                      "--fault: the type of the key \"" + reading.key + "\" holds no number");
    }
  }
  platform::setMachine(std::move(machine), clock);
}

MachineHeading machineHeading(const Options& options, const std::string& model) {
  constexpr const char* kKinds[] = {"this", "simulated", "file", "simulated"};  // by Kind
  return {kKinds[static_cast<int>(options.machine.kind)], model,
          platform::providingPowerSourceType()};
}

std::string headingLine(const MachineHeading& heading) {
  std::string line = "Machine: " + (heading.model.empty() ? "unknown model" : heading.model);
  if (heading.kind != "this") {
    line += heading.kind == "file" ? " (recorded)" : " (simulated)";
  }
  return heading.powerSource.empty() ? line : line + ", " + heading.powerSource;
}

void refuseWithoutController(const Options& options) {
  if (options.machine.kind == MachineOption::Kind::thisComputer) {
    const char* const others =
        "; --machine simulated shows a simulated one, --machine file:PATH a recorded one";
    throw ExitError(
        Exit::noMachine,
        std::string("this computer has no System Management Controller that can be used") +
            (platform::machineMayBeChosen() ? others : ""));
  }
  throw ExitError(Exit::noMachine, "the machine's controller has gone away");
}

void refuseUnopened(const Options& options, std::int32_t status) {
  if (exitFor(status) == Exit::notPermitted) {
    throw ExitError(Exit::notPermitted,
                    std::string("the controller's keys cannot be read: not permitted; run it as ") +
                        (platform::machineMayBeChosen()
                             ? "root, or let others use the controller (docs/platforms.md says how)"
                             : "root and outside a sandbox"));
  }
  if (exitFor(status) == Exit::noMachine) {
    refuseWithoutController(options);
  }
  throw ExitError(Exit::ownFailure, "the controller cannot be opened (status " +
                                        hexText(static_cast<std::uint32_t>(status)) +
                                        "); try again: another program may be using it "
                                        "(docs/platforms.md says what else it may be)");
}

}  // namespace halvarin::host
