#include "host/VerdictText.h"

#include <gtest/gtest.h>

namespace halvarin::test {
namespace {

struct Row {
  const char* name;
  Value error;
  const char* value;
  const char* low;
  const char* high;
  Value inside;
  bool mainsOnly;
  bool onMains;
  const char* expected;
};

DictionaryRef recordOf(const Row& row) {
  auto record = Dictionary::make();
  record->set("error", row.error);
  record->set("value", row.value);
  record->set("low limit", row.low);
  record->set("high limit", row.high);
  record->set("isInsideLimits", row.inside);
  record->set("ACqualified", row.mainsOnly ? Value(true) : Value());
  return record;
}

TEST(VerdictText, SaysWhatTheVerdictMeans) {
  const std::vector<Row> rows{
      {"inside", 0, "20.00", "0", "50", true, false, false, "ok"},
      {"above", 0, "60.00", "0", "50", false, false, false, "too high"},
      {"below", 0, "-1.00", "0", "50", false, false, false, "too low"},
      {"no number", 0, "nan", "0", "50", false, false, false, "not a number"},
      {"no limits", 0, "20.00", "", "", true, false, false, "no limits"},
      {"no low limit", 0, "20.00", "", "50", true, false, false, "no limits"},
      {"no value", 0, "", "0", "50", true, false, false, "no value"},
      {"on battery", 0, "60.00", "0", "50", true, true, false, "on mains only"},
      {"on mains", 0, "20.00", "0", "50", true, true, true, "ok"},
      {"failed", 5, "error 5", "0", "50", Value(), false, false, "not read"},
      {"failed after an outside verdict", 5, "error 5", "0", "50", false, false, false, "not read"},
      {"never read", Value(), "error 0", "", "", Value(), false, false, "not read"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(host::verdictOf(*recordOf(row), row.onMains).text, row.expected) << row.name;
  }
}

TEST(VerdictText, TemperatureCodesOfMissingSensorsAreNoReadings) {
  for (const char* code : {"-128.00", "-127.00", "-126.00", "-125.00", "-124.00"}) {
    const auto record = recordOf({"", 0, code, "0", "100", false, false, false, ""});
    record->set("unit", "oC");
    EXPECT_EQ(host::verdictOf(*record, false).text, "no reading") << code;
    EXPECT_EQ(host::verdictOf(*record, false).finding, host::Finding::notJudged);
    record->set("unit", "A");
    EXPECT_EQ(host::verdictOf(*record, false).text, "too low") << code;
  }
  for (const char* cold : {"-123.00", "-127.50", "-5.00", "-129.00"}) {
    const auto record = recordOf({"", 0, cold, "0", "100", false, false, false, ""});
    record->set("unit", "oC");
    EXPECT_EQ(host::verdictOf(*record, false).text, "too low") << cold;
  }
}

TEST(VerdictText, PlaceWithoutAThermistorIsNoReading) {
  const auto verdict = [](const char* key, const char* value) {
    const auto record = recordOf({"", 0, value, "-25", "105", true, false, false, ""});
    record->set("unit", "oC");
    record->set("key", key);
    return host::verdictOf(*record, false).text;
  };
  EXPECT_EQ(verdict("TR3d", "-22.00"), "no reading");
  EXPECT_EQ(verdict("TR3d", "-22.01"), "ok");
  EXPECT_EQ(verdict("TR3d", "22.00"), "ok");
  EXPECT_EQ(verdict("TR3D", "-22.00"), "ok");
  EXPECT_EQ(verdict("Tp02", "-22.00"), "ok");
}

TEST(VerdictText, RecordThatWasNeverDecodedIsNotRead) {
  const auto record = recordOf({"", 0, "", "0", "50", true, false, false, ""});
  record->set("value", 18498);
  EXPECT_EQ(host::verdictOf(*record, false).text, "not read");
}

TEST(VerdictText, ColoursGoodAndBadFindings) {
  EXPECT_EQ(host::verdictCell({host::Finding::inside, "ok"}).tone, host::Tone::good);
  EXPECT_EQ(host::verdictCell({host::Finding::outside, "too low"}).tone, host::Tone::bad);
  EXPECT_EQ(host::verdictCell({host::Finding::notRead, "not read"}).tone, host::Tone::bad);
  EXPECT_EQ(host::verdictCell({host::Finding::notJudged, "no limits"}).tone, host::Tone::plain);
}

TEST(VerdictText, LimitsAreShownTogetherOrNotAtAll) {
  EXPECT_EQ(host::limitsOf(*recordOf({"", 0, "1", "0", "50", true, false, false, ""})), "0 to 50");
  EXPECT_EQ(host::limitsOf(*recordOf({"", 0, "1", "", "50", true, false, false, ""})), "");
}

}  // namespace
}  // namespace halvarin::test
