#include <gtest/gtest.h>

#include "tests/support/Machines.h"

extern "C" int findServiceInC(const char* name);
extern "C" int readLogicalProcessorsInC();

namespace halvarin::test {
namespace {

TEST(CompatHeaders, ServeACallerInPlainC) {
  EXPECT_EQ(findServiceInC("AppleSMC"), -1);
  install(machineWith({}));
  EXPECT_EQ(findServiceInC("AppleSMC"), 0);
  EXPECT_EQ(findServiceInC("SomethingElse"), -1);
  EXPECT_EQ(readLogicalProcessorsInC(), 4);
}

}  // namespace
}  // namespace halvarin::test
