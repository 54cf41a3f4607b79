#pragma once

#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

#include "platform/machine/KeyTable.h"

namespace halvarin::platform {

/// Who commands the fans, by the keys that decide it: a fan's mode key ("F0Md", else "F0md"), the
/// force bits "FS! ", and the test flag "Ftst", without which a machine that has it forces nothing.
/// Not thread-safe: its machine guards it. Lives no longer than the table.
class FanForce {
 public:
  FanForce(KeyTable& keys, std::span<const std::uint32_t> fans);

  [[nodiscard]] bool isForced(std::uint32_t fan) const;

  /// To be called when a host has written a key: takes back what the controller acknowledges
  /// without doing it, and drops every force when the test flag became 0. `before` is what the key
  /// held.
  void keyWritten(RecordedKey& key, const std::vector<std::uint8_t>& before);

  /// To be called when a key's reading was set from outside: drops every force when that was the
  /// test flag and it became 0.
  void keySet(const RecordedKey& key, const std::vector<std::uint8_t>& before);

 private:
  [[nodiscard]] bool mayForce() const;
  [[nodiscard]] bool isMode(const RecordedKey& key) const;
  void dropAll();

  KeyTable& keys_;
  RecordedKey* bits_;                                      // null: the machine has no "FS! "
  RecordedKey* test_;                                      // null: it has no "Ftst"
  std::unordered_map<std::uint32_t, RecordedKey*> modes_;  // by fan, for those that have one
};

}  // namespace halvarin::platform
