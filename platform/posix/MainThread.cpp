#include "platform/MainThread.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <deque>
#include <optional>
#include <utility>
#include <vector>

#include "base/Mutex.h"
#include "base/ScopeGuard.h"
#include "platform/posix/DetachedThread.h"
#include "platform/posix/PrivateDescriptors.h"
#include "platform/posix/SystemLoop.h"

namespace halvarin::platform {

namespace {

using Work = std::function<void()>;

// A pipe that holds one byte while work waits. It is made when somebody first asks for it, so that
// hosts without need spend no descriptors. Without it showing and clearing do nothing.
class WaitingSign {
 public:
  [[nodiscard]] int descriptor(bool waiting) {
    if (ends_[0] < 0 && openPrivatePipe(ends_) == 0 && waiting) {
      show();
    }
    return ends_[0];
  }

  void show() {
    if (ends_[1] >= 0) {
      [[maybe_unused]] const ssize_t written = ::write(ends_[1], "", 1);
    }
  }

  void clear() {
    char byte = 0;
    if (ends_[0] >= 0) {
      [[maybe_unused]] const ssize_t taken = ::read(ends_[0], &byte, 1);
    }
  }

 private:
  std::array<int, 2> ends_{-1, -1};
};

// One call of run; the loop's mutex guards it.
struct Run {
  bool stopped = false;
};

class Loop {
 public:
  void add(Work work);
  [[nodiscard]] std::size_t waiting();
  [[nodiscard]] std::optional<Work> next();
  [[nodiscard]] std::optional<Work> nextOf(const Run& run);

  void begin(Run& run);
  void end(const Run& run);
  void stop();

  [[nodiscard]] int descriptor();

  void beginCallOfSystemLoop();

 private:
  [[nodiscard]] std::optional<Work> take() HALVARIN_REQUIRES(mutex_);

  Mutex mutex_;
  Condition changed_;
  std::deque<Work> items_ HALVARIN_GUARDED_BY(mutex_);
  WaitingSign sign_ HALVARIN_GUARDED_BY(mutex_);
  std::vector<Run*> runs_ HALVARIN_GUARDED_BY(mutex_);  // the innermost is the last
  bool nextRunStopped_ HALVARIN_GUARDED_BY(mutex_) = false;
  // One call at a time: in a program that never runs the system's loop they would pile up.
  bool systemLoopWillCall_ HALVARIN_GUARDED_BY(mutex_) = false;
};

void performForSystemLoop(void* context);

void Loop::add(Work work) {
  const MutexLock lock(mutex_);
  items_.push_back(std::move(work));
  if (items_.size() == 1) {
    sign_.show();
  }
  changed_.notifyAll();
  if (!std::exchange(systemLoopWillCall_, true)) {
    callFromSystemLoop(&performForSystemLoop);
  }
}

void Loop::beginCallOfSystemLoop() {
  const MutexLock lock(mutex_);
  systemLoopWillCall_ = false;
}

std::size_t Loop::waiting() {
  const MutexLock lock(mutex_);
  return items_.size();
}

std::optional<Work> Loop::take() {
  if (items_.empty()) {
    return std::nullopt;
  }
  std::optional<Work> work(std::move(items_.front()));
  items_.pop_front();
  if (items_.empty()) {
    sign_.clear();
  }
  return work;
}

std::optional<Work> Loop::next() {
  const MutexLock lock(mutex_);
  return take();
}

// Waits for an item; none once the run is stopped.
std::optional<Work> Loop::nextOf(const Run& run) {
  const MutexLock lock(mutex_);
  while (!run.stopped && items_.empty()) {
    changed_.wait(mutex_);
  }
  return run.stopped ? std::nullopt : take();
}

void Loop::begin(Run& run) {
  const MutexLock lock(mutex_);
  runs_.push_back(&run);
  run.stopped = std::exchange(nextRunStopped_, false);
}

void Loop::end(const Run& run) {
  const MutexLock lock(mutex_);
  runs_.erase(std::remove(runs_.begin(), runs_.end(), &run), runs_.end());
}

void Loop::stop() {
  const MutexLock lock(mutex_);
  (runs_.empty() ? nextRunStopped_ : runs_.back()->stopped) = true;
  changed_.notifyAll();
}

int Loop::descriptor() {
  const MutexLock lock(mutex_);
  return sign_.descriptor(!items_.empty());
}

Loop& theLoop() {
  static auto* const loop = new Loop;  // other threads may give it work after main has ended
  return *loop;
}

// What work arrives from now on has the loop call again. A loop in C lets no exception through.
void performForSystemLoop(void* /*context*/) {
  theLoop().beginCallOfSystemLoop();
  performAsThread([] { MainThread::performPending(); });
}

}  // namespace

void MainThread::run() {
  Loop& loop = theLoop();
  Run run;
  loop.begin(run);
  const ScopeGuard end([&] { loop.end(run); });
  while (const std::optional<Work> work = loop.nextOf(run)) {
    (*work)();
  }
}

void MainThread::stop() {
  theLoop().stop();
}

void MainThread::perform(std::function<void()> work) {
  theLoop().add(std::move(work));
}

std::size_t MainThread::performPending() {
  Loop& loop = theLoop();
  const std::size_t waiting = loop.waiting();
  for (std::size_t performed = 0; performed < waiting; ++performed) {
    const std::optional<Work> work = loop.next();
    if (!work) {  // the work before it performed the rest
      return performed;
    }
    (*work)();
  }
  return waiting;
}

int MainThread::descriptor() {
  return theLoop().descriptor();
}

}  // namespace halvarin::platform
