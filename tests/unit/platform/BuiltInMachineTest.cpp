#include "platform/machine/BuiltInMachine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/machine/ReadingCodec.h"
#include "tests/generated/TestPaths.h"

namespace halvarin::test {

namespace {

using platform::builtInLaptop;
using platform::builtInMachine;
using platform::builtInModels;
using platform::MachineFileError;
using platform::RecordedKey;
using platform::RecordedMachine;

const RecordedKey* find(const RecordedMachine& machine, std::string_view code) {
  const auto found =
      std::find_if(machine.keys.begin(), machine.keys.end(),
                   [&](const RecordedKey& each) { return each.code == platform::fourBytes(code); });
  return found == machine.keys.end() ? nullptr : &*found;
}

std::vector<RecordedMachine> everyMachine() {
  std::vector<RecordedMachine> machines;
  for (const std::string& model : builtInModels()) {
    machines.push_back(builtInMachine(model).value());
  }
  return machines;
}

TEST(BuiltInMachine, IsListedByItsModel) {
  EXPECT_EQ(builtInModels(), (std::vector<std::string>{"MacBookPro16,1", "MacBookPro18,1"}));
  for (const std::string& model : builtInModels()) {
    EXPECT_EQ(builtInMachine(model).value().model, model);
  }
  EXPECT_EQ(builtInMachine("MacBookPro16,1"), builtInLaptop());
  for (const char* other : {"", "MacBookPro16,2", "macbookpro16,1", "MacBookPro16"}) {
    EXPECT_FALSE(builtInMachine(other)) << other;
  }
}

TEST(BuiltInMachine, IsTheMachineOfItsFile) {
  const std::vector<std::string> files{"laptop.txt", "laptop-apple-silicon.txt"};
  const std::vector<RecordedMachine> machines = everyMachine();
  ASSERT_EQ(machines.size(), files.size());
  for (std::size_t i = 0; i < files.size(); ++i) {
    const auto read =
        platform::readMachineFile(HALVARIN_SOURCE_DIR "/platform/machine/builtin/" + files[i]);
    ASSERT_TRUE(std::holds_alternative<RecordedMachine>(read))
        << std::get<MachineFileError>(read).message();
    EXPECT_EQ(std::get<RecordedMachine>(read), machines[i]) << files[i];
  }
}

TEST(BuiltInMachine, StatesEverythingThatAFileCanState) {
  const RecordedMachine laptop = builtInLaptop();
  EXPECT_EQ(laptop.model, "MacBookPro16,1");
  EXPECT_EQ(laptop.processor, "Intel(R) Core(TM) i9-9880H CPU @ 2.30GHz");
  EXPECT_EQ(laptop.logicalProcessors, 16U);
  EXPECT_EQ(laptop.powerSource, "AC Power");
  const RecordedMachine silicon = builtInMachine("MacBookPro18,1").value();
  EXPECT_EQ(silicon.processor, "Apple M1 Pro");
  EXPECT_EQ(silicon.logicalProcessors, 10U);
  EXPECT_EQ(silicon.powerSource, "AC Power");
}

TEST(BuiltInMachine, CountsItsOwnKeys) {
  for (const RecordedMachine& machine : everyMachine()) {
    SCOPED_TRACE(machine.model);
    const RecordedKey* count = find(machine, "#KEY");
    ASSERT_NE(count, nullptr);
    const std::size_t keys = machine.keys.size();
    EXPECT_GT(keys, 100U);
    EXPECT_EQ(count->bytes, (std::vector<std::uint8_t>{0, 0, static_cast<std::uint8_t>(keys >> 8U),
                                                       static_cast<std::uint8_t>(keys)}));
  }
}

TEST(BuiltInMachine, ListsItsKeysInTheOrderOfTheirBytes) {
  for (const RecordedMachine& machine : everyMachine()) {
    for (std::size_t i = 1; i < machine.keys.size(); ++i) {
      const auto& before = machine.keys[i - 1].code;
      const auto& after = machine.keys[i].code;
      EXPECT_LT(std::string(before.begin(), before.end()), std::string(after.begin(), after.end()))
          << machine.model;
    }
  }
}

void expectFan(const RecordedMachine& machine, const std::string& fan, const std::string& mode) {
  SCOPED_TRACE(machine.model + " " + fan);
  for (const std::string& suffix :
       {std::string("Ac"), std::string("Mn"), std::string("Mx"), std::string("Tg"), mode}) {
    const RecordedKey* key = find(machine, fan + suffix);
    ASSERT_NE(key, nullptr) << suffix;
    EXPECT_EQ(key->result, 0) << suffix;
    EXPECT_EQ(key->type, platform::fourBytes(suffix == mode ? "ui8 " : "flt ")) << suffix;
  }
  EXPECT_EQ(find(machine, fan + mode)->bytes, std::vector<std::uint8_t>{0});
  EXPECT_EQ(find(machine, fan + (mode == "Md" ? "md" : "Md")), nullptr);
}

TEST(BuiltInMachine, HasTwoFansUnderAutomaticControl) {
  for (const RecordedMachine& machine : everyMachine()) {
    const RecordedKey* count = find(machine, "FNum");
    ASSERT_NE(count, nullptr);
    EXPECT_EQ(count->bytes, std::vector<std::uint8_t>{2});
    expectFan(machine, "F0", "Md");
    expectFan(machine, "F1", machine.model == "MacBookPro18,1" ? "md" : "Md");
    EXPECT_EQ(find(machine, "FS! "), nullptr);
  }
}

TEST(BuiltInMachine, OfAppleSiliconHasATestFlagAndFansAtRest) {
  const RecordedMachine silicon = builtInMachine("MacBookPro18,1").value();
  const RecordedKey* flag = find(silicon, "Ftst");
  ASSERT_NE(flag, nullptr);
  EXPECT_EQ(flag->type, platform::fourBytes("ui8 "));
  EXPECT_EQ(flag->bytes, std::vector<std::uint8_t>{0});
  for (const char* speed : {"F0Ac", "F0Tg", "F1Ac", "F1Tg"}) {
    EXPECT_EQ(find(silicon, speed)->bytes, (std::vector<std::uint8_t>{0, 0, 0, 0})) << speed;
  }
  EXPECT_EQ(find(builtInLaptop(), "Ftst"), nullptr);
}

TEST(BuiltInMachine, OfAppleSiliconHasPlausibleReadings) {
  const RecordedMachine silicon = builtInMachine("MacBookPro18,1").value();
  int temperatures = 0;
  for (const RecordedKey& each : silicon.keys) {
    const auto reading = platform::decodeReal(each.type, each.bytes);
    const std::string code(each.code.begin(), each.code.end());
    if (code[0] == 'T') {
      ++temperatures;
      EXPECT_TRUE(reading && *reading > 20 && *reading < 60) << code;
    } else if (code[0] == 'V' || code[0] == 'I' || code[0] == 'P') {
      EXPECT_TRUE(reading && *reading >= 0 && *reading < 30) << code;
    }
  }
  EXPECT_GT(temperatures, 50);
}

TEST(BuiltInMachine, ReadsBackFromItsOwnText) {
  for (const RecordedMachine& machine : everyMachine()) {
    const auto again = platform::parseMachineFile(platform::writeMachineFile(machine), "again.txt");
    ASSERT_TRUE(std::holds_alternative<RecordedMachine>(again));
    EXPECT_EQ(std::get<RecordedMachine>(again), machine);
  }
}

}  // namespace

}  // namespace halvarin::test
