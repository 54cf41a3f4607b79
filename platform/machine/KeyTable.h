#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
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

 private:
  [[nodiscard]] ControllerReply read(const ControllerRequest& request);
  [[nodiscard]] ControllerReply write(const ControllerRequest& request);
  [[nodiscard]] ControllerReply keyByIndex(std::uint32_t index) const;
  [[nodiscard]] ControllerReply keyInfo(const FourBytes& code);

  std::vector<RecordedKey> keys_;
  RecordedKey countKey_;
  std::unordered_map<std::uint32_t, std::size_t> places_;
};

}  // namespace halvarin::platform
