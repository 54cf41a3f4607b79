#include "platform/machine/KeyTable.h"

#include <gtest/gtest.h>

#include <string_view>
#include <vector>

#include "tests/support/Machines.h"

namespace halvarin::test {

namespace {

using platform::ControllerReply;
using platform::ControllerRequest;
using platform::fourBytes;
using platform::FourBytes;
using platform::KeyTable;
using platform::RecordedKey;
using platform::ValueBytes;

ControllerRequest request(std::uint8_t command, std::string_view key, std::uint32_t size = 0,
                          ValueBytes bytes = {}) {
  ControllerRequest asked;
  asked.command = command;
  asked.key = fourBytes(key);
  asked.sizeBytes = size;
  asked.bytes = bytes;
  return asked;
}

ControllerRequest atIndex(std::uint32_t index) {
  ControllerRequest asked = request(8, "#KEY");
  asked.index = index;
  return asked;
}

RecordedKey refusing(std::string_view code, std::uint8_t result) {
  RecordedKey refused = key(code, "ui8 ", {0});
  refused.bytes.clear();
  refused.result = result;
  return refused;
}

TEST(KeyTable, ReadsTheBytesOfAKeyAndFillsUpWithZeros) {
  KeyTable table({key("TC0P", "sp78", {0x28, 0x80})});
  const ControllerReply reply = table.answer(request(5, "TC0P", 2));
  EXPECT_EQ(reply.result, 0x00);
  EXPECT_EQ(reply.bytes, (ValueBytes{0x28, 0x80}));
}

TEST(KeyTable, ReadsTheFirst32BytesOfALongKey) {
  Bytes all;
  for (std::uint8_t i = 1; i <= 40; ++i) {
    all.push_back(i);
  }
  KeyTable table({key("LONG", "hex_", all)});
  const ControllerReply reply = table.answer(request(5, "LONG", 40));
  EXPECT_EQ(reply.result, 0x00);
  EXPECT_EQ(Bytes(reply.bytes.begin(), reply.bytes.end()), Bytes(all.begin(), all.begin() + 32));
}

TEST(KeyTable, AnswersWithAResultByteWhereItCannot) {
  struct Row {
    const char* name;
    ControllerRequest request;
    std::uint8_t result;
  };
  KeyTable table(
      {key("TC0P", "sp78", {0x28, 0x80}), refusing("AC-E", 0x85), refusing("HID1", 0xD7)});
  for (const Row& row : std::vector<Row>{
           {"read of an unknown key", request(5, "TC1P", 2), 0x84},
           {"write of an unknown key", request(6, "TC1P", 2), 0x84},
           {"info of an unknown key", request(9, "TC1P"), 0x84},
           {"case counts", request(5, "tc0p", 2), 0x84},
           {"read of a key that refuses", request(5, "AC-E", 1), 0x85},
           {"read of a key that refuses in its own way", request(5, "HID1", 1), 0xD7},
           {"a refusal comes before a wrong size", request(5, "AC-E", 9), 0x85},
           {"read of too few bytes", request(5, "TC0P", 1), 0x87},
           {"read of too many bytes", request(5, "TC0P", 3), 0x87},
           {"read without a size", request(5, "TC0P", 0), 0x87},
           {"write of too few bytes", request(6, "TC0P", 1), 0x87},
           {"write of too many bytes", request(6, "TC0P", 3), 0x87},
           {"index of the end", atIndex(3), 0xB8},
           {"index far beyond", atIndex(0xFFFFFFFF), 0xB8},
           {"command 0", request(0, "TC0P", 2), 0x82},
           {"command 7", request(7, "TC0P", 2), 0x82},
           {"command 255", request(255, "TC0P", 2), 0x82},
       }) {
    SCOPED_TRACE(row.name);
    const ControllerReply reply = table.answer(row.request);
    EXPECT_EQ(reply.result, row.result);
    EXPECT_EQ(reply.bytes, ValueBytes{});
    EXPECT_EQ(reply.sizeBytes, 0U);
  }
}

TEST(KeyTable, TellsTypeSizeAndAttributesOfAKey) {
  RecordedKey fan = key("F0Mn", "fpe2", {0x17, 0x70});
  fan.attributes = 0xD4;
  KeyTable table({fan});
  const ControllerReply reply = table.answer(request(9, "F0Mn"));
  EXPECT_EQ(reply.result, 0x00);
  EXPECT_EQ(reply.sizeBytes, 2U);
  EXPECT_EQ(reply.type, (FourBytes{'f', 'p', 'e', '2'}));
  EXPECT_EQ(reply.attributes, 0xD4);
}

TEST(KeyTable, TellsTypeAndSizeAlsoOfAKeyThatRefuses) {
  KeyTable table({refusing("AC-E", 0x85)});
  const ControllerReply reply = table.answer(request(9, "AC-E"));
  EXPECT_EQ(reply.result, 0x00);
  EXPECT_EQ(reply.sizeBytes, 1U);
}

TEST(KeyTable, NamesItsKeysByIndexInTheOrderOfTheList) {
  KeyTable table({key("ZZZZ", "ui8 ", {1}), key("AAAA", "ui8 ", {2})});
  EXPECT_EQ(table.answer(atIndex(0)).key, fourBytes("ZZZZ"));
  EXPECT_EQ(table.answer(atIndex(1)).key, fourBytes("AAAA"));
  EXPECT_EQ(table.answer(atIndex(2)).result, 0xB8);
}

TEST(KeyTable, WritesWithTheRightSizeOnly) {
  KeyTable table({key("F0Mn", "fpe2", {0x17, 0x70})});
  EXPECT_EQ(table.answer(request(6, "F0Mn", 3, {0xAA, 0xBB, 0xCC})).result, 0x87);
  EXPECT_EQ(table.answer(request(5, "F0Mn", 2)).bytes, (ValueBytes{0x17, 0x70}));
  EXPECT_EQ(table.answer(request(6, "F0Mn", 2, {0xAA, 0xBB, 0xCC})).result, 0x00);
  EXPECT_EQ(table.answer(request(5, "F0Mn", 2)).bytes, (ValueBytes{0xAA, 0xBB}));
}

TEST(KeyTable, WritesWhatFitsOfALongKey) {
  KeyTable table({key("LONG", "hex_", Bytes(40, 0x11))});
  ValueBytes written;
  written.fill(0x22);
  EXPECT_EQ(table.answer(request(6, "LONG", 40, written)).result, 0x00);
  EXPECT_EQ(table.answer(request(5, "LONG", 40)).bytes, written);
}

TEST(KeyTable, WritesAlsoToAKeyThatRefusesToBeRead) {
  KeyTable table({refusing("AC-E", 0x85)});
  EXPECT_EQ(table.answer(request(6, "AC-E", 1, {1})).result, 0x00);
  EXPECT_EQ(table.answer(request(5, "AC-E", 1)).result, 0x85);
}

TEST(KeyTable, AnswersForTheNumberOfItsKeysWhereTheListHasNone) {
  KeyTable table(std::vector<RecordedKey>(300, key("TC0P", "sp78", {0, 0})));
  const ControllerReply info = table.answer(request(9, "#KEY"));
  EXPECT_EQ(info.result, 0x00);
  EXPECT_EQ(info.type, (FourBytes{'u', 'i', '3', '2'}));
  EXPECT_EQ(info.sizeBytes, 4U);
  EXPECT_EQ(table.answer(request(5, "#KEY", 4)).bytes, (ValueBytes{0x00, 0x00, 0x01, 0x2C}));
  EXPECT_EQ(table.answer(atIndex(300)).result, 0xB8);  // it does not list what it adds
}

TEST(KeyTable, KeepsTheNumberThatTheListItselfTells) {
  KeyTable table({key("#KEY", "ui32", {0, 0, 0, 9}), key("TC0P", "sp78", {0, 0})});
  EXPECT_EQ(table.answer(request(5, "#KEY", 4)).bytes, (ValueBytes{0, 0, 0, 9}));
}

TEST(KeyTable, FindsAKeyToBeChanged) {
  KeyTable table({key("TC0P", "sp78", {0x28, 0x80})});
  RecordedKey* found = table.find(fourBytes("TC0P"));
  ASSERT_NE(found, nullptr);
  found->bytes = {0x29, 0x00};
  EXPECT_EQ(table.answer(request(5, "TC0P", 2)).bytes, (ValueBytes{0x29, 0x00}));
  EXPECT_EQ(table.find(fourBytes("TC1P")), nullptr);
  EXPECT_EQ(table.find(platform::fourBytes("TC0P"))->bytes, (Bytes{0x29, 0x00}));
}

TEST(KeyTable, TellsKeysWithZeroBytesInTheirNamesApart) {
  RecordedKey odd = key("F", "ui8 ", {1});
  odd.code = {'F', '\0', 'A', 'c'};
  KeyTable table({odd, key("F0Ac", "ui8 ", {2})});
  ControllerRequest asked = request(5, "", 1);
  asked.key = odd.code;
  EXPECT_EQ(table.answer(asked).bytes, (ValueBytes{1}));
  EXPECT_EQ(table.answer(request(5, "F0Ac", 1)).bytes, (ValueBytes{2}));
}

}  // namespace

}  // namespace halvarin::test
