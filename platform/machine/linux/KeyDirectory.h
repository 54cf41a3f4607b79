#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

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
  [[nodiscard]] int nameAt(std::uint32_t index, FourBytes& code);

  /// Finds a key by its name: at once where `nameAt` has named it, else by bisection, since the
  /// driver lists keys in the order of their bytes. Keys whose names the controller does not give
  /// are passed over. ENOKEY when there is none of that
  /// name; EIO or EBADMSG when it may be one of those.
  [[nodiscard]] int find(const FourBytes& code, Entry& entry);

  /// Whether it has found none yet.
  [[nodiscard]] bool isEmpty();

 private:
  [[nodiscard]] int nameNearMiddle(std::uint32_t low, std::uint32_t high, std::uint32_t& index,
                                   FourBytes& code);
  [[nodiscard]] int describe(std::uint32_t index, const FourBytes& code, Entry& entry);
  [[nodiscard]] bool isKnown(const FourBytes& code, Entry& entry);
  [[nodiscard]] std::optional<std::uint32_t> namedIndex(const FourBytes& code);
  [[nodiscard]] bool isNameless(std::uint32_t index);

  const std::shared_ptr<FileTree> files_;
  const std::string countPath_;
  KeyCursor& cursor_;
  Mutex mutex_;
  std::unordered_map<std::uint32_t, FourBytes> names_ HALVARIN_GUARDED_BY(mutex_);      // by index
  std::unordered_map<std::uint32_t, std::uint32_t> named_ HALVARIN_GUARDED_BY(mutex_);  // by code
  // Indices that gave no name while one beside them did, and have given none since.
  std::unordered_set<std::uint32_t> nameless_ HALVARIN_GUARDED_BY(mutex_);
  std::unordered_map<std::uint32_t, Entry> found_ HALVARIN_GUARDED_BY(mutex_);  // by code
};

}  // namespace halvarin::platform
