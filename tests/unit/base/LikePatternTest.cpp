#include "base/LikePattern.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace halvarin::test {
namespace {

struct Row {
  const char* name;
  std::string_view text;
  std::string_view pattern;
  bool matches;
};

TEST(LikePattern, MatchesTheWholeText) {
  constexpr Row kRows[] = {
      {"both empty", "", "", true},
      {"empty pattern", "TC0P", "", false},
      {"empty text", "", "TC0P", false},
      {"same", "TC0P", "TC0P", true},
      {"pattern shorter", "TC0P", "TC0", false},
      {"pattern longer", "TC0", "TC0P", false},
      {"other case", "TC0P", "tc0p", false},
      {"other case of one letter", "TC0p", "TC0P", false},
      {"one for one", "TC0P", "TC?P", true},
      {"one at the ends", "TC0P", "?C0?", true},
      {"one for none", "TCP", "TC?P", false},
      {"one for two", "TC10P", "TC?P", false},
      {"one for the empty text", "", "?", false},
      {"four for four", "TC0P", "????", true},
      {"three for four", "TC0P", "???", false},
      {"run for all", "TC0P", "*", true},
      {"run for nothing", "", "*", true},
      {"runs for nothing", "", "***", true},
      {"run at the end", "TC0P", "TC*", true},
      {"empty run at the end", "TC0P", "TC0P*", true},
      {"run at the start", "TC0P", "*0P", true},
      {"empty run at the start", "TC0P", "*TC0P", true},
      {"run inside", "F12Ac", "F*Ac", true},
      {"empty run inside", "FAc", "F*Ac", true},
      {"run does not reach the end", "F0AcX", "F*Ac", false},
      {"run comes back", "AcAcAc", "*AcAc", true},
      {"several runs", "one two three", "*one*two*three*", true},
      {"several runs in wrong order", "two one", "*one*two*", false},
      {"run needs one more", "TC", "TC?*", false},
      {"one and run", "TC0P", "T?*P", true},
      {"star in the text is a letter", "*", "?", true},
      {"star in the text is not a run", "*", "TC", false},
      {"regular expression letters are letters", "TC0P", "TC.P", false},
      {"dot is a dot", "TC.P", "TC.P", true},
      {"brackets are letters", "[ab]", "[ab]", true},
      {"brackets are no set", "a", "[ab]", false},
      {"backslash is a letter", "\\?", "\\?", true},
      {"backslash hides nothing", "\\P", "\\?", true},
  };
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(matchesLike(row.text, row.pattern), row.matches);
  }
}

TEST(LikePattern, CountsUtf16UnitsAsCharacters) {
  constexpr Row kRows[] = {
      {"letter of two bytes", "\xC3\xA9", "?", true},
      {"letter of two bytes is not two", "\xC3\xA9", "??", false},
      {"sign of three bytes", "5 \xE2\x82\xAC", "5 ?", true},
      {"face is two units", "\xF0\x9F\x98\x80", "??", true},
      {"face is not one unit", "\xF0\x9F\x98\x80", "?", false},
      {"face is not four bytes", "\xF0\x9F\x98\x80", "????", false},
      {"face after a run", "a\xF0\x9F\x98\x80", "*\xF0\x9F\x98\x80", true},
      {"letter itself", "\xC3\xA9", "\xC3\xA9", true},
      {"other letter with the same first byte", "\xC3\xA9", "\xC3\xA8", false},
      {"not-UTF-8 bytes one by one", "\xFF\xFE", "??", true},
      {"not-UTF-8 bytes are not one", "\xFF\xFE", "?", false},
      {"not-UTF-8 byte itself", "\xFF", "\xFF", true},
      {"other not-UTF-8 byte", "\xFF", "\xFE", false},
      {"key code with a byte that is not UTF-8", "TC0\xB0", "TC0?", true},
  };
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(matchesLike(row.text, row.pattern), row.matches);
  }
}

// The definition of the pattern, word by word, without any thought of speed.
bool matchesByDefinition(std::string_view text, std::string_view pattern) {
  if (pattern.empty()) {
    return text.empty();
  }
  if (pattern.front() == '*') {
    return matchesByDefinition(text, pattern.substr(1)) ||
           (!text.empty() && matchesByDefinition(text.substr(1), pattern));
  }
  return !text.empty() && (pattern.front() == '?' || pattern.front() == text.front()) &&
         matchesByDefinition(text.substr(1), pattern.substr(1));
}

std::string randomText(std::mt19937& random, std::string_view letters, std::size_t longest) {
  std::string text(std::uniform_int_distribution<std::size_t>(0, longest)(random), ' ');
  std::uniform_int_distribution<std::size_t> letter(0, letters.size() - 1);
  for (char& each : text) {
    each = letters[letter(random)];
  }
  return text;
}

TEST(LikePattern, AgreesWithItsDefinitionForRandomTextsAndPatterns) {
  std::mt19937 random(20240601);
  int matched = 0;
  for (int round = 0; round < 20000; ++round) {
    const std::string text = randomText(random, "ab", 8);
    const std::string pattern = randomText(random, "ab?**", 8);
    const bool expected = matchesByDefinition(text, pattern);
    matched += expected ? 1 : 0;
    ASSERT_EQ(matchesLike(text, pattern), expected) << text << " like " << pattern;
  }
  EXPECT_GT(matched, 1000);
  EXPECT_LT(matched, 19000);
}

TEST(LikePattern, ManyRunsInALongTextTakeNoLongTime) {
  std::string pattern;
  for (int i = 0; i < 40; ++i) {
    pattern += "*a";
  }
  EXPECT_FALSE(matchesLike(std::string(2000, 'a'), pattern + "b"));
  EXPECT_TRUE(matchesLike(std::string(2000, 'a') + "b", pattern + "b"));
}

struct LengthRow {
  const char* name;
  std::string_view pattern;
  std::size_t length;
  bool can;
};

TEST(LikePattern, KnowsWhichLengthsItCanMatch) {
  constexpr LengthRow kRows[] = {
      {"empty matches the empty text", "", 0, true},
      {"empty matches no other", "", 4, false},
      {"four letters", "TC0P", 4, true},
      {"three letters", "TC0", 4, false},
      {"five letters", "TC0PX", 4, false},
      {"four any", "????", 4, true},
      {"five any", "?????", 4, false},
      {"run alone", "*", 4, true},
      {"run matches the empty text", "*", 0, true},
      {"run and four letters", "TC*0P", 4, true},
      {"run and five letters", "TC*0PX", 4, false},
      {"run and fewer letters", "F*Ac", 4, true},
      {"letters of two bytes", "\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9", 4, true},
      {"face counts as two", "TC\xF0\x9F\x98\x80", 4, true},
      {"not-UTF-8 bytes one by one", "\xFF\xFE\xFD\xFC", 4, true},
  };
  for (const LengthRow& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(likeCanMatchLength(row.pattern, row.length), row.can);
  }
}

/// All texts of a length made of these letters.
std::vector<std::string> allTexts(std::string_view letters, std::size_t length) {
  std::vector<std::string> texts{""};
  for (std::size_t i = 0; i < length; ++i) {
    std::vector<std::string> longer;
    for (const std::string& text : texts) {
      for (const char letter : letters) {
        longer.push_back(text + letter);
      }
    }
    texts = std::move(longer);
  }
  return texts;
}

bool someTextMatches(const std::string& pattern, std::size_t length) {
  for (const std::string& text : allTexts("ab", length)) {
    if (matchesLike(text, pattern)) {
      return true;
    }
  }
  return false;
}

TEST(LikePattern, CanMatchALengthExactlyWhenSomeTextOfItMatches) {
  for (std::size_t patternLength = 0; patternLength <= 4; ++patternLength) {
    for (const std::string& pattern : allTexts("ab?*", patternLength)) {
      for (std::size_t length = 0; length <= 4; ++length) {
        ASSERT_EQ(likeCanMatchLength(pattern, length), someTextMatches(pattern, length))
            << pattern << " for " << length << " characters";
      }
    }
  }
}

}  // namespace
}  // namespace halvarin::test
