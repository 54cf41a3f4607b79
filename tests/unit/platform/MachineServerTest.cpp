#include "platform/machine/remote/MachineServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <atomic>
#include <filesystem>
#include <future>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/unit/platform/ServedMachine.h"

namespace halvarin::test {

namespace {

using platform::MachineServer;
using platform::MachineSocket;
using platform::MessageBytes;
using platform::RecordedKey;
using platform::RemoteMachine;

using ::testing::ElementsAre;

TEST(MachineServer, SocketIsForItsOwnerOnlyAndGoneWithTheServer) {
  ServedMachine served;
  EXPECT_EQ(std::filesystem::status(served.path).permissions(), std::filesystem::perms(0600));
  served.server.reset();
  EXPECT_FALSE(std::filesystem::exists(served.path));
}

TEST(MachineServer, TellsWhyItCannotServe) {
  const ServedMachine served;
  const auto second = MachineServer::serve(served.machine, served.path);
  ASSERT_TRUE(std::holds_alternative<std::string>(second));
  EXPECT_EQ(std::get<std::string>(second),
            served.path + ": cannot listen: another process listens there");
  EXPECT_TRUE(served.connect()->hasService("AppleSMC"));
}

TEST(MachineServer, ClosesTheConnectionsThatAClientLeavesOpen) {
  ServedMachine served;
  auto client = served.connect();
  const std::uint32_t first = opened(*client);
  opened(*client);
  opened(*client);
  EXPECT_EQ(client->close(first), 0);
  client.reset();
  ASSERT_TRUE(served.journal.waitForLines(6));
  EXPECT_THAT(served.journal.lines(),
              ElementsAre("open type 0 -> connection 1", "open type 0 -> connection 2",
                          "open type 0 -> connection 3", "close 1 -> done", "close 2 -> done",
                          "close 3 -> done"));
}

TEST(MachineServer, ClosesNothingOfOtherClientsWithOneThatIsGone) {
  ServedMachine served;
  auto dying = served.connect();
  const auto living = served.connect();
  opened(*dying);
  const std::uint32_t kept = opened(*living);
  dying.reset();
  ASSERT_TRUE(served.journal.waitForLines(3));
  EXPECT_EQ(served.journal.lines().back(), "close 1 -> done");
  EXPECT_EQ(readBytes(*living, kept, "TC0P", 2), (Bytes{0x28, 0x80}));
  EXPECT_EQ(living->close(kept), 0);
}

TEST(MachineServer, ClosesWhatIsLeftOpenWhenItEnds) {
  ServedMachine served;
  const auto client = served.connect();
  opened(*client);
  served.server.reset();
  EXPECT_THAT(served.journal.lines(),
              ElementsAre("open type 0 -> connection 1", "close 1 -> done"));
}

TEST(MachineServer, KeepsTheConnectionsOfAClientFromOthers) {
  ServedMachine served;
  const auto owner = served.connect();
  const auto stranger = served.connect();
  const std::uint32_t connection = opened(*owner);
  EXPECT_EQ(send(*stranger, connection, request(kRead, "TC0P", 2)).status, kInvalidDestination);
  EXPECT_EQ(stranger->close(connection), kInvalidDestination);
  EXPECT_EQ(served.journal.lines().size(), 1U) << "the machine was asked";
  EXPECT_EQ(readBytes(*owner, connection, "TC0P", 2), (Bytes{0x28, 0x80}));
  EXPECT_EQ(owner->close(connection), 0);
}

/// A client of bare bytes that has taken the greeting.
std::unique_ptr<MachineSocket> rawClient(const std::string& path) {
  return unwrapped(platform::connectMachineSocket(path, kPatience));
}

TEST(MachineServer, EndsTheConnectionOfAClientThatSpeaksNonsenseAndNoOther) {
  ServedMachine served;
  const auto other = served.connect();
  const std::uint32_t connection = opened(*other);
  for (const MessageBytes& raw : std::vector<MessageBytes>{
           {0, 0, 0, 0},
           {0xFF, 0xFF, 0xFF, 0xFF},
           {0, 0, 0, 1, 0x42},
           {0, 0, 0, 2, 0x02, 0x00},
           {'G', 'E', 'T', ' ', '/', '\r', '\n'},
           {0, 0, 0, 17, 3, 0, 0, 0, 1, 0, 0, 0, 2, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0},
       }) {
    const auto client = rawClient(served.path);
    EXPECT_EQ(::send(client->descriptor().number(), raw.data(), raw.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(raw.size()));
    EXPECT_FALSE(client->receive()) << "nonsense was answered";
  }
  EXPECT_EQ(readBytes(*other, connection, "TC0P", 2), (Bytes{0x28, 0x80}));
}

TEST(MachineServer, OutlivesAClientThatIsGoneBeforeItsAnswer) {
  const ServedMachine served;
  for (int round = 0; round < 50; ++round) {
    const auto client = rawClient(served.path);
    EXPECT_TRUE(
        client->send(encodeMessage(platform::MachineRequest(platform::PowerSourceRequest{}))));
  }
  EXPECT_EQ(served.connect()->powerSource(), "AC Power");
}

TEST(MachineServer, ServesManyClientsAtOnceAndAfterOneAnother) {
  constexpr std::uint8_t kClients = 8;
  constexpr int kVisits = 10;
  std::vector<RecordedKey> keys;
  for (std::uint8_t i = 0; i < kClients; ++i) {
    keys.push_back(key("F" + std::to_string(i) + "Mn", "ui8 ", {0}));
  }
  ServedMachine served({}, machineWith(keys));
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (std::uint8_t i = 0; i < kClients; ++i) {
    threads.emplace_back([&served, &wrong, i] {
      const std::string own = "F" + std::to_string(i) + "Mn";
      for (std::uint8_t visit = 0; visit < kVisits; ++visit) {
        const auto client = served.connect();
        std::uint32_t connection = 0;
        wrong += client->open(0, connection) == 0 ? 0 : 1;
        wrong += send(*client, connection, request(kWrite, own, 1, {visit})).status == 0 ? 0 : 1;
        const Answer back = send(*client, connection, request(kRead, own, 1));
        wrong += back.status == 0 && back.bytes(1) == Bytes{visit} ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, 0);
  EXPECT_TRUE(served.journal.waitForLines(4U * kClients * kVisits)) << "connections were left open";
}

/// A machine whose power source is told only when the test says so.
class HeldMachine : public platform::SimulatedMachine {
 public:
  HeldMachine() : SimulatedMachine(smallMachine()) {}
  [[nodiscard]] std::string powerSource() override {
    asked.set_value();
    told.get_future().wait();
    return "Battery Power";
  }
  std::promise<void> asked;
  std::promise<void> told;
};

TEST(MachineServer, SlowAnswerForOneClientHoldsUpNoOther) {
  const SocketFolder folder;
  const auto machine = std::make_shared<HeldMachine>();
  const auto server = unwrapped(MachineServer::serve(machine, folder.path()));
  const auto slow = unwrapped(RemoteMachine::connect(folder.path()));
  const auto quick = unwrapped(RemoteMachine::connect(folder.path()));
  std::string source;
  std::thread waiting([&] { source = slow->powerSource(); });
  machine->asked.get_future().wait();
  EXPECT_EQ(quick->setting("hw.model").textView(), "Test1,1");
  machine->told.set_value();
  waiting.join();
  EXPECT_EQ(source, "Battery Power");
}

}  // namespace

}  // namespace halvarin::test
