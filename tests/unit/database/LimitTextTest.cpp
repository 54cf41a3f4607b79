#include "database/packer/LimitText.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace halvarin::test {

namespace {

using packer::TableError;
using packer::TableRow;

std::string faultOf(const std::string& low, const std::string& high) {
  const TableRow row{"folder/parts.tsv", 7, {}};
  try {
    packer::checkLimits(row, low, high);
  } catch (const TableError& error) {
    return error.what();
  }
  return "(no fault)";
}

TEST(LimitText, TakesTwoDecimalNumbersOrNone) {
  struct Row {
    const char* low;
    const char* high;
  };
  for (const Row& row : std::vector<Row>{{"", ""},
                                         {"0", "0"},
                                         {"-1.5", "1.5"},
                                         {"-20", "-10"},
                                         {"0.000001", "60000"},
                                         {"9", "10"},  // as numbers, not as texts
                                         {"-0", "0"},
                                         {"007", "7.0"}}) {
    EXPECT_EQ(faultOf(row.low, row.high), "(no fault)") << row.low << " to " << row.high;
  }
}

TEST(LimitText, RefusesOneLimitWithoutTheOther) {
  const std::string fault =
      "folder/parts.tsv:7: a low limit without a high one, or the other way round, judges nothing";
  EXPECT_EQ(faultOf("1", ""), fault);
  EXPECT_EQ(faultOf("", "1"), fault);
}

TEST(LimitText, RefusesWhatIsNoPlainDecimalNumber) {
  for (const char* text : {"-", "--1", "+1", ".5", "1.", "-.5", "1.2.3", "1,5", "1e3", "0x1", "nan",
                           "-inf", "1 000", " 1", "1 ", "one"}) {
    const std::string fault =
        "folder/parts.tsv:7: the limit \"" + std::string(text) + "\" is no decimal number";
    EXPECT_EQ(faultOf(text, "100000"), fault);
    EXPECT_EQ(faultOf("-100000", text), fault);
  }
}

TEST(LimitText, RefusesALowLimitAboveTheHighOne) {
  EXPECT_EQ(faultOf("10", "9"), "folder/parts.tsv:7: the low limit 10 is above the high limit 9");
  EXPECT_EQ(faultOf("-1", "-1.5"),
            "folder/parts.tsv:7: the low limit -1 is above the high limit -1.5");
}

}  // namespace

}  // namespace halvarin::test
