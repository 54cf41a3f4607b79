#include "base/Value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/Array.h"
#include "base/Dictionary.h"

namespace halvarin::test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::int32_t kIntLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kIntMost = std::numeric_limits<std::int32_t>::max();
constexpr std::uint32_t kUnsignedMost = std::numeric_limits<std::uint32_t>::max();
constexpr std::int64_t kLongLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kLongMost = std::numeric_limits<std::int64_t>::max();

Data bytes(std::vector<std::uint8_t> all) {
  return Data(all);
}

struct KindRow {
  const char* name;
  Value value;
  std::string kinds;  // a letter for each question that is answered with yes
  const char* className;
  std::string description;
};

std::string kindsOf(const Value& value) {
  std::string kinds;
  kinds += value.isNothing() ? "N" : "";
  kinds += value.isBoolean() ? "B" : "";
  kinds += value.isInteger() ? "I" : "";
  kinds += value.isReal() ? "R" : "";
  kinds += value.isText() ? "T" : "";
  kinds += value.isData() ? "D" : "";
  kinds += value.array() != nullptr ? "a" : "";
  kinds += value.dictionary() != nullptr ? "d" : "";
  return kinds;
}

TEST(Value, KnowsItsKindAndDescribesItself) {
  const KindRow rows[] = {
      {"nothing", Value(), "N", "(null)", "(null)"},
      {"null array", ArrayRef(), "N", "(null)", "(null)"},
      {"null dictionary", DictionaryRef(), "N", "(null)", "(null)"},
      {"true", true, "B", "Boolean", "1"},
      {"false", false, "B", "Boolean", "0"},
      {"zero", 0, "I", "Number", "0"},
      {"integer", -42, "I", "Number", "-42"},
      {"small unsigned", std::uint8_t{200}, "I", "Number", "200"},
      {"unsigned", kUnsignedMost, "I", "Number", "4294967295"},
      {"long", kLongLeast, "I", "Number", "-9223372036854775808"},
      {"real", 1.5, "R", "Number", "1.5"},
      {"single precision", 0.1F, "R", "Number", "0.1000000014901161"},
      {"no number", std::nan(""), "R", "Number", "nan"},
      {"infinity", -kInfinity, "R", "Number", "-inf"},
      {"text", "TC0P", "T", "Text", "TC0P"},
      {"text of a number", "42", "T", "Text", "42"},
      {"empty text", "", "T", "Text", ""},
      {"string", std::string("owned"), "T", "Text", "owned"},
      {"view", std::string_view("viewed"), "T", "Text", "viewed"},
      {"shared text", Text("shared"), "T", "Text", "shared"},
      {"data", bytes({0x0A, 0xFF}), "D", "Data", "<0AFF>"},
      {"empty data", Data(), "D", "Data", "<>"},
      {"array", Array::make({1}), "a", "Array", "Array"},
      {"dictionary", Dictionary::make(), "d", "Dictionary", "Dictionary"},
  };
  for (const KindRow& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(kindsOf(row.value), row.kinds);
    EXPECT_STREQ(row.value.className(), row.className);
    EXPECT_EQ(row.value.description(), row.description);
  }
}

TEST(Value, GivesTheHeldObject) {
  const ArrayRef array = Array::make({1});
  const DictionaryRef dictionary = Dictionary::make();
  EXPECT_EQ(Value("text").text(), Text("text"));
  EXPECT_EQ(Value("text").textView(), "text");
  EXPECT_EQ(Value(bytes({1, 2})).data(), bytes({1, 2}));
  const Value twoBytes(bytes({1, 2}));
  EXPECT_EQ(twoBytes.bytesView().size(), 2U);
  EXPECT_EQ(twoBytes.bytesView().back(), 2);
  EXPECT_EQ(Value(array).array(), array);
  EXPECT_EQ(Value(dictionary).dictionary(), dictionary);
}

TEST(Value, GivesAnEmptyObjectWhenItHoldsAnotherKind) {
  for (const Value& value : {Value(), Value(true), Value(1), Value(1.5)}) {
    SCOPED_TRACE(value.className());
    EXPECT_TRUE(value.text().empty());
    EXPECT_TRUE(value.textView().empty());
    EXPECT_TRUE(value.data().empty());
    EXPECT_TRUE(value.bytesView().empty());
    EXPECT_EQ(value.array(), nullptr);
    EXPECT_EQ(value.dictionary(), nullptr);
  }
  EXPECT_TRUE(Value("text").data().empty());
  EXPECT_TRUE(Value(bytes({1})).text().empty());
  EXPECT_EQ(Value("text").array(), nullptr);
  EXPECT_EQ(Value(Array::make()).dictionary(), nullptr);
}

TEST(Value, ACopyNamesTheSameArrayAndDictionary) {
  const Value array(Array::make());
  const Value dictionary(Dictionary::make());
  const Value arrayCopy = array;            // NOLINT(performance-unnecessary-copy-initialization)
  const Value dictionaryCopy = dictionary;  // NOLINT(performance-unnecessary-copy-initialization)
  array.array()->append(1);
  dictionary.dictionary()->set("name", 1);
  EXPECT_EQ(arrayCopy.array()->count(), 1U);
  EXPECT_EQ(dictionaryCopy.dictionary()->count(), 1U);
}

TEST(Value, TextViewStaysValidWhileTheValueLives) {
  const Value value("a text that is much longer than what a small text keeps inside");
  const std::string_view view = value.textView();
  {
    const Value copy = value;
    EXPECT_EQ(copy.textView().data(), view.data());
  }
  EXPECT_EQ(view, "a text that is much longer than what a small text keeps inside");
}

TEST(Value, IsEqualToAValueOfTheSameKindThatHoldsTheSame) {
  const ArrayRef array = Array::make({1});
  const DictionaryRef dictionary = Dictionary::make();
  EXPECT_EQ(Value(), Value());
  EXPECT_EQ(Value(true), Value(true));
  EXPECT_EQ(Value(7), Value(std::uint8_t{7}));
  EXPECT_EQ(Value(1.5), Value(1.5F));
  EXPECT_EQ(Value("a"), Value(std::string("a")));
  EXPECT_EQ(Value(bytes({1})), Value(bytes({1})));
  EXPECT_EQ(Value(array), Value(array));
  EXPECT_EQ(Value(dictionary), Value(dictionary));
}

TEST(Value, IsUnequalToAnotherKindOrAnotherContent) {
  EXPECT_FALSE(Value() == Value(0));
  EXPECT_FALSE(Value() == Value(""));
  EXPECT_FALSE(Value(true) == Value(1));
  EXPECT_FALSE(Value(1) == Value(1.0));
  EXPECT_FALSE(Value("1") == Value(1));
  EXPECT_FALSE(Value("a") == Value(Data(std::string_view("a"))));
  EXPECT_FALSE(Value(true) == Value(false));
  EXPECT_FALSE(Value(1) == Value(2));
  EXPECT_FALSE(Value("a") == Value("A"));
  EXPECT_FALSE(Value(std::nan("")) == Value(std::nan("")));
}

TEST(Value, ArraysAndDictionariesAreEqualOnlyToThemselves) {
  EXPECT_FALSE(Value(Array::make({1})) == Value(Array::make({1})));
  EXPECT_FALSE(Value(Dictionary::make()) == Value(Dictionary::make()));
}

struct ReadingRow {
  const char* name;
  Value value;
  std::int32_t asInt;
  std::uint32_t asUnsigned;
  std::int64_t asLong;
  double asDouble;
  bool asBool;
};

void expectReadings(const ReadingRow& row) {
  SCOPED_TRACE(row.name);
  EXPECT_EQ(row.value.intValue(), row.asInt);
  EXPECT_EQ(row.value.unsignedIntValue(), row.asUnsigned);
  EXPECT_EQ(row.value.longLongValue(), row.asLong);
  EXPECT_EQ(row.value.doubleValue(), row.asDouble);
  EXPECT_EQ(row.value.floatValue(), static_cast<float>(row.asDouble));
  EXPECT_EQ(row.value.boolValue(), row.asBool);
}

TEST(Value, ReadsTextsByTheirLeadingNumberHeldAtTheEndsOfTheRange) {
  const ReadingRow rows[] = {
      {"empty", "", 0, 0, 0, 0, false},
      {"word", "none", 0, 0, 0, 0, false},
      {"yes", "YES", 0, 0, 0, 0, true},
      {"number", "42", 42, 42, 42, 42, true},
      {"white space, sign and unit", " \t+42.9 C", 42, 42, 42, 42.9, true},
      {"negative", "-3.75", -3, 0, -3, -3.75, true},
      {"fraction", "0.75", 0, 0, 0, 0.75, false},
      {"exponent", "1.5e3", 1, 1, 1, 1500, true},
      {"largest int", "2147483647", kIntMost, 2147483647U, 2147483647, 2147483647.0, true},
      {"beyond int", "2147483648", kIntMost, 2147483648U, 2147483648, 2147483648.0, true},
      {"least int", "-2147483648", kIntLeast, 0, -2147483648, -2147483648.0, true},
      {"below int", "-2147483649", kIntLeast, 0, -2147483649, -2147483649.0, true},
      {"largest unsigned", "4294967295", kIntMost, kUnsignedMost, 4294967295, 4294967295.0, true},
      {"beyond unsigned", "4294967296", kIntMost, kUnsignedMost, 4294967296, 4294967296.0, true},
      {"beyond long", "9223372036854775808", kIntMost, kUnsignedMost, kLongMost,
       9223372036854775808.0, true},
      {"below long", "-9223372036854775809", kIntLeast, 0, kLongLeast, -9223372036854775808.0,
       true},
      {"infinity", "inf", 0, 0, 0, kInfinity, false},
      {"too large for a real", "1e400", 1, 1, 1, kInfinity, true},
  };
  for (const ReadingRow& row : rows) {
    expectReadings(row);
  }
}

TEST(Value, ReadsNumbersByTruncation) {
  const ReadingRow rows[] = {
      {"zero", 0, 0, 0, 0, 0, false},
      {"integer", 42, 42, 42, 42, 42, true},
      {"minus one", -1, -1, kUnsignedMost, -1, -1, true},
      {"low half is zero", std::int64_t{1} << 32, 0, 0, 4294967296, 4294967296.0, true},
      {"low half counts", (std::int64_t{1} << 32) + 5, 5, 5, 4294967301, 4294967301.0, true},
      {"unsigned as int", 4294967295U, -1, kUnsignedMost, 4294967295, 4294967295.0, true},
      {"real", 3.99, 3, 3, 3, 3.99, true},
      {"negative real", -3.99, -3, 4294967293U, -3, -3.99, true},
      {"small real", 0.25, 0, 0, 0, 0.25, true},
      {"negative zero", -0.0, 0, 0, 0, -0.0, false},
      {"real beyond int", 4294967298.5, 2, 2, 4294967298, 4294967298.5, true},
      {"true", true, 1, 1, 1, 1, true},
      {"false", false, 0, 0, 0, 0, false},
  };
  for (const ReadingRow& row : rows) {
    expectReadings(row);
  }
}

TEST(Value, ReadsEverythingElseAsZero) {
  const ReadingRow rows[] = {
      {"nothing", Value(), 0, 0, 0, 0, false},
      {"data", bytes({1, 2, 3, 4}), 0, 0, 0, 0, false},
      {"data with a digit", Data(std::string_view("7")), 0, 0, 0, 0, false},
      {"array", Array::make({7}), 0, 0, 0, 0, false},
      {"dictionary", Dictionary::make(), 0, 0, 0, 0, false},
  };
  for (const ReadingRow& row : rows) {
    expectReadings(row);
  }
}

struct ExtremeRow {
  const char* name;
  double real;
  std::int64_t asLong;
};

TEST(Value, ReadsRealsBeyondTheIntegersWithoutAFault) {
  constexpr ExtremeRow kRows[] = {
      {"first beyond", 9223372036854775808.0, kLongMost},
      {"last within", 9223372036854774784.0, 9223372036854774784},
      {"least", -9223372036854775808.0, kLongLeast},
      {"first below", -9223372036854777856.0, kLongLeast},
      {"huge", 1e300, kLongMost},
      {"infinity", kInfinity, kLongMost},
      {"negative infinity", -kInfinity, kLongLeast},
      {"no number", std::numeric_limits<double>::quiet_NaN(), 0},
  };
  for (const ExtremeRow& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Value(row.real).longLongValue(), row.asLong);
  }
}

TEST(Value, ReadsBrokenFloatReadingsBackAsNoNumbers) {
  EXPECT_TRUE(std::isnan(Value("nan").floatValue()));
  EXPECT_TRUE(std::isnan(Value("nan").doubleValue()));
  EXPECT_EQ(Value("-inf").floatValue(), -std::numeric_limits<float>::infinity());
  EXPECT_EQ(Value("nan").intValue(), 0);
  EXPECT_TRUE(Value(std::nan("")).boolValue());
}

TEST(Value, FloatReadingOfATextIsTheNearestSinglePrecisionNumber) {
  EXPECT_EQ(Value("0.1").floatValue(), 0.1F);
  EXPECT_EQ(Value("36.6").floatValue(), 36.6F);
  EXPECT_EQ(Value("16777217").floatValue(), 16777216.0F);
  EXPECT_EQ(Value("1e39").floatValue(), std::numeric_limits<float>::infinity());
}

TEST(Value, KeepsAValueThatWasMovedElsewhere) {
  Value source("a text that is much longer than what a small text keeps inside");
  const Value target = std::move(source);
  EXPECT_EQ(target.textView(), "a text that is much longer than what a small text keeps inside");
  source = 5;
  EXPECT_EQ(source.intValue(), 5);
}

}  // namespace
}  // namespace halvarin::test
