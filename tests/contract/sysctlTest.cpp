#include <gtest/gtest.h>
#include <sys/sysctl.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "platform/machine/BareComputer.h"
#include "platform/machine/CurrentMachine.h"

namespace halvarin::test {
namespace {

class MachineWithSettings : public platform::BareComputer {
 public:
  [[nodiscard]] Value setting(std::string_view name) override {
    if (name == "hw.model") {
      return "Test1,1";
    }
    if (name == "hw.empty") {
      return "";
    }
    return name == "hw.logicalcpu" ? Value(0x01020304) : Value();
  }
};

/// A buffer whose bytes behind the setting show whether they were touched.
constexpr char kUntouched = '#';

class SysctlTest : public testing::Test {
 protected:
  SysctlTest() {
    platform::setMachine(std::make_shared<MachineWithSettings>());
    buffer_.fill(kUntouched);
    errno = 0;
  }
  ~SysctlTest() override { platform::setMachine(nullptr); }

  int ask(const char* name, std::size_t capacity) {
    size_ = capacity;
    return sysctlbyname(name, buffer_.data(), &size_, nullptr, 0);
  }
  [[nodiscard]] std::string buffer() const { return {buffer_.data(), buffer_.size()}; }

  std::array<char, 12> buffer_{};
  std::size_t size_ = 0;
};

TEST_F(SysctlTest, CopiesATextWithItsZero) {
  EXPECT_EQ(ask("hw.model", buffer_.size()), 0);
  EXPECT_EQ(size_, 8U);
  EXPECT_EQ(buffer(), std::string("Test1,1\0####", 12));
}

TEST_F(SysctlTest, ABufferOfTheExactSizeIsEnough) {
  EXPECT_EQ(ask("hw.model", 8), 0);
  EXPECT_EQ(size_, 8U);
  EXPECT_EQ(buffer(), std::string("Test1,1\0####", 12));
}

TEST_F(SysctlTest, ATooSmallBufferGetsTheBytesThatFitAndOutOfMemory) {
  EXPECT_EQ(ask("hw.model", 7), -1);
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(size_, 7U);
  EXPECT_EQ(buffer(), "Test1,1#####");
}

TEST_F(SysctlTest, ABufferWithoutRoomGetsNothingAndOutOfMemory) {
  EXPECT_EQ(ask("hw.model", 0), -1);
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(size_, 0U);
  EXPECT_EQ(buffer(), std::string(12, kUntouched));
}

TEST_F(SysctlTest, AnEmptyTextIsItsZeroAlone) {
  EXPECT_EQ(ask("hw.empty", buffer_.size()), 0);
  EXPECT_EQ(size_, 1U);
  EXPECT_EQ(buffer(), std::string("\0###########", 12));
}

TEST_F(SysctlTest, CopiesAnIntegerAsFourBytes) {
  EXPECT_EQ(ask("hw.logicalcpu", buffer_.size()), 0);
  EXPECT_EQ(size_, 4U);
  std::int32_t number = 0;
  std::memcpy(&number, buffer_.data(), sizeof number);
  EXPECT_EQ(number, 0x01020304);
  EXPECT_EQ(buffer().substr(4), std::string(8, kUntouched));
}

TEST_F(SysctlTest, ATooSmallBufferForAnIntegerIsOutOfMemory) {
  EXPECT_EQ(ask("hw.logicalcpu", 3), -1);
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(size_, 3U);
  EXPECT_EQ(buffer().substr(3), std::string(9, kUntouched));
}

TEST_F(SysctlTest, TellsTheSizeWithoutABuffer) {
  std::size_t size = 0;
  EXPECT_EQ(sysctlbyname("hw.model", nullptr, &size, nullptr, 0), 0);
  EXPECT_EQ(size, 8U);
  size = 999;
  EXPECT_EQ(sysctlbyname("hw.logicalcpu", nullptr, &size, nullptr, 0), 0);
  EXPECT_EQ(size, 4U);
}

TEST_F(SysctlTest, TellsWithoutBufferAndSizeWhetherASettingExists) {
  EXPECT_EQ(sysctlbyname("hw.model", nullptr, nullptr, nullptr, 0), 0);
  EXPECT_EQ(sysctlbyname("hw.unknown", nullptr, nullptr, nullptr, 0), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(SysctlTest, AnUnknownNameIsNoEntryAndTouchesNothing) {
  for (const char* name : {"", "hw", "hw.mode", "hw.model2", "HW.MODEL"}) {
    SCOPED_TRACE(name);
    errno = 0;
    EXPECT_EQ(ask(name, 10), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(size_, 10U);
    EXPECT_EQ(buffer(), std::string(12, kUntouched));
  }
}

TEST_F(SysctlTest, ANewValueIsNotPermittedAndTouchesNothing) {
  std::array<char, 4> value{'N', 'e', 'w', '\0'};
  size_ = 10;
  EXPECT_EQ(sysctlbyname("hw.model", buffer_.data(), &size_, value.data(), value.size()), -1);
  EXPECT_EQ(errno, EPERM);
  EXPECT_EQ(size_, 10U);
  EXPECT_EQ(buffer(), std::string(12, kUntouched));
  EXPECT_EQ(ask("hw.model", buffer_.size()), 0);
  EXPECT_STREQ(buffer_.data(), "Test1,1");
}

TEST_F(SysctlTest, ABareComputerKnowsItsLogicalProcessorsAndNoModel) {
  platform::setMachine(std::make_shared<platform::BareComputer>());
  EXPECT_EQ(ask("hw.logicalcpu", 4), 0);
  unsigned processors = 0;
  std::memcpy(&processors, buffer_.data(), sizeof processors);
  EXPECT_EQ(processors, std::thread::hardware_concurrency());
  EXPECT_EQ(ask("hw.model", buffer_.size()), -1);
  EXPECT_EQ(errno, ENOENT);
}

}  // namespace
}  // namespace halvarin::test
