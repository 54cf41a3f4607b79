#include "host/FaultOption.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "host/Exit.h"

namespace halvarin::test {
namespace {

using host::parseFault;

TEST(FaultOption, ReadingIsAKeyAndANumber) {
  const auto fault = std::get<host::ReadingFault>(parseFault("TC0P=-12.5"));
  EXPECT_EQ(fault.key, "TC0P");
  EXPECT_EQ(fault.number, -12.5);
}

TEST(FaultOption, KeyMayHoldBlanksAndEqualSigns) {
  EXPECT_EQ(std::get<host::ReadingFault>(parseFault("FS! =3")).key, "FS! ");
  EXPECT_EQ(std::get<host::ReadingFault>(parseFault("a=b==1")).key, "a=b=");
}

TEST(FaultOption, NumberMayBeNoneOrInfinite) {
  EXPECT_TRUE(std::isnan(std::get<host::ReadingFault>(parseFault("TC0P=nan")).number));
  EXPECT_TRUE(std::isinf(std::get<host::ReadingFault>(parseFault("TC0P=-inf")).number));
  EXPECT_EQ(std::get<host::ReadingFault>(parseFault("TC0P=1e2")).number, 100);
}

TEST(FaultOption, StatusIsHexadecimalWithOrWithoutPrefix) {
  for (const char* text : {"TC0P=error:E00002C1", "TC0P=error:e00002c1", "TC0P=error:0xE00002C1"}) {
    const auto fault = std::get<host::StatusFault>(parseFault(text));
    EXPECT_EQ(fault.key, "TC0P");
    EXPECT_EQ(fault.status, static_cast<std::int32_t>(0xE00002C1)) << text;
  }
}

TEST(FaultOption, VanishingTakesANumberOfTransfers) {
  EXPECT_EQ(std::get<host::VanishFault>(parseFault("vanish:0")).transfers, 0U);
  EXPECT_EQ(std::get<host::VanishFault>(parseFault("vanish:1200")).transfers, 1200U);
}

TEST(FaultOption, FanTakesANumberAndAFault) {
  using Kind = platform::FanFault::Kind;
  const std::vector<std::pair<std::string, Kind>> rows{{"fan:0=stalled", Kind::stalled},
                                                       {"fan:0=slow", Kind::slow},
                                                       {"fan:0=weak", Kind::weak},
                                                       {"fan:0=deaf", Kind::deaf}};
  for (const auto& [text, kind] : rows) {
    const auto fault = std::get<platform::FanFault>(parseFault(text));
    EXPECT_EQ(fault.fan, 0U) << text;
    EXPECT_EQ(fault.kind, kind) << text;
  }
  EXPECT_EQ(std::get<platform::FanFault>(parseFault("fan:35=slow")).fan, 35U);
}

TEST(FaultOption, RefusalIsOneLineThatSaysWhatIsWrong) {
  for (const auto& [text, says] : std::vector<std::pair<std::string, std::string>>{
           {"fan:0=tired", "\"tired\" is no fault of a fan"},
           {"fan:left=slow", "\"left\" is no number of a fan"},
           {"hot",
            "it takes KEY=VALUE, KEY=error:STATUS, fan:N=stalled|slow|weak|deaf or "
            "vanish:N"}}) {
    try {
      static_cast<void>(parseFault(text));
      ADD_FAILURE() << text;
    } catch (const host::ExitError& error) {
      const std::string message = error.what();
      EXPECT_NE(message.find(says), std::string::npos) << message;
      EXPECT_EQ(message.find('\n'), std::string::npos) << message;
    }
  }
}

TEST(FaultOption, EverythingElseIsRefused) {
  for (const char* text : {"",
                           "TC0P",
                           "TC0P=",
                           "TC0=1",
                           "TC0PP=1",
                           "=1",
                           "TC0P=warm",
                           "TC0P=--1",
                           "TC0P=.",
                           "TC0P=e",
                           "TC0P=e5",
                           "TC0P=..5",
                           "TC0P=1-2",
                           "TC0P=1e5e5",
                           "TC0P=error:",
                           "TC0P=error:0",
                           "TC0P=error:xyz",
                           "TC0P=error:1E00002C1",
                           "vanish:",
                           "vanish:-1",
                           "vanish:1.5",
                           "vanish:99999999999999999999",
                           "fan:",
                           "fan:0",
                           "fan:0=",
                           "fan:=slow",
                           "fan:0=Stalled",
                           "fan:0=slow ",
                           "fan:0=slow=weak",
                           "fan:-1=slow",
                           "fan:1.5=slow",
                           "fan:A=slow",
                           "fan: 0=slow",
                           "fan:4294967296=slow",
                           "fan:99999999999999999999=slow"}) {
    EXPECT_THROW(static_cast<void>(parseFault(text)), host::ExitError) << text;
  }
}

}  // namespace
}  // namespace halvarin::test
