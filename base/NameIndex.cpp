#include "base/NameIndex.h"

#include <utility>

namespace halvarin {

void NameIndex::add(std::string_view name, std::size_t place) {
  if (2 * (count_ + 1) > slots_.size()) {
    constexpr std::size_t kFirstSlots = 64;
    const std::vector<Slot> former =
        std::exchange(slots_, std::vector<Slot>(slots_.empty() ? kFirstSlots : 2 * slots_.size()));
    for (const Slot& slot : former) {
      if (slot.place != kFree) {
        put(slot);
      }
    }
  }
  put({hashOf(name), static_cast<std::uint32_t>(place)});
  ++count_;
}

void NameIndex::clear() {
  slots_.clear();
  count_ = 0;
}

void NameIndex::put(Slot slot) {
  std::size_t at = slotOf(slot.hash);
  while (slots_[at].place != kFree) {
    at = slotOf(at + 1);
  }
  slots_[at] = slot;
}

}  // namespace halvarin
