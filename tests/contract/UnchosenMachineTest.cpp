#include "platform/machine/UnchosenMachine.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <typeinfo>

#include "platform/machine/ThisComputer.h"

namespace halvarin::test {
namespace {

TEST(UnchosenMachine, IsTheComputerItselfWhateverTheEnvironmentSays) {
  const auto computer = platform::thisComputer();
  for (const char* value : {"simulated", "file:/none", ""}) {
    setenv("HALVARIN_MACHINE", value, 1);
    const auto machine = platform::unchosenMachine();
    ASSERT_NE(machine, nullptr);
    EXPECT_EQ(typeid(*machine), typeid(*computer)) << value;
  }
}

}  // namespace
}  // namespace halvarin::test
