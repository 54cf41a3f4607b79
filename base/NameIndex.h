#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>
#include <vector>

namespace halvarin {

/// Where, in a long list, the entry of a name is: hashes and places alone, in one run of memory. A
/// look-up touches a line of it and the entry itself, and no node in between: after a wait the
/// caches hold neither. One thread at a time.
class NameIndex {
 public:
  static constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

  /// The place of the name: the one for which `hasName(place)` holds among those whose names have
  /// its hash. `kNone` when there is none.
  template <typename HasName>
  [[nodiscard]] std::size_t find(std::string_view name, HasName hasName) const;
  /// Adds a name that is not there yet. Places are below 2^32 - 1.
  void add(std::string_view name, std::size_t place);
  void clear();
  [[nodiscard]] bool empty() const { return count_ == 0; }

 private:
  static constexpr std::uint32_t kFree = std::numeric_limits<std::uint32_t>::max();
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t place = kFree;
  };

  // FNV-1a: for names as short as a key's, a few instructions.
  [[nodiscard]] static std::uint32_t hashOf(std::string_view name) {
    std::uint32_t hash = 2166136261U;
    for (const char each : name) {
      hash = (hash ^ static_cast<unsigned char>(each)) * 16777619U;
    }
    return hash;
  }
  /// A search begins at the slot of its hash and goes on to the next until one is free.
  [[nodiscard]] std::size_t slotOf(std::size_t number) const {
    return number & (slots_.size() - 1);
  }
  void put(Slot slot);

  std::vector<Slot> slots_;  // a power of two of them, or none; at least half are free
  std::size_t count_ = 0;
};

template <typename HasName>
std::size_t NameIndex::find(std::string_view name, HasName hasName) const {
  if (empty()) {
    return kNone;
  }
  const std::uint32_t hash = hashOf(name);
  for (std::size_t at = slotOf(hash); slots_[at].place != kFree; at = slotOf(at + 1)) {
    if (slots_[at].hash == hash && hasName(slots_[at].place)) {
      return slots_[at].place;
    }
  }
  return kNone;
}

}  // namespace halvarin
