#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>

#include "base/Mutex.h"
#include "platform/Clock.h"
#include "platform/machine/linux/DriverKeys.h"
#include "platform/machine/linux/FanFiles.h"
#include "platform/machine/linux/FanKeyName.h"
#include "platform/machine/linux/FileTree.h"
#include "platform/machine/linux/KeyCursor.h"
#include "platform/machine/linux/KeyDirectory.h"
#include "platform/machine/linux/KnownForceBits.h"
#include "platform/machine/linux/SmcDriver.h"

namespace halvarin::platform {

/// The keys of an Intel Mac through the driver "applesmc": all of them can be read, those by which
/// fans are commanded can be written.
class AppleSmcKeys : public DriverKeys {
 public:
  AppleSmcKeys(std::shared_ptr<FileTree> files, const SmcDriver& driver,
               std::shared_ptr<Clock> clock);

  [[nodiscard]] bool isPresent() override;
  [[nodiscard]] MachineStatus access() override;

 private:
  [[nodiscard]] DriverAnswer keyByIndex(std::uint32_t index) override;
  [[nodiscard]] DriverAnswer keyInfo(const FourBytes& code) override;
  [[nodiscard]] DriverAnswer read(const ControllerRequest& request) override;
  [[nodiscard]] DriverAnswer readKey(const ControllerRequest& request);
  [[nodiscard]] DriverAnswer readCount(std::uint32_t sizeBytes);
  [[nodiscard]] DriverAnswer readEntry(const KeyDirectory::Entry& entry);
  [[nodiscard]] int readFromFanFiles(const KeyFacts& facts, std::string& bytes) const;
  [[nodiscard]] DriverAnswer afterNoValue(const KeyDirectory::Entry& entry);
  [[nodiscard]] DriverAnswer write(const ControllerRequest& request) override;
  [[nodiscard]] DriverAnswer writeFan(FanFiles& fans, const FanKeyName& name, const KeyFacts& facts,
                                      const ControllerRequest& request);
  [[nodiscard]] DriverAnswer writeSpeed(FanFiles& fans, const FanKeyName& name,
                                        const KeyFacts& facts, const ControllerRequest& request);
  [[nodiscard]] DriverAnswer writeForceBits(FanFiles& fans, std::uint32_t bits);
  void keepForceBits(const DriverAnswer& answer);
  [[nodiscard]] bool isRefused(const FourBytes& code);
  [[nodiscard]] bool anotherAnswers(const FourBytes& code);

  const std::shared_ptr<FileTree> files_;
  const SmcDriver driver_;
  KeyCursor cursor_;
  KeyDirectory directory_;
  Mutex mutex_;
  std::unordered_set<std::uint32_t> refused_ HALVARIN_GUARDED_BY(mutex_);   // by code
  std::unordered_set<std::uint32_t> answered_ HALVARIN_GUARDED_BY(mutex_);  // by code
  // The last key whose value the cursor gave: whether the controller answers is asked of it.
  std::optional<KeyDirectory::Entry> last_ HALVARIN_GUARDED_BY(mutex_);
  KnownForceBits forceBits_ HALVARIN_GUARDED_BY(mutex_);
};

}  // namespace halvarin::platform
