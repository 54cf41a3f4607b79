// How entries are found by their names.

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>

#include "base/Dictionary.h"

namespace halvarin::test {
namespace {

TEST(Dictionary, NamesInAnyOrderAreFoundTogether) {
  const Dictionary dictionary({{"one", 1}, {"two", 2}, {"three", 3}, {"", 0}});
  using Four = std::array<std::string_view, 4>;
  for (const Four& names : {Four{"one", "two", "three", ""}, Four{"", "three", "two", "one"},
                            Four{"three", "one", "", "two"}}) {
    const auto values = dictionary.getEach(names);
    for (std::size_t i = 0; i < names.size(); ++i) {
      EXPECT_EQ(values[i], dictionary.get(names[i])) << names[i];
    }
  }
  EXPECT_TRUE(dictionary.getEach(std::array<std::string_view, 2>{"one", "four"})[1].isNothing());
}

// A walk goes by length and the characters at the ends before it compares a name.
TEST(Dictionary, NamesThatDifferInTheirMiddleAloneAreToldApart) {
  Dictionary dictionary({{"dataType", 1}, {"dataSize", 2}});
  EXPECT_EQ(dictionary.get("dataType"), Value(1));
  EXPECT_EQ(dictionary.get("dataSize"), Value(2));
  EXPECT_TRUE(dictionary.get("datazzze").isNothing());
  dictionary.set("datazzze", 3);
  dictionary.set("dataSize", Value());
  EXPECT_EQ(dictionary.get("dataType"), Value(1));
  EXPECT_TRUE(dictionary.get("dataSize").isNothing());
  EXPECT_EQ(dictionary.get("datazzze"), Value(3));
}

TEST(Dictionary, UpdatesThatRemoveAndAddLeaveTheRightEntries) {
  Dictionary dictionary({{"one", 1}, {"two", 2}, {"three", 3}});
  dictionary.setEach(std::array<Dictionary::Update, 4>{
      {{"two", Value()}, {"three", 33}, {"four", 4}, {"one", 11}}});
  EXPECT_EQ(dictionary.count(), 3U);
  EXPECT_EQ(dictionary.get("one"), Value(11));
  EXPECT_EQ(dictionary.get("three"), Value(33));
  EXPECT_EQ(dictionary.get("four"), Value(4));
}

TEST(Dictionary, ManyShortNamesAreFoundWhileTheyGrow) {
  Dictionary dictionary;
  for (int i = 0; i < 500; ++i) {
    dictionary.set("k" + std::to_string(i), i);
    EXPECT_EQ(dictionary.get("k" + std::to_string(i / 2)), Value(i / 2));
  }
}

}  // namespace
}  // namespace halvarin::test
