#include "base/NameIndex.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace halvarin::test {
namespace {

/// Names and the index over them, as a list of entries uses it.
class NamedPlaces {
 public:
  void add(const std::string& name) {
    index_.add(name, names_.size());
    names_.push_back(name);
  }
  void clear() {
    index_.clear();
    names_.clear();
  }
  [[nodiscard]] std::size_t find(std::string_view name) const {
    return index_.find(name, [&](std::size_t place) { return names_[place] == name; });
  }
  [[nodiscard]] const NameIndex& index() const { return index_; }

 private:
  NameIndex index_;
  std::vector<std::string> names_;
};

TEST(NameIndex, FindsNothingAtFirst) {
  const NamedPlaces places;
  EXPECT_TRUE(places.index().empty());
  EXPECT_EQ(places.find("TC0P"), NameIndex::kNone);
  EXPECT_EQ(places.find(""), NameIndex::kNone);
}

TEST(NameIndex, FindsEveryNameAtEverySizeAndNoOther) {
  NamedPlaces places;
  for (std::size_t count = 0; count < 3000; ++count) {
    const std::string name = "T" + std::to_string(count);
    ASSERT_EQ(places.find(name), NameIndex::kNone) << name;
    places.add(name);
    ASSERT_EQ(places.find(name), count);
    ASSERT_EQ(places.find("T0"), 0U) << count;
    ASSERT_EQ(places.find("T" + std::to_string(count / 2)), count / 2);
  }
  EXPECT_FALSE(places.index().empty());
  EXPECT_EQ(places.find("T3000"), NameIndex::kNone);
  EXPECT_EQ(places.find("t0"), NameIndex::kNone);
}

TEST(NameIndex, TellsNamesOfOneHashApart) {
  NamedPlaces places;
  places.add("UUyR56");
  EXPECT_EQ(places.find("pTk0Nu"), NameIndex::kNone);
  places.add("pTk0Nu");
  EXPECT_EQ(places.find("UUyR56"), 0U);
  EXPECT_EQ(places.find("pTk0Nu"), 1U);
}

TEST(NameIndex, TakesNamesOfEveryLengthAndByte) {
  NamedPlaces places;
  const std::vector<std::string> names{"", std::string(1, '\0'), "\xFF\x80", std::string(5000, 'x'),
                                       std::string(5001, 'x')};
  for (const std::string& name : names) {
    places.add(name);
  }
  for (std::size_t place = 0; place < names.size(); ++place) {
    EXPECT_EQ(places.find(names[place]), place);
  }
}

TEST(NameIndex, StartsAnewOnceItIsCleared) {
  NamedPlaces places;
  places.add("TC0P");
  places.add("TC0D");
  places.clear();
  EXPECT_TRUE(places.index().empty());
  EXPECT_EQ(places.find("TC0P"), NameIndex::kNone);
  places.add("TC0D");
  EXPECT_EQ(places.find("TC0D"), 0U);
}

}  // namespace
}  // namespace halvarin::test
