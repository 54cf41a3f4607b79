#include <gtest/gtest.h>

#include <clocale>
#include <locale>
#include <string>

#include "base/NumberText.h"

namespace halvarin::test {
namespace {

/// Numbers that take the short way and the long way, read and written.
void expectPointsAndNoGroups() {
  EXPECT_EQ(fixedText(1234567.25, 2), "1234567.25");
  EXPECT_EQ(fixedText(1234567.1, 2), "1234567.10");
  EXPECT_EQ(fixedText(1e22, 1), "10000000000000000000000.0");
  EXPECT_EQ(decimalReading("1.5"), 1.5);
  EXPECT_EQ(decimalReading("1,5"), 1.0);
  EXPECT_EQ(decimalReading("1234567890123456789012.5"), 1234567890123456789012.5);
  EXPECT_EQ(decimalReading("12345678901234567890,5"), 12345678901234567890.0);
  EXPECT_EQ(integerReading("1.234"), 1);
}

TEST(NumberText, IsTheSameInACLocaleWithACommaForThePoint) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  const char* chosen = nullptr;
  for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "fr_FR.UTF-8", "fr_FR.utf8",
                           "es_ES.UTF-8", "it_IT.UTF-8", "ru_RU.UTF-8", "nl_NL.UTF-8"}) {
    chosen = chosen == nullptr ? std::setlocale(LC_ALL, name) : chosen;
  }
  if (chosen == nullptr) {
    GTEST_SKIP() << "no locale with a comma for the decimal point is installed";
  }
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  expectPointsAndNoGroups();
  std::setlocale(LC_ALL, before.c_str());
}

/// Writes numbers as "1.234.567,5".
class CommaAndGroups : public std::numpunct<char> {
  [[nodiscard]] char do_decimal_point() const override { return ','; }
  [[nodiscard]] char do_thousands_sep() const override { return '.'; }
  [[nodiscard]] std::string do_grouping() const override { return "\3"; }
};

TEST(NumberText, IsTheSameWhenTheStreamsUseACommaForThePoint) {
  const std::locale before = std::locale::global(std::locale(std::locale(), new CommaAndGroups));
  expectPointsAndNoGroups();
  std::locale::global(before);
}

}  // namespace
}  // namespace halvarin::test
