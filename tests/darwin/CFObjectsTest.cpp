#include "platform/macos/CFObjects.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>

#include "base/Dictionary.h"
#include "platform/Cipher.h"
#include "platform/LocaleOrder.h"
#include "platform/PowerSource.h"
#include "platform/TextCase.h"
#include "platform/TextOrder.h"
#include "tests/contract/PropertyListSamples.h"
#include "tests/darwin/StandIn.h"

namespace halvarin::test {
namespace {

using platform::Owned;

TEST(CFObjects, AreReleasedByTheirHolder) {
  const long before = halvarinStandInObjects();
  Owned<CFStringRef> text = platform::cfText("text");
  EXPECT_EQ(CFGetRetainCount(text.get()), 1);
  CFRetain(text.get());
  const Owned<CFTypeRef> second(text.get());
  EXPECT_EQ(CFGetRetainCount(second.get()), 2);
  text.reset();
  EXPECT_EQ(CFGetRetainCount(second.get()), 1);
  EXPECT_EQ(halvarinStandInObjects(), before + 1);
}

TEST(CFObjects, TextsComeBackAsTheyWere) {
  for (const std::string_view text :
       {std::string_view(""), std::string_view("L\u00FCfter \U0001F300"),
        std::string_view("a\0b", 3)}) {
    EXPECT_EQ(platform::utf8Of(platform::cfText(text).get()), text);
  }
}

TEST(CFObjects, BytesThatAreNotUtf8AreOneCharacterEach) {
  EXPECT_EQ(platform::cfText("a\xFF"), nullptr);
  EXPECT_EQ(platform::utf8Of(platform::cfTextOfAnyBytes("a\xFF").get()), "a\u00FF");
  EXPECT_EQ(platform::utf8Of(platform::cfTextOfAnyBytes("a\u00FF").get()), "a\u00FF");
}

TEST(CFObjects, HalfACharacterIsAQuestionMarkAndEndsNothing) {
  constexpr std::pair<std::u16string_view, std::string_view> kRows[] = {
      {u"a\xD83C"
       u"b",
       "a?b"},
      {u"a\xDF00"
       u"b",
       "a?b"},
      {u"\xD83C", "?"},
      {u"\xD83C\xD83C\xDF00"
       u"b\xDF00",
       "?\U0001F300"
       "b?"},
  };
  for (const auto& [units, utf8] : kRows) {
    const Owned<CFStringRef> text(CFStringCreateWithCharactersNoCopy(
        kCFAllocatorDefault, reinterpret_cast<const UniChar*>(units.data()),
        static_cast<CFIndex>(units.size()), kCFAllocatorNull));
    EXPECT_EQ(platform::utf8Of(text.get()), utf8);
  }
}

TEST(CFObjects, DataComesBackAsItWas) {
  for (const Data& data : {Data(), Data(std::string_view("\0\xFF\x10", 3))}) {
    EXPECT_EQ(platform::dataOf(platform::cfData(data).get()), data);
  }
}

TEST(CFObjects, NoErrorHasNoDescription) {
  EXPECT_EQ(platform::takeDescription(nullptr), "");
}

void useEveryBody() {
  std::string error;
  const auto key = platform::makeCipherKey(Data(std::string_view("0123456789abcdef")), error);
  platform::CipherFailure failure;
  const auto ciphered = platform::encipher(*key, Data(std::string_view("plain")), failure);
  ASSERT_TRUE(ciphered.has_value());
  EXPECT_EQ(platform::decipher(*key, *ciphered, failure), Data(std::string_view("plain")));
  EXPECT_EQ(platform::decipher(*key, Data(std::string_view("short")), failure), std::nullopt);
  EXPECT_FALSE(failure.description.empty());
  for (const platform::PropertyListFormat format : kFormats) {
    EXPECT_EQ(told(parsed(written(sample(), format).view())), told(sample()));
  }
  EXPECT_FALSE(platform::writePropertyList("\xFF", kFormats[0]).has_value());
  EXPECT_FALSE(
      platform::writePropertyList(dictionaryOf({{"a", 1}, {"\xFF", 2}}), kFormats[0]).has_value());
  EXPECT_FALSE(platform::writePropertyList(Array::make({1, "\xFF"}), kFormats[0]).has_value());
  EXPECT_TRUE(parsed("no list").isNothing());
  EXPECT_LT(platform::LocaleOrder().compare(u"Fan 9", u"fan 10"), 0);
  EXPECT_LT(platform::compareNumericCaseInsensitive("Fan 9", "fan 10"), 0);
  EXPECT_EQ(platform::lowercased("L\u00DCFTER\xFF"), "l\u00FCfter\xFF");
  EXPECT_EQ(platform::providingPowerSourceType(), "");
}

TEST(CFObjects, NoBodyKeepsAnObjectThatItMade) {
  useEveryBody();
  const long before = halvarinStandInObjects();
  useEveryBody();
  EXPECT_EQ(halvarinStandInObjects(), before);
}

TEST(CFObjects, AListKeepsWhatHasNotBeenLookedIntoAndNoMore) {
  const long before = halvarinStandInObjects();
  {
    const Value list = parsed(written(sample(), platform::PropertyListFormat::binary).view());
    EXPECT_GT(halvarinStandInObjects(), before);
    EXPECT_EQ(told(list), told(sample()));
    EXPECT_EQ(halvarinStandInObjects(), before);
  }
}

}  // namespace
}  // namespace halvarin::test
