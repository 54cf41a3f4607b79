#include "platform/PowerSource.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

#include "platform/machine/BareComputer.h"
#include "platform/machine/CurrentMachine.h"

namespace halvarin::test {
namespace {

class PoweredMachine : public platform::BareComputer {
 public:
  explicit PoweredMachine(std::string source) : source_(std::move(source)) {}
  [[nodiscard]] std::string powerSource() override {
    ++asked_;
    return source_;
  }
  void plug(std::string_view source) { source_ = source; }
  [[nodiscard]] int asked() const { return asked_; }

 private:
  std::string source_;
  int asked_ = 0;
};

class PowerSourceTest : public testing::Test {
 protected:
  ~PowerSourceTest() override { platform::setMachine(nullptr); }
};

TEST_F(PowerSourceTest, IsWhatTheCurrentMachineAnswers) {
  for (const char* source : {"AC Power", "Battery Power", "UPS Power", ""}) {
    SCOPED_TRACE(source);
    platform::setMachine(std::make_shared<PoweredMachine>(source));
    EXPECT_EQ(platform::providingPowerSourceType(), source);
  }
}

TEST_F(PowerSourceTest, IsAskedForEveryTime) {
  const auto machine = std::make_shared<PoweredMachine>("AC Power");
  platform::setMachine(machine);
  EXPECT_EQ(platform::providingPowerSourceType(), "AC Power");
  machine->plug("Battery Power");
  EXPECT_EQ(platform::providingPowerSourceType(), "Battery Power");
  EXPECT_EQ(machine->asked(), 2);
}

TEST_F(PowerSourceTest, ABareComputerGivesNone) {
  platform::setMachine(std::make_shared<platform::BareComputer>());
  EXPECT_EQ(platform::providingPowerSourceType(), "");
}

}  // namespace
}  // namespace halvarin::test
