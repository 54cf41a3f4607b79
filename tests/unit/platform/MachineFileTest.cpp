#include "platform/machine/MachineFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "tests/support/Machines.h"
#include "tests/unit/platform/ParsedMachine.h"

namespace halvarin::test {

namespace {

using platform::fourBytes;
using platform::FourBytes;
using platform::MachineFileError;
using platform::parseMachineFile;
using platform::readMachineFile;
using platform::RecordedMachine;

constexpr std::string_view kFanLine = "[FNum] type [ui8 ] 75693820 len [ 1] attr [80] -> 00\n";
constexpr std::string_view kHeatLine = "[TC0P] type [sp78] 73703738 len [ 2] attr [80] -> 2800\n";

RecordedMachine machineIn(const std::string& text) {
  const Parsed parsed = parseMachineFile(text, "folder/Name1,1.txt");
  EXPECT_TRUE(std::holds_alternative<RecordedMachine>(parsed)) << errorOf(parsed);
  const auto* machine = std::get_if<RecordedMachine>(&parsed);
  return machine == nullptr ? RecordedMachine{} : *machine;
}

// ---- what cannot be taken
// ------------------------------------------------------------------------

TEST(MachineFile, NamesAFileThatDoesNotExist) {
  const std::string path = kMachines + "no-such-file.txt";
  EXPECT_EQ(errorOf(readMachineFile(path)), path + ": cannot be read: No such file or directory");
}

TEST(MachineFile, NamesAFolder) {
  const std::string path = kMachines + "broken";
  EXPECT_EQ(errorOf(readMachineFile(path)), path + ": cannot be read: Is a directory");
}

struct BrokenFile {
  const char* file;
  std::size_t line;
  const char* what;

  friend void PrintTo(const BrokenFile& row, std::ostream* stream) { *stream << row.file; }
};

const std::vector<BrokenFile> kBrokenFiles{
    {"absurd-count-key.txt", 4, "#KEY says 4294967295 keys; no controller has more than 65536"},
    {"bad-attribute.txt", 5, "\"8x\" is no hexadecimal attribute"},
    {"bad-code.txt", 5, "\"NOT READABLE\" is followed by nothing or by \", code xx\""},
    {"bad-hex-digit.txt", 5, "bad hexadecimal digits \"2O\" in the value"},
    {"bad-size.txt", 5, "the size \"-2\" is no number from 0 to 65535"},
    {"bad-status.txt", 5, "a status of eight hexadecimal digits is missing here"},
    {"bad-type-digits.txt", 5, "\"737037G8\" is no hexadecimal type"},
    {"count-no-number.txt", 3, "\"Public keys (N):\" takes a number from 0 to 65536"},
    {"count-too-large.txt", 3, "\"Public keys (N):\" takes a number from 0 to 65536"},
    {"cut-line.txt", 5, "\"] attr [\" is missing"},
    {"empty.txt", 0, "the file is empty"},
    {"huge-size.txt", 5, "the size \"65536\" is no number from 0 to 65535"},
    {"key-of-five.txt", 5,
     "a key has four characters, \"TC0PP\" has not (blanks at its end count)"},
    {"key-of-three.txt", 5, "a key has four characters, \"TC0\" has not (blanks at its end count)"},
    {"key-twice.txt", 6, "the key [FNum] is in the list twice"},
    {"list-without-number.txt", 2,
     "the list begins with \"Public keys (N):\", N being its number of keys"},
    {"long-key-short-value.txt", 5, "the value has 33 bytes, its size says 40"},
    {"no-list.txt", 0, "this is no machine file: it has no line \"Public keys (N):\""},
    {"odd-digits.txt", 5, "bad hexadecimal digits \"0\" in the value"},
    {"processors-text.txt", 3, "\"LogicalProcessors:\" takes a number from 1 to 4096"},
    {"processors-zero.txt", 3, "\"LogicalProcessors:\" takes a number from 1 to 4096"},
    {"refused-with-success.txt", 5, "\"NOT READABLE\" is followed by nothing or by \", code xx\""},
    {"size-above-bytes.txt", 5, "the value has 2 bytes, its size says 3"},
    {"size-below-bytes.txt", 5, "the value has 2 bytes, its size says 1"},
    {"status-of-success.txt", 5, "a status of eight hexadecimal digits is missing here"},
    {"text-in-list.txt", 5, "this is not a key line: \"what is this?\""},
    {"too-few-keys.txt", 5, "the file ends after 2 of the 3 keys that line 3 announces"},
    {"too-many-keys.txt", 5, "more key lines than the 1 that line 3 announces"},
};

class BrokenMachineFile : public ::testing::TestWithParam<BrokenFile> {};

TEST_P(BrokenMachineFile, IsRefusedWithFileLineAndReason) {
  const BrokenFile& row = GetParam();
  const std::string path = kMachines + "broken/" + row.file;
  const std::string place = row.line == 0 ? path : path + ":" + std::to_string(row.line);
  EXPECT_EQ(errorOf(readMachineFile(path)), place + ": " + row.what);
}

INSTANTIATE_TEST_SUITE_P(Files, BrokenMachineFile, ::testing::ValuesIn(kBrokenFiles),
                         [](const auto& row) {
                           std::string name = row.param.file;
                           name.resize(name.find('.'));
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

TEST(BrokenMachineFile, IsThereForEveryRowAndNoOther) {
  std::set<std::string> rows;
  for (const BrokenFile& row : kBrokenFiles) {
    rows.insert(row.file);
  }
  EXPECT_EQ(textFilesIn(kMachines + "broken"), rows);
}

TEST(MachineFile, RefusesProcessorsThatAreNoNumberOfProcessors) {
  for (const char* number : {"", "0", "-4", "4.5", "4 cores", "4097", "99999999999999999999"}) {
    EXPECT_EQ(errorIn("LogicalProcessors: " + std::string(number) + "\n" + listOf(0, {})),
              "m.txt:1: \"LogicalProcessors:\" takes a number from 1 to 4096")
        << number;
  }
}

TEST(MachineFile, RefusesAListWhoseNumberIsNone) {
  struct Row {
    const char* heading;
    const char* what;
  };
  constexpr const char* kForm =
      "the list begins with \"Public keys (N):\", N being its number of keys";
  constexpr const char* kNumber = "\"Public keys (N):\" takes a number from 0 to 65536";
  for (const Row& row : std::vector<Row>{{"Public keys", kForm},
                                         {"Public keys (2:", kForm},
                                         {"Public keys 2):", kForm},
                                         {"Public keys )2(:", kForm},
                                         {"Public keys ():", kNumber},
                                         {"Public keys (-1):", kNumber},
                                         {"Public keys (2 keys):", kNumber},
                                         {"Public keys (65537):", kNumber},
                                         {"Public keys (18446744073709551616):", kNumber}}) {
    EXPECT_EQ(errorIn(std::string(row.heading) + "\n"), std::string("m.txt:1: ") + row.what)
        << row.heading;
  }
}

TEST(MachineFile, RefusesAListThatEndsAtTheHiddenKeysBeforeItIsComplete) {
  EXPECT_EQ(errorIn(listOf(2, {kFanLine, "Hidden keys (1):\n", kHeatLine})),
            "m.txt:3: the file ends after 1 of the 2 keys that line 1 announces");
}

TEST(MachineFile, CutsALongLineThatIsNoKeyLineInItsMessage) {
  EXPECT_EQ(errorIn(listOf(1, {std::string(1000, 'x') + "\n"})),
            "m.txt:2: this is not a key line: \"" + std::string(40, 'x') + "\"");
}

TEST(MachineFile, RefusesAFileCutAtAnyPositionOfItsLastKeyLine) {
  const std::string head = listOf(2, {kFanLine});
  const std::string whole = head + std::string(kHeatLine);
  for (std::size_t length = head.size() - 1; length < whole.size() - 1; ++length) {
    const std::string message = errorIn(whole.substr(0, length));
    const bool inLine = length > head.size();
    EXPECT_THAT(message, ::testing::StartsWith(inLine ? "m.txt:3: " : "m.txt:2: ")) << length;
  }
  EXPECT_EQ(errorIn(whole.substr(0, whole.size() - 1)), "(no error)");  // only its line end is cut
}

TEST(MachineFile, RefusesACountKeyOfMoreThanAnyControllerHasInEverySize) {
  EXPECT_EQ(errorIn(listOf(1, {"[#KEY] type [ui32] 75693332 len [ 4] attr [80] -> 00010001\n"})),
            "m.txt:2: #KEY says 65537 keys; no controller has more than 65536");
  EXPECT_EQ(errorIn(listOf(1, {"[#KEY] type [ui32] 75693332 len [ 4] attr [80] -> 00010000\n"})),
            "(no error)");
  EXPECT_EQ(errorIn(listOf(1, {"[#KEY] type [ui16] 75693136 len [ 2] attr [80] -> FFFF\n"})),
            "(no error)");
}

TEST(MachineFile, TellsErrorsWithAndWithoutALine) {
  EXPECT_EQ((MachineFileError{"a/b.txt", 12, "it is wrong"}.message()), "a/b.txt:12: it is wrong");
  EXPECT_EQ((MachineFileError{"a/b.txt", 0, "it is wrong"}.message()), "a/b.txt: it is wrong");
}

// ---- what is taken
// -------------------------------------------------------------------------------

TEST(MachineFile, TakesTheHeadings) {
  const RecordedMachine machine = machineIn(
      "Model: \t Mac Pro9,9\nProcessor: A Processor\nLogicalProcessors: 4096\n"
      "PowerSource: UPS Power\nPublic keys (1):\n" +
      std::string(kFanLine));
  EXPECT_EQ(machine.model, "Mac Pro9,9");
  EXPECT_EQ(machine.processor, "A Processor");
  EXPECT_EQ(machine.logicalProcessors, 4096U);
  EXPECT_EQ(machine.powerSource, "UPS Power");
}

TEST(MachineFile, FillsInWhatTheHeadingsDoNotSay) {
  const RecordedMachine machine = machineIn(listOf(1, {kFanLine}));
  EXPECT_EQ(machine.model, "Name1,1");  // the file's name
  EXPECT_EQ(machine.processor, "Intel(R) Core(TM) i7-8750H CPU @ 2.20GHz");
  EXPECT_EQ(machine.logicalProcessors, 4U);
  EXPECT_EQ(machine.powerSource, "AC Power");
}

TEST(MachineFile, TakesThePowerSourceFromTheBatteryKeyWhereNoneIsStated) {
  const std::string battery = "[BATP] type [flag] 666C6167 len [ 1] attr [80] -> ";
  EXPECT_EQ(machineIn(listOf(1, {battery + "01\n"})).powerSource, "Battery Power");
  EXPECT_EQ(machineIn(listOf(1, {battery + "00\n"})).powerSource, "AC Power");
  EXPECT_EQ(machineIn(listOf(1, {battery + "NOT READABLE\n"})).powerSource, "AC Power");
  EXPECT_EQ(machineIn("PowerSource: AC Power\n" + listOf(1, {battery + "01\n"})).powerSource,
            "AC Power");
}

TEST(MachineFile, SkipsLinesBeforeTheListThatItDoesNotKnow) {
  const RecordedMachine machine =
      machineIn("macOS 10.0.0\n\n[not a key\nModel: M1,1\n" + listOf(1, {kFanLine}));
  EXPECT_EQ(machine.model, "M1,1");
  EXPECT_EQ(machine.keys.size(), 1U);
}

TEST(MachineFile, NeedsNoLineWithTheSystemsVersion) {
  EXPECT_EQ(machineIn(listOf(2, {kFanLine, kHeatLine})).keys.size(), 2U);
}

TEST(MachineFile, SkipsEmptyLinesInTheList) {
  EXPECT_EQ(machineIn(listOf(2, {kFanLine, "\n", "  \t\n", kHeatLine})).keys.size(), 2U);
}

TEST(MachineFile, SkipsWhatFollowsTheList) {
  const RecordedMachine machine = machineIn(
      listOf(1, {kFanLine, "\n", "Hidden keys (1):\n", kHeatLine, "[nonsense\n", "more of it"}));
  EXPECT_EQ(machine.keys.size(), 1U);
  EXPECT_EQ(machineIn(listOf(1, {kFanLine, "Read in 12 s\n", kHeatLine})).keys.size(), 1U);
}

TEST(MachineFile, TakesALastLineWithoutItsEnd) {
  const std::string text = listOf(2, {kFanLine, kHeatLine});
  EXPECT_EQ(machineIn(text.substr(0, text.size() - 1)), machineIn(text));
}

TEST(MachineFile, TakesLinesThatEndInCarriageReturnAndLineFeed) {
  const std::string text = "Model: M1,1\nProcessor: P\n" + listOf(2, {kFanLine, kHeatLine});
  std::string windows;
  for (const char character : text) {
    windows += character == '\n' ? "\r\n" : std::string(1, character);
  }
  EXPECT_EQ(machineIn(windows), machineIn(text));
}

TEST(MachineFile, GivesAStatusToTheNextKeyAndToNoOther) {
  const RecordedMachine machine =
      machineIn(listOf(3, {"[AAAA] type [ui8 ] 75693820 len [ 1] attr [80] -> 01\n",
                           "Unable to read smc value E00002C1\n",
                           "[BBBB] type [ui8 ] 75693820 len [ 1] attr [80] -> 02\n",
                           "[CCCC] type [ui8 ] 75693820 len [ 1] attr [80] -> 03\n"}));
  EXPECT_EQ(keyOf(machine, "AAAA").status, 0);
  EXPECT_EQ(keyOf(machine, "BBBB").status, static_cast<std::int32_t>(0xE00002C1));
  EXPECT_EQ(keyOf(machine, "BBBB").bytes, Bytes{});  // without a reply there were no bytes
  EXPECT_EQ(keyOf(machine, "BBBB").result, 0);
  EXPECT_EQ(keyOf(machine, "BBBB").sizeBytes, 1U);
  EXPECT_EQ(keyOf(machine, "CCCC").status, 0);
  EXPECT_EQ(keyOf(machine, "CCCC").bytes, Bytes{3});
}

TEST(MachineFile, MakesFourBytesOfAnyText) {
  EXPECT_EQ(fourBytes("FS! "), (FourBytes{'F', 'S', '!', ' '}));
  EXPECT_EQ(fourBytes("F0"), (FourBytes{'F', '0', '\0', '\0'}));
  EXPECT_EQ(fourBytes("F0AcX"), (FourBytes{'F', '0', 'A', 'c'}));
  EXPECT_EQ(fourBytes(""), FourBytes{});
}

}  // namespace

}  // namespace halvarin::test
