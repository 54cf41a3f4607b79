#include "selftest/ProcessorHeater.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/machine/BareComputer.h"
#include "tests/contract/ThreadShortage.h"
#include "tests/support/Machines.h"
#include "tests/support/Until.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;

constexpr auto kLimit = 60s;  // for a busy computer; what is waited for comes within milliseconds

/// "" when the thread that the file tells of has ended, which may be while it is read.
std::string lineOf(const std::filesystem::path& file) {
  std::ifstream stream(file);
  std::string line;
  std::getline(stream, line);
  return line;
}

const std::filesystem::path kTasks = "/proc/self/task";

/// The folders in which the kernel tells of this process's threads.
std::vector<std::filesystem::path> threads() {
  std::vector<std::filesystem::path> found;
  for (const auto& each : std::filesystem::directory_iterator(kTasks)) {
    found.push_back(each.path());
  }
  return found;
}

/// Those that the heater's queue has named, as far as the kernel keeps names.
std::vector<std::filesystem::path> heaterThreads() {
  std::vector<std::filesystem::path> all = threads();
  const std::string name(kHeaterQueueLabel.substr(0, 15));
  all.erase(std::remove_if(all.begin(), all.end(),
                           [&](const auto& thread) { return lineOf(thread / "comm") != name; }),
            all.end());
  return all;
}

/// The processor time that a thread has used, in the kernel's ticks; 0 when it has ended.
std::int64_t ticksOf(const std::filesystem::path& thread) {
  const std::string stat = lineOf(thread / "stat");
  std::istringstream behindName(stat.substr(std::min(stat.size(), stat.rfind(')') + 1)));
  const std::vector<std::string> fields(std::istream_iterator<std::string>(behindName), {});
  constexpr std::size_t kUserTime = 11;
  constexpr std::size_t kSystemTime = 12;
  return fields.size() > kSystemTime
             ? std::stoll(fields[kUserTime]) + std::stoll(fields[kSystemTime])
             : 0;
}

bool thereAreHeaterThreads(std::size_t count) {
  return becomesTrue(kLimit, [&] { return heaterThreads().size() == count; });
}

bool allUseProcessorTime(const std::vector<std::filesystem::path>& heating) {
  return becomesTrue(kLimit, [&] {
    return std::all_of(heating.begin(), heating.end(),
                       [](const auto& thread) { return ticksOf(thread) >= 2; });
  });
}

void installComputer(std::string processor, std::uint32_t logicalProcessors) {
  platform::RecordedMachine machine = machineWith({});
  machine.processor = std::move(processor);
  machine.logicalProcessors = logicalProcessors;
  install(std::move(machine));
}

/// A computer that tells only what is given here.
class ReticentComputer : public platform::BareComputer {
 public:
  ReticentComputer(Value processor, Value logicalProcessors)
      : processor_(std::move(processor)), logicalProcessors_(std::move(logicalProcessors)) {}

  [[nodiscard]] Value setting(std::string_view name) override {
    if (name == "machdep.cpu.brand_string") {
      return processor_;
    }
    return name == "hw.logicalcpu" ? logicalProcessors_ : Value();
  }

 private:
  const Value processor_;
  const Value logicalProcessors_;
};

/// Every test begins and ends with the heater off.
class ProcessorHeater : public testing::Test {
 protected:
  ProcessorHeater() {
    pid_t first = 0;
    std::thread([&] { first = ::gettid(); }).join();
    EXPECT_TRUE(becomesTrue(kLimit, [&] { return !exists(kTasks / std::to_string(first)); }));
    threadsBefore_ = threads().size();  // with the one that the thread sanitizer adds to the first
  }
  ~ProcessorHeater() override {
    installComputer("Apple M1", 1);
    loadCores(false);
    EXPECT_TRUE(thereAreHeaterThreads(0));
    platform::setMachine(nullptr);
  }

  /// A thread counts from its making on, whether it is named yet or not.
  [[nodiscard]] std::size_t newThreads() const { return threads().size() - threadsBefore_; }

 private:
  std::size_t threadsBefore_ = 0;
};

TEST_F(ProcessorHeater, DeliberateOneOfThreeProcessorsIsLeftFreeAndTheOthersAreBusyUntilOff) {
  installComputer("Apple M1 Pro", 3);
  loadCores(true);
  EXPECT_TRUE(isHeaterOn());
  EXPECT_EQ(newThreads(), 2U);
  ASSERT_TRUE(thereAreHeaterThreads(2));
  EXPECT_TRUE(allUseProcessorTime(heaterThreads()));
  EXPECT_EQ(newThreads(), 2U);
  loadCores(false);
  EXPECT_FALSE(isHeaterOn());
  EXPECT_TRUE(thereAreHeaterThreads(0));
}

TEST_F(ProcessorHeater, DeliberateASingleProcessorIsNotHeatedThoughTheHeaterIsOn) {
  installComputer("Apple M1", 1);
  loadCores(true);
  EXPECT_TRUE(isHeaterOn());
  EXPECT_EQ(newThreads(), 0U);
  loadCores(false);
  EXPECT_FALSE(isHeaterOn());
}

TEST_F(ProcessorHeater, TheBareNameOfTheFamilyIsHeatedToo) {
  installComputer("Apple M", 2);
  loadCores(true);
  EXPECT_TRUE(isHeaterOn());
  EXPECT_TRUE(thereAreHeaterThreads(1));
}

TEST_F(ProcessorHeater, OfALongNameTheBeginningCounts) {
  installComputer("Apple M" + std::string(400, 'x'), 2);
  loadCores(true);
  EXPECT_TRUE(isHeaterOn());
  EXPECT_TRUE(thereAreHeaterThreads(1));
}

TEST_F(ProcessorHeater, DeliberateAnotherProcessorIsNeverHeated) {
  for (const char* name : {"Intel(R) Core(TM) i7-8850H CPU @ 2.60GHz", "apple m1", " Apple M1",
                           "Apple A12Z", "Apple ", "AppleM1", "Apple  M1", ""}) {
    SCOPED_TRACE(name);
    installComputer(name, 3);
    loadCores(true);
    EXPECT_FALSE(isHeaterOn());
    EXPECT_EQ(newThreads(), 0U);
  }
}

TEST_F(ProcessorHeater, DeliberateOnAnotherProcessorOffDoesNothingEither) {
  installComputer("Apple M1", 2);
  loadCores(true);
  installComputer("Intel(R) Test CPU", 2);
  loadCores(false);
  EXPECT_TRUE(isHeaterOn());
  ASSERT_TRUE(thereAreHeaterThreads(1));
  EXPECT_TRUE(allUseProcessorTime(heaterThreads()));
}

TEST_F(ProcessorHeater, StaysOffWhereTheProcessorOrTheirNumberIsNotKnown) {
  const std::vector<std::pair<Value, Value>> computers{
      {Value(), 3}, {"Apple M1", Value()}, {"Apple M1", 0}, {"Apple M1", -3}, {Value(), Value()}};
  for (const auto& [processor, count] : computers) {
    SCOPED_TRACE(processor.description() + " " + count.description());
    platform::setMachine(std::make_shared<ReticentComputer>(processor, count));
    loadCores(true);
    EXPECT_FALSE(isHeaterOn());
    EXPECT_EQ(newThreads(), 0U);
  }
}

TEST_F(ProcessorHeater, OffNeedsNoNumberOfProcessors) {
  installComputer("Apple M1", 2);
  loadCores(true);
  platform::setMachine(std::make_shared<ReticentComputer>("Apple M1", Value()));
  loadCores(false);
  EXPECT_FALSE(isHeaterOn());
  EXPECT_TRUE(thereAreHeaterThreads(0));
}

TEST_F(ProcessorHeater, DeliberateTheFlagIsSharedSoThatOneOffEndsTheJobsOfEveryOn) {
  installComputer("Apple M1", 2);
  loadCores(true);
  loadCores(true);
  EXPECT_TRUE(thereAreHeaterThreads(2));
  loadCores(false);
  EXPECT_TRUE(thereAreHeaterThreads(0));
}

TEST_F(ProcessorHeater, MayBeStartedAgainAfterItWasStopped) {
  installComputer("Apple M1", 2);
  for (int round = 0; round < 3; ++round) {
    loadCores(true);
    EXPECT_TRUE(thereAreHeaterThreads(1));
    loadCores(false);
    EXPECT_TRUE(thereAreHeaterThreads(0));
  }
}

TEST_F(ProcessorHeater, AJobThatStartsAfterOffDoesNothing) {
  ASSERT_FALSE(isHeaterOn());
  heatWhileOn();
  installComputer("Apple M1", 1);
  loadCores(true);
  loadCores(false);
  heatWhileOn();
}

TEST_F(ProcessorHeater, WithoutAnyThreadTheCallerIsNotKept) {
  const ThreadShortage shortage;
  installComputer("Apple M1", 4);
  loadCores(true);
  EXPECT_TRUE(isHeaterOn());
  EXPECT_EQ(newThreads(), 0U);
}

}  // namespace
}  // namespace halvarin::test
