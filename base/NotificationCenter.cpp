#include "base/NotificationCenter.h"

#include <algorithm>
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
  // Destroyed after the lock is given back: what the observer holds may remove registrations too.
  Observer removed;
  const MutexLock lock(mutex_);
  const auto place = std::find_if(registrations_.begin(), registrations_.end(),
                                  [token](const auto& each) { return each.token == token; });
  if (place != registrations_.end()) {
    removed = std::move(place->observer);
    registrations_.erase(place);
  }
}

void NotificationCenter::post(const Notification& notification) {
  std::vector<Token> receivers;
  {
    const MutexLock lock(mutex_);
    for (const Registration& each : registrations_) {
      const bool senderFits = each.sender == nullptr || each.sender == notification.sender;
      if (each.name == notification.name && senderFits) {
        receivers.push_back(each.token);
      }
    }
  }
  for (const Token receiver : receivers) {
    if (const Observer observer = observerOf(receiver)) {
      observer(notification);
    }
  }
}

NotificationCenter::Observer NotificationCenter::observerOf(Token token) {
  const MutexLock lock(mutex_);
  for (const Registration& each : registrations_) {
    if (each.token == token) {
      return each.observer;
    }
  }
  return nullptr;
}

}  // namespace halvarin
