#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "base/Mutex.h"
#include "platform/machine/linux/DriverKeys.h"
#include "platform/machine/linux/FanKeyName.h"
#include "platform/machine/linux/FileTree.h"
#include "platform/machine/linux/SmcDriver.h"

namespace halvarin::platform {

/// The keys of a Mac with Apple silicon, made up from what its driver shows. The driver passes no
/// keys on, but the device tree says which key stands behind each of its readings. Those become
/// keys of their own names with floats in the usual units; the fans' mode keys are this class's
/// own, for the driver has none.
class HwmonKeys : public DriverKeys {
 public:
  HwmonKeys(std::shared_ptr<FileTree> files, SmcDriver driver);

  [[nodiscard]] bool isPresent() override;
  [[nodiscard]] MachineStatus access() override;

 private:
  struct Key {
    enum class Kind { count, fanCount, reading, mode };
    Kind kind = Kind::reading;
    std::string file;         // the name of a reading's; of the target's for a mode
    double unitsPerStep = 1;  // what 1 in the file is worth
    [[nodiscard]] std::uint32_t sizeBytes() const;
    [[nodiscard]] FourBytes type() const;
  };
  // A fan is forced in two steps: the mode announces it, the target does it.
  enum class Order { none, announced, given };

  void addReadings(const std::string& nodes);
  void addReading(const std::string& nodeFolder);
  void addFan(const FanKeyName& name, std::uint32_t number);
  void addFile(const FourBytes& code, const std::string& file, double unitsPerStep);

  [[nodiscard]] DriverAnswer keyByIndex(std::uint32_t index) override;
  [[nodiscard]] DriverAnswer keyInfo(const FourBytes& code) override;
  [[nodiscard]] DriverAnswer read(const ControllerRequest& request) override;
  [[nodiscard]] int findFile(const Key& key, std::string& path) const;
  [[nodiscard]] DriverAnswer readFile(const Key& key) const;
  [[nodiscard]] DriverAnswer write(const ControllerRequest& request) override;
  [[nodiscard]] DriverAnswer writeMode(const FanKeyName& name, const std::string& target,
                                       std::uint8_t mode);
  [[nodiscard]] DriverAnswer handBack(const FanKeyName& name, const std::string& target);
  [[nodiscard]] bool hasNoTarget(const std::string& target) const;
  [[nodiscard]] DriverAnswer writeTarget(const FanKeyName& name, const std::string& target,
                                         const ControllerRequest& request);
  [[nodiscard]] int setTarget(const std::string& target, int rpm) const;
  [[nodiscard]] const Key* find(const FourBytes& code) const;
  [[nodiscard]] std::uint8_t fanCount() const;

  const std::shared_ptr<FileTree> files_;
  const SmcDriver driver_;
  std::map<FourBytes, Key> keys_;  // in the order of their bytes, as a controller lists them
  Mutex mutex_;
  std::array<Order, 16> orders_ HALVARIN_GUARDED_BY(mutex_){};  // by fan
};

}  // namespace halvarin::platform
