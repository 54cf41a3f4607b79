#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Clock.h"
#include "platform/machine/ControllerProtocol.h"
#include "platform/machine/linux/AppleSmcKeys.h"
#include "platform/machine/linux/SmcDriver.h"
#include "tests/support/Machines.h"
#include "tests/support/ScriptedDriver.h"
#include "tests/support/TemporaryFolder.h"

namespace halvarin::test {

/// A key that the controller does not let be read.
inline platform::RecordedKey closedKey(std::string_view code) {
  platform::RecordedKey closed = key(code, "ui8 ", {0});
  closed.bytes.clear();
  closed.result = platform::kResultNotReadable;
  return closed;
}

/// The name of one of many keys: "K007".
inline std::string numbered(std::uint32_t number) {
  const std::string digits = std::to_string(1000 + number);
  return "K" + digits.substr(1);
}

inline constexpr std::uint32_t kNumberedKeys = 200;  // with "#KEY"

/// Keys whose values are their own indices, so that a value tells whose it is.
inline platform::RecordedMachine numberedKeys() {
  std::vector<platform::RecordedKey> keys;
  for (std::uint32_t i = 1; i < kNumberedKeys; ++i) {
    keys.push_back(key(numbered(i), "ui16", {0, static_cast<std::uint8_t>(i)}));
  }
  return machineWith(keys);
}

/// A driver with the cursor of the real one, in a folder of its own. Pauses take no time.
class DriverBench {
 public:
  explicit DriverBench(const platform::RecordedMachine& machine, const DriverScript& script = {}) {
    ScriptedDriver::layOut(folder_.path(), machine, script);
    driver_ = std::make_shared<ScriptedDriver>(folder_.path());
  }

  [[nodiscard]] const std::filesystem::path& folder() const { return folder_.path(); }
  [[nodiscard]] const std::shared_ptr<ScriptedDriver>& driver() const { return driver_; }
  [[nodiscard]] platform::SmcDriver found() const {
    return platform::findSmcDriver(*driver_).value_or(platform::SmcDriver());
  }
  [[nodiscard]] std::string cursorPath() const {
    return std::string(ScriptedDriver::kDevice) + "/key_at_index";
  }
  [[nodiscard]] std::unique_ptr<platform::KeyCursor> newCursor() const {
    return std::make_unique<platform::KeyCursor>(driver_, cursorPath(),
                                                 std::make_shared<platform::ScaledClock>(0));
  }
  [[nodiscard]] std::unique_ptr<platform::AppleSmcKeys> newKeys() const {
    return std::make_unique<platform::AppleSmcKeys>(driver_, found(),
                                                    std::make_shared<platform::ScaledClock>(0));
  }

 private:
  TemporaryFolder folder_;
  std::shared_ptr<ScriptedDriver> driver_;
};

inline platform::ControllerRequest requestOf(platform::Command command, std::string_view code,
                                             std::uint32_t sizeBytes = 0, const Bytes& bytes = {}) {
  platform::ControllerRequest request;
  request.command = static_cast<std::uint8_t>(command);
  request.key = platform::fourBytes(code);
  request.sizeBytes = sizeBytes;
  std::copy(bytes.begin(), bytes.end(), request.bytes.begin());
  return request;
}

inline platform::DriverAnswer readOf(platform::DriverKeys& keys, std::string_view code,
                                     std::uint32_t sizeBytes) {
  return keys.answer(requestOf(platform::Command::read, code, sizeBytes));
}

inline platform::DriverAnswer writeOf(platform::DriverKeys& keys, std::string_view code,
                                      const Bytes& bytes) {
  return keys.answer(
      requestOf(platform::Command::write, code, static_cast<std::uint32_t>(bytes.size()), bytes));
}

inline platform::DriverAnswer infoOf(platform::DriverKeys& keys, std::string_view code) {
  return keys.answer(requestOf(platform::Command::keyInfo, code));
}

inline platform::DriverAnswer keyAt(platform::DriverKeys& keys, std::uint32_t index) {
  platform::ControllerRequest request = requestOf(platform::Command::keyByIndex, "#KEY");
  request.index = index;
  return keys.answer(request);
}

/// The first bytes of a reply.
inline Bytes bytesOf(const platform::DriverAnswer& answer, std::size_t count) {
  return {answer.reply.bytes.begin(),
          answer.reply.bytes.begin() + static_cast<std::ptrdiff_t>(count)};
}

}  // namespace halvarin::test
