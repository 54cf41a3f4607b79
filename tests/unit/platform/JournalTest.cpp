#include "platform/machine/Journal.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/machine/MachineFile.h"

namespace halvarin::test {

namespace {

using platform::ControllerReply;
using platform::ControllerRequest;
using platform::FourBytes;
using platform::MachineStatus;

constexpr auto kNoDevice = static_cast<MachineStatus>(0xE00002C0);

ControllerRequest request(std::uint8_t command, FourBytes key, std::uint32_t size = 0) {
  ControllerRequest asked;
  asked.command = command;
  asked.key = key;
  asked.sizeBytes = size;
  return asked;
}

ControllerReply refusal(std::uint8_t result) {
  ControllerReply reply;
  reply.result = result;
  return reply;
}

TEST(Journal, ShowsTheBytesOfAReading) {
  ControllerReply reply;
  reply.bytes = {0x3A, 0x80, 0xFF};
  EXPECT_EQ(platform::journalCall(3, request(5, {'T', 'C', '0', 'P'}, 2), reply, 0),
            "call 3 read TC0P size 2 -> 3A80");
}

TEST(Journal, ShowsNoBytesOfAReadingOfNone) {
  EXPECT_EQ(platform::journalCall(1, request(5, {'E', 'M', 'P', 'T'}), {}, 0),
            "call 1 read EMPT size 0 -> ");
}

TEST(Journal, ShowsTheFirst32BytesOfALongerReading) {
  ControllerReply reply;
  reply.bytes.fill(0xAB);
  std::string all;
  for (int i = 0; i < 32; ++i) {
    all += "AB";
  }
  EXPECT_EQ(platform::journalCall(1, request(5, {'L', 'O', 'N', 'G'}, 4000000000U), reply, 0),
            "call 1 read LONG size 4000000000 -> " + all);
}

TEST(Journal, ShowsTheBytesThatAWriteCarries) {
  ControllerRequest asked = request(6, {'F', 'S', '!', ' '}, 2);
  asked.bytes = {0x00, 0x03, 0xEE};
  EXPECT_EQ(platform::journalCall(12, asked, {}, 0),
            "call 12 write FS!  size 2 bytes 0003 -> done");
}

TEST(Journal, ShowsTheKeyAtAnIndex) {
  ControllerRequest asked = request(8, {'#', 'K', 'E', 'Y'});  // left over from an earlier request
  asked.index = 41;
  ControllerReply reply;
  reply.key = {'F', 'N', 'u', 'm'};
  EXPECT_EQ(platform::journalCall(1, asked, reply, 0), "call 1 index 41 -> FNum");
}

TEST(Journal, ShowsTypeAndSizeOfAKey) {
  ControllerReply reply;
  reply.type = {'f', 'l', 't', ' '};
  reply.sizeBytes = 4;
  EXPECT_EQ(platform::journalCall(1, request(9, {'F', '0', 'A', 'c'}), reply, 0),
            "call 1 info F0Ac -> flt  4");
}

TEST(Journal, ShowsZeroBytesOfCodesAsQuestionMarks) {
  ControllerReply reply;
  reply.type = {'u', 'i', '8', '\0'};
  reply.sizeBytes = 1;
  EXPECT_EQ(platform::journalCall(1, request(9, {'F', '\0', 'A', 'c'}), reply, 0),
            "call 1 info F?Ac -> ui8? 1");
}

TEST(Journal, ShowsTheNumberOfAnUnknownCommand) {
  EXPECT_EQ(platform::journalCall(1, request(7, {'F', 'N', 'u', 'm'}), refusal(0x82), 0),
            "call 1 command 7 -> result 82");
}

TEST(Journal, ShowsTheResultByteOfARefusalOfEveryCommand) {
  struct Row {
    std::uint8_t command;
    const char* line;
  };
  for (const Row& row : std::vector<Row>{{5, "call 2 read TC0P size 2 -> result 84"},
                                         {6, "call 2 write TC0P size 2 bytes 0000 -> result 84"},
                                         {8, "call 2 index 0 -> result 84"},
                                         {9, "call 2 info TC0P -> result 84"}}) {
    const auto asked = request(row.command, {'T', 'C', '0', 'P'}, 2);
    EXPECT_EQ(platform::journalCall(2, asked, refusal(0x84), 0), row.line);
  }
}

TEST(Journal, ShowsTheStatusOfAFailureInsteadOfTheReply) {
  ControllerReply reply;
  reply.bytes = {0x3A, 0x80};
  EXPECT_EQ(platform::journalCall(3, request(5, {'T', 'C', '0', 'P'}, 2), reply, kNoDevice),
            "call 3 read TC0P size 2 -> status e00002c0");
  EXPECT_EQ(platform::journalCall(3, request(9, {'T', 'C', '0', 'P'}), refusal(0x84), 5),
            "call 3 info TC0P -> status 5");
}

TEST(Journal, KeepsACallWithAnyKeyOnOneLine) {
  const std::string line = platform::journalCall(1, request(9, {'A', '\n', '\r', 'D'}), {}, 0);
  EXPECT_EQ(line.find_first_of("\r\n"), std::string::npos);
}

TEST(Journal, ShowsOpensAndCloses) {
  EXPECT_EQ(platform::journalOpen(0, 1, 0), "open type 0 -> connection 1");
  EXPECT_EQ(platform::journalOpen(7, 0, kNoDevice), "open type 7 -> status e00002c0");
  EXPECT_EQ(platform::journalClose(1, 0), "close 1 -> done");
  EXPECT_EQ(platform::journalClose(4, 0x10000003), "close 4 -> status 10000003");
}

}  // namespace

}  // namespace halvarin::test
