#pragma once

#include <pthread.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>

namespace halvarin::host {

/// Takes the signals by which people and systems end a program (SIGINT, SIGTERM, SIGHUP) on one
/// waiting thread, so that what they set off may do what a signal handler may not: talk to the
/// controller. To be made before any other thread: threads made later leave these signals to it. A
/// SIGHUP that was ignored (nohup) stays ignored.
class EndSignals {
 public:
  /// `onSignal` runs on the waiting thread, once for each signal.
  explicit EndSignals(std::function<void()> onSignal);
  /// Ends the waiting; the signals end the program again.
  ~EndSignals();
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;

 private:
  void wait();

  const std::function<void()> onSignal_;
  std::atomic<bool> ended_ = false;
  sigset_t before_{};
  sigset_t taken_{};
  std::thread thread_;
};

}  // namespace halvarin::host
