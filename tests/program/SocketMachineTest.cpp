#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/machine/MachineFile.h"
#include "platform/machine/SimulatedMachine.h"
#include "platform/machine/remote/MachineServer.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/SharedData.h"
#include "tests/support/SocketFolder.h"

namespace halvarin::test {
namespace {

using nlohmann::ordered_json;
using platform::MachineServer;
using platform::RecordedMachine;
using platform::SimulatedMachine;
using platform::Simulation;

using testing::HasSubstr;

/// Far above what anything here takes; only a test that fails waits so long.
constexpr std::chrono::seconds kPatience{20};

/// One of our machine files, served to the programs that the test runs.
class Served {
 public:
  explicit Served(const std::string& file, Simulation simulation = {}) {
    simulation.journal = [this](std::string_view line) {
      const std::lock_guard lock(mutex_);
      journal_.append(line).append("\n");
      changed_.notify_all();
    };
    const std::string path = machineFile(file).substr(std::string("file:").size());
    machine_ = std::make_shared<SimulatedMachine>(
        std::get<RecordedMachine>(platform::readMachineFile(path)), std::move(simulation));
    server_ =
        std::get<std::unique_ptr<MachineServer>>(MachineServer::serve(machine_, folder_.path()));
  }

  [[nodiscard]] std::string option() const { return "socket:" + folder_.path(); }
  [[nodiscard]] SimulatedMachine& machine() { return *machine_; }
  [[nodiscard]] std::string journal() {
    const std::lock_guard lock(mutex_);
    return journal_;
  }
  /// Whether the journal has the text within the patience.
  [[nodiscard]] bool waitForJournal(const std::string& text) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kPatience,
                             [&] { return journal_.find(text) != std::string::npos; });
  }
  /// Sends everybody away; what they left open is closed when this returns.
  void stop() { server_.reset(); }

 private:
  const SocketFolder folder_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::string journal_;
  std::shared_ptr<SimulatedMachine> machine_;
  std::unique_ptr<MachineServer> server_;
};

TEST(SocketOption, ShowsWhatTheMachineShowsInTheProgramItself) {
  const Served served("healthy.txt");
  for (const std::vector<std::string>& command :
       std::vector<std::vector<std::string>>{{"sensors", "--json"},
                                             {"sensors", "--all-keys", "--json"},
                                             {"keys", "--json"},
                                             {"keys", "--dump"}}) {
    SCOPED_TRACE(command.front() + command.back());
    std::vector<std::string> words{"--machine", machineFile("healthy.txt")};
    words.insert(words.end(), command.begin(), command.end());
    ProgramRun inside = halvarinRun(words);
    words[1] = served.option();
    const ProgramRun outside = halvarinRun(words);
    EXPECT_EQ(outside.exit, 0);
    EXPECT_EQ(outside.err, inside.err);
    // The kind is all that differs.
    const std::string file = "\"kind\": \"file\"";
    if (const auto at = inside.out.find(file); at != std::string::npos) {
      inside.out.replace(at, file.size(), "\"kind\": \"simulated\"");
    }
    EXPECT_GT(inside.out.size(), 1000U);
    EXPECT_EQ(outside.out, inside.out);
  }
}

TEST(SocketOption, AsksTheMachineTheSameAsInTheProgramItself) {
  const SocketFolder folder;
  Served served("every-type.txt");
  EXPECT_EQ(halvarinRun({"--machine", served.option(), "sensors"}).exit, 0);
  EXPECT_EQ(halvarinRun({"--machine", machineFile("every-type.txt"), "--journal",
                         folder.path("journal"), "sensors"})
                .exit,
            0);
  served.stop();
  // What the program itself leaves open at its end is closed for it here, as a kernel does.
  std::string inside = fileText(folder.path("journal"));
  ASSERT_THAT(inside, HasSubstr("open type 0 -> connection 1\n"));
  inside += inside.find("close 1") == std::string::npos ? "close 1 -> done\n" : "";
  EXPECT_EQ(served.journal(), inside);
}

TEST(SocketOption, HeadingSaysSimulated) {
  const Served served("healthy.txt");
  const ProgramRun run = halvarinRun({"--machine", served.option(), "sensors"});
  EXPECT_EQ(run.exit, 0);
  EXPECT_THAT(run.out, HasSubstr(" (simulated)"));
  const ProgramRun json = halvarinRun({"--machine", served.option(), "sensors", "--json"});
  EXPECT_EQ(ordered_json::parse(json.out).at("machine").at("kind"), "simulated");
}

TEST(SocketOption, ReadingsThatChangeOutsideShowInTheNextRun) {
  Served served("healthy.txt");
  const std::vector<std::string> words{"--machine", served.option(), "keys", "F0Mn", "--json"};
  const std::string before = halvarinRun(words).out;
  ASSERT_TRUE(served.machine().setReading("F0Mn", 1777));
  const std::string after = halvarinRun(words).out;
  EXPECT_NE(before, after);
  const ordered_json key = ordered_json::parse(after).at(0);
  EXPECT_EQ(key.at("key"), "F0Mn");
  EXPECT_EQ(key.at("bytes"), "0020DE44");  // 1777 as a float, least significant byte first
}

TEST(SocketOption, ConnectionOfAKilledProgramIsClosedForIt) {
  Simulation simulation;
  simulation.latency = std::chrono::milliseconds(20);  // many calls are still to come at the kill
  Served served("healthy.txt", std::move(simulation));
  RunningProgram program(HALVARIN_PROGRAM, {"--machine", served.option(), "sensors"});
  ASSERT_TRUE(served.waitForJournal("open type 0 -> connection 1\ncall 1 "));
  program.signal(SIGKILL);
  const auto run = program.waitForEnd(kPatience);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 128 + SIGKILL);
  EXPECT_TRUE(served.waitForJournal("close 1 -> done\n"));
}

TEST(SocketOption, ControllerThatGoesAwayEndsWithExit3) {
  Simulation simulation;
  simulation.vanishAfter = 0;
  const Served served("healthy.txt", std::move(simulation));
  const ProgramRun run = halvarinRun({"--machine", served.option(), "keys"});
  EXPECT_EQ(run.exit, 3);
  EXPECT_THAT(run.err, HasSubstr("the machine's controller has gone away"));
}

TEST(SocketOption, MachineThatNobodyServesEndsWithExit3AndOneLine) {
  const SocketFolder folder;
  std::ofstream(folder.path("file")) << "no socket";
  struct Row {
    std::string path;
    std::string reason;
  };
  const std::string longPath = folder.path(std::string(120, 'p'));
  for (const Row& row : std::vector<Row>{
           {folder.path("none"), "cannot connect: No such file or directory"},
           {folder.path("file"), "cannot connect: Connection refused"},
           {longPath, "the path of a socket has at most 107 bytes, this one has " +
                          std::to_string(longPath.size())},
       }) {
    for (const char* command : {"sensors", "keys"}) {
      const ProgramRun run = halvarinRun({"--machine", "socket:" + row.path, command});
      EXPECT_EQ(run.exit, 3);
      EXPECT_EQ(run.out, "");
      EXPECT_EQ(run.err, "halvarin: " + row.path + ": " + row.reason + "\n");
    }
  }
}

TEST(SocketOption, OptionsOfTheServingProcessAreRefused) {
  const Served served("healthy.txt");
  for (const std::vector<std::string>& option : std::vector<std::vector<std::string>>{
           {"--latency", "1ms"}, {"--fault", "TC0P=1"}, {"--journal", "j"}}) {
    std::vector<std::string> words{"--machine", served.option()};
    words.insert(words.end(), option.begin(), option.end());
    words.emplace_back("sensors");
    const ProgramRun run = halvarinRun(words);
    EXPECT_EQ(run.exit, 2) << option.front();
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err,
              "halvarin: --latency, --fault and --journal belong to the process that serves the "
              "machine: they go without --machine socket:PATH\n");
  }
  EXPECT_FALSE(std::filesystem::exists("j"));
}

TEST(SocketOption, SocketWithoutAPathIsRefused) {
  const ProgramRun run = halvarinRun({"--machine", "socket:", "sensors"});
  EXPECT_EQ(run.exit, 2);
  EXPECT_THAT(run.err, HasSubstr("or socket:PATH, not \"socket:\""));
}

TEST(SocketOption, HelpTellsWhatItIs) {
  const ProgramRun run = halvarinRun({"--help"});
  EXPECT_THAT(run.out, HasSubstr("socket:PATH"));
  EXPECT_THAT(run.out, HasSubstr("another process"));
}

}  // namespace
}  // namespace halvarin::test
