#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

#include "base/Array.h"
#include "platform/PropertyList.h"
#include "tests/contract/PropertyListSamples.h"

namespace halvarin::test {
namespace {

using platform::PropertyListFormat;

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

TEST(PropertyList, RandomBytesAreNoList) {
  std::mt19937 random(62);
  for (int round = 0; round < 2000; ++round) {
    std::string bytes(random() % 100, '\0');
    for (char& byte : bytes) {
      byte = static_cast<char>(random());
    }
    for (const std::string_view head : {std::string_view(), std::string_view("bplist00")}) {
      const Value list = parsed(std::string(head) + bytes);
      ASSERT_TRUE(list.isNothing()) << "round " << round << " reads as " << told(list);
    }
  }
}

}  // namespace
}  // namespace halvarin::test
