#include "platform/machine/remote/SocketAddress.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <utility>

#include "tests/support/SocketFolder.h"

namespace halvarin::test {

namespace {

using platform::newStreamSocket;
using platform::ScopedDescriptor;
using platform::SocketAddress;

std::string faultOf(const std::string& path) {
  const auto address = SocketAddress::of(path);
  const auto* fault = std::get_if<std::string>(&address);
  return fault != nullptr ? *fault : "";
}

TEST(SocketAddress, PathHasAtMost107Bytes) {
  EXPECT_EQ(faultOf(std::string(107, 'p')), "");
  EXPECT_EQ(faultOf(std::string(108, 'p')),
            "the path of a socket has at most 107 bytes, this one has 108");
}

TEST(SocketAddress, LongestPathIsNotCut) {
  const SocketFolder folder;
  const std::string front = folder.path("");
  const std::string path = front + std::string(107 - front.size(), 'x');
  const ScopedDescriptor socket = newStreamSocket();
  EXPECT_EQ(std::get<SocketAddress>(SocketAddress::of(path)).bind(socket), 0);
  EXPECT_TRUE(std::filesystem::is_socket(path));
}

TEST(SocketAddress, EmptyPathAndOneWithAZeroAreNone) {
  EXPECT_EQ(faultOf(""), "a socket needs a path");
  EXPECT_EQ(faultOf(std::string("\0abstract", 9)), "a socket needs a path");
}

TEST(SocketAddress, BindAndConnectTellTheirErrorNumber) {
  const SocketFolder folder;
  const auto address = std::get<SocketAddress>(SocketAddress::of(folder.path()));
  EXPECT_EQ(address.connect(newStreamSocket()), ENOENT);
  const ScopedDescriptor socket = newStreamSocket();
  EXPECT_EQ(address.bind(socket), 0);
  EXPECT_EQ(address.bind(newStreamSocket()), EADDRINUSE);
  EXPECT_EQ(address.connect(newStreamSocket()), ECONNREFUSED);
  EXPECT_EQ(platform::systemReason(ECONNREFUSED), "Connection refused");
}

TEST(ScopedDescriptor, IsClosedAtTheEndOfItsLastOwnerAndNotInherited) {
  int number = -1;
  {
    ScopedDescriptor first = newStreamSocket();
    number = first.number();
    const ScopedDescriptor second(std::move(first));
    EXPECT_EQ(second.number(), number);
    EXPECT_EQ(fcntl(number, F_GETFD), FD_CLOEXEC);
  }
  EXPECT_EQ(fcntl(number, F_GETFD), -1);
}

}  // namespace

}  // namespace halvarin::test
