#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>

#include "platform/posix/PrivateDescriptors.h"

// The stand-in keeps who may not be sent a signal by the socket's number.

namespace halvarin::test {
namespace {

void sendToNobodyByTheNumberOfAQuietSocket() {
  const int quiet = platform::openPrivateSocket();
  ::close(quiet);
  std::array<int, 2> ends{-1, -1};
  if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) != 0 || ends[0] != quiet) {
    std::exit(2);
  }
  ::close(ends[1]);
  ::send(quiet, "x", 1, 0);
  std::exit(0);
}

TEST(QuietSocketDeathTest, ItsNumberIsNotQuietForTheNextSocket) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(sendToNobodyByTheNumberOfAQuietSocket(), ::testing::KilledBySignal(SIGPIPE), "");
}

}  // namespace
}  // namespace halvarin::test
