#pragma once

namespace halvarin::test {

/// While one lives, the system gives this process no more threads.
class ThreadShortage {
 public:
  ThreadShortage();
  ~ThreadShortage();
  ThreadShortage(const ThreadShortage&) = delete;
  ThreadShortage& operator=(const ThreadShortage&) = delete;
};

}  // namespace halvarin::test
