#include "platform/machine/BuiltInMachine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace halvarin::test {

namespace {

using platform::builtInLaptop;
using platform::MachineFileError;
using platform::RecordedKey;
using platform::RecordedMachine;

const RecordedKey* find(const RecordedMachine& machine, std::string_view code) {
  const auto found =
      std::find_if(machine.keys.begin(), machine.keys.end(),
                   [&](const RecordedKey& each) { return each.code == platform::fourBytes(code); });
  return found == machine.keys.end() ? nullptr : &*found;
}

TEST(BuiltInMachine, IsTheMachineOfItsFile) {
  const auto read =
      platform::readMachineFile(HALVARIN_SOURCE_DIR "/platform/machine/builtin/laptop.txt");
  ASSERT_TRUE(std::holds_alternative<RecordedMachine>(read))
      << std::get<MachineFileError>(read).message();
  EXPECT_EQ(std::get<RecordedMachine>(read), builtInLaptop());
}

TEST(BuiltInMachine, StatesEverythingThatAFileCanState) {
  const RecordedMachine laptop = builtInLaptop();
  EXPECT_EQ(laptop.model, "MacBookPro16,1");
  EXPECT_EQ(laptop.processor, "Intel(R) Core(TM) i9-9880H CPU @ 2.30GHz");
  EXPECT_EQ(laptop.logicalProcessors, 16U);
  EXPECT_EQ(laptop.powerSource, "AC Power");
}

TEST(BuiltInMachine, CountsItsOwnKeys) {
  const RecordedMachine laptop = builtInLaptop();
  const RecordedKey* count = find(laptop, "#KEY");
  ASSERT_NE(count, nullptr);
  const std::size_t keys = laptop.keys.size();
  EXPECT_GT(keys, 100U);
  EXPECT_EQ(count->bytes, (std::vector<std::uint8_t>{0, 0, static_cast<std::uint8_t>(keys >> 8U),
                                                     static_cast<std::uint8_t>(keys)}));
}

TEST(BuiltInMachine, ListsItsKeysInTheOrderOfTheirBytes) {
  const RecordedMachine laptop = builtInLaptop();
  for (std::size_t i = 1; i < laptop.keys.size(); ++i) {
    const auto& before = laptop.keys[i - 1].code;
    const auto& after = laptop.keys[i].code;
    EXPECT_LT(std::string(before.begin(), before.end()), std::string(after.begin(), after.end()));
  }
}

TEST(BuiltInMachine, HasTwoFansUnderAutomaticControl) {
  const RecordedMachine laptop = builtInLaptop();
  const RecordedKey* count = find(laptop, "FNum");
  ASSERT_NE(count, nullptr);
  EXPECT_EQ(count->bytes, std::vector<std::uint8_t>{2});
  for (const std::string fan : {"F0", "F1"}) {
    for (const std::string suffix : {"Ac", "Mn", "Mx", "Tg", "Md"}) {
      const RecordedKey* key = find(laptop, fan + suffix);
      ASSERT_NE(key, nullptr) << fan << suffix;
      EXPECT_EQ(key->result, 0) << fan << suffix;
      EXPECT_EQ(key->type, platform::fourBytes(suffix == "Md" ? "ui8 " : "flt ")) << fan << suffix;
    }
    EXPECT_EQ(find(laptop, fan + "Md")->bytes, std::vector<std::uint8_t>{0}) << fan;
  }
}

TEST(BuiltInMachine, ReadsBackFromItsOwnText) {
  const RecordedMachine laptop = builtInLaptop();
  const auto again = platform::parseMachineFile(platform::writeMachineFile(laptop), "again.txt");
  ASSERT_TRUE(std::holds_alternative<RecordedMachine>(again));
  EXPECT_EQ(std::get<RecordedMachine>(again), laptop);
}

}  // namespace

}  // namespace halvarin::test
