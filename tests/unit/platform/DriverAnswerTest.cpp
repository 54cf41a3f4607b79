#include "platform/machine/linux/DriverAnswer.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <vector>

namespace halvarin::test {
namespace {

using platform::DriverAnswer;
using platform::MachineStatus;

MachineStatus status(std::uint32_t number) {
  return static_cast<MachineStatus>(number);
}

TEST(DriverAnswer, TellsTheSystemsErrorsInThePlatformsStatuses) {
  struct Row {
    int error;
    std::uint32_t status;
  };
  for (const Row& row : std::vector<Row>{{0, 0},
                                         {EACCES, 0xE00002C1},
                                         {EPERM, 0xE00002C1},
                                         {EROFS, 0xE00002C1},
                                         {ENOENT, 0xE00002C0},
                                         {ENODEV, 0xE00002C0},
                                         {ENXIO, 0xE00002C0},
                                         {EBUSY, 0xE00002D5},
                                         {EAGAIN, 0xE00002D5},
                                         {EIO, 0xE00002CA},
                                         {EBADMSG, 0xE00002CA},
                                         {EMFILE, 0xE00002BE},
                                         {ENFILE, 0xE00002BE}}) {
    EXPECT_EQ(platform::statusOf(row.error), status(row.status)) << row.error;
    EXPECT_EQ(platform::failure(row.error).status, status(row.status)) << row.error;
  }
}

TEST(DriverAnswer, RefusesWithTheControllersResultAndNoStatus) {
  const DriverAnswer answer = platform::refusal(0x84);
  EXPECT_EQ(answer.status, 0);
  EXPECT_EQ(answer.reply.result, 0x84);
}

TEST(DriverAnswer, TellsWhatBecameOfAWrite) {
  struct Row {
    int error;
    std::uint32_t status;
    std::uint8_t result;
  };
  for (const Row& row : std::vector<Row>{{0, 0, 0},
                                         {EINVAL, 0, 0x89},
                                         {ERANGE, 0, 0x89},
                                         {ENOTSUP, 0, 0x86},
                                         {EROFS, 0, 0x86},
                                         {EREMOTEIO, 0, 0x86},
                                         {EACCES, 0xE00002C1, 0},
                                         {ENODEV, 0xE00002C0, 0},
                                         {EIO, 0xE00002CA, 0}}) {
    const DriverAnswer answer = platform::writeAnswer(row.error);
    EXPECT_EQ(answer.status, status(row.status)) << row.error;
    EXPECT_EQ(answer.reply.result, row.result) << row.error;
  }
}

TEST(DriverAnswer, TellsOfAModeThatIsNotShownAsOfAFailedTransfer) {
  EXPECT_EQ(platform::modeAnswer(EREMOTEIO).status, status(0xE00002CA));
  EXPECT_EQ(platform::modeAnswer(0).status, 0);
  EXPECT_EQ(platform::modeAnswer(0).reply.result, 0);
  EXPECT_EQ(platform::modeAnswer(EINVAL).reply.result, 0x89);
  EXPECT_EQ(platform::modeAnswer(EACCES).status, status(0xE00002C1));
}

}  // namespace
}  // namespace halvarin::test
