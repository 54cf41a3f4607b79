#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "host/fantest/FanTestView.h"
#include "selftest/QXFanTestManager.h"

namespace halvarin::host {

/// What the program saw of one fan during its test.
struct FanSeen {
  std::optional<double> lowestRpm;  // absent without a reading
  std::optional<double> highestRpm;
  std::vector<std::string> csvLines;  // one for each reading
};

/// Watches the tests of a batch: what their readings say, and where they are. Any thread.
class FanTestWatch : public FanTestDelegate {
 public:
  struct Fan {
    std::uint32_t index = 0;
    std::string name;
    std::weak_ptr<QXFanTest> test;  // not held: whoever drops it hands its fan back
  };

  /// `onStateChange` gets a line whenever a test is found in another state than before; one at a
  /// time.
  FanTestWatch(std::vector<Fan> fans, std::function<void(const std::string& line)> onStateChange);

  void updateFanProgress(const DictionaryRef& fan) override;

  /// The fans in their order, as they are now.
  [[nodiscard]] std::vector<FanTestView> views() const;

  /// The samples that all tests have taken.
  [[nodiscard]] std::int64_t samples() const;

  [[nodiscard]] FanSeen seen(std::uint32_t index) const;

 private:
  struct Entry {
    FanTestView view;
    FanSeen seen;
  };

  const std::vector<Fan> fans_;
  const std::function<void(const std::string&)> onStateChange_;
  mutable Mutex mutex_;
  std::map<std::uint32_t, Entry> entries_ HALVARIN_GUARDED_BY(mutex_);
};

}  // namespace halvarin::host
