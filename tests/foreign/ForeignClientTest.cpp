#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "base/Mutex.h"
#include "platform/machine/MachineFile.h"
#include "platform/machine/SimulatedMachine.h"
#include "platform/machine/ThisComputer.h"
#include "platform/machine/remote/MachineServer.h"
#include "tests/generated/TestPaths.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/SharedData.h"
#include "tests/support/SocketFolder.h"

namespace halvarin::test {
namespace {

using platform::MachineServer;
using platform::parseMachineFile;
using platform::readMachineFile;
using platform::RecordedKey;
using platform::RecordedMachine;
using testing::HasSubstr;

const std::string kNotFound = "client: no controller found\n";
const std::string kBuiltIns = std::string(HALVARIN_SOURCE_DIR) + "/platform/machine/builtin/";

ProgramRun clientRun(const std::string& machine, const std::vector<std::string>& words) {
  setenv("HALVARIN_MACHINE", machine.c_str(), 1);
  return runProgram(HALVARIN_CLIENT, words);
}

std::vector<RecordedKey> keysOf(std::variant<RecordedMachine, platform::MachineFileError> read) {
  const auto* error = std::get_if<platform::MachineFileError>(&read);
  EXPECT_EQ(error, nullptr) << error->message();
  return error != nullptr ? std::vector<RecordedKey>()
                          : std::get<RecordedMachine>(std::move(read)).keys;
}

std::vector<std::string> namesOf(const std::vector<RecordedKey>& keys) {
  std::vector<std::string> names;
  for (const RecordedKey& key : keys) {
    names.emplace_back(key.code.begin(), key.code.end());
  }
  return names;
}

TEST(ForeignClient, ListsEveryKeyOfTheLaptopsWithTheLinesOfTheirFiles) {
  for (const char* name : {"laptop.txt", "laptop-apple-silicon.txt"}) {
    SCOPED_TRACE(name);
    const std::string file = fileText(kBuiltIns + name);
    const ProgramRun run = clientRun("file:" + kBuiltIns + name, {"keys"});
    EXPECT_EQ(run.exit, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, file.substr(file.find("Public keys (")));
  }
}

TEST(ForeignClient, ListsEveryKeyOfEveryMachineFileWithItsTypeSizeBytesAndRefusals) {
  const auto folder = std::filesystem::path(HALVARIN_SOURCE_DIR) / "tests/machines";
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    // Where the controller counts no keys such a program finds none.
    const std::string name = entry.path().filename();
    if (!entry.is_regular_file() || name == "count-of-zero.txt") {
      continue;
    }
    SCOPED_TRACE(name);
    ++files;
    const ProgramRun run = clientRun("file:" + entry.path().string(), {"keys"});
    EXPECT_EQ(run.exit, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(keysOf(parseMachineFile(run.out, name)), keysOf(readMachineFile(entry.path())));
  }
  EXPECT_GT(files, 15);
}

TEST(ForeignClient, ListsTheBuiltInMachines) {
  for (const auto& [machine, file] :
       {std::pair("simulated", "laptop.txt"), std::pair("simulated:MacBookPro16,1", "laptop.txt"),
        std::pair("simulated:MacBookPro18,1", "laptop-apple-silicon.txt")}) {
    const ProgramRun run = clientRun(machine, {"keys"});
    EXPECT_EQ(run.exit, 0) << machine;
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(namesOf(keysOf(parseMachineFile(run.out, machine))),
              namesOf(keysOf(readMachineFile(kBuiltIns + file))));
  }
}

TEST(ForeignClient, WalksAnIteratorToItsEndAndReleasesWhatItGot) {
  const ProgramRun run = clientRun("simulated", {"services", "AppleSMC"});
  EXPECT_EQ(run.exit, 0);
  EXPECT_EQ(run.out,
            "status 0, iterator given\n"
            "service given\n"
            "next 0, next 0\n"
            "released 1 1\n"
            "released again 0 0\n"
            "next 0\n");
}

TEST(ForeignClient, FindsNoServiceOfAnotherClass) {
  const ProgramRun run = clientRun("simulated", {"services", "IOPlatformExpertDevice"});
  EXPECT_EQ(run.exit, 0);
  EXPECT_THAT(run.out, HasSubstr("status 0, iterator none\nservice none\nnext 0, next 0\n"));
  EXPECT_EQ(run.err, "");
}

TEST(ForeignClient, ReadsAKeyAndTheModel) {
  EXPECT_EQ(clientRun(machineFile("fans-mode-key.txt"), {"read", "TC0P"}).out, "2D00\n");
  EXPECT_EQ(clientRun(machineFile("fans-mode-key.txt"), {"model"}).out, "Fan3,1\n");
  EXPECT_EQ(clientRun("simulated", {"model"}).out, "MacBookPro16,1\n");
}

TEST(ForeignClient, ForcesAFanThatTurnsFasterAndHandsItBack) {
  const ProgramRun run =
      clientRun(machineFile("fans-mode-key.txt"),
                {"write", "F0Md", "01", "write", "F0Tg", "5DC0", "rises", "F0Ac", "read", "F0Md",
                 "read", "F0Tg", "write", "F0Md", "00", "read", "F0Md"});
  EXPECT_EQ(run.exit, 0);
  EXPECT_EQ(run.out, "01\n5DC0\n00\n");
  EXPECT_EQ(run.err, "");
}

TEST(ForeignClient, GetsTheControllersRefusals) {
  struct Row {
    const char* file;
    std::vector<std::string> words;
    const char* says;
  };
  for (const Row& row : std::vector<Row>{
           {"healthy.txt", {"read", "XXXX"}, "not known: status 00000000, result 84"},
           {"healthy.txt", {"write", "XXXX", "00"}, "not written: status 00000000, result 84"},
           {"fans-mode-key.txt",
            {"write", "F0Tg", "01"},
            "not written: status 00000000, result 87"},
           {"refusals.txt", {"read", "AUSB"}, "not read: status 00000000, result 89"},
       }) {
    const ProgramRun run = clientRun(machineFile(row.file), row.words);
    EXPECT_EQ(run.exit, 2);
    EXPECT_EQ(run.err, std::string("client: ") + row.says + "\n");
  }
}

TEST(ForeignClient, OtherSelectorsAndUnknownConnectionsAreRefused) {
  EXPECT_EQ(clientRun("simulated", {"misuse"}).out,
            "selector 0: E00002C7\n"
            "no output: E00002C2\n"
            "unknown connection: 10000003\n"
            "closed: 10000003\n");
}

TEST(ForeignClient, HasTheComputerItselfWithoutTheVariableAndWithThis) {
  if (platform::thisComputer()->hasService("AppleSMC")) {
    GTEST_SKIP() << "this computer has a controller";
  }
  EXPECT_EQ(clientRun("this", {"keys"}).err, kNotFound);
  unsetenv("HALVARIN_MACHINE");
  const ProgramRun run = runProgram(HALVARIN_CLIENT, {"keys"});
  EXPECT_EQ(run.exit, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, kNotFound);
}

TEST(ForeignClient, WrongVariableIsOneLineAndNoServiceInEveryWayToFindOne) {
  const std::string forms =
      "halvarin_machine: HALVARIN_MACHINE takes this, simulated, simulated:MODEL (MacBookPro16,1, "
      "MacBookPro18,1), file:PATH or socket:PATH, not ";
  const std::string broken = machineFile("broken/key-of-three.txt");
  const SocketFolder folder;
  for (const auto& [value, line] : std::vector<std::pair<std::string, std::string>>{
           {"", forms + "\"\""},
           {"mine", forms + "\"mine\""},
           {"file:", forms + "\"file:\""},
           {"a\nb\033[2J", forms + "\"a?b?[2J\""},
           {"simulated:Mac9,9",
            "halvarin_machine: HALVARIN_MACHINE: there is no built-in machine \"Mac9,9\"; there "
            "are: MacBookPro16,1, MacBookPro18,1"},
           {"file:" + folder.path("none"),
            "halvarin_machine: HALVARIN_MACHINE: " + folder.path("none") +
                ": cannot be read: No such file or directory"},
           {"socket:" + folder.path("none"),
            "halvarin_machine: HALVARIN_MACHINE: " + folder.path("none") +
                ": cannot connect: No such file or directory"},
       }) {
    SCOPED_TRACE(value);
    for (const char* word : {"keys", "misuse"}) {
      const ProgramRun run = clientRun(value, {word});
      EXPECT_EQ(run.exit, 1);
      EXPECT_EQ(run.out, "");
      EXPECT_EQ(run.err, line + "\n" + kNotFound);
    }
    EXPECT_EQ(clientRun(value, {"services", "AppleSMC"}).err, line + "\n");
    EXPECT_EQ(clientRun(value, {"model"}).exit, 2);
  }
}

TEST(ForeignClient, EveryBrokenFileIsOneLineAndNoService) {
  const auto folder = std::filesystem::path(HALVARIN_SOURCE_DIR) / "tests/machines/broken";
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    SCOPED_TRACE(entry.path());
    const ProgramRun run = clientRun("file:" + entry.path().string(), {"keys"});
    EXPECT_EQ(run.exit, 1);
    EXPECT_EQ(run.err.rfind("halvarin_machine: HALVARIN_MACHINE: " + entry.path().string(), 0), 0U)
        << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 2) << run.err;
  }
}

TEST(ForeignClient, SharesAServedMachineWithOthersAndLeavesItAsEveryProcessDoes) {
  const SocketFolder folder;
  Mutex mutex;
  std::string journal;
  platform::Simulation simulation;
  simulation.journal = [&](std::string_view line) {
    const MutexLock lock(mutex);
    journal += std::string(line) + "\n";
  };
  const std::string path = machineFile("fans-mode-key.txt").substr(5);
  const auto served = MachineServer::serve(
      std::make_shared<platform::SimulatedMachine>(std::get<RecordedMachine>(readMachineFile(path)),
                                                   std::move(simulation)),
      folder.path());
  ASSERT_FALSE(std::holds_alternative<std::string>(served));
  EXPECT_EQ(clientRun("socket:" + folder.path(), {"write", "F0Md", "01"}).exit, 0);
  EXPECT_EQ(clientRun("socket:" + folder.path(), {"read", "F0Md"}).out, "01\n");
  const MutexLock lock(mutex);
  EXPECT_EQ(journal,
            "open type 0 -> connection 1\n"
            "call 1 write F0Md size 1 bytes 01 -> done\n"
            "close 1 -> done\n"
            "open type 0 -> connection 2\n"
            "call 2 info F0Md -> ui8  1\n"
            "call 2 read F0Md size 1 -> 01\n"
            "close 2 -> done\n");
}

TEST(ForeignExample, ListsTheKeysThatCanBeRead) {
  const std::string path = kBuiltIns + "laptop.txt";
  setenv("HALVARIN_MACHINE", ("file:" + path).c_str(), 1);
  const ProgramRun run = runProgram(HALVARIN_EXAMPLE, {});
  EXPECT_EQ(run.exit, 0);
  EXPECT_THAT(run.out, HasSubstr("\nTC0P  2c a1\n"));
  const auto keys = keysOf(readMachineFile(path));
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'),
            std::count_if(keys.begin(), keys.end(),
                          [](const RecordedKey& key) { return key.result == 0; }));
}

TEST(ForeignExample, SaysThatThereIsNoController) {
  setenv("HALVARIN_MACHINE", "mine", 1);
  const ProgramRun run = runProgram(HALVARIN_EXAMPLE, {});
  EXPECT_EQ(run.exit, 1);
  EXPECT_THAT(run.err, HasSubstr("\nno controller\n"));
}

TEST(ForeignExample, StandsOnItsPageAsItIs) {
  const std::string source = HALVARIN_SOURCE_DIR;
  const std::string example = fileText(source + "/examples/list_keys.c");
  ASSERT_FALSE(example.empty());
  const std::string code = example.substr(example.find("#include"));
  EXPECT_THAT(fileText(source + "/docs/simulated-machine.md"), HasSubstr("```c\n" + code + "```"));
}

}  // namespace
}  // namespace halvarin::test
