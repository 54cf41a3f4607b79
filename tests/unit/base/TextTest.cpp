#include "base/Text.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace halvarin::test {
namespace {

TEST(Text, IsMadeFromEveryKindOfString) {
  EXPECT_EQ(Text().view(), "");
  EXPECT_TRUE(Text().empty());
  EXPECT_TRUE(Text("").empty());
  EXPECT_EQ(Text("literal").view(), "literal");
  EXPECT_EQ(Text(std::string("owned")).string(), "owned");
  EXPECT_EQ(Text(std::string_view("viewed and more").substr(0, 6)).string(), "viewed");
  EXPECT_FALSE(Text(" ").empty());
}

TEST(Text, KeepsWhatFollowsAZeroByte) {
  EXPECT_EQ(Text(std::string_view("a\0b", 3)).string(), std::string("a\0b", 3));
}

TEST(Text, IsEqualToTextWithTheSameBytesOnly) {
  EXPECT_EQ(Text("abc"), Text(std::string("abc")));
  EXPECT_EQ(Text(), Text(""));
  EXPECT_FALSE(Text("abc") == Text("abC"));
  EXPECT_FALSE(Text("abc") == Text("ab"));
  // One letter, spelled as a whole and with a combining mark: other bytes, so another text.
  EXPECT_FALSE(Text("\xC3\xA9") == Text("e\xCC\x81"));
}

TEST(Text, ACopyOfALongOneSharesTheBytes) {
  const Text text("shared by all that hold a copy of it");
  const Text copy = text;
  EXPECT_EQ(copy.view().data(), text.view().data());
}

struct UnitsRow {
  const char* name;
  std::string_view utf8;
  std::u16string_view units;
};

TEST(Text, GivesTheUtf16UnitsOfUtf8) {
  using namespace std::string_view_literals;
  constexpr UnitsRow kRows[] = {
      {"empty", ""sv, u""sv},
      {"plain letters", "TC0P"sv, u"TC0P"sv},
      {"zero byte", "a\0b"sv, u"a\0b"sv},
      {"last of one byte", "\x7F"sv, u"\x7F"sv},
      {"first of two bytes", "\xC2\x80"sv, u"\x0080"sv},
      {"letter of two bytes", "\xC3\xA9"sv, u"\x00E9"sv},
      {"last of two bytes", "\xDF\xBF"sv, u"\x07FF"sv},
      {"first of three bytes", "\xE0\xA0\x80"sv, u"\x0800"sv},
      {"last before the surrogates", "\xED\x9F\xBF"sv, u"\xD7FF"sv},
      {"first after the surrogates", "\xEE\x80\x80"sv, u"\xE000"sv},
      {"last of three bytes", "\xEF\xBF\xBF"sv, u"\xFFFF"sv},
      {"first of four bytes", "\xF0\x90\x80\x80"sv, u"\xD800\xDC00"sv},
      {"face of four bytes", "\xF0\x9F\x98\x80!"sv, u"\xD83D\xDE00!"sv},
      {"last of all", "\xF4\x8F\xBF\xBF"sv, u"\xDBFF\xDFFF"sv},
  };
  for (const UnitsRow& row : kRows) {
    SCOPED_TRACE(row.name);
    const auto units = utf16(row.utf8);
    ASSERT_TRUE(units.has_value());
    EXPECT_EQ(*units, row.units);
    for (std::size_t i = 0; i < row.units.size(); ++i) {
      EXPECT_EQ(utf16Unit(row.utf8, i), row.units[i]);
    }
    EXPECT_EQ(utf16Unit(row.utf8, row.units.size()), std::nullopt);
  }
}

void appendUtf8(std::string& text, char32_t point) {
  const auto tail = [&](unsigned shift) {
    text.push_back(static_cast<char>(0x80U | ((point >> shift) & 0x3FU)));
  };
  if (point < 0x80) {
    text.push_back(static_cast<char>(point));
  } else if (point < 0x800) {
    text.push_back(static_cast<char>(0xC0U | (point >> 6U)));
    tail(0);
  } else if (point < 0x10000) {
    text.push_back(static_cast<char>(0xE0U | (point >> 12U)));
    tail(6);
    tail(0);
  } else {
    text.push_back(static_cast<char>(0xF0U | (point >> 18U)));
    tail(12);
    tail(6);
    tail(0);
  }
}

TEST(Text, GivesTheUtf16UnitsOfEveryCharacter) {
  constexpr char32_t kBlock = 0x400;
  for (char32_t block = 0; block < 0x110000; block += kBlock) {
    if (block >= 0xD800 && block < 0xE000) {
      continue;
    }
    std::string utf8;
    std::u16string expected;
    for (char32_t point = block; point < block + kBlock; ++point) {
      appendUtf8(utf8, point);
      if (point >= 0x10000) {
        expected.push_back(static_cast<char16_t>(0xD7C0 + (point >> 10U)));
        expected.push_back(static_cast<char16_t>(0xDC00 + (point & 0x3FFU)));
      } else {
        expected.push_back(static_cast<char16_t>(point));
      }
    }
    ASSERT_TRUE(utf16(utf8) == expected) << "in the block at " << std::hex << +block;
  }
}

struct InvalidRow {
  const char* name;
  std::string_view bytes;
};

TEST(Text, HasNoUtf16UnitsWhenTheBytesAreNotUtf8) {
  constexpr InvalidRow kRows[] = {
      {"continuation alone", "\x80"},
      {"last continuation alone", "\xBF"},
      {"continuation after a letter", "a\xA9"},
      {"two bytes cut short", "\xC3"},
      {"two bytes with a letter second", "\xC3("},
      {"zero in two bytes", "\xC0\x80"},
      {"overlong two bytes", "\xC1\xBF"},
      {"three bytes cut to two", "\xE2\x82"},
      {"three bytes cut to one", "\xE2"},
      {"three bytes with a letter third", "\xE2\x82(\x80"},
      {"three bytes with a new start third", "\xE2\x82\xC3"},
      {"overlong three bytes", "\xE0\x80\x80"},
      {"largest overlong three bytes", "\xE0\x9F\xBF"},
      {"first surrogate", "\xED\xA0\x80"},
      {"last surrogate", "\xED\xBF\xBF"},
      {"pair of surrogates", "\xED\xA0\xBD\xED\xB8\x80"},
      {"four bytes cut to three", "\xF0\x9F\x98"},
      {"overlong four bytes", "\xF0\x80\x80\x80"},
      {"largest overlong four bytes", "\xF0\x8F\xBF\xBF"},
      {"first beyond the last character", "\xF4\x90\x80\x80"},
      {"start byte of larger numbers", "\xF5\x80\x80\x80"},
      {"five bytes", "\xF8\x88\x80\x80\x80"},
      {"byte order mark of UTF-16", "\xFF\xFE"},
      {"bad byte at the end of a good text", "temperature\xFF"},
  };
  for (const InvalidRow& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(utf16(row.bytes), std::nullopt);
    EXPECT_EQ(utf16Unit(row.bytes, 0), std::nullopt);
  }
}

struct TrimRow {
  const char* name;
  std::string_view text;
  std::string_view expected;
};

TEST(Text, TrimsBlanksAndTabsAtBothEndsOnly) {
  constexpr TrimRow kRows[] = {
      {"empty", "", ""},
      {"nothing to trim", "CPU", "CPU"},
      {"blanks and tabs before", " \t CPU", "CPU"},
      {"blanks and tabs after", "CPU\t \t", "CPU"},
      {"both ends", "  CPU  ", "CPU"},
      {"inside stays", "  CPU \t Die  ", "CPU \t Die"},
      {"only blanks", " \t ", ""},
      {"one blank", " ", ""},
      {"line feed stays", " \nCPU\n ", "\nCPU\n"},
      {"carriage return stays", "CPU\r", "CPU\r"},
      {"no-break space stays",
       "\xC2\xA0"
       "CPU",
       "\xC2\xA0"
       "CPU"},
  };
  for (const TrimRow& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(trimmed(row.text), row.expected);
  }
}

TEST(Text, LeadingUtf8EndsBeforeTheFirstByteThatIsNone) {
  constexpr TrimRow kRows[] = {
      {"empty", "", ""},
      {"all of it", "L\u00FCfter \U0001F300", "L\u00FCfter \U0001F300"},
      {"a zero byte is a character", std::string_view("a\0b", 3), std::string_view("a\0b", 3)},
      {"no byte of it", "\xFFx", ""},
      {"before a byte alone", "ab\x80x", "ab"},
      {"before a sequence that ends early", "ab\xC3", "ab"},
      {"before half of a pair", "ab\xED\xA0\x80x", "ab"},
      {"before too long a sequence", "ab\xC1\x81x", "ab"},
  };
  for (const TrimRow& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(leadingUtf8(row.text), row.expected);
  }
}

TEST(Text, TrimsWithinTheTextThatItWasGiven) {
  constexpr std::string_view kText = "  CPU  ";
  EXPECT_EQ(trimmed(kText).data(), kText.data() + 2);
}

}  // namespace
}  // namespace halvarin::test
