#include "platform/machine/remote/MachineSocket.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <string>
#include <thread>

#include "tests/unit/platform/ServedMachine.h"

namespace halvarin::test {

namespace {

using platform::kMostMessageBytes;
using platform::ListeningSocket;
using platform::MachineSocket;
using platform::MessageBytes;
using platform::ScopedDescriptor;

struct Ends {
  Ends() {
    std::array<int, 2> numbers{};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, numbers.data()), 0);
    first = std::make_unique<MachineSocket>(ScopedDescriptor(numbers[0]));
    second = std::make_unique<MachineSocket>(ScopedDescriptor(numbers[1]));
  }
  /// Bytes without a length before them.
  void sendRaw(const MessageBytes& bytes) const {
    EXPECT_EQ(::send(first->descriptor().number(), bytes.data(), bytes.size(), 0),
              static_cast<ssize_t>(bytes.size()));
  }

  std::unique_ptr<MachineSocket> first;
  std::unique_ptr<MachineSocket> second;
};

TEST(MachineSocket, MessagesArriveWholeAndInTheirOrder) {
  const Ends ends;
  const MessageBytes longest(kMostMessageBytes, 0x42);
  bool sent = false;
  std::thread sender([&] { sent = ends.first->send({{1, 2, 3}}) && ends.first->send(longest); });
  EXPECT_EQ(ends.second->receive(), (MessageBytes{1, 2, 3}));
  EXPECT_EQ(ends.second->receive(), longest);
  sender.join();
  EXPECT_TRUE(sent);
}

TEST(MachineSocket, LengthStandsBeforeTheMessageMostSignificantByteFirst) {
  const Ends ends;
  ends.sendRaw({0, 0, 0, 2, 7, 8});
  EXPECT_EQ(ends.second->receive(), (MessageBytes{7, 8}));
}

TEST(MachineSocket, MessageTooLongIsNotSent) {
  const Ends ends;
  EXPECT_FALSE(ends.first->send(MessageBytes(kMostMessageBytes + 1)));
  EXPECT_TRUE(ends.first->send({{5}}));
  EXPECT_EQ(ends.second->receive(), MessageBytes{5});
}

TEST(MachineSocket, LengthsOutOfRangeAreNoMessage) {
  for (const MessageBytes& head :
       {MessageBytes{0, 0, 0, 0}, MessageBytes{0, 1, 0, 1}, MessageBytes{255, 255, 255, 255}}) {
    const Ends ends;
    ends.sendRaw(head);
    EXPECT_FALSE(ends.second->receive());
  }
}

TEST(MachineSocket, EndInTheMiddleOfAMessageIsNoMessage) {
  for (const MessageBytes& part :
       {MessageBytes{}, MessageBytes{0, 0}, MessageBytes{0, 0, 0, 9, 1}}) {
    Ends ends;
    ends.sendRaw(part);
    ends.first.reset();
    EXPECT_FALSE(ends.second->receive());
  }
}

TEST(MachineSocket, SendingToAnEndThatIsGoneFailsWithoutASignal) {
  Ends ends;
  ends.first.reset();
  EXPECT_FALSE(ends.second->send({{1}}));  // a signal would end this test
}

TEST(MachineSocket, ShutDownEndsTheWaitsOfBothEnds) {
  const Ends ends;
  bool first = true;
  bool second = true;
  std::thread waitingFirst([&] { first = ends.first->receive().has_value(); });
  std::thread waitingSecond([&] { second = ends.second->receive().has_value(); });
  ends.first->shutDown();
  waitingFirst.join();
  waitingSecond.join();
  EXPECT_FALSE(first);
  EXPECT_FALSE(second);
}

TEST(ConnectMachineSocket, TellsPathAndReasonOfWhatItCannotConnectTo) {
  using namespace std::chrono_literals;
  const SocketFolder folder;
  const auto faultOf = [](const std::string& path) {
    auto connected = platform::connectMachineSocket(path, 10ms);
    const auto* fault = std::get_if<std::string>(&connected);
    return fault != nullptr ? *fault : "connected";
  };
  EXPECT_EQ(faultOf(folder.path()), folder.path() + ": cannot connect: No such file or directory");
  EXPECT_EQ(faultOf(""), ": a socket needs a path");
  const std::string longPath(200, 'p');
  EXPECT_EQ(faultOf(longPath),
            longPath + ": the path of a socket has at most 107 bytes, this one has 200");
  const auto listening = unwrapped(ListeningSocket::at(folder.path()));
  EXPECT_EQ(faultOf(folder.path()), folder.path() + ": no machine is served there")
      << "nobody greets there";
}

TEST(ConnectMachineSocket, TakesNobodyWithAnotherGreeting) {
  const SocketFolder folder;
  const auto listening = unwrapped(ListeningSocket::at(folder.path()));
  for (const std::string greeting :
       {"Halvarin machine 2", "Halvarin", "HTTP/1.1 400 Bad Request"}) {
    std::thread server([&] {
      EXPECT_TRUE(listening->accept()->send(MessageBytes(greeting.begin(), greeting.end())));
    });
    auto connected = platform::connectMachineSocket(folder.path(), kPatience);
    server.join();
    ASSERT_TRUE(std::holds_alternative<std::string>(connected)) << greeting;
    EXPECT_EQ(std::get<std::string>(connected), folder.path() + ": no machine is served there");
  }
}

TEST(ConnectMachineSocket, ConnectionIsNotInherited) {
  const ServedMachine served;
  const auto socket = unwrapped(platform::connectMachineSocket(served.path, kPatience));
  EXPECT_EQ(fcntl(socket->descriptor().number(), F_GETFD), FD_CLOEXEC);
}

}  // namespace

}  // namespace halvarin::test
