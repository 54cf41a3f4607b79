#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/machine/ControllerProtocol.h"
#include "platform/machine/MachineFile.h"

namespace halvarin::platform {

/// The keys of a simulated controller and its answers to the four commands. Not thread-safe: its
/// machine guards it.
class KeyTable {
 public:
  /// A table without "#KEY" answers to that name all the same, with its number of keys: without an
  /// answer to it nothing could be listed.
  explicit KeyTable(std::vector<RecordedKey> keys);

  [[nodiscard]] ControllerReply answer(const ControllerRequest& request);

  /// The key of a name; null when there is none.
  [[nodiscard]] RecordedKey* find(const FourBytes& code);

  /// The keys in index order, at places that do not change.
  [[nodiscard]] const std::vector<RecordedKey>& keys() const { return keys_; }

  /// Makes a key hold what it reads now: time and the machine's own controller leave it alone. A
  /// write changes it all the same.
  void hold(const FourBytes& code);
  [[nodiscard]] bool isHeld(const FourBytes& code) const;

 private:
  [[nodiscard]] ControllerReply read(const ControllerRequest& request);
  [[nodiscard]] ControllerReply write(const ControllerRequest& request);
  [[nodiscard]] ControllerReply keyByIndex(std::uint32_t index) const;
  [[nodiscard]] ControllerReply keyInfo(const FourBytes& code);

  std::vector<RecordedKey> keys_;
  RecordedKey countKey_;
  std::unordered_map<std::uint32_t, std::size_t> places_;
  std::unordered_set<std::uint32_t> held_;
};

}  // namespace halvarin::platform
