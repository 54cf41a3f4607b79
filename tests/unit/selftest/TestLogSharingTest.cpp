// Many writers of one log: every line is there, whole.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "selftest/TestLogWriter.h"
#include "tests/unit/selftest/TestLogFolder.h"

namespace halvarin::test {
namespace {

constexpr int kWriters = 6;
constexpr int kLinesEach = 150;
constexpr std::size_t kBeforeTheEntry = 25;  // the stamp and two blanks

/// Of many lengths, some beyond a page of memory.
std::string entryOf(int writer, int line) {
  return std::to_string(writer) + "/" + std::to_string(line) + "/" +
         std::string(static_cast<std::size_t>(line % 7) * 1000, static_cast<char>('a' + writer));
}

void writeLines(int writer) {
  for (int line = 0; line < kLinesEach; ++line) {
    appendTestLog("fantest", entryOf(writer, line));
  }
}

/// Every line is the next one of its writer, and in the end no writer has one left.
void expectEveryLineWholeAndInOrder(const std::string& log) {
  std::map<int, int> next;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    ASSERT_GT(line.size(), kBeforeTheEntry);
    const std::string entry = line.substr(kBeforeTheEntry);
    const int writer = std::stoi(entry);
    ASSERT_EQ(entry, entryOf(writer, next[writer]++));
  }
  for (int writer = 0; writer < kWriters; ++writer) {
    EXPECT_EQ(next[writer], kLinesEach) << writer;
  }
}

TEST(TestLogSharing, LinesOfSeveralThreadsAreAllThereAndWhole) {
  const TestLogFolder folder;
  std::vector<std::thread> writers;
  for (int writer = 0; writer < kWriters; ++writer) {
    writers.emplace_back([writer] { writeLines(writer); });
  }
  for (std::thread& writer : writers) {
    writer.join();
  }
  expectEveryLineWholeAndInOrder(folder.log("fantest"));
}

TEST(TestLogSharing, LinesOfSeveralProcessesAreAllThereAndWhole) {
  const TestLogFolder folder;
  std::vector<pid_t> processes;
  for (int writer = 0; writer < kWriters; ++writer) {
    const pid_t process = fork();
    ASSERT_GE(process, 0);
    if (process == 0) {
      writeLines(writer);
      _exit(0);
    }
    processes.push_back(process);
  }
  for (const pid_t process : processes) {
    int status = -1;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    EXPECT_EQ(status, 0);
  }
  expectEveryLineWholeAndInOrder(folder.log("fantest"));
}

}  // namespace
}  // namespace halvarin::test
