#include "base/NotificationCenter.h"

#include <utility>

namespace halvarin {

NotificationCenter& NotificationCenter::defaultCenter() {
  static auto* const center = new NotificationCenter;  // background passes may outlive main
  return *center;
}

NotificationCenter::Token NotificationCenter::addObserver(std::string_view name, const void* sender,
                                                          Observer observer) {
  const MutexLock lock(mutex_);
  registrations_.push_back({++lastToken_, std::string(name), sender, std::move(observer)});
  return lastToken_;
}

void NotificationCenter::removeObserver(Token token) {
  const MutexLock lock(mutex_);
  std::erase_if(registrations_, [token](const auto& each) { return each.token == token; });
}

void NotificationCenter::post(const Notification& notification) {
  std::vector<Observer> receivers;
  {
    const MutexLock lock(mutex_);
    for (const Registration& each : registrations_) {
      const bool senderFits = each.sender == nullptr || each.sender == notification.sender;
      if (each.name == notification.name && senderFits) {
        receivers.push_back(each.observer);
      }
    }
  }
  for (const Observer& receiver : receivers) {
    receiver(notification);
  }
}

}  // namespace halvarin
