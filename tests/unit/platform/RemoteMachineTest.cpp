#include "platform/machine/remote/RemoteMachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/unit/platform/ServedMachine.h"

namespace halvarin::test {

namespace {

using platform::kMachineGreeting;
using platform::ListeningSocket;
using platform::MachineReply;
using platform::MachineSocket;
using platform::MessageBytes;
using platform::RecordedKey;
using platform::RemoteMachine;
using platform::Simulation;

/// Everything that can be asked of the small machine, with the answers as text.
std::vector<std::string> walk(platform::Machine& machine) {
  std::vector<std::string> seen;
  const auto note = [&seen](const std::string& what, const Answer& answer) {
    seen.push_back(what + " status " + std::to_string(answer.status) + " size " +
                   std::to_string(answer.size) + " " + testing::PrintToString(answer.wire));
  };
  for (const char* service : {"AppleSMC", "AppleSMCx", ""}) {
    seen.push_back(std::string(service) + (machine.hasService(service) ? " is" : " is not"));
  }
  std::uint32_t connection = 0;
  seen.push_back("open " + std::to_string(machine.open(3, connection)));
  note("read", send(machine, connection, request(kRead, "TC0P", 2)));
  note("write", send(machine, connection, request(kWrite, "F0Mn", 2, {0x1F, 0x40})));
  note("written", send(machine, connection, request(kRead, "F0Mn", 2)));
  note("info", send(machine, connection, request(kKeyInfo, "TC0P")));
  note("index", send(machine, connection, indexRequest(1)));
  note("refused", send(machine, connection, request(kRead, "AC-E", 1)));
  note("failed", send(machine, connection, request(kRead, "SBIG", 2)));
  note("faulty", send(machine, connection, request(kKeyInfo, "F0Mn")));
  note("unknown connection", send(machine, 99, request(kRead, "TC0P", 2)));
  for (const char* setting : {"hw.model", "machdep.cpu.brand_string", "hw.logicalcpu", "none"}) {
    const Value value = machine.setting(setting);
    seen.push_back(std::string(setting) + value.className() + value.description());
  }
  seen.push_back(machine.powerSource());
  seen.push_back("close " + std::to_string(machine.close(connection)));
  seen.push_back("close " + std::to_string(machine.close(connection)));
  return seen;
}

Simulation withFault() {
  Simulation simulation;
  simulation.faults = {{platform::fourBytes("F0Mn"), kKeyInfo, 1, UINT64_MAX, 0x123}};
  return simulation;
}

TEST(RemoteMachine, AnswersWhatTheMachineBehindTheSocketAnswers) {
  ServedMachine served(withFault());
  ServedMachine reference(withFault());
  const auto remote = served.connect();
  ASSERT_TRUE(remote);
  const auto seen = walk(*remote);
  EXPECT_EQ(seen, walk(*reference.machine));
  EXPECT_EQ(served.journal.lines(), reference.journal.lines());
  EXPECT_EQ(served.journal.lines().size(), 12U);
}

TEST(RemoteMachine, CarriesStructuresOfOtherSizesToTheMachine) {
  ServedMachine served;
  const auto remote = served.connect();
  const std::uint32_t connection = opened(*remote);
  Bytes reply(100, kUntouched);
  std::size_t size = reply.size();
  EXPECT_EQ(remote->call(connection, 2, request(kRead, "TC0P", 2), reply, size), 0);
  EXPECT_EQ(size, 80U);
  EXPECT_EQ(reply[48], 0x28);
  EXPECT_EQ(Bytes(reply.begin() + 80, reply.end()), Bytes(20, kUntouched));
  for (const std::size_t sent : {std::size_t{0}, std::size_t{79}, std::size_t{4096}}) {
    EXPECT_EQ(remote->call(connection, 2, Bytes(sent), reply, size), kBadArgument) << sent;
  }
  Bytes vast(1 << 20);
  EXPECT_EQ(remote->call(connection, 2, vast, reply, size), kBadArgument);
  EXPECT_EQ(remote->call(connection, 2, request(kRead, "TC0P", 2), vast, size), 0);
  EXPECT_EQ(vast[48], 0x28);
}

TEST(RemoteMachine, NameTooLongToBeSentIsNoSettingAndEndsNothing) {
  const ServedMachine served;
  const auto remote = served.connect();
  EXPECT_TRUE(remote->setting(std::string(1 << 20, 'n')).isNothing());
  EXPECT_EQ(remote->setting("hw.model").textView(), "Test1,1");
}

TEST(RemoteMachine, TwoSeeEachOthersWrites) {
  const ServedMachine served;
  const auto first = served.connect();
  const auto second = served.connect();
  const std::uint32_t ofFirst = opened(*first);
  const std::uint32_t ofSecond = opened(*second);
  EXPECT_EQ(send(*first, ofFirst, request(kWrite, "F0Mn", 2, {0x1F, 0x40})).status, 0);
  EXPECT_EQ(readBytes(*second, ofSecond, "F0Mn", 2), (Bytes{0x1F, 0x40}));
  EXPECT_EQ(send(*second, ofSecond, request(kWrite, "F0Mn", 2, {0x01, 0x02})).status, 0);
  EXPECT_EQ(readBytes(*first, ofFirst, "F0Mn", 2), (Bytes{0x01, 0x02}));
}

TEST(RemoteMachine, AnswersAsAMachineThatWentAwayWhenItsServerIsGone) {
  ServedMachine served;
  const auto remote = served.connect();
  EXPECT_TRUE(remote->hasService("AppleSMC"));
  EXPECT_EQ(opened(*remote), 1U);
  served.server.reset();
  expectGone(*remote);
}

TEST(RemoteMachine, CannotConnectWhereNobodyListens) {
  ServedMachine served;
  served.server.reset();
  const auto connected = RemoteMachine::connect(served.path);
  ASSERT_TRUE(std::holds_alternative<std::string>(connected));
  EXPECT_EQ(std::get<std::string>(connected),
            served.path + ": cannot connect: No such file or directory");
}

/// A server that greets rightly and then says one thing, whatever it is asked.
class BadServer {
 public:
  explicit BadServer(MessageBytes raw) : thread_([this, raw = std::move(raw)] { speak(raw); }) {}
  ~BadServer() { thread_.join(); }
  BadServer(const BadServer&) = delete;
  BadServer& operator=(const BadServer&) = delete;

  [[nodiscard]] std::string path() const { return folder_.path(); }

 private:
  void speak(const MessageBytes& raw) {
    const auto client = listening_->accept();
    EXPECT_TRUE(client->send(MessageBytes(kMachineGreeting.begin(), kMachineGreeting.end())));
    EXPECT_TRUE(client->receive());
    EXPECT_EQ(::send(client->descriptor().number(), raw.data(), raw.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(raw.size()));
  }

  SocketFolder folder_;
  std::unique_ptr<ListeningSocket> listening_ = unwrapped(ListeningSocket::at(folder_.path()));
  std::thread thread_;
};

MessageBytes framed(const MachineReply& reply) {
  MessageBytes raw = platform::encodeMessage(reply);
  const auto length = static_cast<std::uint8_t>(raw.size());
  raw.insert(raw.begin(), {0, 0, 0, length});
  return raw;
}

TEST(RemoteMachine, AnswersAsAMachineThatWentAwayWhenItsServerSpeaksNonsense) {
  struct Row {
    const char* name;
    MessageBytes raw;
  };
  for (const Row& row : std::vector<Row>{
           {"nothing", {}},
           {"half a message", {0, 0, 0, 9, 0x83}},
           {"a message without end", {0xFF, 0xFF, 0xFF, 0xFF, 1, 2, 3}},
           {"an unknown message", {0, 0, 0, 1, 0x42}},
           {"another answer", framed(platform::CloseReply{0})},
           {"more than there is room for", framed(platform::CallReply{0, MessageBytes(81)})},
       }) {
    SCOPED_TRACE(row.name);
    const BadServer server(row.raw);
    const auto remote = unwrapped(RemoteMachine::connect(server.path()));
    const Answer answer = send(*remote, 1, request(kRead, "TC0P", 2));
    EXPECT_EQ(answer.status, kNoDevice);
    EXPECT_EQ(answer.size, 80U);
    EXPECT_EQ(answer.wire[0], kUntouched);
    expectGone(*remote);
  }
}

TEST(RemoteMachine, TakesNoConnectionWithoutANumber) {
  const BadServer server(framed(platform::OpenReply{0, 0}));
  const auto remote = unwrapped(RemoteMachine::connect(server.path()));
  std::uint32_t connection = 77;
  EXPECT_EQ(remote->open(0, connection), kNoDevice);
  EXPECT_EQ(connection, 77U);
  expectGone(*remote);
}

TEST(RemoteMachine, AnswersEightThreadsAtOnce) {
  constexpr std::uint8_t kThreads = 8;
  constexpr int kRounds = 100;
  std::vector<RecordedKey> keys;
  for (std::uint8_t i = 0; i < kThreads; ++i) {
    keys.push_back(key("F" + std::to_string(i) + "Mn", "ui8 ", {0}));
  }
  ServedMachine served({}, machineWith(keys));
  const auto remote = served.connect();
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (std::uint8_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&remote, &wrong, i] {
      const std::string own = "F" + std::to_string(i) + "Mn";
      std::uint32_t connection = 0;
      wrong += remote->open(0, connection) == 0 ? 0 : 1;
      for (int round = 0; round < kRounds; ++round) {
        const auto byte = static_cast<std::uint8_t>(round);
        wrong += send(*remote, connection, request(kWrite, own, 1, {byte})).status == 0 ? 0 : 1;
        const Answer back = send(*remote, connection, request(kRead, own, 1));
        wrong += back.status == 0 && back.bytes(1) == Bytes{byte} ? 0 : 1;
        wrong += remote->hasService("AppleSMC") ? 0 : 1;
        wrong += remote->setting("hw.model").textView() == "Test1,1" ? 0 : 1;
      }
      wrong += remote->close(connection) == 0 ? 0 : 1;
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(served.machine->transferCount(), 2U * kThreads * kRounds);
}

}  // namespace

}  // namespace halvarin::test
