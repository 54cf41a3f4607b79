#include "platform/PropertyList.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "base/Array.h"
#include "base/Dictionary.h"
#include "tests/contract/PropertyListSamples.h"

namespace halvarin::test {
namespace {

using platform::parsePropertyList;
using platform::PropertyListFormat;
using platform::writePropertyList;

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
      {"one word", "word", ""},
      {"blanks", " \n\t", ""},
      {"the oldest format", "{ name = word; }", ""},
      {"the oldest format without its brackets", "name = word;", ""},
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

}  // namespace
}  // namespace halvarin::test
