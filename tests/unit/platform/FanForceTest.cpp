#include "platform/machine/fans/FanForce.h"

#include <gtest/gtest.h>

#include <array>
#include <string_view>
#include <utility>

#include "tests/unit/platform/FanBench.h"

namespace halvarin::test {

namespace {

using platform::FanForce;
using platform::fourBytes;
using platform::KeyTable;
using platform::RecordedKey;

/// The keys of a machine with the fans 0, 1 and 9.
struct Forced {
  explicit Forced(Keys keys) : table(std::move(keys)), force(table, kFans) {}

  void write(std::string_view code, const Bytes& bytes) {
    RecordedKey* key = table.find(fourBytes(code));
    const Bytes before = std::exchange(key->bytes, bytes);
    force.keyWritten(*key, before);
  }
  Bytes bytes(std::string_view code) { return table.find(fourBytes(code))->bytes; }

  static constexpr std::array<std::uint32_t, 3> kFans{0, 1, 9};
  KeyTable table;
  FanForce force;
};

TEST(FanForce, IsTheBitOfTheFan) {
  Forced keys(forceBits(2));
  EXPECT_FALSE(keys.force.isForced(0));
  EXPECT_TRUE(keys.force.isForced(1));
  keys.write("FS! ", {0x02, 0x01});  // the high byte comes first: bits 9 and 0
  EXPECT_TRUE(keys.force.isForced(0));
  EXPECT_FALSE(keys.force.isForced(1));
  EXPECT_TRUE(keys.force.isForced(9));
}

TEST(FanForce, IsTheModeOfTheFanInEitherSpelling) {
  for (const auto& [upper, lower] : {std::pair{"F0Md", "F1md"}, std::pair{"F0md", "F1Md"}}) {
    Forced keys(mode(upper) + mode(lower));
    EXPECT_FALSE(keys.force.isForced(0));
    keys.write(upper, {3});
    EXPECT_TRUE(keys.force.isForced(0));
    EXPECT_FALSE(keys.force.isForced(1));
    keys.write(lower, {1});
    EXPECT_TRUE(keys.force.isForced(1));
    keys.write(upper, {0});
    EXPECT_FALSE(keys.force.isForced(0));
  }
}

TEST(FanForce, IsTheUpperCaseModeWhereBothSpellingsExist) {
  Forced keys(mode("F0Md") + mode("F0md", 1));
  EXPECT_FALSE(keys.force.isForced(0));
  keys.write("F0Md", {1});
  EXPECT_TRUE(keys.force.isForced(0));
}

TEST(FanForce, IsNoModeOfMoreThanOneByte) {
  Forced keys({key("F0Md", "ui16", {0, 1}), key("F0md", "ui8 ", {0})});
  EXPECT_FALSE(keys.force.isForced(0));
  keys.write("F0md", {1});
  EXPECT_TRUE(keys.force.isForced(0));
}

TEST(FanForce, IsEitherTheBitOrTheModeWhereBothExist) {
  Forced keys(mode("F0Md") + forceBits());
  keys.write("FS! ", {0, 1});
  EXPECT_TRUE(keys.force.isForced(0));
  keys.write("F0Md", {1});
  keys.write("FS! ", {0, 0});
  EXPECT_TRUE(keys.force.isForced(0));
}

TEST(FanForce, IsNoneWithoutKeysForIt) {
  EXPECT_FALSE(Forced(heat()).force.isForced(0));
  EXPECT_FALSE(Forced(testFlag(1)).force.isForced(0));
}

TEST(FanForce, CountsOnlyWhileTheTestFlagIsSetWhereThereIsOne) {
  Forced keys(mode("F0Md", 1) + forceBits(2) + testFlag());
  EXPECT_FALSE(keys.force.isForced(0));
  EXPECT_FALSE(keys.force.isForced(1));
  keys.write("Ftst", {1});
  EXPECT_TRUE(keys.force.isForced(0));
  EXPECT_TRUE(keys.force.isForced(1));
}

TEST(FanForce, WrittenModesRead0WhileTheTestFlagIs0) {
  for (const char* spelling : {"F0Md", "F0md"}) {
    Forced keys(mode(spelling) + testFlag());
    keys.write(spelling, {1});
    EXPECT_EQ(keys.bytes(spelling), Bytes{0});
    keys.write("Ftst", {1});
    EXPECT_FALSE(keys.force.isForced(0));
    keys.write(spelling, {1});
    EXPECT_EQ(keys.bytes(spelling), Bytes{1});
    EXPECT_TRUE(keys.force.isForced(0));
  }
}

TEST(FanForce, BitsStayWhenNewOnesAreWrittenWhileTheTestFlagIs0) {
  Forced keys(forceBits(2) + testFlag());
  keys.write("FS! ", {0, 3});
  EXPECT_EQ(keys.bytes("FS! "), (Bytes{0, 2}));
  keys.write("FS! ", {1, 0});
  EXPECT_EQ(keys.bytes("FS! "), (Bytes{0, 2}));
  keys.write("FS! ", {0, 0});  // forces nothing
  EXPECT_EQ(keys.bytes("FS! "), (Bytes{0, 0}));
}

TEST(FanForce, DropsEverythingWhenTheTestFlagBecomes0) {
  Forced keys(mode("F0Md", 1) + mode("F1md", 1) + forceBits(3) + testFlag(1));
  keys.write("Ftst", {2});
  EXPECT_TRUE(keys.force.isForced(0));
  keys.write("Ftst", {0});
  EXPECT_FALSE(keys.force.isForced(0));
  EXPECT_FALSE(keys.force.isForced(1));
  EXPECT_EQ(keys.bytes("F0Md"), Bytes{0});
  EXPECT_EQ(keys.bytes("F1md"), Bytes{0});
  EXPECT_EQ(keys.bytes("FS! "), (Bytes{0, 0}));
}

TEST(FanForce, DropsNothingThatIsHeld) {
  Forced keys(mode("F0Md", 1) + mode("F1Md", 1) + testFlag(1));
  keys.table.hold(fourBytes("F0Md"));
  keys.write("Ftst", {0});
  EXPECT_EQ(keys.bytes("F0Md"), Bytes{1});
  EXPECT_EQ(keys.bytes("F1Md"), Bytes{0});
  EXPECT_FALSE(keys.force.isForced(0));
}

TEST(FanForce, DropsEverythingAlsoWhenTheTestFlagIsSetTo0FromOutside) {
  Forced keys(mode("F0Md", 1) + testFlag(1));
  RecordedKey* flag = keys.table.find(fourBytes("Ftst"));
  const Bytes before = std::exchange(flag->bytes, Bytes{0});
  keys.force.keySet(*flag, before);
  EXPECT_EQ(keys.bytes("F0Md"), Bytes{0});
}

TEST(FanForce, LeavesOtherWrittenKeysAlone) {
  Forced keys(mode("F0Md") + mode("F7Md") + testFlag() + fanKeys(0));
  keys.write("F0Tg", fpe2(4000));
  EXPECT_EQ(keys.bytes("F0Tg"), fpe2(4000));
  keys.write("F7Md", {1});  // there is no such fan
  EXPECT_EQ(keys.bytes("F7Md"), Bytes{1});
}

}  // namespace

}  // namespace halvarin::test
