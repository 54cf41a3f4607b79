#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <thread>
#include <unordered_map>

namespace halvarin::platform {

/// The fans' force bits as a writer of them has read them. A thread reads them, changes one and
/// writes all, while another of the same program may read others; so each goes by what it has read
/// itself. One whose own reading failed, or is forgotten, goes by what the program has read last,
/// which may be newer than what it writes. Then bits that others have handed back since seem to be
/// set by it: where it hands back itself none is forced for that, where it forces one they are.
/// Not thread-safe.
class KnownForceBits {
 public:
  /// The calling thread has read them.
  void read(std::uint32_t bits) {
    if (ownReadings_.size() >= kMostReadings) {
      ownReadings_.clear();
    }
    ownReadings_[std::this_thread::get_id()] = bits;
    lastReading_ = bits;
  }

  void readFailed() { ownReadings_.erase(std::this_thread::get_id()); }

  /// What the calling thread goes by; absent where nothing was read yet.
  [[nodiscard]] std::optional<std::uint32_t> before() const {
    const auto own = ownReadings_.find(std::this_thread::get_id());
    return own == ownReadings_.end() ? lastReading_ : own->second;
  }

  /// The calling thread has written them, or failed to: that may have been done all the same. What
  /// is forced has to be handed back when that is asked for without another reading; what is handed
  /// back must not be forced again by that. So only a reading takes bits away, that of any thread.
  void written(std::uint32_t bits) {
    if (lastReading_) {
      lastReading_ = *before() | *lastReading_ | bits;
    }
    ownReadings_.erase(std::this_thread::get_id());
  }

 private:
  // Of threads that have read and not written. Far more than there are at a time: those that have
  // ended are forgotten with the rest.
  static constexpr std::size_t kMostReadings = 64;

  std::unordered_map<std::thread::id, std::uint32_t> ownReadings_;
  std::optional<std::uint32_t> lastReading_;
};

}  // namespace halvarin::platform
