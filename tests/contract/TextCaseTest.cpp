#include "platform/TextCase.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <clocale>
#include <string>
#include <string_view>

namespace halvarin::test {
namespace {

using platform::lowercased;

struct Row {
  const char* name;
  std::string_view text;
  std::string_view lower;
};

void expectRows(const auto& rows) {
  for (const Row& row : rows) {
    EXPECT_EQ(lowercased(row.text), row.lower) << row.name;
  }
}

TEST(TextCase, GivesSmallLettersAndLeavesTheRest) {
  constexpr Row kRows[] = {
      {"empty", "", ""},
      {"letters", "Left Side", "left side"},
      {"blanks at the end", "MAIN  ", "main  "},
      {"neighbours of the letters", "@AZ[`az{", "@az[`az{"},
      {"digits and signs", "CPU-1_2 (A),B", "cpu-1_2 (a),b"},
      {"zero byte", std::string_view("A\0B", 3), std::string_view("a\0b", 3)},
  };
  expectRows(kRows);
}

TEST(TextCase, KnowsLettersBeyondAscii) {
  constexpr Row kRows[] = {
      {"umlaut", "L\u00DCFTER", "l\u00FCfter"},
      {"Cyrillic", "\u0416", "\u0436"},
      {"sharp s stays", "\u00DF", "\u00DF"},
      {"sigma inside a word", "\u03A3\u0391", "\u03C3\u03B1"},
      {"sigma at the end of a word", "\u039F\u03A3", "\u03BF\u03C2"},
      {"dotted capital I takes its dot along", "\u0130", "i\u0307"},
      {"longer than its capital", "\u023A", "\u2C65"},
      {"letter of four bytes", "\U00010400", "\U00010428"},
      {"no letters", "\u4E2D \U0001F300", "\u4E2D \U0001F300"},
  };
  expectRows(kRows);
}

TEST(TextCase, LeavesBytesThatAreNotUtf8) {
  constexpr Row kRows[] = {
      {"alone", "\xFF", "\xFF"},
      {"between letters",
       "A\xFF\xFE"
       "B",
       "a\xFF\xFE"
       "b"},
      {"sequence that ends early", "A\xC3", "a\xC3"},
      {"sequence that a letter cuts",
       "\xE2\x84"
       "A",
       "\xE2\x84"
       "a"},
      {"half of a pair",
       "\xED\xA0\x80"
       "A",
       "\xED\xA0\x80"
       "a"},
      {"too long a sequence",
       "\xC1\x81"
       "A",
       "\xC1\x81"
       "a"},
      {"before an umlaut", "\x80\u00DC", "\x80\u00FC"},
  };
  expectRows(kRows);
}

TEST(TextCase, ReadsNoByteBeyondTheText) {
  constexpr std::string_view kWhole = "A\u00DC";
  EXPECT_EQ(lowercased(kWhole.substr(0, 2)), "a\xC3");
}

TEST(TextCase, IsTheSameWhateverLocaleTheProcessChose) {
  // Turkish has another small letter for I. The choice is looked up once in a process.
  for (const char* variable : {"LC_ALL", "LANG"}) {
    setenv(variable, "tr_TR.UTF-8", 1);
  }
  std::setlocale(LC_ALL, "");
  EXPECT_EQ(lowercased("TITLE"), "title");
}

}  // namespace
}  // namespace halvarin::test
