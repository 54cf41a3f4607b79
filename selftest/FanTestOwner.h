#pragma once

#include <string_view>

#include "base/Export.h"
#include "platform/Queue.h"

namespace halvarin {

/// The key under which a fan test tells its owner that its selection changes.
inline constexpr std::string_view kSelectedFanTests = "selectedFanTests";

/// The label of the serial queue on which fans are read.
inline constexpr std::string_view kFanReadQueueLabel = "com.quorvane.readq";

/// What a fan test asks of the object that it belongs to. Called by any thread.
class HALVARIN_EXPORT FanTestOwner {
 public:
  virtual ~FanTestOwner() = default;

  /// The serial queue on which all fans are read.
  [[nodiscard]] virtual platform::Queue read_queue() const = 0;
  /// A test's fan is back under automatic control; once a run at most.
  virtual void fan_is_running() = 0;
  virtual void willChangeValueForKey(std::string_view key) = 0;
  virtual void didChangeValueForKey(std::string_view key) = 0;
};

}  // namespace halvarin
