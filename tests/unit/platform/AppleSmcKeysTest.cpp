#include "platform/machine/linux/AppleSmcKeys.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/CursorRival.h"
#include "tests/support/FanMachines.h"
#include "tests/unit/platform/DriverBench.h"
#include "tests/unit/platform/OtherTree.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using platform::DriverAnswer;
using platform::fourBytes;

platform::RecordedMachine someKeys() {
  std::vector<platform::RecordedKey> keys{key("FNum", "ui8 ", {2}),
                                          key("FS! ", "ui16", {0, 0}),
                                          key("LONG", "ch8*", Bytes(32, 7)),
                                          key("MORE", "ch8*", Bytes(32, 9)),
                                          closedKey("MSSP"),
                                          key("TC0P", "sp78", {0x2D, 0x80})};
  keys[3].sizeBytes = 40;
  return machineWith(keys);
}

class SmcKeys : public testing::Test {
 protected:
  DriverAnswer read(std::string_view code, std::uint32_t size) {
    return readOf(*keys_, code, size);
  }

  const DriverBench bench_{someKeys()};
  const std::unique_ptr<platform::AppleSmcKeys> keys_ = bench_.newKeys();
};

TEST_F(SmcKeys, AreListedByIndex) {
  const std::array<const char*, 7> codes{"#KEY", "FNum", "FS! ", "LONG", "MORE", "MSSP", "TC0P"};
  for (std::uint32_t i = 0; i < codes.size(); ++i) {
    const DriverAnswer answer = keyAt(*keys_, i);
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.reply.result, 0);
    EXPECT_EQ(answer.reply.key, fourBytes(codes[i]));
  }
  EXPECT_EQ(keyAt(*keys_, 7).reply.result, 0xB8);
}

TEST_F(SmcKeys, AreDescribedByName) {
  const DriverAnswer answer = infoOf(*keys_, "TC0P");
  EXPECT_EQ(answer.status, 0);
  EXPECT_EQ(answer.reply.type, fourBytes("sp78"));
  EXPECT_EQ(answer.reply.sizeBytes, 2U);
  EXPECT_EQ(answer.reply.attributes, 0x80);
  EXPECT_EQ(infoOf(*keys_, "MORE").reply.sizeBytes, 40U);
  EXPECT_EQ(infoOf(*keys_, "ABCD").reply.result, 0x84);
}

TEST_F(SmcKeys, AreReadWithTheirOwnSizeOnly) {
  const DriverAnswer answer = read("TC0P", 2);
  EXPECT_EQ(answer.status, 0);
  EXPECT_EQ(answer.reply.result, 0);
  EXPECT_EQ(bytesOf(answer, 3), (Bytes{0x2D, 0x80, 0}));
  EXPECT_EQ(read("TC0P", 1).reply.result, 0x87);
  EXPECT_EQ(read("TC0P", 0).reply.result, 0x87);
  EXPECT_EQ(read("ABCD", 2).reply.result, 0x84);
  EXPECT_EQ(bytesOf(read("LONG", 32), 32), Bytes(32, 7));
}

TEST_F(SmcKeys, AreNotReadWhenTheyAreLongerThanAReplyCarries) {
  EXPECT_EQ(read("MORE", 40).reply.result, 0x87);
  EXPECT_EQ(read("MORE", 32).reply.result, 0x87);
  EXPECT_EQ(bench_.driver()->valuesRead(), 0U);
}

TEST_F(SmcKeys, CountThemselvesAsTheDriverDoes) {
  EXPECT_EQ(infoOf(*keys_, "#KEY").reply.type, fourBytes("ui32"));
  EXPECT_EQ(infoOf(*keys_, "#KEY").reply.sizeBytes, 4U);
  EXPECT_EQ(bytesOf(read("#KEY", 4), 4), (Bytes{0, 0, 0, 7}));
  EXPECT_EQ(read("#KEY", 2).reply.result, 0x87);
}

TEST_F(SmcKeys, AreAskedOnceWhenTheControllerRefusesThem) {
  ASSERT_EQ(read("TC0P", 2).reply.result, 0);
  const DriverAnswer refused = read("MSSP", 1);
  EXPECT_EQ(refused.status, 0);
  EXPECT_EQ(refused.reply.result, 0x85);
  const std::uint64_t before = bench_.driver()->valuesRead();
  EXPECT_EQ(read("MSSP", 1).reply.result, 0x85);
  EXPECT_EQ(bench_.driver()->valuesRead(), before);
}

TEST_F(SmcKeys, AreKnownToBeRefusedEvenWhenAskedFirst) {
  EXPECT_EQ(read("MSSP", 1).reply.result, 0x85);
}

TEST_F(SmcKeys, AreNotTakenForRefusedWhileNoKeyAnswers) {
  bench_.driver()->setSilent(true);
  EXPECT_EQ(read("TC0P", 2).status, platform::kStatusTransferFailed);
  EXPECT_EQ(read("MSSP", 1).status, platform::kStatusTransferFailed);
  bench_.driver()->setSilent(false);
  EXPECT_EQ(read("TC0P", 2).reply.result, 0);
  EXPECT_EQ(read("TC0P", 2).status, 0);
}

TEST_F(SmcKeys, AreNotTakenForRefusedWhenTheyHaveAnsweredBefore) {
  ASSERT_EQ(read("TC0P", 2).status, 0);
  ASSERT_EQ(read("FNum", 1).status, 0);
  bench_.driver()->setSilent(true);
  EXPECT_EQ(read("TC0P", 2).status, platform::kStatusTransferFailed);
  bench_.driver()->setSilent(false);
  EXPECT_EQ(read("TC0P", 2).status, 0);
}

TEST_F(SmcKeys, TakeNoOtherCommands) {
  EXPECT_EQ(keys_->answer(requestOf(static_cast<platform::Command>(7), "TC0P")).reply.result, 0x82);
}

TEST_F(SmcKeys, AreThereAsLongAsTheDriverIs) {
  EXPECT_TRUE(keys_->isPresent());
  EXPECT_EQ(keys_->access(), 0);
  platform::AppleSmcKeys none(std::make_shared<platform::DiskTree>("/nowhere"), bench_.found(),
                              std::make_shared<platform::ScaledClock>(0));
  EXPECT_FALSE(none.isPresent());
  EXPECT_EQ(none.access(), static_cast<platform::MachineStatus>(0xE00002C0));
}

TEST(SmcKeysWithoutRights, AreNotPrivileged) {
  DriverScript script;
  script.denied = {"key_at_index"};
  const DriverBench bench(someKeys(), script);
  const auto keys = bench.newKeys();
  constexpr auto kNotPrivileged = static_cast<platform::MachineStatus>(0xE00002C1);
  EXPECT_TRUE(keys->isPresent());
  EXPECT_EQ(keys->access(), kNotPrivileged);
  EXPECT_EQ(readOf(*keys, "TC0P", 2).status, kNotPrivileged);
  EXPECT_EQ(keyAt(*keys, 0).status, kNotPrivileged);
}

/// Its cursor's witness goes blind when it is asked to.
class DimmedDriver : public OtherTree {
 public:
  using OtherTree::OtherTree;
  [[nodiscard]] std::unique_ptr<platform::CursorFile> openCursor(const std::string& path,
                                                                 int& error) override {
    return std::make_unique<Cursor>(OtherTree::openCursor(path, error), isBlind);
  }
  bool isBlind = false;

 private:
  class Cursor : public platform::CursorFile {
   public:
    Cursor(std::unique_ptr<platform::CursorFile> cursor, const bool& isBlind)
        : cursor_(std::move(cursor)), isBlind_(isBlind) {}
    [[nodiscard]] bool tryLock() override { return cursor_->tryLock(); }
    void unlock() override { cursor_->unlock(); }
    [[nodiscard]] int set(std::string_view text) override { return cursor_->set(text); }
    [[nodiscard]] Witness witness() override {
      return isBlind_ ? Witness::blind : cursor_->witness();
    }

   private:
    const std::unique_ptr<platform::CursorFile> cursor_;
    const bool& isBlind_;
  };
};

TEST(SmcKeysWhereTheSystemTellsOfNoWrites, AreNotOpened) {
  const DriverBench bench(someKeys());
  const auto dimmed = std::make_shared<DimmedDriver>(bench.driver());
  platform::AppleSmcKeys keys(dimmed, bench.found(), std::make_shared<platform::ScaledClock>(0));
  constexpr auto kNoResources = static_cast<platform::MachineStatus>(0xE00002BE);
  dimmed->isBlind = true;
  EXPECT_TRUE(keys.isPresent());
  EXPECT_EQ(keys.access(), kNoResources);
  EXPECT_EQ(keyAt(keys, 0).status, platform::kStatusBusy);
  dimmed->isBlind = false;
  EXPECT_EQ(keys.access(), 0);
}

TEST(SmcKeysWhereTheSystemTellsOfNoWrites, LetFansBeHandedBackByThoseWhoKnowThem) {
  const DriverBench bench(fanMachine(FanStyle::forceBits));
  const auto dimmed = std::make_shared<DimmedDriver>(bench.driver());
  platform::AppleSmcKeys keys(dimmed, bench.found(), std::make_shared<platform::ScaledClock>(0));
  ASSERT_EQ(keys.access(), 0);
  ASSERT_EQ(writeOf(keys, "FS! ", {0, 1}).status, 0);
  dimmed->isBlind = true;
  EXPECT_EQ(keys.access(), 0);
  EXPECT_EQ(bytesOf(readOf(keys, "FS! ", 2), 2), (Bytes{0, 1}));
  EXPECT_EQ(writeOf(keys, "FS! ", {0, 0}).status, 0);
  EXPECT_EQ(bench.driver()->writes().back(), "fan1_manual 0");
}

TEST(SmcKeysBesideARival, CanBeOpened) {
  DriverBench bench(someKeys());
  const auto keys = bench.newKeys();
  int error = 0;
  const auto other = bench.driver()->openCursor(bench.cursorPath(), error);
  ASSERT_TRUE(other->tryLock());
  EXPECT_EQ(keys->access(), 0);
}

TEST(SmcKeysBesideARival, EndAsAnErrorWhenTheyCannotBeVerified) {
  const DriverBench bench(someKeys(), {{}, 20us, {}, false});
  const auto keys = bench.newKeys();
  ASSERT_EQ(readOf(*keys, "TC0P", 2).status, 0);
  const CursorRival rival(bench.folder(), 0us, [](ScriptedDriver& driver, std::uint32_t turn) {
    driver.moveCursor(turn % 2 == 0 ? 1 : 6);
  });
  int failed = 0;
  // Until the two have met, however busy the computer is.
  const auto end = std::chrono::steady_clock::now() + 20s;
  for (int i = 0; i < 300 || (failed == 0 && std::chrono::steady_clock::now() < end); ++i) {
    const DriverAnswer answer = readOf(*keys, "TC0P", 2);
    failed += answer.status == platform::kStatusBusy ? 1 : 0;
    if (answer.status == 0) {
      EXPECT_EQ(answer.reply.result, 0);
      EXPECT_EQ(bytesOf(answer, 2), (Bytes{0x2D, 0x80}));
    } else {
      EXPECT_EQ(answer.status, platform::kStatusBusy);
    }
  }
  EXPECT_GT(failed, 0) << "the rival was too slow to prove anything";
}

}  // namespace
}  // namespace halvarin::test
