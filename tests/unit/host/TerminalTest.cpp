#include "host/Terminal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

namespace halvarin::test {
namespace {

/// Standard output, to be replaced; as it was afterwards.
class Terminal : public testing::Test {
 protected:
  Terminal() : kept_(dup(STDOUT_FILENO)) {}
  ~Terminal() override {
    dup2(kept_, STDOUT_FILENO);
    close(kept_);
  }

 private:
  int kept_;
};

TEST_F(Terminal, MayBeColouredUnlessNoColorIsSet) {
  const int primary = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_NE(primary, -1);
  ASSERT_EQ(grantpt(primary), 0);
  ASSERT_EQ(unlockpt(primary), 0);
  const int terminal = open(ptsname(primary), O_RDWR | O_NOCTTY);
  ASSERT_NE(terminal, -1);
  dup2(terminal, STDOUT_FILENO);
  unsetenv("NO_COLOR");
  EXPECT_TRUE(host::mayColour());
  setenv("NO_COLOR", "", 1);
  EXPECT_TRUE(host::mayColour());
  setenv("NO_COLOR", "1", 1);
  EXPECT_FALSE(host::mayColour());
  close(terminal);
  close(primary);
}

TEST_F(Terminal, FilesAreNotColoured) {
  unsetenv("NO_COLOR");
  const int file = open("/dev/null", O_WRONLY);
  dup2(file, STDOUT_FILENO);
  close(file);
  EXPECT_FALSE(host::mayColour());
}

TEST_F(Terminal, NumberOfAMissingOutputIsTakenAndCannotBeWrittenTo) {
  close(STDOUT_FILENO);
  host::occupyStandardDescriptors();
  EXPECT_NE(fcntl(STDOUT_FILENO, F_GETFD), -1);
  EXPECT_EQ(write(STDOUT_FILENO, "x", 1), -1);
}

}  // namespace
}  // namespace halvarin::test
