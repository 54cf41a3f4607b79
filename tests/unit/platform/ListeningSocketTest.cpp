#include "platform/machine/remote/ListeningSocket.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "platform/Clock.h"
#include "tests/unit/platform/ServedMachine.h"

namespace halvarin::test {

namespace {

namespace fs = std::filesystem;

using platform::ListeningSocket;
using platform::newStreamSocket;
using platform::SocketAddress;

std::string faultAt(const std::string& path) {
  const auto listening = ListeningSocket::at(path);
  const auto* fault = std::get_if<std::string>(&listening);
  return fault != nullptr ? *fault : "listens";
}

TEST(ListeningSocket, IsForItsOwnerOnlyAndGoneWithTheObject) {
  const SocketFolder folder;
  {
    const auto listening = unwrapped(ListeningSocket::at(folder.path()));
    EXPECT_TRUE(fs::is_socket(folder.path()));
    EXPECT_EQ(fs::status(folder.path()).permissions(), fs::perms(0600));
  }
  EXPECT_FALSE(fs::exists(folder.path()));
}

TEST(ListeningSocket, ReplacesASocketThatNobodyListensAt) {
  const SocketFolder folder;
  EXPECT_EQ(std::get<SocketAddress>(SocketAddress::of(folder.path())).bind(newStreamSocket()), 0);
  ASSERT_TRUE(fs::is_socket(folder.path()));  // left over: its process closed it, the file stays
  EXPECT_EQ(faultAt(folder.path()), "listens");
}

TEST(ListeningSocket, LeavesASocketAloneThatAnotherListensAt) {
  const SocketFolder folder;
  const auto first = unwrapped(ListeningSocket::at(folder.path()));
  EXPECT_EQ(faultAt(folder.path()),
            folder.path() + ": cannot listen: another process listens there");
  EXPECT_TRUE(fs::is_socket(folder.path()));
}

// Refused in the same way on some systems: who meets a full queue of waiting clients.
TEST(ListeningSocket, LeavesASocketAloneThatRefusesForAMoment) {
  const SocketFolder folder;
  const platform::ScopedDescriptor other = newStreamSocket();
  ASSERT_EQ(std::get<SocketAddress>(SocketAddress::of(folder.path())).bind(other), 0);
  std::thread listensSoon([&other] {
    platform::ScaledClock().sleepFor(std::chrono::milliseconds(30));
    ::listen(other.number(), 1);
  });
  EXPECT_EQ(faultAt(folder.path()),
            folder.path() + ": cannot listen: another process listens there");
  listensSoon.join();
  EXPECT_TRUE(fs::is_socket(folder.path()));
}

TEST(ListeningSocket, LeavesAFileAloneThatIsNoSocket) {
  const SocketFolder folder;
  std::ofstream(folder.path()) << "precious";
  EXPECT_EQ(faultAt(folder.path()),
            folder.path() + ": cannot listen: something that is no socket is there");
  std::ifstream file(folder.path());
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "precious");
}

TEST(ListeningSocket, LeavesALinkAlone) {
  const SocketFolder folder;
  fs::create_symlink(folder.path("nowhere"), folder.path());
  EXPECT_EQ(faultAt(folder.path()),
            folder.path() + ": cannot listen: something that is no socket is there");
  EXPECT_TRUE(fs::is_symlink(folder.path()));
}

TEST(ListeningSocket, DoesNotRemoveTheSocketOfALaterOne) {
  const SocketFolder folder;
  auto first = unwrapped(ListeningSocket::at(folder.path()));
  fs::remove(folder.path());
  const auto second = unwrapped(ListeningSocket::at(folder.path()));
  first.reset();
  EXPECT_TRUE(fs::is_socket(folder.path()));
}

TEST(ListeningSocket, TellsPathAndReason) {
  const SocketFolder folder;
  EXPECT_EQ(faultAt(folder.path("no/s")),
            folder.path("no/s") + ": cannot listen: No such file or directory");
  EXPECT_EQ(faultAt(""), ": a socket needs a path");
  const std::string longPath = folder.path(std::string(120, 'p'));
  EXPECT_EQ(faultAt(longPath), longPath +
                                   ": the path of a socket has at most 107 bytes, this one has " +
                                   std::to_string(longPath.size()));
}

TEST(ListeningSocket, StopEndsTheWaitForAClientNowAndLater) {
  const SocketFolder folder;
  const auto listening = unwrapped(ListeningSocket::at(folder.path()));
  bool came = true;
  std::thread waiting([&] { came = listening->accept() != nullptr; });
  listening->stop();
  waiting.join();
  EXPECT_FALSE(came);
  EXPECT_EQ(listening->accept(), nullptr);
}

}  // namespace

}  // namespace halvarin::test
