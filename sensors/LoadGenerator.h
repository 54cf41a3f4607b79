#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace halvarin {

/// The label of the concurrent queue that the work items go to.
inline constexpr std::string_view kLoadQueueLabel = "com.quorvane.cpustress";

/// How many work items that load has: one for each logical processor but one.
/// Deliberate: a count of 0 wraps to 4294967295.
[[nodiscard]] constexpr std::uint32_t loadItems(std::uint32_t logicalProcessors) {
  return logicalProcessors - 1;
}

/// Puts work on all logical processors but one: hands that many items to `dispatch`.
/// Deliberate: an item is empty and returns at once, so no lasting load is made and none has to be
/// stopped.
void dispatchLoad(std::uint32_t logicalProcessors,
                  const std::function<void(std::function<void()> item)>& dispatch);

}  // namespace halvarin
