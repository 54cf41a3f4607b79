#include "platform/posix/PrivateDescriptors.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

#include "platform/machine/remote/SocketAddress.h"
#include "tests/support/SocketFolder.h"

namespace halvarin::test {
namespace {

using platform::ScopedDescriptor;
using platform::SocketAddress;

bool isPrivate(int descriptor) {
  return (::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0;
}

bool waits(int descriptor) {
  return (::fcntl(descriptor, F_GETFL) & O_NONBLOCK) == 0;
}

/// A socket of this process that listens, and one that has connected to it.
struct Connected {
  Connected()
      : listening(platform::openPrivateSocket()), client(platform::openPrivateSocket()), peer(-1) {
    const auto address = std::get<SocketAddress>(SocketAddress::of(folder.path()));
    EXPECT_EQ(address.bind(listening), 0);
    EXPECT_EQ(::listen(listening.number(), 1), 0);
    EXPECT_EQ(address.connect(client), 0);
    peer = platform::acceptPrivateSocket(listening.number());
  }
  SocketFolder folder;
  ScopedDescriptor listening;
  ScopedDescriptor client;
  int peer;
};

TEST(PrivateDescriptors, APipesEndsAreNotInheritedAndNeverWait) {
  std::array<int, 2> ends{-1, -1};
  ASSERT_EQ(platform::openPrivatePipe(ends), 0);
  for (const int end : ends) {
    EXPECT_TRUE(isPrivate(end));
    EXPECT_FALSE(waits(end));
  }
  char byte = 0;
  EXPECT_EQ(::read(ends[0], &byte, 1), -1);
  EXPECT_EQ(errno, EAGAIN);
  EXPECT_EQ(::write(ends[1], "x", 1), 1);
  EXPECT_EQ(::read(ends[0], &byte, 1), 1);
  EXPECT_EQ(byte, 'x');
}

TEST(PrivateDescriptors, SocketsAreNotInheritedAndWait) {
  const Connected sockets;
  const ScopedDescriptor peer(sockets.peer);
  for (const int socket : {sockets.listening.number(), sockets.client.number(), peer.number()}) {
    EXPECT_TRUE(isPrivate(socket));
    EXPECT_TRUE(waits(socket));
  }
}

TEST(PrivateDescriptors, AClientsSocketWaitsAlsoWhereTheListeningOneNeverDoes) {
  Connected sockets;
  const ScopedDescriptor first(sockets.peer);
  ASSERT_EQ(platform::neverWait(sockets.listening.number()), 0);
  const ScopedDescriptor another(platform::openPrivateSocket());
  const auto address = std::get<SocketAddress>(SocketAddress::of(sockets.folder.path()));
  ASSERT_EQ(address.connect(another), 0);
  const ScopedDescriptor peer(platform::acceptPrivateSocket(sockets.listening.number()));
  ASSERT_TRUE(peer.isOpen());
  EXPECT_TRUE(waits(peer.number()));
}

TEST(PrivateDescriptors, ASocketThatShallNeverWaitDoesNot) {
  const Connected sockets;
  const ScopedDescriptor peer(sockets.peer);
  ASSERT_EQ(platform::neverWait(peer.number()), 0);
  char byte = 0;
  EXPECT_EQ(::recv(peer.number(), &byte, 1, 0), -1);
  EXPECT_EQ(errno, EAGAIN);
}

TEST(PrivateDescriptors, WhatIsSentArrives) {
  const Connected sockets;
  const ScopedDescriptor peer(sockets.peer);
  EXPECT_EQ(platform::sendWithoutSignal(sockets.client.number(), "abc", 3), 3);
  std::array<char, 4> bytes{};
  EXPECT_EQ(::recv(peer.number(), bytes.data(), bytes.size(), 0), 3);
  EXPECT_EQ(std::string(bytes.data()), "abc");
}

TEST(PrivateDescriptors, SendingToAPeerThatIsGoneIsAnErrorAndNoSignal) {
  const Connected sockets;
  ::close(sockets.peer);
  EXPECT_EQ(platform::sendWithoutSignal(sockets.client.number(), "abc", 3), -1);
  EXPECT_EQ(errno, EPIPE);
  Connected others;
  const ScopedDescriptor peer(others.peer);
  { const ScopedDescriptor gone(std::move(others.client)); }
  EXPECT_EQ(platform::sendWithoutSignal(peer.number(), "abc", 3), -1);
  EXPECT_EQ(errno, EPIPE);
}

TEST(PrivateDescriptors, TheSystemsReasonIsKept) {
  EXPECT_EQ(platform::acceptPrivateSocket(-1), -1);
  EXPECT_EQ(errno, EBADF);
}

}  // namespace
}  // namespace halvarin::test
