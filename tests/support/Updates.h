#pragma once

#include <poll.h>

#include <cstddef>
#include <functional>
#include <thread>
#include <vector>

#include "base/NotificationCenter.h"
#include "platform/MainThread.h"
#include "sensors/SensorUpdate.h"

namespace halvarin::test {

/// Observes the update notifications of a sender, or of any. The test's thread is the main thread.
class Updates {
 public:
  struct Received {
    DictionaryRef userInfo;
    const void* sender;
    std::thread::id thread;
  };

  explicit Updates(const void* sender = nullptr)
      : token_(NotificationCenter::defaultCenter().addObserver(
            kSensorUpdateNotify, sender,
            [this](const Notification& notification) { take(notification); })) {}
  ~Updates() { NotificationCenter::defaultCenter().removeObserver(token_); }
  Updates(const Updates&) = delete;
  Updates& operator=(const Updates&) = delete;

  [[nodiscard]] const std::vector<Received>& received() const { return received_; }

  /// Runs the main thread until so many notifications have come in all.
  void await(std::size_t count) {
    awaited_ = count;
    if (received_.size() < awaited_) {
      platform::MainThread::run();
    }
  }

 private:
  void take(const Notification& notification) {
    received_.push_back({notification.userInfo, notification.sender, std::this_thread::get_id()});
    if (received_.size() == awaited_) {
      platform::MainThread::stop();
    }
  }

  std::vector<Received> received_;
  std::size_t awaited_ = 0;
  const NotificationCenter::Token token_;
};

/// Blocks until work waits for the main thread, without performing any.
inline void awaitWaitingWork() {
  pollfd readable{platform::MainThread::descriptor(), POLLIN, 0};
  while (poll(&readable, 1, -1) != 1) {
  }
}

}  // namespace halvarin::test
