#include "platform/machine/MachineSource.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <typeinfo>
#include <variant>
#include <vector>

#include "platform/machine/BuiltInMachine.h"
#include "platform/machine/SimulatedMachine.h"
#include "platform/machine/ThisComputer.h"
#include "platform/machine/remote/MachineServer.h"
#include "tests/generated/TestPaths.h"
#include "tests/support/Machines.h"
#include "tests/support/SocketFolder.h"
#include "tests/support/Until.h"

namespace halvarin::test {
namespace {

using platform::Machine;
using platform::MachineServer;
using platform::MachineSource;
using platform::openMachine;
using platform::parseMachineSource;
using platform::RecordedMachine;
using Kind = MachineSource::Kind;

const std::string kForms =
    "--machine takes this, simulated, simulated:MODEL (MacBookPro16,1, MacBookPro18,1), file:PATH "
    "or socket:PATH, not ";

std::string sourceFile(const std::string& name) {
  return std::string(HALVARIN_SOURCE_DIR) + "/" + name;
}

std::shared_ptr<Machine> opened(const MachineSource& source) {
  auto machine = openMachine(source);
  const auto* fault = std::get_if<std::string>(&machine);
  EXPECT_EQ(fault, nullptr) << *fault;
  return fault != nullptr ? nullptr : std::get<std::shared_ptr<Machine>>(machine);
}

/// The first four bytes that a key of a size holds, read over a connection of its own.
std::vector<std::uint8_t> bytesOf(Machine& machine, std::string_view key, std::uint8_t size) {
  std::array<std::uint8_t, 80> request{};
  std::array<std::uint8_t, 80> reply{};
  for (std::size_t i = 0; i < 4; ++i) {
    request[i] = static_cast<std::uint8_t>(key[3 - i]);
  }
  request[28] = size;
  request[42] = 5;
  std::uint32_t connection = 0;
  std::size_t replySize = reply.size();
  EXPECT_EQ(machine.open(0, connection), 0);
  EXPECT_EQ(machine.call(connection, 2, request, reply, replySize), 0);
  EXPECT_EQ(machine.close(connection), 0);
  return {reply.begin() + 48, reply.begin() + 48 + size};
}

struct SourceRow {
  const char* text;
  Kind kind;
  const char* path;
  const char* model;
};

TEST(MachineSource, IsReadFromEveryForm) {
  for (const SourceRow& row : {
           SourceRow{"this", Kind::thisComputer, "", ""},
           SourceRow{"simulated", Kind::simulated, "", "MacBookPro16,1"},
           SourceRow{"simulated:MacBookPro16,1", Kind::simulated, "", "MacBookPro16,1"},
           SourceRow{"simulated:MacBookPro18,1", Kind::simulated, "", "MacBookPro18,1"},
           SourceRow{"file:a", Kind::file, "a", ""},
           SourceRow{"file:file:simulated ", Kind::file, "file:simulated ", ""},
           SourceRow{"socket:/run/s", Kind::socket, "/run/s", ""},
       }) {
    SCOPED_TRACE(row.text);
    const auto parsed = parseMachineSource(row.text, "--machine");
    ASSERT_TRUE(std::holds_alternative<MachineSource>(parsed));
    const auto& source = std::get<MachineSource>(parsed);
    EXPECT_EQ(source.kind, row.kind);
    EXPECT_EQ(source.path, row.path);
    EXPECT_EQ(source.model, row.model);
  }
}

TEST(MachineSource, OtherTextsAreRefusedWithAllForms) {
  for (const std::string text : {"", "This", " this", "this ", "simulate", "simulatedX", "file",
                                 "file:", "socket:", "sockets:a", "FILE:a", "mine"}) {
    const auto parsed = parseMachineSource(text, "--machine");
    ASSERT_TRUE(std::holds_alternative<std::string>(parsed)) << text;
    EXPECT_EQ(std::get<std::string>(parsed), kForms + "\"" + text + "\"");
  }
}

TEST(MachineSource, UnknownModelsAreRefusedWithThoseThatThereAre) {
  for (const std::string model : {"", "Mac9,9", "macbookpro16,1", "MacBookPro16,1 "}) {
    const auto parsed = parseMachineSource("simulated:" + model, "--machine");
    ASSERT_TRUE(std::holds_alternative<std::string>(parsed)) << model;
    EXPECT_EQ(std::get<std::string>(parsed), "--machine: there is no built-in machine \"" + model +
                                                 "\"; there are: MacBookPro16,1, MacBookPro18,1");
  }
}

TEST(MachineSource, FaultNamesWhatHoldsTheText) {
  const auto parsed = parseMachineSource("x", "A_VARIABLE");
  EXPECT_EQ(std::get<std::string>(parsed).rfind("A_VARIABLE takes this, ", 0), 0U);
}

TEST(MachineSource, RecordedMachineIsTheBuiltInOneOrThatOfTheFile) {
  EXPECT_EQ(
      std::get<RecordedMachine>(platform::recordedMachine({Kind::simulated, {}, "MacBookPro18,1"})),
      platform::builtInMachine("MacBookPro18,1").value());
  const std::string path = sourceFile("tests/machines/fans-mode-key.txt");
  EXPECT_EQ(std::get<RecordedMachine>(platform::recordedMachine({Kind::file, path, {}})),
            std::get<RecordedMachine>(platform::readMachineFile(path)));
}

TEST(MachineSource, FaultOfAFileNamesItsPlace) {
  const MachineSource source{Kind::file, sourceFile("tests/machines/broken/key-of-three.txt"), {}};
  const std::string fault = source.path + ":5: a key has four characters";
  EXPECT_EQ(std::get<std::string>(platform::recordedMachine(source)).rfind(fault, 0), 0U);
  EXPECT_EQ(std::get<std::string>(openMachine(source)).rfind(fault, 0), 0U);
}

TEST(MachineSource, OpensTheComputerItself) {
  const auto machine = opened({});
  const auto computer = platform::thisComputer();
  ASSERT_NE(machine, nullptr);
  EXPECT_EQ(typeid(*machine), typeid(*computer));
}

TEST(MachineSource, OpensABuiltInMachine) {
  const auto machine = opened({Kind::simulated, {}, "MacBookPro18,1"});
  ASSERT_NE(machine, nullptr);
  EXPECT_TRUE(machine->hasService("AppleSMC"));
  EXPECT_EQ(machine->setting("hw.model").textView(), "MacBookPro18,1");
}

TEST(MachineSource, OpensARecordedMachine) {
  const auto machine = opened({Kind::file, sourceFile("tests/machines/fans-mode-key.txt"), {}});
  ASSERT_NE(machine, nullptr);
  EXPECT_EQ(machine->setting("hw.model").textView(), "Fan3,1");
  EXPECT_EQ(bytesOf(*machine, "TC0P", 2), (std::vector<std::uint8_t>{0x2D, 0x00}));
}

TEST(MachineSource, ReadingsOfABuiltInMachineMoveAndThoseOfARecordedOneStandStill) {
  const auto moving = opened({Kind::simulated, {}, "MacBookPro18,1"});
  const auto still =
      opened({Kind::file, sourceFile("platform/machine/builtin/laptop-apple-silicon.txt"), {}});
  const auto begin = bytesOf(*still, "TC10", 4);
  EXPECT_TRUE(
      becomesTrue(std::chrono::seconds(20), [&] { return bytesOf(*moving, "TC10", 4) != begin; }));
  EXPECT_EQ(bytesOf(*still, "TC10", 4), begin);
}

TEST(MachineSource, OpensAMachineThatAnotherProcessServes) {
  const SocketFolder folder;
  const auto served = MachineServer::serve(
      std::make_shared<platform::SimulatedMachine>(machineWith({}, "Served1,1")), folder.path());
  ASSERT_FALSE(std::holds_alternative<std::string>(served));
  const auto machine = opened({Kind::socket, folder.path(), {}});
  ASSERT_NE(machine, nullptr);
  EXPECT_EQ(machine->setting("hw.model").textView(), "Served1,1");
  EXPECT_EQ(std::get<std::string>(openMachine({Kind::socket, folder.path("none"), {}})),
            folder.path("none") + ": cannot connect: No such file or directory");
}

}  // namespace
}  // namespace halvarin::test
