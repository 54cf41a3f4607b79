#include "host/fans/FanRequest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace halvarin::test {
namespace {

using host::FanView;
using host::ForcedBy;
using testing::HasSubstr;

FanView fanOf(const char* targetType, ForcedBy forcedBy = ForcedBy::modeKey) {
  FanView fan;
  fan.index = 1;
  fan.location = "Right side";
  fan.minimumRpm = 1200.5;
  fan.maximumRpm = 6000;
  fan.targetType = targetType;
  fan.forcedBy = forcedBy;
  return fan;
}

TEST(FanRequest, SpeedsInsideTheRangeMayBeAskedFor) {
  for (const std::uint32_t rpm : {1201U, 3000U, 6000U}) {
    EXPECT_EQ(host::refusalOf({rpm, false}, fanOf("flt ")), "") << rpm;
  }
}

TEST(FanRequest, SpeedsOutsideTheRangeNeedForce) {
  for (const std::uint32_t rpm : {0U, 1200U, 6001U, 16383U}) {
    EXPECT_THAT(host::refusalOf({rpm, false}, fanOf("fpe2")), HasSubstr("--force")) << rpm;
    EXPECT_EQ(host::refusalOf({rpm, true}, fanOf("fpe2")), "") << rpm;
  }
  EXPECT_EQ(host::refusalOf({7000, false}, fanOf("fpe2")),
            "Fan 1 (Right side) turns at 1200 to 6000 RPM; --force sets other speeds, up to 16383");
}

TEST(FanRequest, NoForceGoesBeyondWhatTheKeyCarries) {
  for (const char* type : {"fpe2", "ui16"}) {
    EXPECT_EQ(host::refusalOf({16384, true}, fanOf(type)),
              "Fan 1 (Right side) takes 16383 RPM at most")
        << type;
  }
  EXPECT_EQ(host::refusalOf({65535, true}, fanOf("flt ")), "");
  EXPECT_THAT(host::refusalOf({65536, true}, fanOf("flt ")), HasSubstr("65535 RPM at most"));
}

TEST(FanRequest, FansWithoutTheKeysCannotBeForced) {
  EXPECT_THAT(host::refusalOf({3000, true}, fanOf("")), HasSubstr("cannot be forced"));
  EXPECT_THAT(host::refusalOf({3000, true}, fanOf("ui8 ")), HasSubstr("cannot be forced"));
  EXPECT_THAT(host::refusalOf({3000, true}, fanOf("flt ", ForcedBy::nothing)),
              HasSubstr("cannot be forced"));
}

TEST(FanRequest, AFanThatStatesNoRangeNeedsForce) {
  FanView fan = fanOf("fpe2");
  fan.minimumRpm = 0;
  fan.maximumRpm = 0;
  EXPECT_THAT(host::refusalOf({3000, false}, fan), HasSubstr("states no range; --force"));
  EXPECT_EQ(host::refusalOf({3000, true}, fan), "");
  fan.maximumRpm = std::numeric_limits<double>::quiet_NaN();
  EXPECT_THAT(host::refusalOf({3000, false}, fan), HasSubstr("states no range"));
}

TEST(FanRequest, AMissingFanIsAnsweredWithTheFansThatThereAre) {
  EXPECT_EQ(host::noSuchFan(0, 0), "there is no fan 0; this machine has no fans");
  EXPECT_EQ(host::noSuchFan(1, 1), "there is no fan 1; there is fan 0 only");
  EXPECT_EQ(host::noSuchFan(7, 3), "there is no fan 7; there are fans 0 to 2");
}

}  // namespace
}  // namespace halvarin::test
