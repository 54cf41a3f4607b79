#include "host/fans/EndSignals.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "platform/Queue.h"

namespace halvarin::test {
namespace {

class EndSignal : public testing::TestWithParam<int> {};

TEST_P(EndSignal, IsTakenOnAThreadOfItsOwn) {
  platform::Semaphore taken(0);
  std::thread::id taker;
  const host::EndSignals signals([&] {
    taker = std::this_thread::get_id();
    taken.signal();
  });
  kill(getpid(), GetParam());
  taken.wait();
  EXPECT_NE(taker, std::this_thread::get_id());
}

TEST_P(EndSignal, IsTakenAgainAndAgain) {
  platform::Semaphore taken(0);
  const host::EndSignals signals([&] { taken.signal(); });
  for (int i = 0; i < 3; ++i) {
    kill(getpid(), GetParam());
    taken.wait();
  }
}

INSTANTIATE_TEST_SUITE_P(All, EndSignal, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST(EndSignals, CtrlCIsTakenThoughTheShellHadItIgnored) {
  std::signal(SIGINT, SIG_IGN);
  platform::Semaphore taken(0);
  const host::EndSignals signals([&] { taken.signal(); });
  kill(getpid(), SIGINT);
  taken.wait();
}

TEST(EndSignals, AHangUpThatNohupHadIgnoredStaysIgnored) {
  std::signal(SIGHUP, SIG_IGN);
  std::atomic<int> count{0};
  platform::Semaphore taken(0);
  const host::EndSignals signals([&] {
    ++count;
    taken.signal();
  });
  kill(getpid(), SIGHUP);
  kill(getpid(), SIGTERM);
  taken.wait();
  EXPECT_EQ(count, 1);
}

TEST(EndSignals, EndWithoutASignal) {
  std::atomic<int> taken{0};
  {
    const host::EndSignals signals([&] { ++taken; });
  }
  EXPECT_EQ(taken, 0);
  sigset_t blocked;
  pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  EXPECT_EQ(sigismember(&blocked, SIGINT), 0);
}

}  // namespace
}  // namespace halvarin::test
