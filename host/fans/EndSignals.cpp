#include "host/fans/EndSignals.h"

#include <utility>

namespace halvarin::host {

EndSignals::EndSignals(std::function<void()> onSignal) : onSignal_(std::move(onSignal)) {
  sigemptyset(&taken_);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    // A shell that starts a program in the background may have had it ignore Ctrl-C.
    const bool wasIgnored = std::signal(signal, SIG_DFL) == SIG_IGN;
    if (wasIgnored && signal == SIGHUP) {
      std::signal(signal, SIG_IGN);  // nohup: it shall outlive its terminal
    } else {
      sigaddset(&taken_, signal);
    }
  }
  pthread_sigmask(SIG_BLOCK, &taken_, &before_);
  thread_ = std::thread([this] { wait(); });
}

EndSignals::~EndSignals() {
  ended_ = true;
  pthread_kill(thread_.native_handle(), SIGINT);  // one of those it waits for
  thread_.join();
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

void EndSignals::wait() {
  for (int signal = 0; sigwait(&taken_, &signal) == 0 && !ended_;) {
    onSignal_();
  }
}

}  // namespace halvarin::host
