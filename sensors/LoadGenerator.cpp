#include "sensors/LoadGenerator.h"

namespace halvarin {

void dispatchLoad(std::uint32_t logicalProcessors,
                  const std::function<void(std::function<void()> item)>& dispatch) {
  for (std::uint32_t left = loadItems(logicalProcessors); left > 0; --left) {
    dispatch([] {});
  }
}

}  // namespace halvarin
