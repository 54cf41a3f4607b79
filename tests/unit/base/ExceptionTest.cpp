#include "base/Exception.h"

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <string>

namespace halvarin::test {
namespace {

TEST(Exception, TellsItsNameAndItsReason) {
  const Exception exception(Exception::kRange, "index 4 beyond bounds");
  EXPECT_EQ(exception.name(), "NSRangeException");
  EXPECT_EQ(exception.reason(), "index 4 beyond bounds");
}

TEST(Exception, NamesAnArgumentOfTheWrongKindAsThePlatformDoes) {
  EXPECT_EQ(Exception(Exception::kInvalidArgument, "").name(), "NSInvalidArgumentException");
}

TEST(Exception, IsCaughtAsAStandardExceptionThatTellsTheReason) {
  std::string caught;
  try {
    throw Exception("name", "reason");
  } catch (const std::exception& exception) {
    caught = exception.what();
  }
  EXPECT_EQ(caught, "reason");
}

TEST(Exception, ACopyTellsTheSameAfterTheOriginalIsGone) {
  auto original = std::make_unique<Exception>("a name", "a reason");
  const Exception copy = *original;
  original.reset();
  EXPECT_EQ(copy.name(), "a name");
  EXPECT_STREQ(copy.what(), "a reason");
}

}  // namespace
}  // namespace halvarin::test
