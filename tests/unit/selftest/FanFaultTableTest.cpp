// What the fan self-test says of each fault on each kind of machine, and the tables of it in
// docs/fan-self-test.md.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "base/NumberText.h"
#include "tests/support/DocumentTables.h"
#include "tests/unit/selftest/FanTests.h"

namespace halvarin::test {
namespace {

using platform::FanFault;
using platform::RecordedMachine;
using testing::Each;

struct FaultRow {
  const char* name;
  std::optional<FanFault::Kind> kind;
  bool isAtRest = false;
};
constexpr std::array<FaultRow, 6> kFaults{{
    {"none", std::nullopt},
    {"stalled", FanFault::Kind::stalled},
    {"slow", FanFault::Kind::slow},
    {"weak", FanFault::Kind::weak},
    {"deaf, turning", FanFault::Kind::deaf},
    {"deaf, at rest", FanFault::Kind::deaf, true},
}};

struct StyleColumn {
  const char* name;
  FanStyle style;
  std::uint32_t fan = 0;  // the second has the lower-case mode key
  bool hasIntegerSpeeds = false;
};
constexpr std::array<StyleColumn, 5> kStyles{{
    {"force bits", FanStyle::forceBits},
    {"force bits, \"ui16\" speeds", FanStyle::forceBits, 0, true},
    {"mode key \"F?Md\"", FanStyle::modeKeys},
    {"mode key \"F?md\"", FanStyle::modeKeys, 1},
    {"mode key and \"Ftst\"", FanStyle::testFlag},
}};

/// What a run said: its verdict, and the figures of its last log line.
struct Outcome {
  std::string verdict;
  std::string highestRpm;
  std::string leastRpm;
  std::string share;
  std::string seconds;
};

/// A fan's key of a machine; the machine has it.
platform::RecordedKey& fanKeyOf(RecordedMachine& machine, std::uint32_t fan, const char* what) {
  const auto code = platform::fourBytes("F" + std::to_string(fan) + what);
  return *std::find_if(machine.keys.begin(), machine.keys.end(),
                       [&](const auto& key) { return key.code == code; });
}

RecordedMachine machineOf(const FaultRow& fault, const StyleColumn& column) {
  RecordedMachine machine = fanMachine(column.style);
  if (fault.isAtRest) {
    for (const char* what : {"Ac", "Tg"}) {
      fanKeyOf(machine, column.fan, what).bytes = {0, 0};
    }
  }
  if (column.hasIntegerSpeeds) {
    for (const char* what : {"Ac", "Mn", "Mx", "Tg"}) {
      // Its integers count in quarters, so that the same bytes are the same speed.
      fanKeyOf(machine, column.fan, what).type = platform::fourBytes("ui16");
    }
  }
  return machine;
}

/// What follows a name in a line, up to the next blank.
std::string wordAfter(const std::string& line, const std::string& name) {
  const std::size_t at = line.find(name);
  if (at == std::string::npos) {
    return "no " + name + "in " + line;
  }
  const std::size_t begin = at + name.size();
  return line.substr(begin, line.find(' ', begin) - begin);
}

class FanFaultTable : public FanTestCase {
 protected:
  [[nodiscard]] Outcome outcomeOf(const FaultRow& fault, const StyleColumn& column) {
    return inOwnProcess([&] {
      platform::Simulation simulation;
      if (fault.kind) {
        simulation.fanFaults = {{column.fan, *fault.kind}};
      }
      startOn(machineOf(fault, column), std::move(simulation));
      const auto test = testOf(column.fan);
      const auto before = clock_->now();
      test->startTestWithProgress(nullptr, {});
      const std::chrono::duration<double> length = clock_->now() - before;
      const std::string line = logged().back();
      return Outcome{test->status(), wordAfter(line, "spd_max: "), wordAfter(line, "spd_min: "),
                     wordAfter(line, "rdr: "), fixedText(length.count(), 2)};
    });
  }
  /// One verdict for each style.
  [[nodiscard]] std::vector<std::string> verdictsOf(const std::string& name) {
    const auto fault = std::find_if(kFaults.begin(), kFaults.end(),
                                    [&](const FaultRow& row) { return row.name == name; });
    std::vector<std::string> verdicts;
    verdicts.reserve(kStyles.size());
    for (const StyleColumn& column : kStyles) {
      verdicts.push_back(outcomeOf(*fault, column).verdict);
    }
    return verdicts;
  }

 private:
  /// The library has one machine for the life of a process, so every run has a process.
  template <typename Run>
  static Outcome inOwnProcess(const Run& run) {
    std::array<int, 2> ends{-1, -1};
    EXPECT_EQ(pipe(ends.data()), 0);
    const pid_t process = fork();
    EXPECT_GE(process, 0);
    if (process == 0) {
      const bool isTold = tell(run(), ends[1]);
      _exit(isTold && !HasFailure() ? 0 : 1);
    }
    close(ends[1]);
    const Outcome outcome = heardFrom(ends[0]);
    close(ends[0]);
    int status = -1;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    EXPECT_EQ(status, 0);
    return outcome;
  }

  static bool tell(const Outcome& outcome, int pipe) {
    const std::string text = outcome.verdict + "\n" + outcome.highestRpm + "\n" + outcome.leastRpm +
                             "\n" + outcome.share + "\n" + outcome.seconds + "\n";
    return write(pipe, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  }

  static Outcome heardFrom(int pipe) {
    std::string text;
    for (char each = 0; read(pipe, &each, 1) == 1;) {
      text.push_back(each);
    }
    std::istringstream lines(text);
    Outcome outcome;
    for (std::string* field : {&outcome.verdict, &outcome.highestRpm, &outcome.leastRpm,
                               &outcome.share, &outcome.seconds}) {
      std::getline(lines, *field);
    }
    return outcome;
  }
};

// ---- the document ------------------------------------------------------------------------------

/// One table, whose cells are made of the outcomes.
template <typename CellOf>
std::string tableOf(const std::vector<std::vector<Outcome>>& rows, const CellOf& cellOf) {
  std::string text = "| Fault |";
  std::string rule = "|---|";
  for (const StyleColumn& column : kStyles) {
    text += std::string(" ") + column.name + " |";
    rule += "---|";
  }
  text += "\n" + rule + "\n";
  for (std::size_t row = 0; row < rows.size(); ++row) {
    text += std::string("| ") + kFaults[row].name + " |";
    for (const Outcome& outcome : rows[row]) {
      text += " " + cellOf(outcome) + " |";
    }
    text += "\n";
  }
  return text;
}

std::string tablesOf(const std::vector<std::vector<Outcome>>& rows) {
  return "Verdicts:\n\n" + tableOf(rows, [](const Outcome& outcome) { return outcome.verdict; }) +
         "\nMeasured highest and least speed in RPM, share of the range, length of the test:\n\n" +
         tableOf(rows, [](const Outcome& outcome) {
           return outcome.highestRpm + ", " + outcome.leastRpm + "; " + outcome.share + "; " +
                  outcome.seconds + " s";
         });
}

TEST_F(FanFaultTable, GoldenTablesAreThoseOfTheDocument) {
  std::vector<std::vector<Outcome>> rows;
  for (const FaultRow& fault : kFaults) {
    auto& row = rows.emplace_back();
    for (const StyleColumn& column : kStyles) {
      row.push_back(outcomeOf(fault, column));
    }
  }
  expectInDocument("fan-self-test.md", "FanFaultTableTest", tablesOf(rows));
}

// ---- what must be true, whatever the document says ---------------------------------------------

TEST_F(FanFaultTable, HealthyFanPassesInEveryStyle) {
  EXPECT_THAT(verdictsOf("none"), Each("Passed"));
}

TEST_F(FanFaultTable, StalledFanTimesOutInEveryStyle) {
  EXPECT_THAT(verdictsOf("stalled"), Each("Timeout"));
}

TEST_F(FanFaultTable, FanThatReachesHalfItsRangeFailsInEveryStyle) {
  EXPECT_THAT(verdictsOf("weak"), Each("Failed"));
}

TEST_F(FanFaultTable, SlowFanFailsInEveryStyle) {
  EXPECT_THAT(verdictsOf("slow"), Each("Failed"));
}

TEST_F(FanFaultTable, DeafFanThatTurnsFailsInEveryStyle) {
  EXPECT_THAT(verdictsOf("deaf, turning"), Each("Failed"));
}

TEST_F(FanFaultTable, DeafFanAtRestTimesOutInEveryStyle) {
  EXPECT_THAT(verdictsOf("deaf, at rest"), Each("Timeout"));
}

// ---- what the test cannot tell -----------------------------------------------------------------

class FanTestLimits : public FanTestCase {};

TEST_F(FanTestLimits, DeafFanPassesWhoseWholeRangeIsNearItsSpeed) {
  RecordedMachine machine = fanMachine(FanStyle::modeKeys);
  fanKeyOf(machine, 0, "Mn").bytes = {0x1E, 0x14};  // 1925, and the fan turns at 2000
  fanKeyOf(machine, 0, "Mx").bytes = {0x20, 0x6C};  // 2075
  platform::Simulation simulation;
  simulation.fanFaults = {{0, FanFault::Kind::deaf}};
  startOn(std::move(machine), std::move(simulation));
  const auto test = testOf(0);
  test->startTestWithProgress(nullptr, {});
  EXPECT_EQ(test->status(), "Passed");
  EXPECT_EQ(wordAfter(logged().back(), "rdr: "), "0.000");
}

TEST_F(FanTestLimits, DeliberateHealthyFanFailsWhenAnotherTestSwitchesTheFlagOffAtItsBeginning) {
  startOn(fanMachine(FanStyle::testFlag));
  const auto first = testOf(0);
  const auto second = testOf(1);
  bool hasBegun = false;
  second->startTestWithProgress(nullptr, [&](const DictionaryRef&) {
    if (!hasBegun) {
      hasBegun = true;
      first->startTestWithProgress(nullptr, {});
    }
  });
  EXPECT_EQ(first->status(), "Passed");
  EXPECT_EQ(second->status(), "Failed");
}

}  // namespace
}  // namespace halvarin::test
