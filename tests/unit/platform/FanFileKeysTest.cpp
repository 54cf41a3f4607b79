#include "platform/machine/linux/FanFileKeys.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>
#include <string_view>

#include "platform/machine/linux/DiskTree.h"
#include "tests/support/TemporaryFolder.h"

namespace halvarin::test {
namespace {

using platform::fourBytes;
using namespace std::string_literals;

class FanFileKeys : public testing::Test {
 protected:
  FanFileKeys() {
    folder_.write("smc/name", "applesmc\n");
    for (const std::string fan : {"fan1", "fan2"}) {
      folder_.write("smc/" + fan + "_input", "2501\n");
      folder_.write("smc/" + fan + "_output", "10000\n");
      folder_.write("smc/" + fan + "_min", "1200\n");
      folder_.write("smc/" + fan + "_max", "6000\n");
      folder_.write("smc/" + fan + "_manual", fan == "fan1" ? "0\n" : "1\n");
    }
  }
  int read(std::string_view code, std::string_view type, std::uint32_t size) {
    bytes_.clear();
    return platform::readFanKey(fans_, {fourBytes(code), fourBytes(type), size}, bytes_);
  }

  const TemporaryFolder folder_;
  const platform::FanFiles fans_{std::make_shared<platform::DiskTree>(folder_.path().string()),
                                 {{}, "/smc", ""}};
  std::string bytes_;
};

TEST_F(FanFileKeys, HoldSpeedsInTheirOwnTypes) {
  struct Row {
    std::string_view code;
    std::string_view type;
    std::string bytes;
  };
  for (const Row& row : {Row{"F0Ac", "fpe2", "\x27\x14"s}, Row{"F1Ac", "flt ", "\x00\x50\x1C\x45"s},
                         Row{"F0Ac", "ui16", "\x27\x14"s}, Row{"F0Tg", "fpe2", "\x9C\x40"s},
                         Row{"F0Tg", "ui16", "\x9C\x40"s}, Row{"F0Mn", "fpe2", "\x12\xC0"s},
                         Row{"F0Mx", "flt ", "\x00\x80\xBB\x45"s}}) {
    EXPECT_EQ(read(row.code, row.type, static_cast<std::uint32_t>(row.bytes.size())), 0);
    EXPECT_EQ(bytes_, row.bytes) << row.code << row.type;
  }
}

TEST_F(FanFileKeys, HoldWhoCommandsTheFansAndHowManyThereAre) {
  EXPECT_EQ(read("FS! ", "ui16", 2), 0);
  EXPECT_EQ(bytes_, "\0\2"s);
  EXPECT_EQ(read("F1Md", "ui8 ", 1), 0);
  EXPECT_EQ(bytes_, "\1"s);
  EXPECT_EQ(read("FNum", "ui8 ", 1), 0);
  EXPECT_EQ(bytes_, "\2"s);
}

TEST_F(FanFileKeys, AreNoneOfAnotherTypeOrLength) {
  EXPECT_EQ(read("F0Ac", "fpe2", 4), ENOTSUP);
  EXPECT_EQ(read("F0Ac", "ui8 ", 2), ENOTSUP);
  EXPECT_EQ(read("F0Tg", "flt ", 2), ENOTSUP);
  EXPECT_EQ(read("FS! ", "ui16", 4), ENOTSUP);
  EXPECT_EQ(read("F0Md", "ui8 ", 2), ENOTSUP);
  EXPECT_EQ(read("FNum", "ui16", 2), ENOTSUP);
  EXPECT_EQ(bytes_, "");
}

TEST_F(FanFileKeys, AreNoneOfOtherKeysAndFans) {
  for (const char* code : {"TC0P", "F0ID", "F0Sf", "F1md", "F2Ac", "FPhz", "#KEY"}) {
    EXPECT_EQ(read(code, "fpe2", 2), ENOTSUP) << code;
  }
}

TEST_F(FanFileKeys, HoldNothingThatAFileDoesNotShow) {
  for (const char* text : {"", "-1\n", "16384\n", "2500.5\n", "fast\n"}) {
    folder_.write("smc/fan1_input", text);
    EXPECT_EQ(read("F0Ac", "fpe2", 2), EIO) << text;
    EXPECT_EQ(read("F0Ac", "flt ", 4), EIO) << text;
  }
}

TEST_F(FanFileKeys, CountNoFansThatDoNotFollowEachOther) {
  folder_.write("smc/fan4_input", "0\n");
  EXPECT_EQ(read("FNum", "ui8 ", 1), ENOTSUP);
  std::filesystem::remove(folder_.path() / "smc/fan1_input");
  EXPECT_EQ(read("FNum", "ui8 ", 1), ENOTSUP);
  folder_.write("smc/fan1_input", "0\n");
  folder_.write("smc/fan3_input", "0\n");
  EXPECT_EQ(read("FNum", "ui8 ", 1), 0);
  EXPECT_EQ(bytes_, "\4"s);
}

TEST_F(FanFileKeys, CountNoFansWhereThereAreNone) {
  for (const char* fan : {"fan1_input", "fan2_input"}) {
    std::filesystem::remove(folder_.path() / "smc" / fan);
  }
  EXPECT_EQ(read("FNum", "ui8 ", 1), ENOTSUP);
}

TEST_F(FanFileKeys, HoldNoTargetWhereTheNamesOfTwoKernelsMeet) {
  folder_.write("smc/fan1_target", "2500\n");
  EXPECT_EQ(read("F0Tg", "fpe2", 2), ENOTSUP);
  EXPECT_EQ(read("FS! ", "ui16", 2), ENOTSUP);
  EXPECT_EQ(read("F0Ac", "fpe2", 2), 0);
}

}  // namespace
}  // namespace halvarin::test
