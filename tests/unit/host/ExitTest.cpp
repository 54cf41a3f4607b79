#include "host/Exit.h"

#include <gtest/gtest.h>

namespace halvarin::test {
namespace {

using host::Exit;

TEST(Exit, TellsNotPermittedFromGoneFromRefused) {
  EXPECT_EQ(host::exitFor(static_cast<std::int32_t>(0xE00002C1)), Exit::notPermitted);
  EXPECT_EQ(host::exitFor(static_cast<std::int32_t>(0xE00002E2)), Exit::notPermitted);
  EXPECT_EQ(host::exitFor(static_cast<std::int32_t>(0xE00002C0)), Exit::noMachine);
  EXPECT_EQ(host::exitFor(5), Exit::noMachine);
  EXPECT_EQ(host::exitFor(0x10000003), Exit::noMachine);
  EXPECT_EQ(host::exitFor(static_cast<std::int32_t>(0xE00002C2)), Exit::ownFailure);
}

}  // namespace
}  // namespace halvarin::test
