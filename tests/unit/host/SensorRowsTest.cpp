#include "host/SensorRows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace halvarin::test {
namespace {

using testing::ElementsAre;

std::vector<std::string> textsOf(const Dictionary& record) {
  std::vector<std::string> texts;
  for (const host::Cell& cell : host::sensorRow(record, true)) {
    texts.push_back(cell.text);
  }
  return texts;
}

TEST(SensorRows, ShowARecord) {
  Dictionary record;
  record.set("key", "TC0P");
  record.set("description", "CPU proximity");
  record.set("value", "45.00");
  record.set("error", 0);
  record.set("unit", "oC");
  record.set("low limit", "1");
  record.set("high limit", "95");
  record.set("isInsideLimits", true);
  EXPECT_THAT(textsOf(record),
              ElementsAre("TC0P", "CPU proximity", "45.00", "oC", "1 to 95", "ok"));
}

TEST(SensorRows, AReadingThatFailedHasNoUnit) {
  Dictionary record;
  record.set("key", "TC0P");
  record.set("value", "error e00002c0");
  record.set("unit", "oC");
  record.set("error", -536870208);
  EXPECT_THAT(textsOf(record), ElementsAre("TC0P", "", "error e00002c0", "", "", "not read"));
}

}  // namespace
}  // namespace halvarin::test
