#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

#include "platform/machine/SimulatedMachine.h"
#include "tests/support/Machines.h"

// A simulated machine on the bench: requests and answers as bytes, and a clock to move by hand.

namespace halvarin::test {

// The wire is written by hand here, so that nothing of the library explains itself.
using Wire = std::array<std::uint8_t, 80>;

inline constexpr std::uint8_t kRead = 5;
inline constexpr std::uint8_t kWrite = 6;
inline constexpr std::uint8_t kKeyByIndex = 8;
inline constexpr std::uint8_t kKeyInfo = 9;

inline constexpr auto kNoDevice = static_cast<platform::MachineStatus>(0xE00002C0);
inline constexpr auto kBadArgument = static_cast<platform::MachineStatus>(0xE00002C2);
inline constexpr platform::MachineStatus kInvalidDestination = 0x10000003;

/// Stands still until it is told to move, and sleeps by moving.
class FakeClock : public platform::Clock {
 public:
  [[nodiscard]] Duration now() override { return Duration(now_.load()); }
  void sleepFor(Duration time) override { now_ += time.count(); }
  [[nodiscard]] Duration realTime(Duration /*time*/) override { return Duration::zero(); }
  void advance(Duration time) { now_ += time.count(); }

 private:
  std::atomic<Duration::rep> now_{1'000'000'000};
};

inline Wire request(std::uint8_t command, std::string_view key, std::uint32_t size = 0,
                    const Bytes& bytes = {}) {
  Wire wire{};
  for (std::size_t i = 0; i < 4; ++i) {
    wire[i] = static_cast<std::uint8_t>(key[3 - i]);
    wire[28 + i] = static_cast<std::uint8_t>(size >> (8 * i));
  }
  wire[42] = command;
  std::copy(bytes.begin(), bytes.end(), wire.begin() + 48);
  return wire;
}

inline Wire indexRequest(std::uint32_t index) {
  Wire wire = request(kKeyByIndex, "#KEY");
  for (std::size_t i = 0; i < 4; ++i) {
    wire[44 + i] = static_cast<std::uint8_t>(index >> (8 * i));
  }
  return wire;
}

struct Answer {
  platform::MachineStatus status = 0;
  Wire wire{};
  std::size_t size = 0;

  [[nodiscard]] std::uint8_t result() const { return wire[40]; }
  [[nodiscard]] Bytes bytes(std::size_t count) const {
    return Bytes(wire.begin() + 48, wire.begin() + 48 + static_cast<std::ptrdiff_t>(count));
  }
};

inline constexpr std::uint8_t kUntouched = 0xEE;

inline Answer send(platform::Machine& machine, std::uint32_t connection, const Wire& wire) {
  Answer answer;
  answer.wire.fill(kUntouched);
  answer.size = answer.wire.size();
  answer.status = machine.call(connection, 2, wire, answer.wire, answer.size);
  return answer;
}

inline Bytes readBytes(platform::Machine& machine, std::uint32_t connection, std::string_view key,
                       std::uint32_t size) {
  const Answer answer = send(machine, connection, request(kRead, key, size));
  EXPECT_EQ(answer.status, 0) << key;
  EXPECT_EQ(answer.result(), 0) << key;
  return answer.bytes(size);
}

inline std::uint32_t opened(platform::Machine& machine) {
  std::uint32_t connection = 0;
  EXPECT_EQ(machine.open(0, connection), 0);
  return connection;
}

inline platform::RecordedMachine smallMachine() {
  platform::RecordedKey refusing = key("AC-E", "flag", {0});
  refusing.bytes.clear();
  refusing.result = 0x85;
  platform::RecordedKey failing = key("SBIG", "hex_", {0, 0});
  failing.bytes.clear();
  failing.status = kBadArgument;
  return machineWith(
      {refusing, key("F0Mn", "fpe2", {0x12, 0xC0}), failing, key("TC0P", "sp78", {0x28, 0x80})});
}

/// A small machine with an open connection and a clock that stands still.
struct Bench {
  explicit Bench(platform::Simulation simulation = {},
                 platform::RecordedMachine recorded = smallMachine()) {
    clock = std::make_shared<FakeClock>();
    simulation.clock = clock;
    machine =
        std::make_unique<platform::SimulatedMachine>(std::move(recorded), std::move(simulation));
    connection = opened(*machine);
  }

  Answer send(const Wire& wire) { return test::send(*machine, connection, wire); }
  Bytes read(std::string_view key, std::uint32_t size) {
    return readBytes(*machine, connection, key, size);
  }

  std::shared_ptr<FakeClock> clock;
  std::unique_ptr<platform::SimulatedMachine> machine;
  std::uint32_t connection = 0;
};

inline platform::RecordedMachine warmMachine() {
  return machineWith({key("TC0P", "sp78", {0x28, 0x00}), key("TC1P", "sp78", {0x28, 0x00}),
                      key("VD0R", "sp78", {0x14, 0x00})});
}

inline platform::Simulation moving() {
  platform::Simulation simulation;
  simulation.readingsMove = true;
  return simulation;
}

}  // namespace halvarin::test
