// The program over macOS's bodies and the stand-in, beside the program of this computer: on the
// same machine both say the same.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/generated/TestPaths.h"
#include "tests/support/ProgramRun.h"

namespace halvarin::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

/// The program on a Mac that is the machine of one of our files.
ProgramRun darwinRun(const std::string& machine, const std::vector<std::string>& words) {
  const std::string path = std::string(HALVARIN_SOURCE_DIR) + "/tests/machines/" + machine;
  setenv("HALVARIN_STAND_IN_MACHINE", path.c_str(), 1);
  return runProgram(HALVARIN_DARWIN, words);
}

/// The same on this computer, which is told to take that machine.
ProgramRun usualRun(const std::string& machine, std::vector<std::string> words) {
  words.insert(words.begin(), {"--machine", machineFile(machine)});
  return halvarinRun(words);
}

/// What both must say alike: all but how they came to the machine.
json withoutKind(const std::string& text) {
  json value = json::parse(text);
  if (value.is_object() && value.contains("machine")) {
    value["machine"].erase("kind");
  }
  return value;
}

TEST(DarwinProgram, SaysOfEachMachineWhatTheUsualOneSays) {
  const std::vector<std::vector<std::string>> commands{
      {"sensors", "--json"}, {"keys", "--json"}, {"fans", "--json"}, {"test", "sensors", "--json"}};
  for (const char* machine : {"healthy.txt", "every-type.txt", "refusals.txt", "fans-five.txt"}) {
    for (const std::vector<std::string>& command : commands) {
      SCOPED_TRACE(machine + (" " + command.front()));
      const ProgramRun darwin = darwinRun(machine, command);
      const ProgramRun usual = usualRun(machine, command);
      EXPECT_EQ(darwin.exit, usual.exit) << darwin.err;
      ASSERT_FALSE(darwin.out.empty()) << darwin.err;
      EXPECT_EQ(withoutKind(darwin.out), withoutKind(usual.out));
    }
  }
}

/// A value with every list in it sorted.
json withoutOrder(json value) {
  for (json& each : value) {
    each = each.is_structured() ? withoutOrder(each) : each;
  }
  if (value.is_array()) {
    std::sort(value.begin(), value.end());
  }
  return value;
}

// The system keeps no order of a property list's entries, and what is listed follows it.
TEST(DarwinProgram, KnowsTheSameModelsAndDescriptorsInWhateverOrder) {
  for (const char* command : {"models", "descriptors"}) {
    SCOPED_TRACE(command);
    const ProgramRun darwin = runProgram(HALVARIN_DARWIN, {command, "--json"});
    EXPECT_EQ(darwin.exit, 0) << darwin.err;
    EXPECT_EQ(withoutOrder(json::parse(darwin.out)),
              withoutOrder(json::parse(halvarinRun({command, "--json"}).out)));
  }
}

TEST(DarwinProgram, TakesTheComputerForItsMachine) {
  const ProgramRun run = darwinRun("healthy.txt", {"sensors", "--json"});
  EXPECT_EQ(json::parse(run.out)["machine"]["kind"], "this");
}

TEST(DarwinProgram, RefusesEveryOtherMachineBeforeItIsOpened) {
  for (const std::string& machine :
       {std::string("simulated"), machineFile("healthy.txt"), std::string("socket:/nowhere")}) {
    SCOPED_TRACE(machine);
    const ProgramRun run = darwinRun("healthy.txt", {"--machine", machine, "fan", "0", "4000"});
    EXPECT_EQ(run.exit, 2);
    EXPECT_THAT(run.err, HasSubstr("this computer alone"));
    EXPECT_EQ(run.out, "");
  }
}

TEST(DarwinProgram, ComputerWithoutAControllerIsToldAndExitsWith3) {
  const ProgramRun run = runProgram(HALVARIN_DARWIN, {"sensors"});
  EXPECT_EQ(run.exit, 3);
  EXPECT_THAT(run.err, HasSubstr("no System Management Controller"));
}

TEST(DarwinProgram, AdvisesNoMachineThatItWouldRefuse) {
  EXPECT_THAT(runProgram(HALVARIN_DARWIN, {"sensors"}).err, Not(HasSubstr("--machine")));
  const ProgramRun help = runProgram(HALVARIN_DARWIN, {"--help"});
  EXPECT_EQ(help.exit, 0);
  EXPECT_THAT(help.out, HasSubstr("this computer alone"));
  for (const char* absent : {"simulated", "file:", "socket:", "--latency", "--fault"}) {
    EXPECT_THAT(help.out, Not(HasSubstr(absent)));
  }
  const ProgramRun fault = runProgram(HALVARIN_DARWIN, {"--fault", "vanish:1", "sensors"});
  EXPECT_EQ(fault.exit, 2);
  EXPECT_THAT(fault.err, HasSubstr("this computer alone"));
  EXPECT_THAT(fault.err, Not(HasSubstr("--machine")));
}

/// The program where the controller is there and opening it is refused.
ProgramRun refusedRun(const char* status, const std::vector<std::string>& words) {
  setenv("HALVARIN_STAND_IN_REFUSAL", status, 1);
  return runProgram(HALVARIN_DARWIN, words);
}

// Users get the first, processes without the right or in a sandbox the second.
TEST(DarwinProgram, ControllerThatMayNotBeOpenedIsToldAndExitsWith5) {
  for (const char* status : {"e00002c1", "e00002e2"}) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"sensors"}, std::vector<std::string>{"keys", "--dump"}}) {
      SCOPED_TRACE(status + (" " + words.front()));
      const ProgramRun run = refusedRun(status, words);
      EXPECT_EQ(run.exit, 5);
      EXPECT_THAT(run.err, HasSubstr("not permitted"));
      EXPECT_THAT(run.err, Not(HasSubstr("docs/")));
    }
  }
}

}  // namespace
}  // namespace halvarin::test
