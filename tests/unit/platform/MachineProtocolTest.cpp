#include "platform/machine/remote/MachineProtocol.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace halvarin::test {

namespace {

using namespace platform;

MessageBytes bytes(std::initializer_list<int> values) {
  return {values.begin(), values.end()};
}

std::vector<MachineRequest> everyRequest() {
  return {ServiceRequest{"AppleSMC"},
          ServiceRequest{""},
          OpenRequest{0xFEDCBA98},
          CallRequest{0x01020304, 2, 80, MessageBytes(80, 0xAB)},
          CallRequest{0xFFFFFFFF, 0xFFFFFFFF, 0, {}},
          CallRequest{1, 2, kMostStructBytes, MessageBytes(kMostStructBytes, 0xFF)},
          CloseRequest{0x80000000},
          SettingRequest{std::string("hw\0model", 8)},
          PowerSourceRequest{}};
}

std::vector<MachineReply> everyReply() {
  return {ServiceReply{true},
          ServiceReply{false},
          OpenReply{0, 7},
          OpenReply{static_cast<MachineStatus>(0xE00002C0), 0},
          CallReply{0, MessageBytes(80, 0x5A)},
          CallReply{-1, {}},
          CloseReply{0x10000003},
          SettingReply{Value("Test1,1")},
          SettingReply{Value("")},
          SettingReply{Value(std::numeric_limits<std::int64_t>::min())},
          SettingReply{Value(4)},
          SettingReply{Value()},
          PowerSourceReply{"AC Power"},
          PowerSourceReply{""}};
}

TEST(MachineProtocol, EveryRequestReadsBackAsItself) {
  for (const MachineRequest& request : everyRequest()) {
    const MessageBytes message = encodeMessage(request);
    SCOPED_TRACE(static_cast<int>(message.front()));
    const auto decoded = decodeRequestMessage(message);
    ASSERT_TRUE(decoded);
    EXPECT_TRUE(*decoded == request);
    EXPECT_FALSE(decodeReplyMessage(message)) << "a request was taken for a reply";
  }
}

TEST(MachineProtocol, EveryReplyReadsBackAsItself) {
  for (const MachineReply& reply : everyReply()) {
    const MessageBytes message = encodeMessage(reply);
    SCOPED_TRACE(static_cast<int>(message.front()));
    const auto decoded = decodeReplyMessage(message);
    ASSERT_TRUE(decoded);
    EXPECT_TRUE(*decoded == reply);
    EXPECT_FALSE(decodeRequestMessage(message)) << "a reply was taken for a request";
  }
}

TEST(MachineProtocol, FieldsTravelMostSignificantByteFirstBehindTheKind) {
  EXPECT_EQ(encodeMessage(MachineRequest(ServiceRequest{"AB"})), bytes({1, 0, 0, 0, 2, 'A', 'B'}));
  EXPECT_EQ(encodeMessage(MachineRequest(CallRequest{0x01020304, 2, 80, {9}})),
            bytes({3, 1, 2, 3, 4, 0, 0, 0, 2, 0, 0, 0, 80, 0, 0, 0, 1, 9}));
  EXPECT_EQ(encodeMessage(MachineReply(OpenReply{-2, 5})),
            bytes({0x82, 0xFF, 0xFF, 0xFF, 0xFE, 0, 0, 0, 5}));
  EXPECT_EQ(encodeMessage(MachineReply(SettingReply{Value(258)})),
            bytes({0x85, 2, 0, 0, 0, 0, 0, 0, 1, 2}));
  EXPECT_EQ(encodeMessage(MachineReply(SettingReply{Value("x")})),
            bytes({0x85, 1, 0, 0, 0, 1, 'x'}));
}

TEST(MachineProtocol, SettingThatIsNoTextAndNoIntegerTravelsAsNothing) {
  for (const Value& value : {Value(true), Value(1.5)}) {
    EXPECT_EQ(encodeMessage(MachineReply(SettingReply{value})), bytes({0x85, 0}));
  }
}

TEST(MachineProtocol, ShortenedAndLengthenedMessagesAreBroken) {
  std::vector<MessageBytes> messages;
  for (const MachineRequest& request : everyRequest()) {
    messages.push_back(encodeMessage(request));
  }
  for (const MachineReply& reply : everyReply()) {
    messages.push_back(encodeMessage(reply));
  }
  for (MessageBytes message : messages) {
    SCOPED_TRACE(static_cast<int>(message.front()));
    for (std::size_t length = 0; length < message.size(); ++length) {
      const std::span<const std::uint8_t> cut(message.data(), length);
      ASSERT_FALSE(decodeRequestMessage(cut)) << length;
      ASSERT_FALSE(decodeReplyMessage(cut)) << length;
    }
    message.push_back(0);
    EXPECT_FALSE(decodeRequestMessage(message));
    EXPECT_FALSE(decodeReplyMessage(message));
  }
}

TEST(MachineProtocol, RequestsThatAskForTooMuchAreBroken) {
  const auto most = static_cast<std::uint32_t>(kMostStructBytes);
  EXPECT_TRUE(decodeRequestMessage(encodeMessage(MachineRequest(CallRequest{1, 2, most, {}}))));
  for (const std::uint32_t capacity : {most + 1, 0xFFFFFFFFU}) {
    EXPECT_FALSE(
        decodeRequestMessage(encodeMessage(MachineRequest(CallRequest{1, 2, capacity, {}}))));
  }
  const MessageBytes large(kMostStructBytes + 1);
  EXPECT_FALSE(decodeRequestMessage(encodeMessage(MachineRequest(CallRequest{1, 2, 80, large}))));
  EXPECT_FALSE(decodeReplyMessage(encodeMessage(MachineReply(CallReply{0, large}))));
}

TEST(MachineProtocol, WrongKindsTruthsLengthsAndSettingsAreBroken) {
  struct Row {
    const char* name;
    MessageBytes message;
  };
  for (const Row& row : std::vector<Row>{
           {"nothing", {}},
           {"kind 0", bytes({0})},
           {"kind 7", bytes({7})},
           {"kind 80", bytes({0x80})},
           {"kind 87", bytes({0x87})},
           {"truth of 2", bytes({0x81, 2})},
           {"setting of kind 3", bytes({0x85, 3})},
           {"text of four billion", bytes({1, 0xFF, 0xFF, 0xFF, 0xFF, 'A'})},
           {"name of four billion", bytes({0x86, 0xFF, 0xFF, 0xFF, 0xFF, 'A'})},
       }) {
    SCOPED_TRACE(row.name);
    EXPECT_FALSE(decodeRequestMessage(row.message));
    EXPECT_FALSE(decodeReplyMessage(row.message));
  }
}

TEST(MachineProtocol, AnyBytesAreBrokenOrExactlyOneMessage) {
  std::mt19937 random(20);  // the same bytes in every run
  int whole = 0;
  for (int round = 0; round < 200000; ++round) {
    MessageBytes message(random() % 24);
    for (std::uint8_t& byte : message) {
      // Small numbers are lengths that fit, now and then.
      byte = static_cast<std::uint8_t>(random() % 3 == 0 ? random() : random() % 3);
    }
    if (!message.empty()) {
      message[0] = static_cast<std::uint8_t>((random() % 2) * 0x80 + random() % 8);
    }
    const auto request = decodeRequestMessage(message);
    const auto reply = decodeReplyMessage(message);
    ASSERT_FALSE(request && reply);
    if (request || reply) {
      ++whole;
      ASSERT_EQ(request ? encodeMessage(*request) : encodeMessage(*reply), message);
    }
  }
  EXPECT_GT(whole, 1000);
}

}  // namespace

}  // namespace halvarin::test
