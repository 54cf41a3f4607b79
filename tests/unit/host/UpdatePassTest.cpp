#include "host/UpdatePass.h"

#include <gtest/gtest.h>

#include "tests/support/Machines.h"
#include "tests/support/TestDatabase.h"

namespace halvarin::test {
namespace {

TEST(UpdatePass, IsWhatTheNextNotificationBrings) {
  embedDatabase(databaseOf("Test1,1", {{"TC0P", "CPU proximity"}}));
  install(machineWith({key("TC0P", "sp78", {0x2D, 0})}));
  const auto facade = QXHalvarin::sharedHalvarin();
  for (int i = 0; i < 2; ++i) {
    const DictionaryRef pass = host::nextUpdatePass(*facade);
    ASSERT_TRUE(pass);
    EXPECT_EQ(pass->count(), 7U);
    EXPECT_EQ(pass->get("temps").array()->at(0).dictionary()->get("value"), Value("45.00"));
  }
}

}  // namespace
}  // namespace halvarin::test
