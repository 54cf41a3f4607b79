#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "base/Mutex.h"
#include "platform/machine/MachineFile.h"
#include "platform/machine/linux/FileTree.h"
#include "platform/machine/linux/KeyCursor.h"

namespace halvarin::platform {

/// Where the driver's keys are. What was found once is kept for good: a controller's keys neither
/// move nor change while it runs. Errors are the system's. Any thread.
class KeyDirectory {
 public:
  struct Entry {
    std::uint32_t index = 0;
    KeyFacts facts;
  };

  /// `countPath` is the driver's file with the number of keys; "" when it has none.
  KeyDirectory(std::shared_ptr<FileTree> files, std::string countPath, KeyCursor& cursor);

  /// EBADMSG for a number that no controller has.
  [[nodiscard]] int count(std::uint32_t& keys);

  /// EINVAL for an index that the driver does not have.
  [[nodiscard]] int at(std::uint32_t index, KeyFacts& facts);

  /// Finds a key by its name, by bisection: the driver lists keys in the order of their bytes.
  /// ENOKEY when there is none of that name.
  [[nodiscard]] int find(const FourBytes& code, Entry& entry);

 private:
  [[nodiscard]] std::optional<KeyFacts> known(std::uint32_t index);
  [[nodiscard]] bool isKnown(const FourBytes& code, Entry& entry);
  void keep(std::uint32_t index, const KeyFacts& facts);

  const std::shared_ptr<FileTree> files_;
  const std::string countPath_;
  KeyCursor& cursor_;
  Mutex mutex_;
  std::unordered_map<std::uint32_t, KeyFacts> byIndex_ HALVARIN_GUARDED_BY(mutex_);
  std::unordered_map<std::uint32_t, std::uint32_t> indices_ HALVARIN_GUARDED_BY(mutex_);  // by code
};

}  // namespace halvarin::platform
