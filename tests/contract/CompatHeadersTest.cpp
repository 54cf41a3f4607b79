#include <gtest/gtest.h>

#include "tests/support/Machines.h"

extern "C" int findServiceInC(const char* name);
extern "C" int readLogicalProcessorsInC();
extern "C" int countServicesInC(const char* name);

namespace halvarin::test {
namespace {

TEST(CompatHeaders, ServeACallerInPlainC) {
  EXPECT_EQ(findServiceInC("AppleSMC"), -1);
  install(machineWith({}));
  EXPECT_EQ(findServiceInC("AppleSMC"), 0);
  EXPECT_EQ(findServiceInC("SomethingElse"), -1);
  EXPECT_EQ(readLogicalProcessorsInC(), 4);
  EXPECT_EQ(countServicesInC("AppleSMC"), 1);
  EXPECT_EQ(countServicesInC("SomethingElse"), 0);
}

}  // namespace
}  // namespace halvarin::test
