#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "base/Mutex.h"
#include "platform/Clock.h"
#include "platform/machine/SimulatedMachine.h"
#include "platform/machine/remote/MachineServer.h"
#include "tests/support/BreakableMachine.h"
#include "tests/support/SocketFolder.h"

namespace halvarin::test {

/// A simulated machine that runs in the test and outlives every program that it is served to.
class ServedMachine {
 public:
  static constexpr int kFactor = 20;

  /// Its time runs that much faster; programs are told so by `words`.
  explicit ServedMachine(platform::RecordedMachine recorded, platform::Simulation simulation = {},
                         int factor = kFactor)
      : factor_(factor) {
    simulation.clock = std::make_shared<platform::ScaledClock>(factor);
    simulation.journal = [this](std::string_view line) {
      const MutexLock lock(mutex_);
      journal_.emplace_back(line);
    };
    machine_ =
        std::make_shared<platform::SimulatedMachine>(std::move(recorded), std::move(simulation));
    breakable_ = std::make_shared<BreakableMachine>(machine_);
    auto served = platform::MachineServer::serve(breakable_, folder_.path());
    server_ = std::get<std::unique_ptr<platform::MachineServer>>(std::move(served));
  }

  /// To make its keys fail for the programs that take it.
  [[nodiscard]] BreakableMachine& breakable() { return *breakable_; }

  /// The words of a command line that takes this machine.
  [[nodiscard]] std::vector<std::string> words(std::vector<std::string> command) const {
    std::vector<std::string> all{"--machine", "socket:" + folder_.path(), "--clock",
                                 std::to_string(factor_)};
    all.insert(all.end(), command.begin(), command.end());
    return all;
  }

  /// The lines of all writes so far, without the number of their connection.
  [[nodiscard]] std::vector<std::string> writes() { return linesWith("write "); }
  /// How often a key was read so far.
  [[nodiscard]] std::size_t readCount(const std::string& key) {
    return linesWith("read " + key).size();
  }

  /// The number that the first bytes of a key hold, high byte first; 0 for a key that is missing.
  [[nodiscard]] std::uint32_t number(std::string_view key, std::uint8_t size) {
    return transfer(key, size, 5, 0);
  }
  /// Writes a key as another program would.
  void write(std::string_view key, std::uint8_t size, std::uint8_t lowByte) {
    static_cast<void>(transfer(key, size, 6, lowByte));
  }

 private:
  /// The part of each journal line that begins with a text.
  std::vector<std::string> linesWith(const std::string& text) {
    const MutexLock lock(mutex_);
    std::vector<std::string> lines;
    for (const std::string& line : journal_) {
      if (const auto place = line.find(text); place != std::string::npos) {
        lines.push_back(line.substr(place));
      }
    }
    return lines;
  }

  std::uint32_t transfer(std::string_view key, std::uint8_t size, std::uint8_t command,
                         std::uint8_t lowByte) {
    std::array<std::uint8_t, 80> request{};
    std::array<std::uint8_t, 80> reply{};
    for (std::size_t i = 0; i < 4; ++i) {
      request[i] = static_cast<std::uint8_t>(key[3 - i]);
    }
    request[28] = size;
    request[42] = command;
    request[47U + size] = lowByte;
    std::uint32_t connection = 0;
    std::size_t replySize = reply.size();
    static_cast<void>(machine_->open(0, connection));
    static_cast<void>(machine_->call(connection, 2, request, reply, replySize));
    static_cast<void>(machine_->close(connection));
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < size; ++i) {
      number = (number << 8U) | reply[48 + i];
    }
    return number;
  }

  const int factor_;
  const SocketFolder folder_;
  Mutex mutex_;
  std::vector<std::string> journal_ HALVARIN_GUARDED_BY(mutex_);
  std::shared_ptr<platform::SimulatedMachine> machine_;
  std::shared_ptr<BreakableMachine> breakable_;
  std::unique_ptr<platform::MachineServer> server_;  // last: it uses the machine until it ends
};

}  // namespace halvarin::test
