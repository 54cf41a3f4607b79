#include "platform/machine/ControllerProtocol.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>

namespace halvarin::test {

namespace {

using platform::ControllerReply;
using platform::ControllerRequest;
using platform::FourBytes;

using Wire = std::array<std::uint8_t, 80>;

TEST(ControllerProtocol, TakesEveryFieldOfARequestFromItsPlace) {
  Wire wire{};
  // The code is a little-endian number whose most significant byte is the first character.
  wire[0] = ' ';
  wire[1] = '!';
  wire[2] = 'S';
  wire[3] = 'F';
  wire[28] = 0x04;
  wire[29] = 0x03;
  wire[30] = 0x02;
  wire[31] = 0x01;
  wire[42] = 6;
  wire[44] = 0xDD;
  wire[45] = 0xCC;
  wire[46] = 0xBB;
  wire[47] = 0xAA;
  std::iota(wire.begin() + 48, wire.end(), std::uint8_t{0x40});

  const ControllerRequest request = platform::decodeRequest(wire);
  EXPECT_EQ(request.key, (FourBytes{'F', 'S', '!', ' '}));
  EXPECT_EQ(request.sizeBytes, 0x01020304U);
  EXPECT_EQ(request.command, 6);
  EXPECT_EQ(request.index, 0xAABBCCDDU);
  for (std::size_t i = 0; i < request.bytes.size(); ++i) {
    EXPECT_EQ(request.bytes[i], 0x40 + i) << "byte " << i;
  }
}

TEST(ControllerProtocol, LooksAtNothingElseInARequest) {
  Wire wire;
  wire.fill(0xEE);
  for (const auto& [begin, end] : {std::array{0, 4}, {28, 32}, {42, 43}, {44, 80}}) {
    std::fill(wire.begin() + begin, wire.begin() + end, std::uint8_t{0});
  }
  const ControllerRequest request = platform::decodeRequest(wire);
  EXPECT_EQ(request.key, FourBytes{});
  EXPECT_EQ(request.sizeBytes, 0U);
  EXPECT_EQ(request.command, 0);
  EXPECT_EQ(request.index, 0U);
  EXPECT_EQ(request.bytes, platform::ValueBytes{});
}

TEST(ControllerProtocol, KeepsZeroAndHighBytesOfACode) {
  Wire wire{};
  wire[0] = 0xFF;
  wire[1] = 0x00;
  wire[2] = 0x80;
  wire[3] = 'T';
  EXPECT_EQ(platform::decodeRequest(wire).key, (FourBytes{'T', '\x80', '\0', '\xFF'}));
}

TEST(ControllerProtocol, PutsEveryFieldOfAReplyInItsPlace) {
  ControllerReply reply;
  reply.key = {'F', 'N', 'u', 'm'};
  reply.sizeBytes = 0x01020304;
  reply.type = {'u', 'i', '8', '\xF0'};
  reply.attributes = 0xD4;
  reply.result = 0x85;
  std::iota(reply.bytes.begin(), reply.bytes.end(), std::uint8_t{0x10});

  Wire expected{};
  expected[0] = 'm';
  expected[1] = 'u';
  expected[2] = 'N';
  expected[3] = 'F';
  expected[28] = 0x04;
  expected[29] = 0x03;
  expected[30] = 0x02;
  expected[31] = 0x01;
  expected[32] = 0xF0;
  expected[33] = '8';
  expected[34] = 'i';
  expected[35] = 'u';
  expected[36] = 0xD4;
  expected[40] = 0x85;
  std::iota(expected.begin() + 48, expected.end(), std::uint8_t{0x10});

  Wire wire;
  wire.fill(0xEE);  // what stood there before must be gone
  platform::encodeReply(reply, wire);
  EXPECT_EQ(wire, expected);
}

}  // namespace

}  // namespace halvarin::test
