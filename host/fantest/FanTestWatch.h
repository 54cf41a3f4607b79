#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "host/fans/FanView.h"
#include "host/fantest/FanTestView.h"
#include "platform/Clock.h"
#include "selftest/QXFanTestManager.h"

namespace halvarin::host {

/// What the program saw of one fan during its test.
struct FanSeen {
  std::optional<double> lowestRpm;  // absent without a reading
  std::optional<double> highestRpm;
  std::vector<std::string> csvLines;  // one for each reading
};

/// A fan of which the tests get no reading, and why.
struct UnreadFan {
  std::string name;
  UnreadKey key;
};

/// Watches the tests of a batch: what their readings say, and where they are. Refuses readings that
/// did not get all keys by which a fan is judged, so that their samples are taken again. Any
/// thread.
class FanTestWatch : public FanTestDelegate {
 public:
  struct Fan {
    std::uint32_t index = 0;
    std::string name;
    std::weak_ptr<QXFanTest> test;  // not held: whoever drops it hands its fan back
    bool wasForced = false;         // before the test, by somebody else
  };

  /// `onStateChange` gets a line whenever a test is found in another state than before; one at a
  /// time.
  FanTestWatch(std::vector<Fan> fans, std::function<void(const std::string& line)> onStateChange);

  /// Throws `Exception`, which has the sample taken again, for a reading without one of the keys.
  void updateFanProgress(const DictionaryRef& fan) override;

  /// From now on no reading is refused, for a test whose readings are does not see that it was
  /// canceled. What it is told instead is the fan's last good reading: it may command once more.
  void endRefusals() { refuses_ = false; }

  /// A fan whose readings have all been refused for ten seconds of the machine's time; several of
  /// them, for time also passes while a busy computer lets no test go on.
  [[nodiscard]] std::optional<UnreadFan> unreadFan() const;

  /// The fans in their order, as they are now.
  [[nodiscard]] std::vector<FanTestView> views() const;

  /// The samples that all tests have taken.
  [[nodiscard]] std::int64_t samples() const;

  [[nodiscard]] FanSeen seen(std::uint32_t index) const;

 private:
  struct Entry {
    FanTestView view;
    FanSeen seen;
    DictionaryRef lastGood;                    // null before it
    int refusals = 0;                          // since the last good one
    platform::Clock::Duration refusedSince{};  // when the first of them was
    UnreadKey unread;                          // of the latest refused reading
  };

  void refuse(Entry& entry, const UnreadKey& unread, Dictionary& fan) HALVARIN_REQUIRES(mutex_);

  const std::vector<Fan> fans_;
  const std::function<void(const std::string&)> onStateChange_;
  std::atomic<bool> refuses_ = true;
  mutable Mutex mutex_;
  std::map<std::uint32_t, Entry> entries_ HALVARIN_GUARDED_BY(mutex_);
};

}  // namespace halvarin::host
