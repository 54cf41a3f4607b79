#include "platform/machine/MachineFileLine.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "tests/support/Machines.h"

namespace halvarin::test {

namespace {

using platform::FourBytes;
using platform::parseKeyLine;
using platform::RecordedKey;
using platform::writeKeyLines;

std::string digits(std::size_t bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes; ++i) {
    text += "A7";
  }
  return text;
}

std::string faultOf(std::string_view line) {
  const auto parsed = parseKeyLine(line);
  return std::holds_alternative<std::string>(parsed) ? std::get<std::string>(parsed)
                                                     : std::string("(no fault)");
}

TEST(MachineFileLine, ReadsExactlyTheHexadecimalDigitsWanted) {
  EXPECT_EQ(platform::hexNumber("00", 2), 0U);
  EXPECT_EQ(platform::hexNumber("fF", 2), 0xFFU);
  EXPECT_EQ(platform::hexNumber("DEADBEEF", 8), 0xDEADBEEFU);
  for (const char* text : {"", "1", "123", " 1", "1 ", "-1", "+1", "0x", "g0", "0G"}) {
    EXPECT_EQ(platform::hexNumber(text, 2), std::nullopt) << "\"" << text << "\"";
  }
}

TEST(MachineFileLine, ReadsEveryFieldOfALine) {
  const auto parsed = parseKeyLine("[FS! ] type [ui16] 75693136 len [ 2] attr [C4] -> 0A0b");
  ASSERT_TRUE(std::holds_alternative<RecordedKey>(parsed));
  const auto& read = std::get<RecordedKey>(parsed);
  EXPECT_EQ(read.code, (FourBytes{'F', 'S', '!', ' '}));
  EXPECT_EQ(read.type, (FourBytes{'u', 'i', '1', '6'}));
  EXPECT_EQ(read.sizeBytes, 2U);
  EXPECT_EQ(read.attributes, 0xC4);
  EXPECT_EQ(read.bytes, (Bytes{0x0A, 0x0B}));
  EXPECT_EQ(read.result, 0);
  EXPECT_EQ(read.status, 0);
}

TEST(MachineFileLine, BelievesTheDigitsOfATypeAndNotItsText) {
  const auto parsed = parseKeyLine("[zDBG] type [flt ] 75693800 len [ 1] attr [80] -> 00");
  ASSERT_TRUE(std::holds_alternative<RecordedKey>(parsed));
  EXPECT_EQ(std::get<RecordedKey>(parsed).type, (FourBytes{'u', 'i', '8', '\0'}));
}

TEST(MachineFileLine, TakesAnyBytesAsAKeysName) {
  using namespace std::string_literals;
  struct Row {
    const char* name;
    std::string code;
  };
  for (const Row& row : std::vector<Row>{{"zero byte", "F\0Ac"s},
                                         {"all zero", "\0\0\0\0"s},
                                         {"blanks", "    "},
                                         {"opening bracket", "[[[["},
                                         {"closing bracket at the end", "ABC]"},
                                         {"closing bracket inside", "A]CD"},
                                         {"high bytes", "\xFF\x80\xC3\xBF"}}) {
    SCOPED_TRACE(row.name);
    const auto parsed =
        parseKeyLine("[" + row.code + "] type [ui8 ] 75693820 len [ 1] attr [80] -> 00");
    ASSERT_TRUE(std::holds_alternative<RecordedKey>(parsed)) << std::get<std::string>(parsed);
    EXPECT_EQ(std::get<RecordedKey>(parsed).code, platform::fourBytes(row.code));
  }
}

TEST(MachineFileLine, TakesSizesOfAnyWidth) {
  struct Row {
    const char* size;
    std::uint32_t bytes;
  };
  for (const Row& row : std::vector<Row>{{"0", 0}, {" 0", 0}, {"2", 2}, {"   2", 2}, {"32", 32}}) {
    const auto parsed = parseKeyLine("[TEST] type [hex_] 6865785F len [" + std::string(row.size) +
                                     "] attr [80] -> " + digits(row.bytes));
    ASSERT_TRUE(std::holds_alternative<RecordedKey>(parsed)) << row.size;
    EXPECT_EQ(std::get<RecordedKey>(parsed).sizeBytes, row.bytes) << row.size;
    EXPECT_EQ(std::get<RecordedKey>(parsed).bytes, Bytes(row.bytes, 0xA7)) << row.size;
  }
}

TEST(MachineFileLine, KeepsTheFirst32BytesOfALongKey) {
  for (const std::size_t shown : {std::size_t{32}, std::size_t{40}}) {
    const auto parsed =
        parseKeyLine("[LONG] type [hex_] 6865785F len [40] attr [80] -> " + digits(shown));
    ASSERT_TRUE(std::holds_alternative<RecordedKey>(parsed)) << shown;
    EXPECT_EQ(std::get<RecordedKey>(parsed).sizeBytes, 40U);
    EXPECT_EQ(std::get<RecordedKey>(parsed).bytes, Bytes(32, 0xA7));
  }
}

TEST(MachineFileLine, TakesARefusalWithItsResultByteAnd85WithoutOne) {
  struct Row {
    const char* value;
    std::uint8_t result;
  };
  for (const Row& row : std::vector<Row>{{"NOT READABLE", 0x85},
                                         {"NOT READABLE, code 85", 0x85},
                                         {"NOT READABLE, code 89", 0x89},
                                         {"NOT READABLE, code d7", 0xD7},
                                         {"NOT READABLE, code FF", 0xFF}}) {
    const auto parsed =
        parseKeyLine("[AC-E] type [flag] 666C6167 len [ 1] attr [50] -> " + std::string(row.value));
    ASSERT_TRUE(std::holds_alternative<RecordedKey>(parsed)) << row.value;
    EXPECT_EQ(std::get<RecordedKey>(parsed).result, row.result) << row.value;
    EXPECT_TRUE(std::get<RecordedKey>(parsed).bytes.empty()) << row.value;
    EXPECT_EQ(std::get<RecordedKey>(parsed).sizeBytes, 1U) << row.value;
  }
}

TEST(MachineFileLine, SaysWhatIsWrongWithALine) {
  struct Row {
    const char* name;
    std::string line;
    const char* fault;
  };
  const std::string end = "] type [sp78] 73703738 len [ 2] attr [80] -> 2800";
  for (const Row& row : std::vector<Row>{
           {"nothing", "", "\"[\" is missing"},
           {"key of one", "[T" + end,
            "a key has four characters, \"T\" has not (blanks at its end "
            "count)"},
           {"key of two", "[TC" + end,
            "a key has four characters, \"TC\" has not (blanks at its "
            "end count)"},
           {"key of none", "[" + end,
            "a key has four characters, \"\" has not (blanks at its end "
            "count)"},
           {"text for a key line", "[TC0P: 40 oC", "\"] type [\" is missing"},
           {"type of three", "[TC0P] type [sp7] 737037 len [ 2] attr [80] -> 2800",
            "\"] \" is missing"},
           {"type without digits", "[TC0P] type [sp78] len [ 2] attr [80] -> 2800",
            "\"len [ 2]\" is no hexadecimal type"},
           {"bad type digit", "[TC0P] type [sp78] 7370373G len [ 2] attr [80] -> 2800",
            "\"7370373G\" is no hexadecimal type"},
           {"no size", "[TC0P] type [sp78] 73703738 attr [80] -> 2800", "\" len [\" is missing"},
           {"empty size", "[TC0P] type [sp78] 73703738 len [] attr [80] -> 2800",
            "the size \"\" is no number from 0 to 65535"},
           {"blank size", "[TC0P] type [sp78] 73703738 len [  ] attr [80] -> 2800",
            "the size \"\" is no number from 0 to 65535"},
           {"negative size", "[TC0P] type [sp78] 73703738 len [-2] attr [80] -> 2800",
            "the size \"-2\" is no number from 0 to 65535"},
           {"size in words", "[TC0P] type [sp78] 73703738 len [two] attr [80] -> 2800",
            "the size \"two\" is no number from 0 to 65535"},
           {"size with a blank after it", "[TC0P] type [sp78] 73703738 len [2 ] attr [80] -> 2800",
            "the size \"2 \" is no number from 0 to 65535"},
           {"huge size", "[TC0P] type [sp78] 73703738 len [65536] attr [80] -> 2800",
            "the size \"65536\" is no number from 0 to 65535"},
           {"size beyond 64 bits",
            "[TC0P] type [sp78] 73703738 len [99999999999999999999] attr [80] -> 2800",
            "the size \"99999999999999999999\" is no number from 0 to 65535"},
           {"no attribute", "[TC0P] type [sp78] 73703738 len [ 2] -> 2800",
            "\"] attr [\" is missing"},
           {"bad attribute", "[TC0P] type [sp78] 73703738 len [ 2] attr [8x] -> 2800",
            "\"8x\" is no hexadecimal attribute"},
           {"attribute of three digits", "[TC0P] type [sp78] 73703738 len [ 2] attr [080] -> 2800",
            "\"] ->\" is missing"},
           {"no value", "[TC0P] type [sp78] 73703738 len [ 2] attr [80] ->",
            "the value has 0 bytes, its size says 2"},
           {"no arrow", "[TC0P] type [sp78] 73703738 len [ 2] attr [80] 2800",
            "\"] ->\" is missing"},
           {"no blank before the value", "[TC0P] type [sp78] 73703738 len [ 2] attr [80] ->2800",
            "\" \" is missing"},
           {"bad digit", "[TC0P] type [sp78] 73703738 len [ 2] attr [80] -> 2O00",
            "bad hexadecimal digits \"2O\" in the value"},
           {"odd digits", "[TC0P] type [sp78] 73703738 len [ 2] attr [80] -> 280",
            "bad hexadecimal digits \"0\" in the value"},
           {"blank between digits", "[TC0P] type [sp78] 73703738 len [ 2] attr [80] -> 28 00",
            "bad hexadecimal digits \" 0\" in the value"},
           {"more bytes than the size", "[TC0P] type [sp78] 73703738 len [ 1] attr [80] -> 2800",
            "the value has 2 bytes, its size says 1"},
           {"fewer bytes than the size", "[TC0P] type [sp78] 73703738 len [ 4] attr [80] -> 2800",
            "the value has 2 bytes, its size says 4"},
           {"long key with neither 32 nor all bytes",
            "[LONG] type [hex_] 6865785F len [40] attr [80] -> " + digits(33),
            "the value has 33 bytes, its size says 40"},
           {"32 bytes of a shorter key",
            "[LONG] type [hex_] 6865785F len [31] attr [80] -> " + digits(32),
            "the value has 32 bytes, its size says 31"},
           {"bad code", "[TC0P] type [sp78] 73703738 len [ 2] attr [80] -> NOT READABLE, code 8",
            "\"NOT READABLE\" is followed by nothing or by \", code xx\""},
           {"code of three digits",
            "[TC0P] type [sp78] 73703738 len [ 2] attr [80] -> NOT READABLE, code 850",
            "\"NOT READABLE\" is followed by nothing or by \", code xx\""},
           {"code without its word",
            "[TC0P] type [sp78] 73703738 len [ 2] attr [80] -> NOT READABLE 85",
            "\"NOT READABLE\" is followed by nothing or by \", code xx\""},
           {"refusal in small letters",
            "[TC0P] type [sp78] 73703738 len [ 2] attr [80] -> not readable",
            "bad hexadecimal digits \"no\" in the value"},
       }) {
    EXPECT_EQ(faultOf(row.line), row.fault) << row.name;
  }
}

// The brackets are all there, so it is the length of the key that a person must be told of.
TEST(MachineFileLine, SaysThatAKeyOfThreeOrFiveCharactersHasNotFour) {
  const std::string end = "] type [sp78] 73703738 len [ 2] attr [80] -> 2800";
  EXPECT_EQ(faultOf("[TC0" + end),
            "a key has four characters, \"TC0\" has not (blanks at its end count)");
  EXPECT_EQ(faultOf("[TC0PP" + end),
            "a key has four characters, \"TC0PP\" has not (blanks at its end count)");
}

TEST(MachineFileLine, FindsAFaultWhereverALineIsCut) {
  const std::string line = "[FS! ] type [ui16] 75693136 len [ 2] attr [C4] -> 0A0B";
  ASSERT_EQ(faultOf(line), "(no fault)");
  for (std::size_t length = 0; length < line.size(); ++length) {
    EXPECT_NE(faultOf(std::string_view(line).substr(0, length)), "(no fault)") << length;
  }
}

TEST(MachineFileLine, RefusesARefusalWhoseResultByteSaysSuccess) {
  EXPECT_NE(faultOf("[TC0P] type [sp78] 73703738 len [ 2] attr [80] -> NOT READABLE, code 00"),
            "(no fault)");
}

TEST(MachineFileLine, WritesALineAsItIsRead) {
  for (const std::string line : {
           "[FS! ] type [ui16] 75693136 len [ 2] attr [C4] -> 0A0B",
           "[EMPT] type [hex_] 6865785F len [ 0] attr [00] -> ",
           "[zDBG] type [ui8?] 75693800 len [ 1] attr [D0] -> 00",
           "[LCUT] type [ch8*] 6368382A len [120] attr [80] -> "
           "4142434445464748494A4B4C4D4E4F505152535455565758595A5B5C5D5E5F60",
           "[AC-E] type [flag] 666C6167 len [ 1] attr [50] -> NOT READABLE, code 89",
       }) {
    const std::size_t end = line.find_last_not_of(' ') + 1;
    const auto parsed = parseKeyLine(std::string_view(line).substr(0, end));
    ASSERT_TRUE(std::holds_alternative<RecordedKey>(parsed)) << line;
    EXPECT_EQ(writeKeyLines(std::get<RecordedKey>(parsed)), line + "\n");
  }
}

TEST(MachineFileLine, WritesThePlatformsStatusBeforeItsKey) {
  RecordedKey failed = key("SBIG", "{jst", {});
  failed.sizeBytes = 48;
  failed.status = static_cast<std::int32_t>(0xE00002C2);
  EXPECT_EQ(writeKeyLines(failed),
            "Unable to read smc value E00002C2\n"
            "[SBIG] type [{jst] 7B6A7374 len [48] attr [80] -> NOT READABLE\n");
}

// The type's text is for people only; its digits tell every byte.
TEST(MachineFileLine, WritesATypeOfAnyBytesOnOneLineThatReadsBack) {
  for (int byte = 0; byte < 256; ++byte) {
    RecordedKey odd = key("TEST", "ui8 ", {1});
    odd.type = {'u', 'i', '8', static_cast<char>(byte)};
    std::string line = writeKeyLines(odd);
    ASSERT_EQ(line.back(), '\n');
    line.pop_back();
    EXPECT_EQ(line.find('\n'), std::string::npos) << "type byte " << byte;
    const auto parsed = parseKeyLine(line);
    ASSERT_TRUE(std::holds_alternative<RecordedKey>(parsed)) << "type byte " << byte;
    EXPECT_EQ(std::get<RecordedKey>(parsed), odd) << "type byte " << byte;
  }
}

}  // namespace

}  // namespace halvarin::test
