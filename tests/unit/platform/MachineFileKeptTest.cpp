#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <variant>
#include <vector>

#include "platform/machine/MachineFile.h"
#include "tests/support/Machines.h"
#include "tests/support/SharedData.h"
#include "tests/unit/platform/ParsedMachine.h"

namespace halvarin::test {

namespace {

using platform::fourBytes;
using platform::FourBytes;
using platform::parseMachineFile;
using platform::readMachineFile;
using platform::RecordedKey;
using platform::RecordedMachine;
using platform::writeMachineFile;

RecordedMachine machineFrom(const std::string& file) {
  const Parsed parsed = readMachineFile(kMachines + file);
  EXPECT_TRUE(std::holds_alternative<RecordedMachine>(parsed)) << errorOf(parsed);
  const auto* machine = std::get_if<RecordedMachine>(&parsed);
  return machine == nullptr ? RecordedMachine{} : *machine;
}

void expectReadsBack(const std::string& path) {
  SCOPED_TRACE(path);
  const Parsed first = readMachineFile(path);
  ASSERT_TRUE(std::holds_alternative<RecordedMachine>(first)) << errorOf(first);
  const auto& machine = std::get<RecordedMachine>(first);
  const Parsed second = parseMachineFile(writeMachineFile(machine), "other.txt");
  ASSERT_TRUE(std::holds_alternative<RecordedMachine>(second)) << errorOf(second);
  EXPECT_EQ(std::get<RecordedMachine>(second), machine);
}

// ---- the kept machines
// ---------------------------------------------------------------------------

TEST(KeptMachine, OfEachFileSaysFirstWhatItIsFor) {
  for (const std::string& name : textFilesIn(kMachines)) {
    const std::string text = fileText(kMachines + name);
    const std::string first = text.substr(0, text.find('\n'));
    EXPECT_GT(first.size(), 20U) << name;
    for (const char* heading :
         {"Model:", "Processor:", "LogicalProcessors:", "PowerSource:", "Public keys", "["}) {
      EXPECT_NE(first.rfind(heading, 0), 0U) << name;
    }
  }
}

TEST(KeptMachine, OfEachFileReadsBackFromItsOwnText) {
  const auto names = textFilesIn(kMachines);
  EXPECT_GE(names.size(), 15U);
  for (const std::string& name : names) {
    expectReadsBack(kMachines + name);
  }
}

TEST(KeptMachine, HealthyIsALaptopOfTwoFans) {
  const RecordedMachine machine = machineFrom("healthy.txt");
  EXPECT_EQ(machine.model, "MacBookPro15,1");
  EXPECT_EQ(machine.logicalProcessors, 12U);
  EXPECT_EQ(machine.keys.size(), 21U);
  EXPECT_EQ(keyOf(machine, "#KEY").bytes, (Bytes{0, 0, 0, 21}));
  EXPECT_EQ(keyOf(machine, "FNum").bytes, Bytes{2});
  EXPECT_EQ(keyOf(machine, "TC0P").bytes, (Bytes{0x2F, 0xC0}));
}

TEST(KeptMachine, WithAStatusHasItOnItsKeys) {
  const RecordedMachine machine = machineFrom("platform-status.txt");
  EXPECT_EQ(keyOf(machine, "SBIG").status, static_cast<std::int32_t>(0xE00002C2));
  EXPECT_EQ(keyOf(machine, "SBIG").sizeBytes, 48U);
  EXPECT_EQ(keyOf(machine, "TC0P").status, static_cast<std::int32_t>(0xE00002C1));
  EXPECT_EQ(keyOf(machine, "FNum").status, 0);
  EXPECT_EQ(keyOf(machine, "TC1P").status, 0);
}

TEST(KeptMachine, WithLongKeysHoldsTheFirst32BytesOfEach) {
  const RecordedMachine machine = machineFrom("long-keys.txt");
  for (const auto& [code, size, first] :
       {std::tuple("LALL", 40U, 0x01), std::tuple("LCUT", 120U, 0x41),
        std::tuple("LFIT", 32U, 0x81)}) {
    const RecordedKey long_ = keyOf(machine, code);
    EXPECT_EQ(long_.sizeBytes, size) << code;
    ASSERT_EQ(long_.bytes.size(), 32U) << code;
    EXPECT_EQ(long_.bytes.front(), first) << code;
    EXPECT_EQ(long_.bytes.back(), first + 31) << code;
  }
}

TEST(KeptMachine, WithIntegerFansHasTheForceBitsOfAllFans) {
  const RecordedMachine machine = machineFrom("ui16-fans.txt");
  EXPECT_EQ(keyOf(machine, "F0Ac").type, fourBytes("ui16"));
  EXPECT_EQ(keyOf(machine, "F0Ac").bytes, (Bytes{0x07, 0x08}));
  EXPECT_EQ(keyOf(machine, "FS! ").bytes, (Bytes{0, 0}));
  EXPECT_EQ(keyOf(machine, "FNum").type, (FourBytes{'u', 'i', '8', '\0'}));
}

TEST(KeptMachine, WithoutKeysIsOneAllTheSame) {
  EXPECT_TRUE(machineFrom("empty-list.txt").keys.empty());
  EXPECT_EQ(keyOf(machineFrom("count-of-zero.txt"), "#KEY").bytes, (Bytes{0, 0, 0, 0}));
  EXPECT_EQ(machineFrom("no-count-key.txt").keys.size(), 2U);
}

TEST(KeptMachine, WithZeroBytesInItsCodesKeepsThem) {
  const RecordedMachine machine = machineFrom("zero-byte-codes.txt");
  ASSERT_EQ(machine.keys.size(), 5U);
  EXPECT_EQ(machine.keys[1].code, (FourBytes{'F', '\0', 'A', 'c'}));
  EXPECT_EQ(keyOf(machine, "FNum").type, (FourBytes{'u', 'i', '8', '\0'}));
  EXPECT_EQ(keyOf(machine, "SIGN").type, (FourBytes{'s', 'i', '8', '\0'}));
  EXPECT_EQ(keyOf(machineFrom("decoding-fault.txt"), "TC1P").type,
            (FourBytes{'f', 'p', '2', '\0'}));
}

TEST(KeptMachine, WithSentinelsHoldsMinus127) {
  const RecordedMachine machine = machineFrom("sentinels.txt");
  EXPECT_EQ(keyOf(machine, "TC0P").bytes, (Bytes{0x81, 0x00}));
  EXPECT_EQ(keyOf(machine, "TC0P").type, fourBytes("sp78"));
}

TEST(KeptMachine, OfCarriageReturnsHasNoneInItsFields) {
  ASSERT_NE(fileText(kMachines + "crlf.txt").find("\r\n"), std::string::npos);
  const RecordedMachine machine = machineFrom("crlf.txt");
  EXPECT_EQ(machine.model, "Lines1,1");
  EXPECT_EQ(machine.processor, "Intel(R) Test CPU");
  EXPECT_EQ(machine.powerSource, "AC Power");
  EXPECT_EQ(keyOf(machine, "TC0P").bytes, (Bytes{0x28, 0x00}));
}

TEST(KeptMachine, OnBatteryIsNamedAfterItsFile) {
  EXPECT_EQ(machineFrom("battery.txt").model, "battery");
  EXPECT_EQ(machineFrom("battery.txt").powerSource, "Battery Power");
}

TEST(KeptMachine, WithHiddenKeysHasOnlyThoseOfItsList) {
  const RecordedMachine machine = machineFrom("hidden-keys.txt");
  EXPECT_EQ(machine.keys.size(), 2U);
  EXPECT_EQ(machine.powerSource, "UPS Power");
}

TEST(KeptMachine, ThatRefusesHasTheResultByteOfEachKey) {
  const RecordedMachine machine = machineFrom("refusals.txt");
  EXPECT_EQ(keyOf(machine, "AC-E").result, 0x85);
  EXPECT_EQ(keyOf(machine, "AC-F").result, 0x85);  // none is written beside it
  EXPECT_EQ(keyOf(machine, "AUSB").result, 0x89);
  EXPECT_EQ(keyOf(machine, "RVUF").result, 0xD7);
  EXPECT_EQ(keyOf(machine, "RVUH").result, 0xFF);
}

// ---- recorded machines
// ---------------------------------------------------------------------------

TEST(RecordedDump, OfEveryModelIsTakenWholeAndReadsBack) {
  const std::vector<std::string> models = recordedModels();
  if (models.empty()) {
    GTEST_SKIP() << "there are no recorded machines in " << sharedData();
  }
  EXPECT_GE(models.size(), 28U);
  for (const std::string& model : models) {
    const std::string path = dumpPath(model);
    expectReadsBack(path);
    const Parsed parsed = readMachineFile(path);
    ASSERT_TRUE(std::holds_alternative<RecordedMachine>(parsed)) << errorOf(parsed);
    const auto& machine = std::get<RecordedMachine>(parsed);
    EXPECT_EQ(machine.model, model);
    const std::string text = fileText(path);
    std::size_t lines = 0;
    for (std::size_t at = 0; (at = text.find("\n[", at)) != std::string::npos; ++at) {
      ++lines;
    }
    EXPECT_EQ(machine.keys.size(), lines) << model;
    const Bytes count{0, 0, static_cast<std::uint8_t>(lines >> 8U),
                      static_cast<std::uint8_t>(lines)};
    EXPECT_EQ(keyOf(machine, "#KEY").bytes, count) << model;
  }
}

}  // namespace

}  // namespace halvarin::test
