#include "platform/PropertyList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "base/Array.h"
#include "base/Dictionary.h"
#include "base/NumberText.h"

namespace halvarin::test {
namespace {

using platform::parsePropertyList;
using platform::PropertyListFormat;
using platform::writePropertyList;

constexpr std::array<PropertyListFormat, 2> kFormats{PropertyListFormat::xml,
                                                     PropertyListFormat::binary};

const char* nameOf(PropertyListFormat format) {
  return format == PropertyListFormat::xml ? "XML" : "binary";
}

std::string told(double number) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.17g", number);
  return std::string(text.data()) + "r";
}

/// A value with everything in it as one text; looks into every deferred dictionary.
std::string told(const Value& value) {
  if (const DictionaryRef dictionary = value.dictionary()) {
    std::string text = "{";
    for (const auto& [name, entry] : dictionary->entries()) {
      text += name.string() + "=" + told(entry) + ";";
    }
    return text + "}";
  }
  if (const ArrayRef array = value.array()) {
    std::string text = "[";
    for (const Value& element : array->elements()) {
      text += told(element) + ";";
    }
    return text + "]";
  }
  if (value.isReal()) {
    return told(value.doubleValue());
  }
  if (value.isBoolean()) {
    return value.boolValue() ? "true" : "false";
  }
  return value.isText() ? "'" + value.text().string() + "'" : value.description();
}

Data written(const Value& value, PropertyListFormat format) {
  const auto bytes = writePropertyList(value, format);
  EXPECT_TRUE(bytes.has_value());
  return bytes.value_or(Data());
}

Value parsed(std::string_view bytes) {
  return parsePropertyList(Data(bytes));
}

DictionaryRef dictionaryOf(Dictionary::Entries entries) {
  return std::make_shared<Dictionary>(std::move(entries));
}

/// One of every kind, with containers in containers.
Value sample() {
  const std::vector<std::uint8_t> bytes{0x00, 0xFF, 0x10};
  return dictionaryOf({{"truth", true},
                       {"number", -42},
                       {"real", 1.5},
                       {"text", "caf\xC3\xA9 <&>"},
                       {"data", Data(bytes)},
                       {"array", Array::make({1, "two", Array::make({3.5, false})})},
                       {"dictionary", dictionaryOf({{"inner", Array::make()}})}});
}

struct KindRow {
  const char* name;
  Value value;
};

std::vector<KindRow> kindRows() {
  std::string everyByte;
  for (int byte = 0; byte < 256; ++byte) {
    everyByte.push_back(static_cast<char>(byte));
  }
  return {
      {"true", true},
      {"false", false},
      {"zero", 0},
      {"one", 1},
      {"one byte", 255},
      {"two bytes", 256},
      {"four bytes", 4294967295U},
      {"five bytes", 4294967296},
      {"largest", std::numeric_limits<std::int64_t>::max()},
      {"minus one", -1},
      {"minus a byte", -129},
      {"least", std::numeric_limits<std::int64_t>::min()},
      {"real zero", 0.0},
      {"real", -1.5},
      {"real with a fraction", 36.625},
      {"real with a short text", 0.1},
      {"real with a long text", 3.141592653589793},
      {"small real", 1.25e-10},
      {"large real", 1.5e20},
      {"empty text", ""},
      {"text", "CPU Die"},
      {"text with white space at its ends", "  CPU\tDie \n"},
      {"text beyond ASCII", "Sonde \xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {"text with marks", "<a href=\"x\">&amp; 'b' ]]></a>"},
      {"long text", std::string(5000, 'x')},
      {"empty data", Data()},
      {"data", Data(std::string_view("\x01\x02\x03"))},
      {"data of every byte", Data(everyByte)},
      {"empty array", Array::make()},
      {"array", Array::make({1, "two", 3.5, true, Data(std::string_view("4"))})},
      {"arrays in arrays", Array::make({Array::make({Array::make({1})}), Array::make()})},
      {"empty dictionary", Dictionary::make()},
      {"dictionary in another order than its names", dictionaryOf({{"b", 1}, {"a", 2}, {"c", 3}})},
      {"dictionary with an empty name", dictionaryOf({{"", 1}})},
      {"dictionary with names beyond ASCII", dictionaryOf({{"caf\xC3\xA9", 1}, {"<&>", 2}})},
      {"every kind", sample()},
  };
}

TEST(PropertyList, EveryKindComesBackAsItWasWritten) {
  for (const PropertyListFormat format : kFormats) {
    SCOPED_TRACE(nameOf(format));
    for (const KindRow& row : kindRows()) {
      SCOPED_TRACE(row.name);
      const Value back = parsePropertyList(written(row.value, format));
      EXPECT_STREQ(back.className(), row.value.className());
      EXPECT_EQ(told(back), told(row.value));
    }
  }
}

TEST(PropertyList, RandomRealsComeBackExactlyFromBinaryLists) {
  std::mt19937 random(51);
  std::uniform_real_distribution<double> any(-1e6, 1e6);
  for (int i = 0; i < 500; ++i) {
    const Value value = any(random);
    ASSERT_EQ(told(parsePropertyList(written(value, PropertyListFormat::binary))), told(value));
  }
}

TEST(PropertyList, WritesTheFormatThatIsAskedFor) {
  EXPECT_TRUE(written(sample(), PropertyListFormat::binary).view().starts_with("bplist00"));
  const Data xml = written(sample(), PropertyListFormat::xml);
  EXPECT_TRUE(xml.view().starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"));
  EXPECT_NE(xml.view().find("<integer>-42</integer>"), std::string_view::npos);
  EXPECT_NE(xml.view().find("<true/>"), std::string_view::npos);
}

TEST(PropertyList, NothingCannotBeWritten) {
  for (const PropertyListFormat format : kFormats) {
    EXPECT_FALSE(writePropertyList(Value(), format).has_value());
  }
}

constexpr std::string_view kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";

std::string document(std::string_view body) {
  return std::string(kHead) + std::string(body) + "\n</plist>\n";
}

struct DocumentRow {
  const char* name;
  std::string_view body;
  std::string_view expected;
};

TEST(PropertyList, ReadsWhatOtherProgramsWrite) {
  constexpr DocumentRow kRows[] = {
      {"dictionary", "<dict>\n\t<key>a</key>\n\t<integer>1</integer>\n</dict>", "{a=1;}"},
      {"closed at once", "<dict/>", "{}"},
      {"empty array", "<array></array>", "[]"},
      {"empty text", "<string/>", "''"},
      {"negative", "<integer>-7</integer>", "-7"},
      {"real without a fraction", "<real>12</real>", "12r"},
      {"real with an exponent", "<real>1.5e3</real>", "1500r"},
      {"entities", "<string>&lt;&amp;&gt;&quot;&apos;</string>", "'<&>\"''"},
      {"numbered entities", "<string>&#65;&#x42;</string>", "'AB'"},
      {"data over several lines", "<data>\n\tAQID\n\tBA==\n</data>", "<01020304>"},
      {"comment", "<!-- one --><array><!-- two --><true/></array>", "[true;]"},
      {"white space of a text stays", "<string> a\nb </string>", "' a\nb '"},
  };
  for (const DocumentRow& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(told(parsed(document(row.body))), row.expected);
  }
}

TEST(PropertyList, ReadsAnXmlListWithoutItsHead) {
  EXPECT_EQ(told(parsed("<plist version=\"1.0\"><string>a</string></plist>")), "'a'");
}

TEST(PropertyList, DatesAreLeftOut) {
  constexpr std::string_view kDate = "<date>2020-01-02T03:04:05Z</date>";
  const std::string inside =
      "<key>d</key>" + std::string(kDate) + "<key>n</key><integer>1</integer>";
  EXPECT_TRUE(parsed(document(kDate)).isNothing());
  EXPECT_EQ(told(parsed(document("<dict>" + inside + "</dict>"))), "{n=1;}");
  EXPECT_EQ(told(parsed(document("<array>" + std::string(kDate) + "<true/></array>"))), "[true;]");
}

TEST(PropertyList, ANameGivenTwiceHasOneValue) {
  const Value list = parsed(
      document("<dict><key>a</key><integer>1</integer><key>a</key><integer>2</integer></dict>"));
  ASSERT_NE(list.dictionary(), nullptr);
  EXPECT_EQ(list.dictionary()->count(), 1U);
  list.dictionary()->set("a", Value());
  EXPECT_FALSE(list.dictionary()->has("a"));
}

TEST(PropertyList, NothingIsReadFromBytesThatAreNoList) {
  constexpr DocumentRow kRows[] = {
      {"empty", "", ""},
      {"zero byte", std::string_view("\0", 1), ""},
      {"words", "these are no property list", ""},
      {"binary head alone", "bplist00", ""},
      {"binary head and zeros",
       std::string_view("bplist00\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 36),
       ""},
      {"other XML", "<?xml version=\"1.0\"?><html><body/></html>", ""},
      {"open mark", "<", ""},
      {"empty list", "<plist version=\"1.0\"></plist>", ""},
  };
  for (const DocumentRow& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_TRUE(parsed(row.body).isNothing());
  }
}

TEST(PropertyList, DictionariesInsideAreSharedAndMayBeChanged) {
  for (const PropertyListFormat format : kFormats) {
    SCOPED_TRACE(nameOf(format));
    const Value list = parsePropertyList(written(sample(), format));
    const DictionaryRef inner = list.dictionary()->get("dictionary").dictionary();
    ASSERT_NE(inner, nullptr);
    inner->set("new", "stored");
    inner->get("inner").array()->append(7);
    EXPECT_EQ(told(list.dictionary()->get("dictionary")), "{inner=[7;];new='stored';}");
    EXPECT_EQ(list.dictionary()->get("dictionary").dictionary(), inner);
  }
}

TEST(PropertyList, ADictionaryInsideOutlivesTheListAndItsBytes) {
  for (const PropertyListFormat format : kFormats) {
    SCOPED_TRACE(nameOf(format));
    DictionaryRef inner;
    {
      const Value list = parsePropertyList(written(sample(), format));
      inner = list.dictionary()->get("dictionary").dictionary();
    }
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(told(Value(inner)), "{inner=[];}");
  }
}

TEST(PropertyList, WritesAChangedListAgain) {
  for (const PropertyListFormat format : kFormats) {
    SCOPED_TRACE(nameOf(format));
    const Value list = parsePropertyList(written(dictionaryOf({{"a", 1}, {"b", 2}}), format));
    list.dictionary()->set("a", Value());
    list.dictionary()->set("c", Array::make({"x"}));
    EXPECT_EQ(told(parsePropertyList(written(list, format))), "{b=2;c=['x';];}");
  }
}

/// A database of many models: a dictionary of dictionaries.
Value largeList() {
  Dictionary::Entries models;
  for (int model = 0; model < 300; ++model) {
    Dictionary::Entries keys;
    for (int key = 0; key < 40; ++key) {
      keys.emplace_back("key" + std::to_string(key),
                        "sensor " + std::to_string(key) + " of model " + std::to_string(model));
    }
    models.emplace_back("model" + std::to_string(model), dictionaryOf(std::move(keys)));
  }
  return dictionaryOf(std::move(models));
}

TEST(PropertyList, LargeListsComeBackWhole) {
  const Value list = largeList();
  const std::string expected = told(list);
  for (const PropertyListFormat format : kFormats) {
    SCOPED_TRACE(nameOf(format));
    const Value back = parsePropertyList(written(list, format));
    ASSERT_NE(back.dictionary(), nullptr);
    EXPECT_EQ(back.dictionary()->count(), 300U);
    EXPECT_TRUE(told(back) == expected);
  }
}

TEST(PropertyList, ALongArrayComesBackWhole) {
  std::vector<Value> elements;
  for (int i = 0; i < 5000; ++i) {
    elements.emplace_back(i);
  }
  const Value list = Array::make(std::move(elements));
  for (const PropertyListFormat format : kFormats) {
    SCOPED_TRACE(nameOf(format));
    EXPECT_TRUE(told(parsePropertyList(written(list, format))) == told(list));
  }
}

TEST(PropertyList, ListsMayLieDeepInEachOther) {
  Value list = 7;
  for (int depth = 0; depth < 200; ++depth) {
    list = depth % 2 == 0 ? Value(Array::make({list})) : Value(dictionaryOf({{"d", list}}));
  }
  for (const PropertyListFormat format : kFormats) {
    SCOPED_TRACE(nameOf(format));
    EXPECT_EQ(told(parsePropertyList(written(list, format))), told(list));
  }
}

TEST(PropertyList, ThreadsMayLookIntoOneListForTheFirstTimeAtOnce) {
  const Data bytes = written(largeList(), PropertyListFormat::binary);
  for (int round = 0; round < 3; ++round) {
    const Value list = parsePropertyList(bytes);
    std::atomic<int> right{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
      threads.emplace_back([&] {
        for (int model = 0; model < 300; ++model) {
          const std::string number = std::to_string(model);
          const DictionaryRef keys = list.dictionary()->get("model" + number).dictionary();
          const Value sensor = keys ? keys->get("key39") : Value();
          right += sensor == Value("sensor 39 of model " + number) ? 1 : 0;
        }
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    ASSERT_EQ(right, 1200);
  }
}

TEST(PropertyList, NoBeginningOfABinaryListIsAList) {
  const Data whole = written(sample(), PropertyListFormat::binary);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const Value list = parsed(whole.view().substr(0, length));
    ASSERT_TRUE(list.isNothing()) << "the first " << length << " of " << whole.size()
                                  << " bytes read as " << told(list);
  }
}

// What lies behind the value, the end mark of the list alone, is not asked for.
TEST(PropertyList, NoXmlListThatEndsWithinItsValueIsAList) {
  constexpr std::string_view kValueEnd = "</dict>";
  const Data whole = written(sample(), PropertyListFormat::xml);
  const std::size_t end = whole.view().rfind(kValueEnd);
  ASSERT_NE(end, std::string_view::npos);
  for (std::size_t length = 0; length < end + kValueEnd.size(); ++length) {
    const Value list = parsed(whole.view().substr(0, length));
    ASSERT_TRUE(list.isNothing()) << "the first " << length << " of " << whole.size()
                                  << " bytes read as " << told(list);
  }
}

TEST(PropertyList, AZeroCharacterInANameOrATextIsNoFault) {
  // Names and texts with and without a letter beyond ASCII, which binary lists hold differently;
  // each has a mark that nothing else in the list contains.
  const Value list = dictionaryOf({{"a~b", 1},
                                   {"\xC3\xA9|b", 2},
                                   {"ascii", "c{d"},
                                   {"other", "\xC3\xA9}d"},
                                   {"array", Array::make({"x"})}});
  for (const PropertyListFormat format : kFormats) {
    SCOPED_TRACE(nameOf(format));
    for (const char mark : {'~', '{', '}', '|'}) {
      SCOPED_TRACE(mark);
      std::string bytes(written(list, format).view());
      ASSERT_EQ(std::count(bytes.begin(), bytes.end(), mark), 1);
      std::replace(bytes.begin(), bytes.end(), mark, '\0');
      const Value back = parsed(bytes);
      EXPECT_TRUE(back.isNothing() || !told(back).empty());
    }
  }
}

/// Reads damaged copies of a list to the last entry; gives how many of them are still lists.
int readDamaged(const Data& whole, std::uint32_t seed, int rounds) {
  std::mt19937 random(seed);
  int lists = 0;
  for (int round = 0; round < rounds; ++round) {
    std::string bytes(whole.view());
    for (auto flips = 1 + random() % 3; flips > 0; --flips) {
      char& byte = bytes[random() % bytes.size()];
      byte = static_cast<char>(byte ^ (1 << random() % 8));
    }
    const Value list = parsed(bytes);
    lists += list.isNothing() || told(list).empty() ? 0 : 1;
  }
  return lists;
}

TEST(PropertyList, DamagedBytesAreReadOrRefusedWithoutAFault) {
  constexpr int kRounds = 3000;
  for (const PropertyListFormat format : kFormats) {
    SCOPED_TRACE(nameOf(format));
    const int lists = readDamaged(written(sample(), format), 61, kRounds);
    EXPECT_GT(lists, 0);
    EXPECT_LT(lists, kRounds);
  }
}

TEST(PropertyList, RandomBytesAreRefusedWithoutAFault) {
  std::mt19937 random(62);
  for (int round = 0; round < 2000; ++round) {
    std::string bytes(random() % 100, '\0');
    for (char& byte : bytes) {
      byte = static_cast<char>(random());
    }
    for (const std::string_view head : {std::string_view(), std::string_view("bplist00")}) {
      const Value list = parsed(std::string(head) + bytes);
      ASSERT_TRUE(list.isNothing() || !told(list).empty());
    }
  }
}

}  // namespace
}  // namespace halvarin::test
