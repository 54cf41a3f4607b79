#include "platform/macos/CFObjects.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "base/Dictionary.h"
#include "platform/Cipher.h"
#include "platform/Clock.h"
#include "platform/HostServices.h"
#include "platform/LocaleOrder.h"
#include "platform/PowerSource.h"
#include "platform/Queue.h"
#include "platform/TextCase.h"
#include "platform/TextOrder.h"
#include "platform/machine/BareComputer.h"
#include "platform/machine/CurrentMachine.h"
#include "platform/posix/HostBundle.h"
#include "tests/contract/PropertyListSamples.h"
#include "tests/darwin/StandIn.h"
#include "tests/darwin/StandInBundle.h"

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
  EXPECT_THAT(failure.description, testing::StartsWith("Error Domain="));
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
  EXPECT_EQ(platform::providingPowerSourceType(), "AC Power");
  EXPECT_TRUE(platform::auxiliaryExecutablePath("helper").has_value());
  EXPECT_FALSE(platform::auxiliaryExecutablePath("another").has_value());
  EXPECT_EQ(platform::bundleText("Warning!"), "Warnung!");
  EXPECT_EQ(platform::bundleText("OK"), "OK");
}

class MachineOnMains : public platform::BareComputer {
 public:
  [[nodiscard]] std::string powerSource() override { return "AC Power"; }
};

TEST(CFObjects, NoBodyKeepsAnObjectThatItMade) {
  const StandInBundle bundle;
  platform::setMachine(std::make_shared<MachineOnMains>());
  useEveryBody();
  const long before = halvarinStandInObjects();
  useEveryBody();
  EXPECT_EQ(halvarinStandInObjects(), before);
}

void useEveryBodyOfDispatch() {
  const platform::Queue serial("serial", platform::Queue::Kind::serial);
  const platform::Queue concurrent("concurrent", platform::Queue::Kind::concurrent);
  const platform::Group group;
  const platform::Semaphore done(1);
  for (const platform::Queue& queue : {serial, concurrent}) {
    queue.async(group, [] {});
    queue.async([done] { done.signal(); });
    queue.sync([] {});
  }
  group.enter();
  group.leave();
  group.notify(serial, [done] { done.signal(); });
  for (int i = 0; i < 4; ++i) {  // the one that it began with, two of the queues and the group's
    done.wait();
  }
  EXPECT_TRUE(group.wait(std::chrono::seconds(1)));
  EXPECT_FALSE(done.wait(std::chrono::milliseconds(1)));
}

// Work may still hold what it used when its effect is seen.
TEST(DispatchObjects, AreReleasedWithTheLastHandleAndTheWorkThatUsesThem) {
  const long before = halvarinStandInObjects();
  useEveryBodyOfDispatch();
  for (int i = 0; i < 1000 && halvarinStandInObjects() != before; ++i) {
    platform::ScaledClock().sleepFor(std::chrono::milliseconds(1));
  }
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
