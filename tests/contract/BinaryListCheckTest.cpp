#include "platform/posix/BinaryListCheck.h"

#include <gtest/gtest.h>

#include <string>

#include "base/Dictionary.h"
#include "platform/PropertyList.h"

namespace halvarin::test {
namespace {

std::string binaryList(const char* name) {
  auto dictionary = Dictionary::make();
  dictionary->set(name, 1);
  const auto list = platform::writePropertyList(dictionary, platform::PropertyListFormat::binary);
  return std::string(list->view());
}

std::string withZeroFor(std::string list, char mark) {
  const std::size_t at = list.find(mark);
  EXPECT_NE(at, std::string::npos);
  list[at] = '\0';
  return list;
}

TEST(BinaryListCheck, FindsAZeroCharacterInATwoByteText) {
  const std::string list = binaryList("\xC3\xA9|b");
  EXPECT_FALSE(platform::holdsZeroCharacter(list));
  EXPECT_TRUE(platform::holdsZeroCharacter(withZeroFor(list, '|')));
}

TEST(BinaryListCheck, FindsItInATextWhoseLengthFollows) {
  const std::string list = binaryList("\xC3\xA9 a name of more than fourteen characters |");
  EXPECT_FALSE(platform::holdsZeroCharacter(list));
  EXPECT_TRUE(platform::holdsZeroCharacter(withZeroFor(list, '|')));
}

TEST(BinaryListCheck, LeavesOtherBytesToTheLibrary) {
  EXPECT_FALSE(platform::holdsZeroCharacter(""));
  EXPECT_FALSE(platform::holdsZeroCharacter("bplist00"));
  EXPECT_FALSE(platform::holdsZeroCharacter(std::string(100, '\0')));
  EXPECT_FALSE(platform::holdsZeroCharacter("<plist><string>a</string></plist>"));
}

TEST(BinaryListCheck, ReadsNothingBeyondADamagedList) {
  const std::string list = withZeroFor(binaryList("\xC3\xA9|b"), '|');
  for (std::size_t at = 0; at < list.size(); ++at) {
    for (const int byte : {0x00, 0x6F, 0x7F, 0xFF}) {
      std::string damaged = list;
      damaged[at] = static_cast<char>(byte);
      static_cast<void>(platform::holdsZeroCharacter(damaged));
    }
    static_cast<void>(platform::holdsZeroCharacter(list.substr(0, at)));
  }
  // The undamaged list is still found out after all that.
  EXPECT_TRUE(platform::holdsZeroCharacter(list));
}

}  // namespace
}  // namespace halvarin::test
