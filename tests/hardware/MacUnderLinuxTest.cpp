// The Mac that this runs on, through its kernel's driver. Nothing is written but the driver's
// cursor.

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "base/Array.h"
#include "platform/machine/CurrentMachine.h"
#include "platform/machine/linux/DiskTree.h"
#include "platform/machine/linux/SmcDriver.h"
#include "smc/KeyRecord.h"
#include "smc/QXSMCInterface.h"

namespace halvarin::test {
namespace {

using platform::CursorFile;
using platform::SmcDriver;

class ThisMac : public testing::Test {
 protected:
  void SetUp() override {
    driver_ = platform::findSmcDriver(files_);
    if (!driver_) {
      GTEST_SKIP() << "no driver applesmc or macsmc_hwmon is loaded here: this needs a Mac that "
                      "runs Linux";
    }
    std::uint32_t connection = 0;
    if (platform::currentMachine()->open(0, connection) != 0) {
      GTEST_SKIP() << "this user may not ask the driver for keys (docs/platforms.md)";
    }
    EXPECT_EQ(platform::currentMachine()->close(connection), 0);
  }
  [[nodiscard]] bool isIntel() const { return driver_->kind == SmcDriver::Kind::applesmc; }

  platform::DiskTree files_;
  std::optional<SmcDriver> driver_;
};

TEST_F(ThisMac, ListsAsManyKeysAsItsDriverCounts) {
  if (!isIntel()) {
    GTEST_SKIP() << "the driver of Apple silicon counts no keys";
  }
  const auto count = lineOf(files_, driverFile(files_, *driver_, "key_count"));
  const auto smc = QXSMCInterface::sharedSMC();
  ASSERT_TRUE(smc);
  ASSERT_TRUE(count);
  EXPECT_EQ(std::to_string(smc->keyDict()->count()), *count);
}

TEST_F(ThisMac, ReadsItsKeysOrSaysWhyNot) {
  const auto smc = QXSMCInterface::sharedSMC();
  ASSERT_TRUE(smc);
  const ArrayRef keys = smc->listKeysWithData();
  std::set<std::int32_t> errors;
  for (const Value& each : keys->elements()) {
    errors.insert(each.dictionary()->get(record::kError).intValue());
  }
  EXPECT_TRUE(errors.contains(0));
  EXPECT_FALSE(errors.contains(static_cast<std::int32_t>(0xE00002C0))) << "the driver went away";
}

TEST_F(ThisMac, HasAsManyFansAsItsDriverShows) {
  std::uint32_t shown = 0;
  while (!driverFile(files_, *driver_, "fan" + std::to_string(shown + 1) + "_input").empty()) {
    ++shown;
  }
  const auto smc = QXSMCInterface::sharedSMC();
  ASSERT_TRUE(smc);
  const DictionaryRef count = smc->SMCReadKey("FNum");
  EXPECT_EQ(count ? count->get(record::kValue).unsignedIntValue() : 0, shown);
}

TEST_F(ThisMac, TellsOfEveryMoveOfTheCursor) {
  if (!isIntel()) {
    GTEST_SKIP() << "the driver of Apple silicon has no cursor";
  }
  int error = 0;
  const std::string path = driverFile(files_, *driver_, "key_at_index");
  const auto cursor = files_.openCursor(path, error);
  const auto other = files_.openCursor(path, error);
  ASSERT_TRUE(cursor && other) << error;
  ASSERT_TRUE(cursor->tryLock()) << "another program is reading keys";
  ASSERT_EQ(cursor->set("1"), 0);
  EXPECT_EQ(cursor->witness(), CursorFile::Witness::alone);
  ASSERT_EQ(other->set("2"), 0);
  ASSERT_EQ(other->set("1"), 0);
  EXPECT_EQ(cursor->witness(), CursorFile::Witness::disturbed);
}

TEST_F(ThisMac, KnowsWhatItIs) {
  EXPECT_NE(platform::currentMachine()->setting("hw.model").textView(), "");
  EXPECT_NE(platform::currentMachine()->setting("machdep.cpu.brand_string").textView(), "");
}

}  // namespace
}  // namespace halvarin::test
